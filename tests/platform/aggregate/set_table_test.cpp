// Multiple-response sets as dimensions: category sets count a value once
// per case, dichotomy sets count the members that hold the counted value.
#include <gtest/gtest.h>
#include <gmock/gmock.h>

#include <cstring>

#include "host/aggregate/aggregation_table.h"
#include "table_harness.h"
#include "testing/dataset_builder.h"

namespace codebook::aggregate {
namespace {

using data::DatasetBuilder;
using testing::TableHarness;
using ::testing::ElementsAre;

std::vector<int> VarIndexes(const testing::CategoricalResult& r) {
  std::vector<int> out;
  for (const auto& row : r.rows) out.push_back(row.category->GetVarIndex());
  return out;
}

TEST(CategorySet, NumericMembersCountEachValueOncePerCase) {
  auto ds = DatasetBuilder()
                .Numeric("id")
                .Numeric("m1")
                .MissingDiscrete({9})
                .ValueLabel(3, "Three")
                .Numeric("m2")
                .Numeric("w")
                .Weight("w")
                .Cases({{1, 3, 3, 1},             // 3 twice in one case: once
                        {2, 1, 5, 2},             // 1 from m1, 5 from m2
                        {3, 9, kSysmis, 1},       // 9 is missing for m1 only: no valid value
                        {4, kSysmis, 9, 0.5},     // 9 is valid for m2
                        {5, 2, 1, 0},             // no weight: not counted anywhere
                        {6, kSysmis, kSysmis, 1}})
                .Build();
  TableHarness run(ds);
  auto* set = new AggregationMCSet({1, 2}, "$set");
  const int t = run.AddCategorical(set);
  run.Run();
  auto r = run.Categorical(t);
  EXPECT_NE(dynamic_cast<const TableMCSet*>(r.dimension), nullptr);
  EXPECT_THAT(r.NumericValues(), ElementsAre(1, 3, 5, 9));
  EXPECT_THAT(r.Counts(), ElementsAre(2, 1, 2, 0.5));
  // The member where each value was first met.
  EXPECT_THAT(VarIndexes(r), ElementsAre(1, 1, 2, 2));
  EXPECT_EQ(r.rows[1].category->GetCatLabel(), "Three");
  // W = 5.5; cases without a valid value: case 3 and case 6.
  EXPECT_DOUBLE_EQ(r.total, 5.5);
  EXPECT_DOUBLE_EQ(r.missing, 2);
  EXPECT_DOUBLE_EQ(r.rows[0].percent, 2 / 5.5 * 100);
}

TEST(CategorySet, StringMembersOfDifferentWidths) {
  auto ds = DatasetBuilder()
                .String("a", 3)
                .MissingStrings({"NA"})
                .String("b", 12)
                .Cases({{"x", "x  "}, {"NA", ""}, {"", "longer value"}, {"NA", "NA"}})
                .Build();
  TableHarness run(ds);
  const int t = run.AddCategorical(new AggregationMCSet({0, 1}, "$s"));
  run.Run();
  auto r = run.Categorical(t);
  // A blank string is a value; "NA" is missing in a only.
  EXPECT_THAT(r.StringValues(12), ElementsAre("", "NA", "longer value", "x"));
  EXPECT_THAT(r.Counts(), ElementsAre(2, 1, 1, 1));
  EXPECT_THAT(VarIndexes(r), ElementsAre(1, 1, 1, 0));
  EXPECT_DOUBLE_EQ(r.missing, 0);
  EXPECT_DOUBLE_EQ(r.total, 4);
}

TEST(CategorySet, CountGrowsDuringThePass) {
  auto ds = DatasetBuilder().Numeric("a").Numeric("b").Cases({{1, 1}, {1, 2}, {3, 4}}).Build();
  TableHarness run(ds);
  auto* set = new AggregationMCSet({0, 1}, "$s");
  const int t = run.AddCategorical(set);
  std::vector<std::size_t> seen;
  while (run.iterator().NextCase()) {
    run.table(t).AddNewCase();
    seen.push_back(set->GetDimension()->GetCategoryCount());
  }
  EXPECT_THAT(seen, ElementsAre(1, 2, 4));
}

TEST(DichotomySet, NumericCountedValue) {
  auto ds = DatasetBuilder()
                .Numeric("a").Label("Brand A")
                .Numeric("b")
                .Numeric("c").Label("Brand C")
                .Numeric("w")
                .Weight("w")
                .Cases({{1, 0, 1, 2}, {0, 0, 1, 1}, {0, 0, 0, 1}, {kSysmis, 0, 0, 0.5}, {1, 1, 1, -1}})
                .Build();
  TableHarness run(ds);
  OBS counted;
  counted.d = 1;
  auto* set = new AggregationMDSet({0, 1, 2}, "$d", &counted, 8, false);
  counted.d = 0;  // the set copied it
  const int t = run.AddCategorical(set);
  run.Run();
  auto r = run.Categorical(t);
  EXPECT_NE(dynamic_cast<const TableMDSet*>(r.dimension), nullptr);
  // b never holds 1 in a weighted case: no category.
  EXPECT_THAT(VarIndexes(r), ElementsAre(0, 2));
  EXPECT_THAT(r.Counts(), ElementsAre(2, 3));
  EXPECT_EQ(r.rows[0].category->GetCatValue(), nullptr);
  EXPECT_EQ(r.rows[0].category->GetCatLabel(), "Brand A");
  EXPECT_DOUBLE_EQ(r.total, 4.5);
  EXPECT_DOUBLE_EQ(r.missing, 1.5);
  EXPECT_DOUBLE_EQ(r.rows[1].percent, 3 / 4.5 * 100);
}

TEST(DichotomySet, StringCountedValueIgnoresTrailingBlanks) {
  auto ds = DatasetBuilder()
                .String("tv", 1)
                .String("web", 10)
                .String("print", 3)
                .Cases({{"Y", "Y", "N"}, {"N", "Y         ", "y"}, {" ", "", "Y  "}, {"N", "N", ""}})
                .Build();
  TableHarness run(ds);
  // As the procedure builds it: cells of the widest member, blank-filled.
  OBS counted[2];
  std::memset(counted, ' ', sizeof counted);
  counted[0].c[0] = 'Y';
  const int t = run.AddCategorical(new AggregationMDSet({0, 1, 2}, "$media", counted, 2, false));
  run.Run();
  auto r = run.Categorical(t);
  EXPECT_THAT(VarIndexes(r), ElementsAre(0, 1, 2));
  EXPECT_THAT(r.Counts(), ElementsAre(1, 2, 1));
  EXPECT_EQ(r.rows[1].category->GetCatLabel(), "web");  // no label: the name
  EXPECT_DOUBLE_EQ(r.missing, 1);
  EXPECT_DOUBLE_EQ(r.total, 4);
}

TEST(DichotomySet, EightCellStringCountedValue) {
  // Length 8 is also the length of a numeric counted value; string members
  // decide that it is a string of eight cells.
  const std::string value(60, 'z');
  auto ds = DatasetBuilder().String("a", 64).String("b", 64).Cases({{value, "z"}, {"z", value}}).Build();
  TableHarness run(ds);
  OBS counted[8];
  std::memset(counted, ' ', sizeof counted);
  std::memcpy(counted, value.data(), value.size());
  const int t = run.AddCategorical(new AggregationMDSet({0, 1}, "$long", counted, 8, false));
  run.Run();
  auto r = run.Categorical(t);
  EXPECT_THAT(r.Counts(), ElementsAre(1, 1));
  EXPECT_DOUBLE_EQ(r.missing, 0);
}

TEST(DichotomySet, UnknownMembersAndTypeMismatchHoldNothing) {
  auto ds = DatasetBuilder().Numeric("a").String("s", 4).Cases({{1, "1"}, {1, "x"}}).Build();
  TableHarness run(ds);
  OBS counted;
  counted.d = 1;
  const int t = run.AddCategorical(new AggregationMDSet({0, 1, 40}, "$d", &counted, 8, false));
  run.Run();
  auto r = run.Categorical(t);
  EXPECT_THAT(VarIndexes(r), ElementsAre(0));
  EXPECT_THAT(r.Counts(), ElementsAre(2));
  EXPECT_DOUBLE_EQ(r.missing, 0);
}

}  // namespace
}  // namespace codebook::aggregate
