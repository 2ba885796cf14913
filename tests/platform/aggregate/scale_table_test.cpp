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

TEST(ScaleTable, UnweightedWithMissingValues) {
  // Valid: 1, 2, 3, 4, 10; user-missing 99 twice; system-missing once.
  auto ds = DatasetBuilder()
                .Numeric("x")
                .MissingDiscrete({99})
                .Cases({{3}, {99}, {1}, {kSysmis}, {10}, {2}, {99}, {4}})
                .Build();
  TableHarness run(ds);
  const int t = run.AddScale(0);
  run.Run();
  auto s = run.Scale(t);
  EXPECT_EQ(s.valid, 5);
  EXPECT_EQ(s.missing, 3);
  EXPECT_DOUBLE_EQ(s.mean, 4);
  // Deviations -3 -2 -1 0 6: squares 50, variance 50 / 4.
  EXPECT_DOUBLE_EQ(s.sd, std::sqrt(12.5));
  // t = 6 p: 1.5 -> 1.5; 3 -> 3; 4.5 -> 4 + .5 * 6 = 7.
  EXPECT_DOUBLE_EQ(s.p25, 1.5);
  EXPECT_DOUBLE_EQ(s.p50, 3);
  EXPECT_DOUBLE_EQ(s.p75, 7);
}

TEST(ScaleTable, IntegerWeightsEqualRepeatedCases) {
  auto weighted = DatasetBuilder()
                      .Numeric("x")
                      .Numeric("w")
                      .Weight("w")
                      .Cases({{5, 2}, {7, 1}, {1, 3}, {8, 0}, {9, -2}, {6, kSysmis}, {kSysmis, 2}})
                      .Build();
  auto repeated = DatasetBuilder()
                      .Numeric("x")
                      .Cases({{5}, {5}, {7}, {1}, {1}, {1}, {kSysmis}, {kSysmis}})
                      .Build();
  TableHarness a(weighted);
  TableHarness b(repeated);
  a.AddScale(0);
  b.AddScale(0);
  a.Run();
  b.Run();
  auto sa = a.Scale(0);
  auto sb = b.Scale(0);
  EXPECT_EQ(sa.valid, 6);
  EXPECT_EQ(sa.missing, 2);
  EXPECT_DOUBLE_EQ(sa.mean, sb.mean);
  EXPECT_DOUBLE_EQ(sa.sd, sb.sd);
  EXPECT_DOUBLE_EQ(sa.p25, sb.p25);
  EXPECT_DOUBLE_EQ(sa.p50, sb.p50);
  EXPECT_DOUBLE_EQ(sa.p75, sb.p75);
  // 1 1 1 5 5 7: t = 7 p: 1.75 -> 1; 3.5 -> 3 + .5 * 4 = 3; 5.25 -> 5 + .25 * 2.
  EXPECT_DOUBLE_EQ(sa.p25, 1);
  EXPECT_DOUBLE_EQ(sa.p50, 3);
  EXPECT_DOUBLE_EQ(sa.p75, 5.5);
}

TEST(ScaleTable, OneCaseAndNoValidCase) {
  auto ds = DatasetBuilder().Numeric("x").Numeric("y").MissingDiscrete({0}).Cases({{42.5, 0}}).Build();
  TableHarness run(ds);
  const int x = run.AddScale(0);
  const int y = run.AddScale(1);
  run.Run();
  auto sx = run.Scale(x);
  EXPECT_EQ(sx.valid, 1);
  EXPECT_EQ(sx.mean, 42.5);
  EXPECT_EQ(sx.sd, kSysmis);
  EXPECT_EQ(sx.p25, 42.5);
  EXPECT_EQ(sx.p75, 42.5);
  auto sy = run.Scale(y);
  EXPECT_EQ(sy.valid, 0);
  EXPECT_EQ(sy.missing, 1);
  EXPECT_EQ(sy.mean, kSysmis);
  EXPECT_EQ(sy.sd, kSysmis);
  EXPECT_EQ(sy.p50, kSysmis);
}

TEST(ScaleTable, StringVariableHasCountsOnly) {
  auto ds = DatasetBuilder().String("s", 4).MissingStrings({"x"}).Cases({{"a"}, {"x"}, {""}}).Build();
  TableHarness run(ds);
  const int t = run.AddScale(0);
  run.Run();
  auto s = run.Scale(t);
  EXPECT_EQ(s.valid, 2);
  EXPECT_EQ(s.missing, 1);
  EXPECT_EQ(s.mean, kSysmis);
  EXPECT_EQ(s.p50, kSysmis);
}

TEST(ScaleTable, NoCaseAtAll) {
  auto ds = DatasetBuilder().Numeric("x").Build();
  TableHarness run(ds);
  const int t = run.AddScale(0);
  run.Run();
  auto s = run.Scale(t);
  EXPECT_EQ(s.valid, 0);
  EXPECT_EQ(s.missing, 0);
  EXPECT_EQ(s.mean, kSysmis);
}

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
