// An aggregation table over the cases of an iterator: one cube with at most
// one categorical dimension, category and total statistics, or scale
// statistics over all cases.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "host/aggregate/aggregation_category.h"
#include "host/aggregate/aggregation_statistic.h"
#include "host/aggregate/aggregation_variable.h"
#include "host/aggregate/cube_aggregator.h"
#include "host/aggregate/statistic_codes.h"
#include "host/data/case_iterator.h"
#include "host/host_api.h"

class AggregationTable;

class HOST_API TableMetadata {
 public:
  // `dimension`: where the table keeps its dimension.
  explicit TableMetadata(TableDimension* const* dimension) : dimension_(dimension) {}
  TableMetadata(const TableMetadata&) = delete;
  TableMetadata& operator=(const TableMetadata&) = delete;

  // Dimension i of the table, or null. Inline: the procedure asks for it on
  // every case of its pass.
  TableDimension* GetDimension(int i) const { return i == 0 ? *dimension_ : nullptr; }

 private:
  TableDimension* const* dimension_;
};

class HOST_API AggregationCube {
 public:
  class Impl;

  explicit AggregationCube(std::unique_ptr<Impl> impl);
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

 private:
  std::unique_ptr<Impl> impl_;
};

class HOST_API AggregationTable {
 public:
  class Impl;

  // The two flags and the layer are the caller's options for the table's
  // layout; procedures pass false, true, -1. A table is made before the
  // pass over `cases` starts.
  AggregationTable(VELA_InputCaseIterator& cases, bool layered, bool keepCategories, int layer);
  ~AggregationTable();
  AggregationTable(const AggregationTable&) = delete;
  AggregationTable& operator=(const AggregationTable&) = delete;
  // Tables are kept side by side in the order they are made.
  static void* operator new(std::size_t bytes);
  static void operator delete(void* p) noexcept;

  // The table's cube, owned by the table.
  AggregationCube* CreateCube();
  // Takes the iterator's current case. A table takes a run of cases from
  // the first: each case at most once, and none after one it let pass. The
  // cases are counted a batch at a time where the platform reads them, so
  // taking one is only counting how far the table has come.
  void AddNewCase() { ++taken_; }
  TableMetadata* GetTableMetaData() { return &metadata_; }
  // The aggregators of the table's cubes. The caller owns them from then on.
  std::vector<CubeAggregator*> GetCubeAggregators();

 private:
  std::int64_t taken_ = 0;  // cases taken
  TableDimension* dimension_ = nullptr;
  TableMetadata metadata_{&dimension_};
  std::unique_ptr<Impl> impl_;
};
