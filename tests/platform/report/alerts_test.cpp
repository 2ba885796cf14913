// Each data-quality alert on a small dataset that has exactly that problem,
// and none on one that has no problem.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "platform/data/dataset_builder.h"
#include "platform/report/alerts.h"
#include "platform/report/distributions.h"

namespace codebook::report {
namespace {

using data::DatasetBuilder;

// The alerts of every variable of a dataset, its cases fed to a tally that
// counts every value, as a pass would feed them. (Without such a tally the
// values come from the procedure's tables; the program's tests see those.)
std::vector<output::Alert> AlertsOf(const std::shared_ptr<data::Dataset>& dataset, int weightIndex = -1) {
  exporting::TallyOptions options;
  options.countValues = true;
  exporting::ValueTally tally(*dataset, weightIndex, options);
  const int weightOffset = weightIndex >= 0 ? dataset->GetDictionary().CellOffset(weightIndex) : 0;
  auto cases = dataset->OpenCases();
  data::CaseBatch batch;
  batch.Shape(static_cast<std::size_t>(dataset->GetDictionary().CellsPerCase()), 1);
  while (const OBS* cells = cases->Next()) {
    double weight = 1.0;
    if (weightIndex >= 0) weight = cells[weightOffset].d == kSysmis ? kSysmis : cells[weightOffset].d;
    batch.Clear();
    batch.AppendCase(cells);
    batch.weights() = {weight};
    tally.Observe(batch);
  }
  std::vector<exporting::ItemFacts> items;
  for (int i = 0; i < dataset->ColumnCount(); ++i) {
    exporting::ItemFacts item;
    item.name = dataset->GetVariable(i)->GetName();
    items.push_back(item);
  }
  return FindAlerts(items, *dataset, &tally, weightIndex);
}

std::vector<std::string> Kinds(const std::vector<output::Alert>& alerts) {
  std::vector<std::string> kinds;
  for (const output::Alert& alert : alerts) kinds.push_back(alert.item + ":" + alert.kind);
  return kinds;
}

using Kinds_ = std::vector<std::string>;

TEST(Alerts, ACleanDatasetHasNone) {
  auto dataset = DatasetBuilder()
                     .Numeric("q").ValueLabel(1, "Yes").ValueLabel(2, "No").ValueLabel(9, "Refused").MissingDiscrete({9})
                     .String("s", 4)
                     .Numeric("w")
                     .Cases({{1, "a", 1}, {2, "b", 2}, {9, "c", 1}, {1, "a", 1}})
                     .Build();
  EXPECT_EQ(Kinds(AlertsOf(dataset, 2)), Kinds_{});
}

TEST(Alerts, EachProblemGivesItsOwnAlert) {
  struct Case {
    const char* what;
    std::shared_ptr<data::Dataset> dataset;
    int weight;
    Kinds_ expected;
  };
  const Case cases[] = {
      {"every label used",
       DatasetBuilder().Numeric("q").ValueLabel(1, "Yes").ValueLabel(2, "No").Cases({{1}, {1}, {2}}).Build(), -1, {}},
      {"unused label",
       DatasetBuilder().Numeric("q").ValueLabel(1, "Yes").ValueLabel(2, "No").ValueLabel(3, "Maybe")
           .Cases({{1}, {2}}).Build(), -1, {"q:unused-label"}},
      {"value without a label",
       DatasetBuilder().Numeric("q").ValueLabel(1, "Yes").ValueLabel(2, "No").Cases({{1}, {2}, {7}}).Build(), -1,
       {"q:unlabeled-value"}},
      {"all missing", DatasetBuilder().Numeric("q").Cases({{kSysmis}, {kSysmis}}).Build(), -1, {"q:all-missing"}},
      {"constant", DatasetBuilder().Numeric("q").Cases({{4}, {4}, {4}}).Build(), -1, {"q:constant"}},
      {"mostly missing", DatasetBuilder().Numeric("q").Cases({{1}, {2}, {kSysmis}, {kSysmis}, {kSysmis}}).Build(), -1,
       {"q:mostly-missing"}},
      {"missing code without a label",
       DatasetBuilder().Numeric("q").MissingDiscrete({99}).Cases({{1}, {2}}).Build(), -1,
       {"q:unlabeled-missing-code"}},
      {"leading blanks", DatasetBuilder().String("s", 6).Cases({{"  x"}, {"y"}}).Build(), -1, {"s:blanks"}},
      {"duplicate labels",
       DatasetBuilder().Numeric("q").ValueLabel(1, "Yes").ValueLabel(2, "Yes").Cases({{1}, {2}}).Build(), -1,
       {"q:duplicate-label"}},
      {"weights that count for nothing",
       DatasetBuilder().Numeric("q").Numeric("w").Cases({{1, 1}, {2, 0}, {1, -2}, {2, kSysmis}, {1, 3}}).Build(), 1,
       {":weight"}},
  };
  for (const Case& c : cases) {
    const std::vector<output::Alert> alerts = AlertsOf(c.dataset, c.weight);
    Kinds_ kinds = Kinds(alerts);
    // The weight variable itself may have its own findings; only q, s and the file count here.
    std::erase_if(kinds, [](const std::string& kind) { return kind.rfind("w:", 0) == 0; });
    EXPECT_EQ(kinds, c.expected) << c.what;
    for (const output::Alert& alert : alerts) EXPECT_FALSE(alert.text.empty()) << c.what;
  }
}

TEST(Alerts, WeightProblemsAreCountedByKind) {
  auto dataset =
      DatasetBuilder().Numeric("q").Numeric("w").Cases({{1, 1}, {2, 0}, {1, -2}, {2, kSysmis}, {1, 0}}).Build();
  const auto alerts = AlertsOf(dataset, 1);
  ASSERT_FALSE(alerts.empty());
  EXPECT_EQ(alerts.back().text,
            "Cases that take part in no statistic: 2 with a zero weight, 1 with a negative weight, 1 with a missing "
            "weight (weight w).");
}

}  // namespace
}  // namespace codebook::report

