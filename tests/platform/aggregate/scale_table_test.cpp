// Scale statistics over all cases: valid and missing weights, mean,
// standard deviation and quartiles, hand-checked.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <memory>

#include "host/aggregate/aggregation_table.h"
#include "platform/aggregate/weighted_statistics.h"
#include "table_harness.h"
#include "testing/dataset_builder.h"

namespace codebook::aggregate {
namespace {

using data::DatasetBuilder;
using testing::TableHarness;

TEST(ScaleTable, SplitGroupEndsAreNotCases) {
  auto ds = DatasetBuilder().Numeric("x").Cases({{1}, {2}}).SplitGroupEnd().Cases({{3}}).Build();
  TableHarness run(ds);
  const int t = run.AddScale(0);
  run.Run();
  EXPECT_EQ(run.Scale(t).valid, 3);
  EXPECT_DOUBLE_EQ(run.Scale(t).mean, 2);
}

}  // namespace
}  // namespace codebook::aggregate

namespace codebook::aggregate {
namespace {

TEST(ScaleTable, ContinuousDataGiveTheSameAnswerAsTheDefinition) {
  // Enough distinct values to leave the hash map for sorted runs, with a
  // user-missing value among them and integer values taken by index.
  std::vector<data::Row> rows;
  std::vector<WeightedValue> reference;
  double missing = 0;
  for (int i = 0; i < 200000; ++i) {
    const double x = i % 7 == 0 ? static_cast<double>(i % 200) : 1000.0 + i * 0.37;
    const double w = 1 + i % 4;
    rows.push_back({x, w});
    if (x == 77) {
      missing += w;
    } else {
      reference.push_back({x, w, {}});
    }
  }
  std::sort(reference.begin(), reference.end(), [](const auto& a, const auto& b) { return a.value < b.value; });
  auto ds = DatasetBuilder().Numeric("x").MissingDiscrete({77}).Numeric("w").Weight("w").Cases(std::move(rows)).Build();
  TableHarness run(ds);
  const int t = run.AddScale(0);
  run.Run();
  auto s = run.Scale(t);
  const Moments m = ComputeMoments(reference);
  EXPECT_DOUBLE_EQ(s.valid, m.weight);
  EXPECT_DOUBLE_EQ(s.missing, missing);
  EXPECT_NEAR(s.mean, m.mean, 1e-9 * std::fabs(m.mean));
  EXPECT_NEAR(s.sd, m.stdDev, 1e-9 * m.stdDev);
  EXPECT_DOUBLE_EQ(s.p25, WeightedPercentile(reference, 25));
  EXPECT_DOUBLE_EQ(s.p50, WeightedPercentile(reference, 50));
  EXPECT_DOUBLE_EQ(s.p75, WeightedPercentile(reference, 75));
}

// A scale table counts integer codes by index and other values in a map.
// Three such tables (codes only; codes then fractions and larger integers
// from the middle of the data on; codes with a user-missing one) are read
// in the middle of the pass and at its end, and must agree with the
// definitions over the cases seen so far.
TEST(ScaleTable, CodesCountedInPlaceThenInBatchesMatchTheDefinition) {
  constexpr int kCases = 2000;
  constexpr int kMiddle = 700;
  auto value = [](int v, int c) {
    const double code = (c * 7 + v) % 6;  // 0..5
    if (v == 1 && c >= 600 && c % 3 == 0) return c % 2 == 0 ? 2.5 : 40.0 + c % 5;
    return code;
  };
  auto weight = [](int c) { return c % 10 == 0 ? 0.0 : 0.5 + (c % 4) * 0.25; };
  std::vector<data::Row> rows;
  for (int c = 0; c < kCases; ++c) rows.push_back({value(0, c), value(1, c), value(2, c), weight(c)});
  auto ds = DatasetBuilder()
                .Numeric("likert")
                .Numeric("mixed")
                .Numeric("coded")
                .MissingDiscrete({3})
                .Numeric("w")
                .Weight("w")
                .Cases(std::move(rows))
                .Build();
  // The definitions over the first `cases` cases of variable v.
  struct Expected {
    std::vector<WeightedValue> values;
    double missing = 0;
  };
  auto expected = [&](int v, int cases) {
    Expected e;
    std::map<double, double> sums;
    for (int c = 0; c < cases; ++c) {
      if (weight(c) <= 0) continue;
      if (v == 2 && value(v, c) == 3) {
        e.missing += weight(c);
      } else {
        sums[value(v, c)] += weight(c);
      }
    }
    for (const auto& [x, w] : sums) e.values.push_back({x, w, {}});
    return e;
  };
  auto check = [&](CubeAggregator& aggregator, int v, int cases) {
    const StatValues* values = aggregator.GetStatValues({}, -1);
    ASSERT_NE(values, nullptr);
    auto at = [&](int j) { return values->GetStatValue(j).GetValue1(); };
    const Expected e = expected(v, cases);
    const Moments m = ComputeMoments(e.values);
    EXPECT_NEAR(at(0), m.weight, 1e-12 * m.weight) << v << " after " << cases;
    EXPECT_NEAR(at(1), e.missing, 1e-12) << v << " after " << cases;
    EXPECT_NEAR(at(2), m.mean, 1e-12 * std::fabs(m.mean)) << v << " after " << cases;
    EXPECT_NEAR(at(3), m.stdDev, 1e-12 * m.stdDev) << v << " after " << cases;
    EXPECT_DOUBLE_EQ(at(4), WeightedPercentile(e.values, 25)) << v << " after " << cases;
    EXPECT_DOUBLE_EQ(at(5), WeightedPercentile(e.values, 50)) << v << " after " << cases;
    EXPECT_DOUBLE_EQ(at(6), WeightedPercentile(e.values, 75)) << v << " after " << cases;
  };

  TableHarness run(ds);
  for (int v = 0; v < 3; ++v) run.AddScale(v);
  int seen = 0;
  while (run.iterator().NextCase()) {
    for (int v = 0; v < 3; ++v) run.table(v).AddNewCase();
    if (++seen == kMiddle) {
      for (int v = 0; v < 3; ++v) {
        std::unique_ptr<CubeAggregator> middle(run.table(v).GetCubeAggregators().at(0));
        check(*middle, v, kMiddle);
      }
    }
  }
  ASSERT_EQ(seen, kCases);
  for (int v = 0; v < 3; ++v) {
    std::unique_ptr<CubeAggregator> end(run.table(v).GetCubeAggregators().at(0));
    check(*end, v, kCases);
  }
}

}  // namespace
}  // namespace codebook::aggregate
