// Each data-quality alert on a small dataset that has exactly that problem,
// and none on one that has no problem.
#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <set>
#include <string>
#include <variant>
#include <vector>

#include "platform/report/alerts.h"
#include "platform/report/distributions.h"
#include "testing/dataset_builder.h"

namespace codebook::report {
namespace {

using data::DatasetBuilder;

// The facts a categorical table of each variable would give: a counted
// row per value met, user-missing ones under "Missing Values", and the
// system-missing cases as the "System" row. The cases go to a tally of the
// weights, as a pass would feed them.
std::vector<exporting::ItemFacts> TablesOf(const data::Dataset& dataset) {
  std::vector<exporting::ItemFacts> items(static_cast<std::size_t>(dataset.ColumnCount()));
  std::vector<std::map<std::variant<double, std::string>, double>> counts(items.size());
  std::vector<double> system(items.size(), 0);
  const data::Dictionary& dictionary = dataset.GetDictionary();
  auto cases = dataset.OpenCases();
  while (const OBS* cells = cases->Next()) {
    for (int i = 0; i < dataset.ColumnCount(); ++i) {
      const data::Variable& variable = *dictionary.GetVariable(i);
      const OBS* value = cells + dictionary.CellOffset(i);
      if (!variable.IsNumeric()) {
        std::string text(variable.StringValue(value));
        while (!text.empty() && text.back() == ' ') text.pop_back();
        counts[static_cast<std::size_t>(i)][text] += 1;
      } else if (value->d == kSysmis) {
        system[static_cast<std::size_t>(i)] += 1;
      } else {
        counts[static_cast<std::size_t>(i)][value->d] += 1;
      }
    }
  }
  for (std::size_t i = 0; i < items.size(); ++i) {
    const data::Variable& variable = *dictionary.GetVariable(static_cast<int>(i));
    items[i].name = variable.GetName();
    for (const auto& [value, count] : counts[i]) {
      exporting::CategoryFact row;
      if (const auto* number = std::get_if<double>(&value)) {
        row.value = *number;
        row.missing = variable.Missing().IsMissing(*number);
      } else {
        row.value = std::get<std::string>(value);
        row.missing = variable.Missing().IsMissing(std::string_view(std::get<std::string>(value)));
      }
      row.count = count;
      items[i].categories.push_back(row);
    }
    if (system[i] > 0) {
      exporting::CategoryFact row;
      row.missing = row.systemMissing = true;
      row.count = system[i];
      items[i].categories.push_back(row);
    }
  }
  return items;
}

std::vector<output::Alert> AlertsOf(const std::shared_ptr<data::Dataset>& dataset, int weightIndex = -1,
                                    const std::set<int>& hidden = {}) {
  exporting::ValueTally tally(*dataset, weightIndex, AlertTallyOptions());
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
  return FindAlerts(TablesOf(*dataset), *dataset, &tally, weightIndex, hidden);
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

TEST(Alerts, ScaleTablesTellUnusedLabelsByTheirLabeledValues) {
  // A scale variable's table counts its labelled values apart ("Labeled
  // Values"): a count of 0 is a label nobody chose; the other values are
  // not listed, so nothing is said of them.
  auto dataset = DatasetBuilder().Numeric("age").Level(3).ValueLabel(0.0, "Never").ValueLabel(999, "Refused")
                     .MissingDiscrete({999}).Cases({{30}, {999}}).Build();
  exporting::ItemFacts item;
  item.name = "age";
  item.valid = 1;
  item.missing = 1;
  for (const auto& [value, count] : {std::pair{0.0, 0.0}, std::pair{999.0, 1.0}}) {
    exporting::CategoryFact row;
    row.value = value;
    row.count = count;
    row.labeledOnly = true;
    item.categories.push_back(row);
  }
  const auto alerts = FindAlerts({item}, *dataset, nullptr, -1);
  ASSERT_EQ(Kinds(alerts), Kinds_{"age:unused-label"});
  EXPECT_EQ(alerts[0].text, "Value labels with no cases: 0 \"Never\".");

  // Rows listed without counts (STATISTICS NONE) are no evidence at all.
  for (exporting::CategoryFact& row : item.categories) row.count.reset();
  item.valid = item.missing = std::nullopt;
  EXPECT_EQ(Kinds(FindAlerts({item}, *dataset, nullptr, -1)), Kinds_{});
}

TEST(Alerts, HiddenValuesAreCountedNeverShown) {
  // The same problems, hidden or not; hidden, no value and no label text.
  auto dataset = DatasetBuilder()
                     .Numeric("code").ValueLabel(1, "Yes").ValueLabel(2, "Yes").ValueLabel(3, "Maybe")
                     .MissingDiscrete({99})
                     .Cases({{424242}, {424242}, {424242}, {99}})
                     .Build();
  const auto shown = AlertsOf(dataset);
  const auto hidden = AlertsOf(dataset, -1, {0});
  EXPECT_EQ(Kinds(hidden), Kinds(shown));
  EXPECT_EQ(Kinds(hidden), (Kinds_{"code:constant", "code:unused-label", "code:unlabeled-value",
                                   "code:unlabeled-missing-code", "code:duplicate-label"}));
  bool shownHasValue = false;
  for (const output::Alert& alert : shown) shownHasValue = shownHasValue || alert.text.find("424242") != std::string::npos;
  EXPECT_TRUE(shownHasValue);
  for (const output::Alert& alert : hidden) {
    for (const char* secret : {"424242", "99", "Yes", "Maybe"}) {
      EXPECT_EQ(alert.text.find(secret), std::string::npos) << alert.text;
    }
  }
  EXPECT_EQ(hidden[2].text, "2 values without a label.");  // 424242 and 99
}

TEST(Alerts, ABlankValueIsNamed) {
  auto dataset = DatasetBuilder().String("s", 4).Cases({{""}, {"    "}}).Build();
  const auto alerts = AlertsOf(dataset);
  ASSERT_EQ(Kinds(alerts), Kinds_{"s:constant"});
  EXPECT_EQ(alerts[0].text, "Only one valid value occurs: (blank).");
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
