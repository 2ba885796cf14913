// Drives aggregation tables over a dataset the way the procedure does: one
// table per entry, every case added to every table, results read back per
// category or over all cases.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/aggregate/aggregation_table.h"
#include "host/data/data_source.h"
#include "platform/data/dataset.h"
#include "platform/data/selection.h"

namespace codebook::aggregate::testing {

struct CategoryRow {
  const AggregationCategory* category = nullptr;
  double count = 0;
  double percent = 0;
};

struct CategoricalResult {
  const TableDimension* dimension = nullptr;
  std::vector<CategoryRow> rows;  // the real categories, in order
  double missing = -1;            // 198 of the total category
  double total = -1;              // 213 of the total category
  std::vector<double> Counts() const;
  std::vector<double> NumericValues() const;   // GetCatValue()->d of each row
  std::vector<std::string> StringValues(std::size_t width) const;  // trimmed
};

// The scale statistics in the order the procedure asks for them.
struct ScaleResult {
  double valid, missing, mean, sd, p25, p50, p75;
};

class TableHarness {
 public:
  // weighted false: every case weighs 1 (WEIGHT OFF).
  TableHarness(std::shared_ptr<const data::Dataset> dataset, bool weighted = true);
  ~TableHarness();

  // Adds a table over the dimension (taking it) and returns its position.
  int AddCategorical(AggregationVariable* dimension);
  int AddScale(int varIndex);
  // Passes every case that is not a split-group end to every table, then
  // collects the aggregators.
  void Run();
  // Collects the aggregators after a pass the test drove itself.
  void Collect();

  CategoricalResult Categorical(int table);
  ScaleResult Scale(int table);
  AggregationTable& table(int i) { return *tables_[static_cast<std::size_t>(i)]; }
  ProcDSIterator& iterator() { return *iterator_; }
  CubeAggregator& aggregator(int i) { return *aggregators_[static_cast<std::size_t>(i)]; }

 private:
  std::shared_ptr<const ProcedureDataSource::Selection> selection_;
  std::unique_ptr<ProcDSIterator> iterator_;
  std::vector<std::unique_ptr<AggregationTable>> tables_;
  std::vector<AggregationVariable*> dimensions_;  // owned by their cubes
  std::vector<std::unique_ptr<CubeAggregator>> aggregators_;
};

// The full list of scale statistics: 222, 198, 179, 203, 468 at 25, 50, 75.
std::vector<AggregationStatistic> AllScaleStatistics(int varIndex);

}  // namespace codebook::aggregate::testing
