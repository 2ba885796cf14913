#include "platform/aggregate/weighted_statistics.h"

#include <cmath>

#include "host/data/obs.h"
#include "platform/aggregate/compensated_sum.h"

namespace codebook::aggregate {

Moments ComputeMoments(std::span<const WeightedValue> sorted) {
  Moments m;
  CompensatedSum weight;
  for (const WeightedValue& e : sorted) weight.Add(e.weight);
  m.weight = weight.Value();
  if (sorted.empty() || !(m.weight > 0.0)) {
    m.mean = kSysmis;
    m.stdDev = kSysmis;
    return m;
  }

  // Shifting by a value inside the data keeps the terms small, so the sum
  // does not lose the digits that tell the values apart.
  const double shift = sorted[sorted.size() / 2].value;
  CompensatedSum shifted;
  for (const WeightedValue& e : sorted) shifted.Add(e.weight * (e.value - shift));
  m.mean = shift + shifted.Value() / m.weight;

  if (!(m.weight > 1.0)) {
    m.stdDev = kSysmis;
    return m;
  }
  // The corrected two-pass formula: the second sum cancels what rounding
  // left in the mean.
  CompensatedSum squares;
  CompensatedSum deviations;
  for (const WeightedValue& e : sorted) {
    const double d = e.value - m.mean;
    squares.Add(e.weight * d * d);
    deviations.Add(e.weight * d);
  }
  const double c = deviations.Value();
  double variance = (squares.Value() - c * c / m.weight) / (m.weight - 1.0);
  if (variance < 0.0) variance = 0.0;
  m.stdDev = std::sqrt(variance);
  if (!std::isfinite(m.mean) || !std::isfinite(m.stdDev)) {
    // Values near the largest doubles overflow the sums; say so rather than
    // print infinities.
    if (!std::isfinite(m.mean)) m.mean = kSysmis;
    m.stdDev = kSysmis;
  }
  return m;
}

namespace {

// x(k) of the percentile definition. The cumulative weights are summed in
// order, and W is their final sum, so "k >= W" and "C_j >= k" agree.
double ValueAtRank(std::span<const WeightedValue> sorted, double total, double k) {
  if (k < 1.0) return sorted.front().value;
  if (k >= total) return sorted.back().value;
  double cumulative = 0.0;
  for (const WeightedValue& e : sorted) {
    cumulative += e.weight;
    if (cumulative >= k) return e.value;
  }
  return sorted.back().value;
}

}  // namespace

double WeightedPercentile(std::span<const WeightedValue> sorted, double percent) {
  if (sorted.empty() || !std::isfinite(percent)) return kSysmis;
  double total = 0.0;
  for (const WeightedValue& e : sorted) total += e.weight;
  if (!(total > 0.0) || !std::isfinite(total)) return kSysmis;
  const double t = (total + 1.0) * (percent / 100.0);
  const double k = std::floor(t);
  const double g = t - k;
  const double low = ValueAtRank(sorted, total, k);
  if (g == 0.0) return low;
  const double high = ValueAtRank(sorted, total, k + 1.0);
  return low + g * (high - low);
}

}  // namespace codebook::aggregate
