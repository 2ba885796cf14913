// Results of an aggregation table.
#pragma once

#include <vector>

#include "host/aggregate/aggregation_category.h"
#include "host/aggregate/statistic_codes.h"
#include "host/host_api.h"

class HOST_API AggregationResult {
 public:
  explicit AggregationResult(double value = 0.0) : value_(value) {}
  // The value; system-missing (kSysmis) when it is undefined.
  double GetValue1() const { return value_; }

 private:
  double value_;
};

class HOST_API CellStatistics {
 public:
  CellStatistics() = default;
  explicit CellStatistics(std::vector<TableEncryptionCodes::StatisticCodes> codes)
      : codes_(std::move(codes)) {}
  TableEncryptionCodes::StatisticCodes GetStatistic(int j) const {
    return codes_.at(static_cast<std::size_t>(j));
  }
  int Size() const { return static_cast<int>(codes_.size()); }

 private:
  std::vector<TableEncryptionCodes::StatisticCodes> codes_;
};

// The values of one cell: value j is statistic j of the cell statistics.
class HOST_API StatValues {
 public:
  StatValues() = default;
  StatValues(std::vector<AggregationResult> values, CellStatistics statistics)
      : values_(std::move(values)), statistics_(std::move(statistics)) {}
  int NumOfValues() const { return static_cast<int>(values_.size()); }
  const AggregationResult& GetStatValue(int j) const {
    return values_.at(static_cast<std::size_t>(j));
  }
  const CellStatistics& GetCellStatistic() const { return statistics_; }

 private:
  std::vector<AggregationResult> values_;
  CellStatistics statistics_;
};

class HOST_API CubeAggregator {
 public:
  virtual ~CubeAggregator();
  // The values of the cell that the selection addresses: an empty selection is
  // the cell over all cases (scale statistics); one category is that
  // category's cell. Null when the cell has no values. The result stays valid
  // until the next call or the aggregator's destruction.
  virtual const StatValues* GetStatValues(const std::vector<const AggregationCategory*>& selection,
                                          int layer) = 0;
};
