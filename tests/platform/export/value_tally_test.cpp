// The tally of a pass: an unweighted batch is counted a column at a time
// (valid and missing cases, least and greatest value), and that gives what
// counting case by case gives; weights keep cases that do not weigh out of
// the counts but not out of the file's total of cases.
#include <gtest/gtest.h>

#include <vector>

#include "platform/export/value_tally.h"
#include "testing/dataset_builder.h"

namespace codebook::exporting {
namespace {

std::shared_ptr<data::Dataset> Sample() {
  return data::DatasetBuilder()
      .Numeric("n").MissingRange(-5, -1, 9)
      .Numeric("plain")
      .String("s", 4).MissingStrings({"NA"})
      .String("free", 3)
      .Cases({{1, 7.5, "a", "x"}, {9, kSysmis, "NA", "y"}, {-3, -2, "b", "z"}, {kSysmis, 100, "NA", ""}, {4, 0, "c", "w"}})
      .Build();
}

void Feed(ValueTally& tally, const data::Dataset& dataset, const std::vector<double>& weights) {
  data::CaseBatch batch;
  batch.Shape(static_cast<std::size_t>(dataset.GetDictionary().CellsPerCase()), weights.size());
  auto cases = dataset.OpenCases();
  while (const OBS* cells = cases->Next()) batch.AppendCase(cells);
  batch.weights() = weights;
  tally.Observe(batch);
}

TEST(ValueTally, AnUnweightedBatchCountsAsCaseByCase) {
  const auto dataset = Sample();
  TallyOptions columns;  // counts and ranges only: a column at a time
  TallyOptions values;   // every value counted too: case by case
  values.countValues = true;
  ValueTally fast(*dataset, -1, columns);
  ValueTally slow(*dataset, -1, values);
  for (int round = 0; round < 2; ++round) {
    Feed(fast, *dataset, std::vector<double>(5, 1.0));
    Feed(slow, *dataset, std::vector<double>(5, 1.0));
  }
  for (int v = 0; v < dataset->ColumnCount(); ++v) {
    const VariableTally& a = fast.Of(v);
    const VariableTally& b = slow.Of(v);
    EXPECT_EQ(a.validCases, b.validCases) << v;
    EXPECT_EQ(a.missingCases, b.missingCases) << v;
    EXPECT_EQ(a.validWeight.Value(), b.validWeight.Value()) << v;
    EXPECT_EQ(a.missingWeight.Value(), b.missingWeight.Value()) << v;
    EXPECT_EQ(a.min, b.min) << v;
    EXPECT_EQ(a.max, b.max) << v;
  }
  // n: 1 and 4 valid; 9, -3 and system-missing missing.
  EXPECT_EQ(fast.Of(0).validCases, 4);
  EXPECT_EQ(fast.Of(0).missingCases, 6);
  EXPECT_EQ(fast.Of(0).min, 1);
  EXPECT_EQ(fast.Of(0).max, 4);
  EXPECT_EQ(fast.Of(1).min, -2);  // no missing values declared: -2 is valid
  EXPECT_EQ(fast.Of(1).max, 100);
  EXPECT_EQ(fast.Of(2).missingCases, 4);
  EXPECT_EQ(fast.Of(3).validCases, 10);
  EXPECT_EQ(fast.Cases(), 10);
  EXPECT_EQ(fast.WeightedCases(), 10);
}

TEST(ValueTally, CasesThatDoNotWeighAreLeftOutOfTheCounts) {
  const auto dataset = Sample();
  ValueTally tally(*dataset, -1, TallyOptions{});
  Feed(tally, *dataset, {2.0, 0.0, 0.5, -1.0, 1.0});
  EXPECT_EQ(tally.Cases(), 5);
  EXPECT_DOUBLE_EQ(tally.WeightedCases(), 3.5);
  EXPECT_EQ(tally.Of(0).validCases, 2);  // 1 and 4
  EXPECT_DOUBLE_EQ(tally.Of(0).validWeight.Value(), 3.0);
  EXPECT_DOUBLE_EQ(tally.Of(0).missingWeight.Value(), 0.5);
  EXPECT_EQ(tally.Of(1).min, -2);
  EXPECT_EQ(tally.Of(1).max, 7.5);  // 100 is the case of weight -1
}

}  // namespace
}  // namespace codebook::exporting
