// Statistic codes and dimension positions of aggregation tables.
#pragma once

namespace TableEncryptionCodes {

enum StatisticCodes {
  kStatCount = 1,          // weight of a category's cases
  kStatPercent = 130,      // count / W x 100
  kStatMean = 179,
  kStatMissingCount = 198,
  kStatStdDev = 203,
  kStatTotalCount = 213,   // W: weight of all cases passed to the table
  kStatValidCount = 222,
  kStatPercentile = 468,   // at the statistic's cut point
};

enum DimensionPosition {
  kDimensionRow = 0,
  kDimensionColumn = 1,
};

}  // namespace TableEncryptionCodes
