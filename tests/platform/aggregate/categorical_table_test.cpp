// Category counts of single variables: weights, missing values, strings,
// labeled-values-only dimensions, and the running category count that the
// procedure's early stop reads.
#include <gtest/gtest.h>
#include <gmock/gmock.h>

#include <cmath>
#include <cstring>
#include <random>

#include "host/aggregate/aggregation_table.h"
#include "table_harness.h"
#include "testing/dataset_builder.h"

namespace codebook::aggregate {
namespace {

using data::DatasetBuilder;
using testing::TableHarness;
using ::testing::ElementsAre;

TEST(CategoricalTable, UserMissingValuesAreCategoriesAndMissing) {
  auto ds = DatasetBuilder()
                .Numeric("x")
                .MissingRange(-100, -1, 9)
                .Cases({{9}, {1}, {-5}, {kSysmis}, {-0.0}, {0.0}, {9}, {1e300}})
                .Build();
  TableHarness run(ds);
  const int t = run.AddCategorical(new AggregationVariable(0, "x"));
  run.Run();
  auto r = run.Categorical(t);
  // Numbers ascending; -0 and 0 are one category; sysmis is none.
  EXPECT_THAT(r.NumericValues(), ElementsAre(-5, 0, 1, 9, 1e300));
  EXPECT_THAT(r.Counts(), ElementsAre(1, 2, 1, 2, 1));
  // 198: the user-missing -5, 9, 9 and the system-missing case.
  EXPECT_DOUBLE_EQ(r.missing, 4);
  EXPECT_DOUBLE_EQ(r.total, 8);
  EXPECT_DOUBLE_EQ(r.rows[3].percent, 25);
}

TEST(CategoricalTable, ExcludingUserMissingLeavesThemOutOfTheCategories) {
  auto ds = DatasetBuilder().Numeric("x").MissingDiscrete({9}).Cases({{9}, {1}, {2}, {9}}).Build();
  TableHarness run(ds);
  auto* dimension = new AggregationVariable(0, "x");
  const int t = run.AddCategorical(dimension);
  dimension->SetExcludeUserMissing(true);
  run.Run();
  auto r = run.Categorical(t);
  EXPECT_THAT(r.NumericValues(), ElementsAre(1, 2));
  EXPECT_DOUBLE_EQ(r.missing, 2);
  EXPECT_DOUBLE_EQ(r.total, 4);
}

TEST(CategoricalTable, LabeledValuesOnlyKeepsTheGivenValuesInOrder) {
  auto ds = DatasetBuilder()
                .Numeric("x")
                .MissingDiscrete({99})
                .Cases({{1}, {2}, {2}, {5}, {99}, {98}, {kSysmis}})
                .Build();
  TableHarness run(ds);
  auto* dimension = new AggregationVariable(0, "x");
  // Given in an order that is not ascending, one value never met.
  OBS values[4];
  values[0].d = 2;
  values[1].d = 99;
  values[2].d = 7;
  values[3].d = 1;
  dimension->SetCategories({new ParsedCategory(values[0], 0), new ParsedCategory(values[1], 0),
                            new ParsedCategory(values[2], 0), new ParsedCategory(values[3], 0)});
  const int t = run.AddCategorical(dimension);
  // Overwrite the caller's cells: the dimension must have copied them.
  values[0].d = values[1].d = values[2].d = values[3].d = -1;
  EXPECT_EQ(dimension->GetDimension()->GetCategoryCount(), 4u);
  run.Run();
  auto r = run.Categorical(t);
  EXPECT_THAT(r.NumericValues(), ElementsAre(2, 99, 7, 1));
  EXPECT_THAT(r.Counts(), ElementsAre(2, 1, 0, 1));
  EXPECT_DOUBLE_EQ(r.rows[2].percent, 0);
  // 5 and 98 are not categories but count in W; 99 and sysmis are missing.
  EXPECT_DOUBLE_EQ(r.total, 7);
  EXPECT_DOUBLE_EQ(r.missing, 2);
}

TEST(CategoricalTable, LabeledValuesOnlyForLongStrings) {
  auto ds = DatasetBuilder()
                .String("s", 20)
                .Cases({{"a long string value"}, {"x"}, {"a long string value "}})
                .Build();
  TableHarness run(ds);
  auto* dimension = new AggregationVariable(0, "s");
  OBS cells[6];
  std::memset(cells, ' ', sizeof cells);
  std::memcpy(cells, "a long string value", 19);
  std::memcpy(cells + 3, "never", 5);
  dimension->SetCategories({new ParsedCategory(cells[0], 0), new ParsedCategory(cells[3], 0)});
  const int t = run.AddCategorical(dimension);
  std::memset(cells, 'q', sizeof cells);  // copied once the dimension is in its cube
  run.Run();
  auto r = run.Categorical(t);
  EXPECT_THAT(r.StringValues(20), ElementsAre("a long string value", "never"));
  EXPECT_THAT(r.Counts(), ElementsAre(2, 0));
  EXPECT_DOUBLE_EQ(r.total, 3);
  EXPECT_DOUBLE_EQ(r.missing, 0);
}

TEST(CategoricalTable, CategoryCountGrowsWithDistinctValuesMet) {
  auto ds = DatasetBuilder().Numeric("x").Cases({{1}, {1}, {2}, {kSysmis}, {3}, {2}}).Build();
  TableHarness run(ds);
  auto* dimension = new AggregationVariable(0, "x");
  const int t = run.AddCategorical(dimension);
  const TableDimension* tableDimension = run.table(t).GetTableMetaData()->GetDimension(0);
  ASSERT_NE(tableDimension, nullptr);
  EXPECT_EQ(tableDimension, dimension->GetDimension());
  std::vector<std::size_t> seen;
  while (run.iterator().NextCase()) {
    run.table(t).AddNewCase();
    seen.push_back(tableDimension->GetCategoryCount());
  }
  EXPECT_THAT(seen, ElementsAre(1, 1, 2, 2, 3, 3));
  // Asking for categories in the middle of a pass is allowed too.
  EXPECT_EQ(tableDimension->GetCategories().size(), 4u);
}

TEST(CategoricalTable, AVariableNotInTheDatasetCountsEveryCaseAsMissing) {
  auto ds = DatasetBuilder().Numeric("x").Cases({{1}, {2}}).Build();
  TableHarness run(ds);
  const int t = run.AddCategorical(new AggregationVariable(17, "nothing"));
  run.Run();
  auto r = run.Categorical(t);
  EXPECT_TRUE(r.rows.empty());
  EXPECT_DOUBLE_EQ(r.missing, 2);
  EXPECT_DOUBLE_EQ(r.total, 2);
}

TEST(CategoricalTable, SelectionsFromElsewhereGiveNoValues) {
  auto ds = DatasetBuilder().Numeric("x").Numeric("y").Cases({{1, 5}, {2, 6}}).Build();
  TableHarness run(ds);
  const int a = run.AddCategorical(new AggregationVariable(0, "x"));
  const int b = run.AddCategorical(new AggregationVariable(1, "y"));
  run.Run();
  auto ra = run.Categorical(a);
  // A category of another table's dimension, and two categories at once.
  EXPECT_EQ(run.aggregator(b).GetStatValues({ra.rows[0].category}, -1), nullptr);
  EXPECT_EQ(run.aggregator(a).GetStatValues({ra.rows[0].category, ra.rows[1].category}, -1), nullptr);
  // No scale statistics were asked: the cell over all cases has no values.
  EXPECT_EQ(run.aggregator(a).GetStatValues({}, -1), nullptr);
}

TEST(CategoricalTable, WithoutTotalTheLastCategoryIsReal) {
  auto ds = DatasetBuilder().Numeric("x").Cases({{1}, {2}}).Build();
  TableHarness run(ds);
  auto* dimension = new AggregationVariable(0, "x");
  run.AddCategorical(dimension);
  dimension->SetIsTotalNo(true);
  run.Run();
  const auto& categories = dimension->GetDimension()->GetCategories();
  ASSERT_EQ(categories.size(), 2u);
  EXPECT_EQ(categories[1]->GetCatValue()->d, 2);
}

TEST(AggregationTable, AggregatorsOutliveTheirTableAndMayBeTakenTwice) {
  auto ds = DatasetBuilder().Numeric("x").Cases({{1}, {2}, {2}}).Build();
  auto selection = std::make_shared<ProcedureDataSource::Selection>(ds);
  auto iterator = selection->CreateIterator();
  auto table = std::make_unique<AggregationTable>(*iterator, false, true, -1);
  AggregationCube* cube = table->CreateCube();
  EXPECT_EQ(cube, table->CreateCube());
  EXPECT_EQ(table->GetTableMetaData()->GetDimension(0), nullptr);
  cube->CreateCubeAggregator();
  // Statistics given after the aggregator was created still count.
  cube->AddScaleStatistics(testing::AllScaleStatistics(0));
  while (iterator->NextCase()) table->AddNewCase();
  auto first = table->GetCubeAggregators();
  auto second = table->GetCubeAggregators();
  ASSERT_EQ(first.size(), 1u);
  ASSERT_EQ(second.size(), 1u);
  std::unique_ptr<CubeAggregator> a(first[0]);
  std::unique_ptr<CubeAggregator> b(second[0]);
  table.reset();
  const StatValues* values = a->GetStatValues({}, -1);
  ASSERT_NE(values, nullptr);
  EXPECT_EQ(values->GetStatValue(0).GetValue1(), 3);
  EXPECT_DOUBLE_EQ(values->GetStatValue(2).GetValue1(), 5.0 / 3.0);
  EXPECT_EQ(values->GetCellStatistic().GetStatistic(4), TableEncryptionCodes::kStatPercentile);
  EXPECT_EQ(b->GetStatValues({}, -1)->GetStatValue(0).GetValue1(), 3);
}

// A table counts codes in a record inside itself; its aggregator and its
// dimension keep the counts when the table goes.
TEST(AggregationTable, CategoryCountsOutliveTheTable) {
  auto ds = DatasetBuilder().Numeric("x").Numeric("w").Weight("w").Cases({{1, 2}, {2, 0.5}, {2, 1}, {3.5, 1}, {kSysmis, 4}}).Build();
  auto selection = std::make_shared<ProcedureDataSource::Selection>(ds);
  auto iterator = selection->CreateIterator();
  auto table = std::make_unique<AggregationTable>(*iterator, false, true, -1);
  auto* dimension = new AggregationVariable(0, "x");
  dimension->SetIsTotalNo(false);
  AggregationCube* cube = table->CreateCube();
  cube->AddCategoricalVariable(dimension, TableEncryptionCodes::kDimensionRow);
  cube->CreateCubeAggregator();
  cube->AddCategoryAndTotalStatistics({AggregationStatistic(TableEncryptionCodes::kStatCount)}, dimension,
                                      {AggregationStatistic(TableEncryptionCodes::kStatTotalCount)});
  while (iterator->NextCase()) table->AddNewCase();
  std::unique_ptr<CubeAggregator> aggregator(table->GetCubeAggregators().at(0));
  table.reset();
  const auto& categories = dimension->GetDimension()->GetCategories();
  ASSERT_EQ(categories.size(), 4u);  // 1, 2, 3.5, total
  std::vector<double> counts;
  for (const AggregationCategory* c : categories) counts.push_back(aggregator->GetStatValues({c}, -1)->GetStatValue(0).GetValue1());
  EXPECT_EQ(counts, (std::vector<double>{2, 1.5, 1, 8.5}));
}

// Past a couple of thousand tables each table knows the one made some
// tables after it (for prefetching), and that one knows it back. Tables
// made, given dimensions and deleted in any order must never touch a
// deleted neighbour (AddressSanitizer watches) and must count as if alone.
TEST(AggregationTable, TablesMadeAndDeletedInAnyOrderCountAlone) {
  auto ds = DatasetBuilder().Numeric("x").Cases({{1}, {2}, {2}, {7}}).Build();
  auto selection = std::make_shared<ProcedureDataSource::Selection>(ds);
  auto iterator = selection->CreateIterator();
  std::mt19937 rng(5);
  std::vector<std::unique_ptr<AggregationTable>> tables;
  std::vector<AggregationVariable*> dimensions;
  auto make = [&] {
    tables.push_back(std::make_unique<AggregationTable>(*iterator, false, true, -1));
    dimensions.push_back(nullptr);
  };
  auto attach = [&](std::size_t i) {
    auto* dimension = new AggregationVariable(0, "x");
    dimension->SetIsTotalNo(false);
    AggregationCube* cube = tables[i]->CreateCube();
    cube->AddCategoricalVariable(dimension, TableEncryptionCodes::kDimensionRow);
    cube->AddCategoryAndTotalStatistics({AggregationStatistic(TableEncryptionCodes::kStatCount)}, dimension, {});
    dimensions[i] = dimension;
  };
  auto drop = [&](std::size_t i) {
    tables.erase(tables.begin() + static_cast<std::ptrdiff_t>(i));
    dimensions.erase(dimensions.begin() + static_cast<std::ptrdiff_t>(i));
  };
  for (int round = 0; round < 4; ++round) {
    for (int i = 0; i < 1500; ++i) make();
    // Dimensions join late and out of order, some tables go before theirs does.
    for (int i = 0; i < 500; ++i) drop(rng() % tables.size());
    for (std::size_t i = 0; i < tables.size(); ++i) {
      if (dimensions[i] == nullptr && rng() % 2 == 0) attach(i);
    }
  }
  for (std::size_t i = 0; i < tables.size(); ++i) {
    if (dimensions[i] == nullptr) attach(i);
  }
  while (iterator->NextCase()) {
    for (auto& t : tables) t->AddNewCase();
  }
  for (std::size_t i = 0; i < tables.size(); ++i) {
    std::unique_ptr<CubeAggregator> aggregator(tables[i]->GetCubeAggregators().at(0));
    std::vector<double> counts;
    for (const AggregationCategory* c : dimensions[i]->GetDimension()->GetCategories()) {
      if (const StatValues* v = aggregator->GetStatValues({c}, -1)) counts.push_back(v->GetStatValue(0).GetValue1());
    }
    EXPECT_EQ(counts, (std::vector<double>{1, 2, 1})) << i;
  }
  while (!tables.empty()) drop(rng() % tables.size());
}

}  // namespace
}  // namespace codebook::aggregate

namespace codebook::aggregate {
namespace {

TEST(CategoricalTable, LabeledValuesGivenAfterJoiningTheCube) {
  auto ds = DatasetBuilder().String("s", 12).MissingStrings({"na"}).Cases({{"na"}, {"twelve chars"}, {"x"}}).Build();
  TableHarness run(ds);
  auto* dimension = new AggregationVariable(0, "s");
  const int t = run.AddCategorical(dimension);
  OBS cells[4];
  std::memset(cells, ' ', sizeof cells);
  std::memcpy(cells, "twelve chars", 12);
  std::memcpy(cells + 2, "na", 2);
  dimension->SetCategories({new ParsedCategory(cells[0], 0), new ParsedCategory(cells[2], 0)});
  std::memset(cells, 'q', sizeof cells);
  run.Run();
  auto r = run.Categorical(t);
  EXPECT_THAT(r.StringValues(12), ElementsAre("twelve chars", "na"));
  EXPECT_THAT(r.Counts(), ElementsAre(1, 1));
  // The labeled user-missing value is a category and missing as well.
  EXPECT_DOUBLE_EQ(r.missing, 1);
  EXPECT_DOUBLE_EQ(r.total, 3);
}

}  // namespace
}  // namespace codebook::aggregate
