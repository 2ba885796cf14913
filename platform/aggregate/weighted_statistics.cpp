#include "platform/aggregate/weighted_statistics.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <utility>

#include "host/aggregate/compensated_sum.h"
#include "host/data/obs.h"

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

  // Values near the largest doubles would overflow the sums, their squares
  // much sooner: such data are summed scaled by a power of two, which is
  // exact, so that the statistics come out finite and right.
  double largest = 0.0;
  for (const WeightedValue& e : sorted) {
    if (Counts(e)) largest = std::max(largest, std::fabs(e.value));
  }
  constexpr int kLargestExponent = 480;
  const int exponent = std::isfinite(largest) && largest > 0.0 ? std::ilogb(largest) : 0;
  const double scale = exponent > kLargestExponent ? std::ldexp(1.0, kLargestExponent - exponent) : 1.0;

  // Shifting by a value inside the data keeps the terms small, so the sum
  // does not lose the digits that tell the values apart.
  const double shift = MiddleValue(sorted) * scale;
  CompensatedSum shifted;
  for (const WeightedValue& e : sorted) {
    if (Counts(e)) shifted.Add(e.weight * (e.value * scale - shift));
  }
  const double mean = shift + shifted.Value() / m.weight;
  m.mean = mean / scale;

  if (!(m.weight > 1.0)) {
    m.stdDev = kSysmis;
  } else {
    // The corrected two-pass formula: the second sum cancels what rounding
    // left in the mean.
    CompensatedSum squares;
    CompensatedSum deviations;
    for (const WeightedValue& e : sorted) {
      if (!Counts(e)) continue;
      const double d = e.value * scale - mean;
      squares.Add(e.weight * d * d);
      deviations.Add(e.weight * d);
    }
    const double c = deviations.Value();
    double variance = (squares.Value() - c * c / m.weight) / (m.weight - 1.0);
    if (variance < 0.0) variance = 0.0;
    m.stdDev = std::sqrt(variance) / scale;
  }
  // Infinities (an infinite value, weights beyond reason) are "undefined"
  // rather than printed.
  if (!std::isfinite(m.mean)) m.mean = kSysmis;
  if (!std::isfinite(m.stdDev) || m.mean == kSysmis) m.stdDev = kSysmis;
  return m;
}

namespace {

// x(k) and x(k + 1) of the percentile definition, in one scan. The
// cumulative weights are summed in order, and W is their final sum, so
// "k >= W" and "C_j >= k" agree.
std::pair<double, double> ValuesAtRanks(std::span<const WeightedValue> sorted, const PercentileBase& base,
                                        double k) {
  const auto edge = [&](double rank) {
    return rank < 1.0 ? std::optional<double>(base.least)
                      : rank >= base.total ? std::optional<double>(base.greatest) : std::nullopt;
  };
  std::optional<double> low = edge(k);
  std::optional<double> high = edge(k + 1.0);
  double cumulative = 0.0;
  for (const WeightedValue& e : sorted) {
    if (low && high) break;
    if (!Counts(e)) continue;
    cumulative += e.weight;
    if (!low && cumulative >= k) low = e.value;
    if (!high && cumulative >= k + 1.0) high = e.value;
  }
  return {low.value_or(base.greatest), high.value_or(base.greatest)};
}

}  // namespace

PercentileBase PercentileBaseOf(std::span<const WeightedValue> sorted) {
  PercentileBase base;
  for (const WeightedValue& e : sorted) {
    if (!Counts(e)) continue;
    base.total += e.weight;
    if (base.empty) base.least = e.value;
    base.greatest = e.value;
    base.empty = false;
  }
  return base;
}

double WeightedPercentile(std::span<const WeightedValue> sorted, double percent, const PercentileBase& base) {
  if (!std::isfinite(percent) || base.empty || !std::isfinite(base.total)) return kSysmis;
  const double t = (base.total + 1.0) * (percent / 100.0);
  const double k = std::floor(t);
  const double g = t - k;
  const auto [low, high] = ValuesAtRanks(sorted, base, k);
  if (g == 0.0) return low;
  const double result = low + g * (high - low);
  return std::isfinite(result) ? result : kSysmis;
}

double WeightedPercentile(std::span<const WeightedValue> sorted, double percent) {
  return WeightedPercentile(sorted, percent, PercentileBaseOf(sorted));
}

}  // namespace codebook::aggregate
