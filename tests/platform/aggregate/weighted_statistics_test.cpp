// Mean, standard deviation and percentiles of weighted distinct values,
// checked against hand-computed numbers.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "host/data/obs.h"
#include "platform/aggregate/weighted_statistics.h"

namespace codebook::aggregate {
namespace {

std::vector<WeightedValue> Values(std::initializer_list<std::pair<double, double>> pairs) {
  std::vector<WeightedValue> out;
  for (auto [v, w] : pairs) out.push_back({v, w, {}});
  return out;
}

TEST(Moments, UndefinedCases) {
  Moments none = ComputeMoments({});
  EXPECT_EQ(none.weight, 0);
  EXPECT_EQ(none.mean, kSysmis);
  EXPECT_EQ(none.stdDev, kSysmis);
  // One case, or total weight at most 1: a mean but no standard deviation.
  Moments one = ComputeMoments(Values({{42, 1}}));
  EXPECT_EQ(one.mean, 42);
  EXPECT_EQ(one.stdDev, kSysmis);
  Moments light = ComputeMoments(Values({{1, 0.25}, {2, 0.75}}));
  EXPECT_DOUBLE_EQ(light.mean, 1.75);
  EXPECT_EQ(light.stdDev, kSysmis);
  // Below 1 the divisor W - 1 is negative: still no standard deviation.
  Moments lighter = ComputeMoments(Values({{1, 0.2}, {3, 0.3}}));
  EXPECT_DOUBLE_EQ(lighter.mean, 2.2);
  EXPECT_EQ(lighter.stdDev, kSysmis);
  // Just over 1 is defined.
  Moments over = ComputeMoments(Values({{1, 0.5}, {2, 0.75}}));
  EXPECT_NE(over.stdDev, kSysmis);
}

TEST(Moments, NoCancellationNearLargeValues) {
  // 1e9 + {0, 0.5, 1} with weights 1e6 each: mean 1e9 + 0.5,
  // variance 1e6 * 0.5 / (3e6 - 1).
  auto v = Values({{1e9, 1e6}, {1e9 + 0.5, 1e6}, {1e9 + 1, 1e6}});
  Moments m = ComputeMoments(v);
  EXPECT_DOUBLE_EQ(m.mean, 1e9 + 0.5);
  EXPECT_NEAR(m.stdDev / std::sqrt(0.5e6 / (3e6 - 1)), 1.0, 1e-12);
}

// The sums are taken about a value of the data, found from the middle of
// the sorted values outwards past the user-missing ones (no positive
// weight): one valid value is then its own mean to the last bit.
TEST(Moments, OneValidValueIsItsOwnMeanExactly) {
  for (const auto& values : {Values({{0.1, 3}, {9, -2}}), Values({{0.1, 3}, {8, -1}, {9, -2}}),
                             Values({{-5, -1}, {0.1, 3}})}) {
    const Moments m = ComputeMoments(values);
    EXPECT_EQ(m.mean, 0.1);
    EXPECT_EQ(m.stdDev, 0.0);
  }
}

TEST(Moments, HugeValuesGiveSysmisNotInfinity) {
  Moments m = ComputeMoments(Values({{-1.7e308, 1}, {1.7e308, 1}}));
  EXPECT_EQ(m.stdDev, kSysmis);
}

// Squares of deviations far past the double range, a standard deviation
// well inside it: sd of {0, x} is x / sqrt(2).
TEST(Moments, HugeValuesWhoseDeviationIsFinite) {
  const double x = 8.9e307;
  Moments m = ComputeMoments(Values({{0, 1}, {x, 1}}));
  EXPECT_DOUBLE_EQ(m.mean, x / 2);
  EXPECT_NEAR(m.stdDev / (x / std::sqrt(2.0)), 1.0, 1e-15);
}

// The percentile definition, by hand: t = (W + 1) p; between the values at
// the ranks either side of t, interpolated.
TEST(Percentiles, MatchHandComputedValues) {
  struct Case {
    std::vector<std::pair<double, double>> values;
    double percent;
    double expected;
  };
  const Case cases[] = {
      // 1..4 unweighted: t = 5 p.  p25: t 1.25 -> 1 + .25 (2 - 1).
      {{{1, 1}, {2, 1}, {3, 1}, {4, 1}}, 25, 1.25},
      {{{1, 1}, {2, 1}, {3, 1}, {4, 1}}, 50, 2.5},
      {{{1, 1}, {2, 1}, {3, 1}, {4, 1}}, 75, 3.75},
      // k < 1: t = 3 * .25 = .75 -> x(0) = v1, x(1) = v1 + ...
      {{{10, 1}, {20, 1}}, 25, 10},
      // k >= W: t = 3 * .75 = 2.25, k = 2 = W -> v_m both.
      {{{10, 1}, {20, 1}}, 75, 20},
      {{{7.5, 1}}, 25, 7.5},
      {{{7.5, 1}}, 75, 7.5},
      // Ties: 1, 2, 2, 2, 3 (weight 3 on 2). p25: t = 1.5 -> 1 + .5 (2 - 1).
      {{{1, 1}, {2, 3}, {3, 1}}, 25, 1.5},
      {{{1, 1}, {2, 3}, {3, 1}}, 50, 2},
      // p75: t = 4.5 -> x(4) = 2, x(5) = 3 -> 2.5.
      {{{1, 1}, {2, 3}, {3, 1}}, 75, 2.5},
      // Integer weights equal repetition: 5 x2, 9 x3 is 5 5 9 9 9;
      // p50: t = 3 -> 9; p25: t = 1.5 -> 5.
      {{{5, 2}, {9, 3}}, 50, 9},
      {{{5, 2}, {9, 3}}, 25, 5},
      // p75: t = 4.5 -> x(4) = 9, x(5) = 9.
      {{{5, 2}, {9, 3}}, 75, 9},
      // Fractional: W = 2.5, t = 3.5 * .5 = 1.75, k = 1 -> C_1 = .5 < 1,
      // C_2 = 2 >= 1 -> 2; x(2) = 2 -> 2.
      {{{1, 0.5}, {2, 1.5}, {3, 0.5}}, 50, 2},
      // p75: t = 2.625, k = 2 -> 2; x(3) : 3 >= W -> 3; 2 + .625.
      {{{1, 0.5}, {2, 1.5}, {3, 0.5}}, 75, 2.625},
  };
  for (const Case& c : cases) {
    std::vector<WeightedValue> v;
    for (auto [x, w] : c.values) v.push_back({x, w, {}});
    EXPECT_DOUBLE_EQ(WeightedPercentile(v, c.percent), c.expected) << c.values.size() << " values, p" << c.percent;
  }
  EXPECT_EQ(WeightedPercentile({}, 50), kSysmis);
}

}  // namespace
}  // namespace codebook::aggregate

namespace codebook::aggregate {
namespace {

TEST(Percentiles, EntriesWithoutPositiveWeightAreNotValues) {
  // A scale table keeps user-missing values with negated weights.
  std::vector<WeightedValue> v = {{-99, -4, {}}, {1, 1, {}}, {2, 1, {}}, {3, 1, {}}, {99, -2, {}}};
  EXPECT_DOUBLE_EQ(WeightedPercentile(v, 25), 1.0);
  EXPECT_DOUBLE_EQ(WeightedPercentile(v, 50), 2.0);
  EXPECT_DOUBLE_EQ(WeightedPercentile(v, 75), 3.0);
  Moments m = ComputeMoments(v);
  EXPECT_DOUBLE_EQ(m.weight, 3);
  EXPECT_DOUBLE_EQ(m.mean, 2);
  EXPECT_DOUBLE_EQ(m.stdDev, 1);
  std::vector<WeightedValue> onlyMissing = {{99, -2, {}}};
  EXPECT_EQ(WeightedPercentile(onlyMissing, 50), kSysmis);
  EXPECT_EQ(ComputeMoments(onlyMissing).mean, kSysmis);
}

}  // namespace
}  // namespace codebook::aggregate