namespace codebook::report {
namespace {

TEST(Histogram, BinsHoldEveryValidWeightOnce) {
  // A user-missing value carries a negated weight and is not a value.
  const auto entry = [](double value, double weight) {
    aggregate::WeightedValue e{};
    e.value = value;
    e.weight = weight;
    return e;
  };
  const std::vector<aggregate::WeightedValue> sorted = {
      entry(-5.0, -2.0), entry(0.0, 1.0), entry(1.0, 2.5), entry(9.5, 1.0), entry(10.0, 3.0)};
  const output::Histogram histogram = MakeHistogram(sorted, 20);
  EXPECT_DOUBLE_EQ(histogram.low, 0.0);
  EXPECT_DOUBLE_EQ(histogram.high, 10.0);
  ASSERT_EQ(histogram.weights.size(), 20u);
  double total = 0;
  for (const double weight : histogram.weights) total += weight;
  EXPECT_DOUBLE_EQ(total, 7.5);
  EXPECT_DOUBLE_EQ(histogram.weights[0], 1.0);
  EXPECT_DOUBLE_EQ(histogram.weights[2], 2.5);   // 1.0 falls in [1.0, 1.5)
  EXPECT_DOUBLE_EQ(histogram.weights[19], 4.0);  // 9.5 and the greatest value
  const output::Histogram one = MakeHistogram(std::vector<aggregate::WeightedValue>{entry(3.0, 2.0)}, 20);
  EXPECT_EQ(one.weights, std::vector<double>{2.0});
  EXPECT_TRUE(MakeHistogram(std::vector<aggregate::WeightedValue>{entry(3.0, -1.0)}, 20).weights.empty());
}

}  // namespace
}  // namespace codebook::report
