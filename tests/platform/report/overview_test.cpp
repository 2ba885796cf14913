// The parts of the overview and the file's summary that do not need a run
// of the procedure: the MAXCATS a command sets, the distinct values and
// range a distribution gives, a file's name without its folder, and what
// the summary takes from the dataset and the tally.
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "platform/report/distributions.h"
#include "platform/report/file_summary.h"
#include "platform/report/overview.h"
#include "testing/dataset_builder.h"

namespace codebook::report {
namespace {

TEST(Overview, MaxCategoriesIsReadFromTheCommandAsTheProcedureReadsIt) {
  const struct {
    const char* command;
    int expected;
  } cases[] = {
      {"CODEBOOK x", 200},
      {"CODEBOOK x /OPTIONS MAXCATS=20", 20},
      {"codebook x /options maxcats = 7", 7},
      {"CODEBOOK x /OPT VARORDER=ALPHA MAXC=5", 5},          // abbreviations of three letters or more
      {"CODEBOOK x /OPTIONS MAXCATS=0", 200},                // refused by the procedure: its default
      {"CODEBOOK x /OPTIONS MAXCATS=2.5", 200},
      {"CODEBOOK x /OPTIONS MAXCATS=-3", 200},
      {"CODEBOOK x /OPTIONS MAXCATS=99999999999", 200},
      {"CODEBOOK x /STATISTICS COUNT /OPTIONS SORT=DESCENDING MAXCATS=3", 3},
      {"CODEBOOK maxcats /VARINFO LABEL", 200},              // a variable of that name
      {"CODEBOOK x /OPTIONS MAXCATS", 200},
      {"", 200},
      {"CODEBOOK x /OPTIONS MAXCATS='12'", 200},
  };
  for (const auto& c : cases) EXPECT_EQ(MaxCategories(c.command), c.expected) << c.command;
}

aggregate::WeightedValue Weighted(double value, double weight) {
  aggregate::WeightedValue entry{};
  entry.value = value;
  entry.weight = weight;
  return entry;
}

TEST(Overview, ADistributionGivesItsDistinctValuesAndRangeOfPositiveWeight) {
  DistributionCollector collector(false);
  const std::vector<aggregate::WeightedValue> values = {Weighted(-2, 0), Weighted(1, 1.5), Weighted(1, 0.5),
                                                        Weighted(3, 2),  Weighted(7, 0.25), Weighted(9, 0)};
  collector.Distribution(4, values);
  // Asked again (once per percentile): the first answer stands.
  collector.Distribution(4, std::vector<aggregate::WeightedValue>{Weighted(100, 1)});
  const ValueRange* range = collector.RangeOf(4);
  ASSERT_NE(range, nullptr);
  EXPECT_EQ(range->distinct, 3u);
  EXPECT_EQ(range->low, 1);
  EXPECT_EQ(range->high, 7);
  EXPECT_EQ(collector.Of(4), nullptr);  // no histograms kept
  EXPECT_EQ(collector.RangeOf(5), nullptr);
  DistributionCollector drawing;
  drawing.Distribution(0, values);
  ASSERT_NE(drawing.Of(0), nullptr);
  EXPECT_EQ(drawing.Of(0)->low, 1);
  collector.Clear();
  EXPECT_EQ(collector.RangeOf(4), nullptr);
}

TEST(FileSummary, TheNameNeverCarriesTheFolder) {
  EXPECT_EQ(FileNameOf("/home/someone/data/survey.sav"), "survey.sav");
  EXPECT_EQ(FileNameOf("survey.sav"), "survey.sav");
  EXPECT_EQ(FileNameOf("./a/b/"), "b");
  EXPECT_EQ(FileNameOf("standard input"), "standard input");
  EXPECT_EQ(FileNameOf(""), "");
}

TEST(FileSummary, LabelDocumentsCasesAndTheWeightedTotal) {
  auto dataset = data::DatasetBuilder()
                     .FileLabel("Panel, wave 2   ")
                     .Document({"First line.   ", "(Entered 01 Jan 2024)"})
                     .Document({"Second document."})
                     .Numeric("x")
                     .Numeric("w").Weight("w")
                     .Cases({{1, 2.5}, {2, 0.0}, {3, 1.25}})
                     .Build();
  exporting::TallyOptions options;
  options.allVariables = false;
  exporting::ValueTally tally(*dataset, 1, options);
  data::CaseBatch batch;
  batch.Shape(static_cast<std::size_t>(dataset->GetDictionary().CellsPerCase()), 3);
  auto cases = dataset->OpenCases();
  while (const OBS* cells = cases->Next()) batch.AppendCase(cells);
  batch.weights() = {2.5, 0.0, 1.25};
  tally.Observe(batch);

  output::Document document;
  FileFacts facts;
  facts.dataset = dataset.get();
  facts.shownName = "/somewhere/private/panel.sav";
  facts.weightIndex = 1;
  facts.tally = &tally;
  const output::FileSummary file = SummarizeFile(document, 0, 0, facts);
  EXPECT_EQ(file.name, "panel.sav");
  EXPECT_TRUE(file.location.empty());
  EXPECT_EQ(file.label, "Panel, wave 2");
  EXPECT_EQ(file.documents, (std::vector<std::string>{"First line.", "(Entered 01 Jan 2024)", "Second document."}));
  EXPECT_EQ(file.cases, 3);
  EXPECT_EQ(file.variables, 2);
  EXPECT_EQ(file.weight, "w");
  EXPECT_DOUBLE_EQ(file.weightedCases, 3.75);  // the zero weight counts for nothing

  // A pass that stopped early knows no total; an unweighted file has none.
  tally.SetPartial();
  EXPECT_TRUE(std::isnan(SummarizeFile(document, 0, 0, facts).weightedCases));
  facts.weightIndex = -1;
  const output::FileSummary unweighted = SummarizeFile(document, 0, 0, facts);
  EXPECT_TRUE(unweighted.weight.empty());
  EXPECT_TRUE(std::isnan(unweighted.weightedCases));
}

}  // namespace
}  // namespace codebook::report
