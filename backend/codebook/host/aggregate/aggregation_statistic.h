// A statistic asked of an aggregation table, optionally over a variable.
#pragma once

#include "host/aggregate/statistic_codes.h"
#include "host/host_api.h"

class HOST_API AggregationStatistic {
 public:
  explicit AggregationStatistic(TableEncryptionCodes::StatisticCodes code) : code_(code) {}
  AggregationStatistic(int varIndex, TableEncryptionCodes::StatisticCodes code)
      : varIndex_(varIndex), code_(code) {}

  // The percentile of a code-468 statistic, 0 to 100.
  void SetPTileCutPoint(double cut) { cutPoint_ = cut; }
  double GetPTileCutPoint() const { return cutPoint_; }
  TableEncryptionCodes::StatisticCodes GetSummaryStatistic() const { return code_; }
  // The variable the statistic is computed over; -1 for category statistics.
  int GetVarIndex() const { return varIndex_; }

 private:
  int varIndex_ = -1;
  TableEncryptionCodes::StatisticCodes code_;
  double cutPoint_ = 0.0;
};
