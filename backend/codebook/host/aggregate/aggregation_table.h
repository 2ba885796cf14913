// An aggregation table over the cases of an iterator: one cube with at most
// one categorical dimension, category and total statistics, or scale
// statistics over all cases.
#pragma once

#include <cstddef>
#include <limits>
#include <memory>
#include <vector>

#include "host/aggregate/aggregation_category.h"
#include "host/aggregate/aggregation_statistic.h"
#include "host/aggregate/aggregation_variable.h"
#include "host/aggregate/cube_aggregator.h"
#include "host/aggregate/statistic_codes.h"
#include "host/aggregate/table_hot.h"
#include "host/data/case_iterator.h"
#include "host/host_api.h"

class AggregationTable;
namespace codebook::aggregate {
class CubeState;
}

class HOST_API TableMetadata {
 public:
  // Dimension i of the table, or null. Inline: the procedure asks for it on
  // every case of its pass.
  TableDimension* GetDimension(int i) const { return i == 0 ? dimension_ : nullptr; }

 private:
  friend class AggregationCube;
  TableDimension* dimension_ = nullptr;
};

class HOST_API AggregationCube {
 public:
  class Impl;

  explicit AggregationCube(AggregationTable& table);
  ~AggregationCube();
  AggregationCube(const AggregationCube&) = delete;
  AggregationCube& operator=(const AggregationCube&) = delete;

  // Adds a dimension; the cube takes ownership of it.
  void AddCategoricalVariable(AggregationVariable* variable,
                              TableEncryptionCodes::DimensionPosition position);
  void CreateCubeAggregator();
  // Statistics over all cases.
  void AddScaleStatistics(const std::vector<AggregationStatistic>& statistics);
  // Statistics per category, and total statistics in the last category.
  void AddCategoryAndTotalStatistics(const std::vector<AggregationStatistic>& category,
                                     AggregationVariable* variable,
                                     const std::vector<AggregationStatistic>& total);

  Impl& impl() { return *impl_; }

 private:
  std::unique_ptr<Impl> impl_;
};

class HOST_API AggregationTable {
 public:
  class Impl;

  // The two flags and the layer are the caller's options for the table's
  // layout; procedures pass false, true, -1.
  AggregationTable(VELA_InputCaseIterator& cases, bool layered, bool keepCategories, int layer);
  ~AggregationTable();
  AggregationTable(const AggregationTable&) = delete;
  AggregationTable& operator=(const AggregationTable&) = delete;
  static void* operator new(std::size_t bytes);
  static void operator delete(void* p) noexcept;

  // The table's cube, owned by the table.
  AggregationCube* CreateCube();
  // Adds the iterator's current case. Inline, and forced so: the common
  // kinds of table count a case here, without a call (see table_hot.h).
  [[gnu::always_inline]] void AddNewCase() {
    using codebook::aggregate::TableHot;
    // The table made some tables later, and its dimension: a pass visits
    // tables in the order they were made, and with many tables their state
    // comes from memory; asking now overlaps the waits. Small sets of
    // tables have no such link.
    if (ahead_ != nullptr) {
      __builtin_prefetch(ahead_);
      __builtin_prefetch(static_cast<const char*>(ahead_) + 64);
      __builtin_prefetch(aheadDimension_);
    }
    const double weight = cases_.CaseWeight();
    const OBS* cells = cases_.CurrentCase();
    // Zero, negative, missing (NaN) and infinite weights take the general
    // path, which leaves such cases out of every statistic.
    if (hot_.kind != TableHot::kGeneral && cells != nullptr && weight > 0.0 &&
        weight <= std::numeric_limits<double>::max()) {
      const double x = cells[hot_.offset].d;
      if (hot_.kind == TableHot::kCodes) {
        if (const int k = hot_.SlotOf(x); k >= 0) {
          hot_.counts[k] += weight;
          return;
        }
      } else if (hot_.values.batched < hot_.values.capacity) {
        hot_.values.batch[hot_.values.batched++] = {x, weight};
        return;
      }
    }
    AddNewCaseSlow();
  }
  TableMetadata* GetTableMetaData() { return &metadata_; }
  // The aggregators of the table's cubes. The caller owns them from then on.
  std::vector<CubeAggregator*> GetCubeAggregators();

  Impl& impl() { return *impl_; }

 private:
  friend class AggregationCube;
  friend struct TableChain;
  void AddNewCaseSlow();

  // What a pass needs on every case, in the table itself, in the order
  // AddNewCase and the early stop's question read it: a pass adds every
  // case to every table, and each pointer followed there is a likely cache
  // miss. The cube's state keeps the record once the table is gone.
  VELA_InputCaseIterator& cases_;
  TableMetadata metadata_;
  // For AddNewCase's prefetch: the table made some tables after this one,
  // and its dimension (which may have been replaced since; a prefetch of
  // freed memory is harmless).
  const void* ahead_ = nullptr;
  const void* aheadDimension_ = nullptr;
  codebook::aggregate::TableHot hot_;
  codebook::aggregate::CubeState* state_ = nullptr;  // the cube's
  AggregationTable* behind_ = nullptr;  // the table whose ahead_ this one is
  std::unique_ptr<Impl> impl_;
};
