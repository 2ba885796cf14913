// Where the distinct values of a scale variable go when a run wants to draw
// them (the HTML report's histograms): the values and weights a table keeps
// for its percentiles, handed over when the percentiles are asked for, so
// that a picture of the distribution costs no second pass.
#pragma once

#include <span>

#include "platform/aggregate/weighted_statistics.h"

namespace codebook::aggregate {

class DistributionSink {
 public:
  virtual ~DistributionSink();
  // The sorted distinct values of the variable at dictionary position
  // `varIndex`, with their summed weights (entries without a positive
  // weight are user-missing values, not values). May come more than once.
  virtual void Distribution(int varIndex, std::span<const WeightedValue> sorted) = 0;
};

// The sink for the run in progress (not owned; null: none).
void SetDistributionSink(DistributionSink* sink);
DistributionSink* GetDistributionSink();

}  // namespace codebook::aggregate
