// Which variables `--hide-values auto` hides: every string, and the
// numbers whose values are almost all distinct (identifiers), however many
// values a big file gives its ordinary measures.
#include <gtest/gtest.h>

#include <memory>
#include <set>
#include <string>
#include <vector>

#include "platform/report/hidden_values.h"
#include "testing/dataset_builder.h"

namespace codebook::report {
namespace {

using data::DatasetBuilder;

void ObserveEveryCase(exporting::ValueTally& tally, const data::Dataset& dataset) {
  auto cases = dataset.OpenCases();
  data::CaseBatch batch;
  batch.Shape(static_cast<std::size_t>(dataset.GetDictionary().CellsPerCase()), 1);
  while (const OBS* cells = cases->Next()) {
    batch.Clear();
    batch.AppendCase(cells);
    batch.weights() = {1.0};
    tally.Observe(batch);
  }
}

// `distinct`, when given, receives each variable's count of distinct values.
std::set<int> HiddenOf(const data::Dataset& dataset, const std::string& request,
                       std::vector<std::size_t>* distinct = nullptr) {
  const HideRequest parsed = ParseHideRequest(request);
  exporting::ValueTally tally(dataset, -1, HideTallyOptions(parsed, dataset));
  ObserveEveryCase(tally, dataset);
  if (distinct != nullptr) {
    for (int i = 0; i < dataset.ColumnCount(); ++i) distinct->push_back(tally.Of(i).DistinctValues());
  }
  std::vector<std::string> unknown;
  return ChooseHidden(parsed, dataset, &tally, unknown);
}

TEST(HiddenValues, AutomaticHidesIdentifiersByTheirShareOfDistinctValues) {
  // More distinct values than the tally keeps: an identifier (every case
  // its own), a measure whose values repeat (each thrice), and one whose
  // values are all distinct but for a frequent code (2% of the cases),
  // which is met first and must not pass for repetition.
  DatasetBuilder builder;
  builder.Numeric("id").Numeric("amount").Numeric("mostly").Numeric("small").String("note", 4);
  constexpr int kCases = 36000;
  for (int i = 0; i < kCases; ++i) {
    builder.Case({1e6 + i, static_cast<double>(i / 3), static_cast<double>(i % 50 == 0 ? 0 : i), i % 7 + 1.0, "x"});
  }
  const auto dataset = builder.Build();
  EXPECT_EQ(HiddenOf(*dataset, "auto"), (std::set<int>{0, 2, 4}));
  // What the output says of the number of values is an estimate there.
  std::vector<std::size_t> distinct;
  HiddenOf(*dataset, "auto", &distinct);
  EXPECT_NEAR(static_cast<double>(distinct[0]), kCases, 0.05 * kCases);
  EXPECT_NEAR(static_cast<double>(distinct[1]), kCases / 3, 0.05 * kCases / 3);
  EXPECT_EQ(distinct[3], 7u);  // exact: below the limit
  // Named variables are hidden whatever their values.
  EXPECT_EQ(HiddenOf(*dataset, "small, amount"), (std::set<int>{1, 3}));
}

TEST(HiddenValues, SmallFilesAreJudgedOnEveryValue) {
  auto dataset = DatasetBuilder()
                     .Numeric("code").Numeric("twice")
                     .Cases({{1, 1}, {2, 1}, {3, 2}, {4, 2}, {5, 3}, {6, 3}, {7, 4}, {8, 4}, {9, 5}, {10, 5}})
                     .Build();
  EXPECT_EQ(HiddenOf(*dataset, "auto"), std::set<int>{0});
  // Fewer than ten cases say nothing sure about identity.
  auto few = DatasetBuilder().Numeric("code").Cases({{1}, {2}, {3}}).Build();
  EXPECT_EQ(HiddenOf(*few, "auto"), std::set<int>{});
}

// The note says how many distinct values a hidden variable has: exactly,
// up to the number the tally keeps (10,000), and as an estimate past it.
TEST(HiddenValues, TheNoteCountsExactlyUpToTheTallysLimit) {
  for (const int values : {10000, 10001}) {
    DatasetBuilder builder;
    builder.Numeric("id");
    for (int i = 0; i < values; ++i) builder.Case({i * 7.0});
    const auto dataset = builder.Build();
    exporting::ValueTally tally(*dataset, -1, HideTallyOptions(ParseHideRequest("id"), *dataset));
    ObserveEveryCase(tally, *dataset);
    const std::string note = HiddenText(&tally, 0);
    if (values == 10000) {
      EXPECT_EQ(note, "values hidden; 10000 distinct values");
    } else {
      EXPECT_EQ(note.rfind("values hidden; about ", 0), 0u) << note;
    }
  }
}

}  // namespace
}  // namespace codebook::report
