// Statistics of distinct values with summed weights, sorted ascending: what
// a scale table holds at the end of a pass. Entries without a positive
// weight are not values (a scale table keeps its user-missing values among
// the others, with the weight negated). Undefined results are kSysmis.
#pragma once

#include <span>

#include "platform/aggregate/numeric_weight_map.h"

namespace codebook::aggregate {

using WeightedValue = NumericEntry<NoExtra>;

struct Moments {
  double weight = 0.0;  // sum of the weights
  double mean = 0.0;    // kSysmis without weight
  double stdDev = 0.0;  // sample standard deviation; kSysmis when weight <= 1
};

// Two passes over the distinct values, each with compensated sums and the
// first one shifted by a middle value: values near 1e9 that differ by less
// than 1 keep their standard deviation to about 1e-12 relative.
Moments ComputeMoments(std::span<const WeightedValue> sorted);

// The weighted percentile at `percent` (0 to 100): with t = (W + 1) p,
// k = floor(t), g = t - k, it is x(k) + g (x(k+1) - x(k)), where x(k) is the
// first value whose cumulative weight reaches k, the least value when k < 1
// and the greatest when k >= W. Unweighted, this is the "type 6" sample
// quantile; with integer weights the same as repeating each case.
double WeightedPercentile(std::span<const WeightedValue> sorted, double percent);

// What every percentile of one set of values needs first, in one pass: W
// summed in order, and the least and greatest values. A table asked for
// several percentiles of a million values computes it once.
struct PercentileBase {
  double total = 0.0;
  double least = 0.0;
  double greatest = 0.0;
  bool empty = true;  // no value with a positive weight
};
PercentileBase PercentileBaseOf(std::span<const WeightedValue> sorted);
double WeightedPercentile(std::span<const WeightedValue> sorted, double percent, const PercentileBase& base);

}  // namespace codebook::aggregate
