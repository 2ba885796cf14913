// One pass over the cases for every codebook entry: one aggregation table per
// entry, category counts for categorical entries and sets, scale statistics
// for scale entries; the pass stops early once no entry needs more cases.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "host/aggregate/aggregation_category.h"
#include "host/aggregate/aggregation_statistic.h"
#include "host/aggregate/aggregation_table.h"
#include "host/aggregate/aggregation_variable.h"
#include "host/aggregate/cube_aggregator.h"
#include "host/data/case_iterator.h"
#include "variables/cbkvariable.h"

class VariableStatistics {
 public:
  VariableStatistics(const std::vector<const CBKVariable*>& variables,
                     const std::vector<AggregationStatistic>& categoryStatistics,
                     const std::vector<TableEncryptionCodes::StatisticCodes>& scaleStatisticCodes);
  virtual ~VariableStatistics();
  VariableStatistics(const VariableStatistics&) = delete;
  VariableStatistics& operator=(const VariableStatistics&) = delete;

  bool Init(ProcDSIterator* iterator, int maxCategories);
  // The number of cases passed; 0 for an empty dataset.
  std::int64_t PassingData(int maxCategories);
  double GetWeightedCaseCount();
  void BuildScaleStatList(std::vector<AggregationStatistic>& out, int variableIndex);
  std::vector<bool> GetVarStatus() const { return status; }
  void ClearParsedCategory();

  // Results, read after PassingData returned a positive count.
  double GetCatStatValues(int entry, std::vector<double>& counts, std::vector<double>& percents,
                          std::vector<const OBS*>& values, std::vector<std::string>& labels,
                          std::vector<int>& varIndexes, double& missing);
  void GetContStats(int entry, std::vector<double>& stats);

 private:
  CubeAggregator* AggregatorOf(int entry) const;
  AggregationVariable* ObjectOf(int entry) const;

  double weightedCaseCount = -1.0;
  std::vector<const CBKVariable*> variables;
  std::vector<ParsedCategory*> parsedCategories;
  std::vector<AggregationTable*> tables;
  ProcDSIterator* iterator = nullptr;
  std::vector<AggregationVariable*> aggregationVariables;
  const std::vector<AggregationStatistic>& categoryStatistics;
  const std::vector<TableEncryptionCodes::StatisticCodes>& scaleStatisticCodes;
  std::vector<CubeAggregator*> cubeAggregators;
  std::vector<bool> status;
};
