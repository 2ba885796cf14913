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
