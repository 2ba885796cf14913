// The pass counts tables a batch of cases at a time while the procedure
// takes the cases one by one. What the procedure sees must not show it: the
// category count at every case, the results of a table that stops taking
// cases inside a batch, results read in the middle of a pass, and the same
// bits whether one thread counts or two.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <set>
#include <string>
#include <vector>

#include "platform/aggregate/batched_pass.h"
#include "table_harness.h"
#include "testing/dataset_builder.h"

namespace codebook::aggregate {
namespace {

using data::DatasetBuilder;
using testing::AllScaleStatistics;
using testing::TableHarness;

// More cases than one batch holds, so that every question below also
// falls inside a batch and across its edges. New codes keep appearing
// until late; every seventh case is system-missing; the weights are
// fractions, so that any change in the order of a sum shows.
constexpr int kCases = 9000;

double Code(int i) {
  if (i % 7 == 3) return kSysmis;
  return static_cast<double>((i * 37) % (1 + i / 40));
}
std::string Text(int i) { return "t" + std::to_string((i * 11) % (3 + i / 300)); }
double Weight(int i) { return 0.25 + static_cast<double>((i * 13) % 17) / 16.0; }

std::shared_ptr<data::Dataset> Generated() {
  DatasetBuilder builder;
  builder.Numeric("code").Numeric("scale").Numeric("cont").String("text", 12).Numeric("a").Numeric("b")
      .Numeric("w").Weight("w");
  for (int i = 0; i < kCases; ++i) {
    builder.Case({Code(i), static_cast<double>(i % 97) * 0.5, 1000.0 + i * 0.001, Text(i), static_cast<double>(i % 5),
                  static_cast<double>((i / 3) % 4), Weight(i)});
  }
  return builder.Build();
}

// The distinct codes among the first n cases.
std::size_t DistinctCodes(int n) {
  std::set<double> seen;
  for (int i = 0; i < n; ++i) {
    if (Code(i) != kSysmis) seen.insert(Code(i));
  }
  return seen.size();
}

TEST(BatchedPass, CategoryCountIsThatOfTheCasesTakenAtEveryCase) {
  TableHarness run(Generated());
  const int t = run.AddCategorical(new AggregationVariable(0, "code"));
  const TableDimension* dimension = run.table(t).GetTableMetaData()->GetDimension(0);
  int n = 0;
  std::set<double> seen;
  while (run.iterator().NextCase()) {
    // Before the case is taken, and after.
    ASSERT_EQ(dimension->GetCategoryCount(), seen.size()) << "before case " << n;
    run.table(t).AddNewCase();
    if (Code(n) != kSysmis) seen.insert(Code(n));
    ASSERT_EQ(dimension->GetCategoryCount(), seen.size()) << "after case " << n;
    ++n;
  }
  EXPECT_EQ(n, kCases);
}

// What a table that stopped after `stop` cases must hold, against one fed
// exactly those cases from a dataset that has no more.
TEST(BatchedPass, ATableThatStopsInsideABatchHoldsExactlyTheCasesItTook) {
  for (const int stop : {1, 4095, 4096, 4097, 6000, kCases - 1}) {
    TableHarness run(Generated());
    const int code = run.AddCategorical(new AggregationVariable(0, "code"));
    const int text = run.AddCategorical(new AggregationVariable(3, "text"));
    const int mc = run.AddCategorical(new AggregationMCSet({4, 5}, "$mc"));
    OBS one;
    one.d = 1;
    const int md = run.AddCategorical(new AggregationMDSet({4, 5}, "$md", &one, 8, false));
    const int scale = run.AddScale(1);
    const int cont = run.AddScale(2);
    int n = 0;
    while (run.iterator().NextCase()) {
      if (n < stop) {
        for (int t = 0; t < 6; ++t) run.table(t).AddNewCase();
      }
      ++n;
    }
    // A table over a dataset of just those cases.
    DatasetBuilder prefix;
    prefix.Numeric("code").Numeric("scale").Numeric("cont").String("text", 12).Numeric("a").Numeric("b")
        .Numeric("w").Weight("w");
    for (int i = 0; i < stop; ++i) {
      prefix.Case({Code(i), static_cast<double>(i % 97) * 0.5, 1000.0 + i * 0.001, Text(i), static_cast<double>(i % 5),
                   static_cast<double>((i / 3) % 4), Weight(i)});
    }
    TableHarness want(prefix.Build());
    want.AddCategorical(new AggregationVariable(0, "code"));
    want.AddCategorical(new AggregationVariable(3, "text"));
    want.AddCategorical(new AggregationMCSet({4, 5}, "$mc"));
    want.AddCategorical(new AggregationMDSet({4, 5}, "$md", &one, 8, false));
    want.AddScale(1);
    want.AddScale(2);
    want.Run();
    run.Collect();
    for (const int t : {code, text, mc, md}) {
      const auto got = run.Categorical(t);
      const auto expected = want.Categorical(t);
      EXPECT_EQ(got.Counts(), expected.Counts()) << "table " << t << ", stop " << stop;
      EXPECT_EQ(got.total, expected.total) << "table " << t << ", stop " << stop;
      EXPECT_EQ(got.missing, expected.missing) << "table " << t << ", stop " << stop;
    }
    EXPECT_EQ(run.Categorical(code).rows.size(), DistinctCodes(stop));
    for (const int t : {scale, cont}) {
      const auto got = run.Scale(t);
      const auto expected = want.Scale(t);
      EXPECT_EQ(std::memcmp(&got, &expected, sizeof got), 0) << "table " << t << ", stop " << stop;
    }
  }
}

TEST(BatchedPass, ResultsReadDuringThePassAreThoseOfTheCasesTakenSoFar) {
  TableHarness run(Generated());
  const int t = run.AddCategorical(new AggregationVariable(0, "code"));
  const int s = run.AddScale(2);
  int n = 0;
  while (run.iterator().NextCase()) {
    run.table(t).AddNewCase();
    run.table(s).AddNewCase();
    if (++n == 5000) {
      std::unique_ptr<CubeAggregator> middle(run.table(s).GetCubeAggregators().at(0));
      const StatValues* values = middle->GetStatValues({}, -1);
      ASSERT_NE(values, nullptr);
      double w = 0;
      for (int i = 0; i < n; ++i) w += Weight(i);
      EXPECT_NEAR(values->GetStatValue(0).GetValue1(), w, 1e-9);
      const auto* dimension = run.table(t).GetTableMetaData()->GetDimension(0);
      EXPECT_EQ(dimension->GetCategories().size(), DistinctCodes(n) + 1);  // and the total
    }
  }
  run.Collect();
  EXPECT_EQ(run.Categorical(t).rows.size(), DistinctCodes(kCases));
}

// Every result of a pass over every kind of table, as bits.
std::vector<std::uint64_t> AllResults(int threads) {
  SetPassThreads(threads);
  TableHarness run(Generated());
  run.AddCategorical(new AggregationVariable(0, "code"));
  run.AddCategorical(new AggregationVariable(3, "text"));
  run.AddCategorical(new AggregationMCSet({4, 5}, "$mc"));
  OBS one;
  one.d = 1;
  run.AddCategorical(new AggregationMDSet({4, 5}, "$md", &one, 8, false));
  for (int v : {0, 1, 2, 4, 5}) run.AddScale(v);
  run.Run();
  SetPassThreads(0);
  std::vector<std::uint64_t> bits;
  const auto add = [&](double x) {
    std::uint64_t b;
    std::memcpy(&b, &x, 8);
    bits.push_back(b);
  };
  for (int t = 0; t < 4; ++t) {
    const auto r = run.Categorical(t);
    for (const auto& row : r.rows) {
      add(row.count);
      add(row.percent);
    }
    add(r.missing);
    add(r.total);
  }
  for (int t = 4; t < 9; ++t) {
    const auto r = run.Scale(t);
    for (double x : {r.valid, r.missing, r.mean, r.sd, r.p25, r.p50, r.p75}) add(x);
  }
  return bits;
}

TEST(BatchedPass, OneThreadOrTwoGiveTheSameBits) {
  const auto one = AllResults(1);
  EXPECT_EQ(AllResults(2), one);
  EXPECT_EQ(AllResults(2), one);  // and again: no run depends on timing
}

}  // namespace
}  // namespace codebook::aggregate
