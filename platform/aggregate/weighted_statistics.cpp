#include "platform/aggregate/weighted_statistics.h"

#include <cmath>

#include "host/data/obs.h"
#include "platform/aggregate/compensated_sum.h"

namespace codebook::aggregate {

namespace {

bool Counts(const WeightedValue& e) { return e.weight > 0.0; }

// A value from the middle of the data: the shift of the first pass.
double MiddleValue(std::span<const WeightedValue> sorted) {
  const std::size_t middle = sorted.size() / 2;
  for (std::size_t i = middle; i < sorted.size(); ++i) {
    if (Counts(sorted[i])) return sorted[i].value;
  }
  for (std::size_t i = middle; i-- > 0;) {
    if (Counts(sorted[i])) return sorted[i].value;
  }
  return 0.0;
}

}  // namespace

Moments ComputeMoments(std::span<const WeightedValue> sorted) {
  Moments m;
  CompensatedSum weight;
  for (const WeightedValue& e : sorted) {
    if (Counts(e)) weight.Add(e.weight);
  }
  m.weight = weight.Value();
  if (!(m.weight > 0.0)) {
    m.weight = 0.0;
    m.mean = kSysmis;
    m.stdDev = kSysmis;
    return m;
  }

  // Shifting by a value inside the data keeps the terms small, so the sum
  // does not lose the digits that tell the values apart.
  const double shift = MiddleValue(sorted);
  CompensatedSum shifted;
  for (const WeightedValue& e : sorted) {
    if (Counts(e)) shifted.Add(e.weight * (e.value - shift));
  }
  m.mean = shift + shifted.Value() / m.weight;

  if (!(m.weight > 1.0)) {
    m.stdDev = kSysmis;
  } else {
    // The corrected two-pass formula: the second sum cancels what rounding
    // left in the mean.
    CompensatedSum squares;
    CompensatedSum deviations;
    for (const WeightedValue& e : sorted) {
      if (!Counts(e)) continue;
      const double d = e.value - m.mean;
      squares.Add(e.weight * d * d);
      deviations.Add(e.weight * d);
    }
    const double c = deviations.Value();
    double variance = (squares.Value() - c * c / m.weight) / (m.weight - 1.0);
    if (variance < 0.0) variance = 0.0;
    m.stdDev = std::sqrt(variance);
  }
  // Values near the largest doubles overflow the sums; say "undefined"
  // rather than print infinities.
  if (!std::isfinite(m.mean)) m.mean = kSysmis;
  if (!std::isfinite(m.stdDev) || m.mean == kSysmis) m.stdDev = kSysmis;
  return m;
}

namespace {

// x(k) of the percentile definition. The cumulative weights are summed in
// order, and W is their final sum, so "k >= W" and "C_j >= k" agree.
double ValueAtRank(std::span<const WeightedValue> sorted, double least, double greatest, double total,
                   double k) {
  if (k < 1.0) return least;
  if (k >= total) return greatest;
  double cumulative = 0.0;
  for (const WeightedValue& e : sorted) {
    if (!Counts(e)) continue;
    cumulative += e.weight;
    if (cumulative >= k) return e.value;
  }
  return greatest;
}

}  // namespace

double WeightedPercentile(std::span<const WeightedValue> sorted, double percent) {
  if (!std::isfinite(percent)) return kSysmis;
  double total = 0.0;
  const WeightedValue* least = nullptr;
  const WeightedValue* greatest = nullptr;
  for (const WeightedValue& e : sorted) {
    if (!Counts(e)) continue;
    total += e.weight;
    if (least == nullptr) least = &e;
    greatest = &e;
  }
  if (least == nullptr || !std::isfinite(total)) return kSysmis;
  const double t = (total + 1.0) * (percent / 100.0);
  const double k = std::floor(t);
  const double g = t - k;
  const double low = ValueAtRank(sorted, least->value, greatest->value, total, k);
  if (g == 0.0) return low;
  const double high = ValueAtRank(sorted, least->value, greatest->value, total, k + 1.0);
  const double result = low + g * (high - low);
  return std::isfinite(result) ? result : kSysmis;
}

}  // namespace codebook::aggregate
