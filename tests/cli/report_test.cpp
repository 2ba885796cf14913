// The report features end to end: hidden values appear in no format's
// output, and alerts reach HTML, JSON and, when asked, text and Markdown,
// after the tables and without changing them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <sstream>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "platform/data/sav/write_dataset.h"
#include "testing/dataset_builder.h"
#include "tests/cli/program_harness.h"

namespace {

using codebook::testing_cli::Program;
using codebook::testing_cli::Result;
using codebook::testing_cli::Slurp;
using testing::HasSubstr;
using testing::Not;

class Report : public Program {
 protected:
  void SetUp() override {
    Program::SetUp();
    // An identifier and free text whose values must not be published, a
    // question with a label nobody chose, and labelled variables that hold
    // one unlabelled value only (which alerts would name).
    codebook::data::DatasetBuilder builder;
    builder.Numeric("id").Level(1).Numeric("q").Level(1).ValueLabel(1, "Yes").ValueLabel(2, "No").ValueLabel(3, "Unused")
        .Numeric("income").Level(3).String("note", 16).Level(1)
        .Numeric("code").Level(1).ValueLabel(1, "One").String("secret", 12).Level(1).ValueLabel("A", "Alpha");
    for (int i = 0; i < 40; ++i) {
      builder.Case({987650000 + i, 1 + i % 2, 1000 + 37 * i, "SECRET-" + std::to_string(1000 + i), 424242, "HUSH-HUSH"});
    }
    codebook::data::WriteDatasetFile(*builder.Build(), Path("people.sav").string());
  }
};

TEST_F(Report, HiddenValuesAppearInNoFormat) {
  for (const char* format : {"text", "html", "json", "markdown", "csv", "ddi", "dictionary"}) {
    for (const char* hide : {"auto", "id,note,income,code,secret"}) {
      const Result result = Run({"--format", format, "--hide-values", hide, "--alerts", Path("people.sav").string(),
                                 "/OPTIONS", "MAXCATS=1000"});
      ASSERT_EQ(result.status, 0) << format << ": " << result.err;
      EXPECT_THAT(result.out, Not(HasSubstr("SECRET"))) << format << " " << hide;
      EXPECT_THAT(result.out, Not(HasSubstr("9876500"))) << format << " " << hide;
      EXPECT_THAT(result.out, Not(HasSubstr("HUSH"))) << format << " " << hide;
      EXPECT_THAT(result.out, HasSubstr("values hidden")) << format << " " << hide;
      if (std::string(hide) != "auto") {
        // Neither percentiles nor the least and greatest value of income.
        EXPECT_THAT(result.out, Not(HasSubstr("2443"))) << format;  // its maximum, 1000 + 37 * 39
        EXPECT_THAT(result.out, Not(HasSubstr("Percentile"))) << format;
        EXPECT_THAT(result.out, Not(HasSubstr("424242"))) << format;
      }
    }
  }
  // Without hiding, the same run shows them: the test above means something.
  const Result shown = Run({"--format", "text", Path("people.sav").string(), "/OPTIONS", "MAXCATS=1000"});
  EXPECT_THAT(shown.out, HasSubstr("SECRET-1000"));
  EXPECT_THAT(shown.out, HasSubstr("987650000"));
  // And its alerts name the constant values.
  const Result alerts = Run({"--format", "json", Path("people.sav").string()});
  EXPECT_THAT(alerts.out, HasSubstr("Only one valid value occurs: HUSH-HUSH."));
  EXPECT_THAT(alerts.out, HasSubstr("Values without a label: 424242."));
}

TEST_F(Report, HidingChangesNoAlertButTheirWords) {
  // The same alerts, item by item and kind by kind, whatever is hidden.
  const auto kinds = [&](std::vector<std::string> extra) {
    std::vector<std::string> arguments = {"--format", "json"};
    arguments.insert(arguments.end(), extra.begin(), extra.end());
    arguments.push_back(Path("people.sav").string());
    const Result result = Run(arguments);
    EXPECT_EQ(result.status, 0) << result.err;
    std::vector<std::string> found;
    const nlohmann::json parsed = nlohmann::json::parse(result.out);
    for (const auto& alert : parsed["alerts"]) {
      found.push_back(alert["item"].get<std::string>() + ":" + alert["kind"].get<std::string>());
    }
    return found;
  };
  const std::vector<std::string> plain = kinds({});
  EXPECT_THAT(plain, testing::IsSupersetOf({"q:unused-label", "code:constant", "code:unlabeled-value",
                                            "secret:constant", "secret:unused-label"}));
  EXPECT_EQ(kinds({"--hide-values", "auto"}), plain);
  EXPECT_EQ(kinds({"--hide-values", "code,secret,q"}), plain);
  // The demo too, whose scale variables count their labelled values apart.
  const auto demo = [&](std::vector<std::string> extra) {
    std::vector<std::string> arguments = {"--alerts", "--demo"};
    arguments.insert(arguments.begin(), extra.begin(), extra.end());
    const Result result = Run(arguments);
    return result.out.substr(result.out.find("Data-quality alerts"));
  };
  const std::string demoAlerts = demo({});
  EXPECT_THAT(demoAlerts, HasSubstr("satisfaction: Value labels with no cases: 0 \"Not at all satisfied\"."));
  const std::string hiddenDemo = demo({"--hide-values", "auto"});
  EXPECT_EQ(std::count(hiddenDemo.begin(), hiddenDemo.end(), '\n'), std::count(demoAlerts.begin(), demoAlerts.end(), '\n'));
}

TEST_F(Report, AlertsGoWhereEachFormatCarriesThem) {
  const Result json = Run({"--format", "json", Path("people.sav").string(), "q"});
  ASSERT_EQ(json.status, 0) << json.err;
  const nlohmann::json parsed = nlohmann::json::parse(json.out);
  ASSERT_EQ(parsed["alerts"].size(), 1u) << json.out;
  EXPECT_EQ(parsed["alerts"][0]["item"], "q");
  EXPECT_EQ(parsed["alerts"][0]["kind"], "unused-label");

  const Result html = Run({"--format", "html", Path("people.sav").string(), "q", "id"});
  EXPECT_THAT(html.out, HasSubstr("<title>Codebook of people.sav</title>"));
  EXPECT_THAT(html.out, HasSubstr("<h3>Data-quality alerts</h3>"));
  EXPECT_THAT(html.out, HasSubstr("<th scope=\"row\"><a href=\"#var-q\">q</a>"));
  // In q's own section, after its name.
  const std::size_t section = html.out.find("<section id=\"var-q\">");
  EXPECT_NE(html.out.find("<caption>q<ul class=\"alerts\"", section), std::string::npos);

  // Text shows alerts only when asked, after the tables, which stay as they are.
  const Result plain = Run({Path("people.sav").string(), "q"});
  EXPECT_THAT(plain.out, Not(HasSubstr("Data-quality alerts")));
  const Result asked = Run({"--alerts", Path("people.sav").string(), "q"});
  ASSERT_EQ(asked.out.rfind(plain.out, 0), 0u) << asked.out;
  EXPECT_THAT(asked.out.substr(plain.out.size()), HasSubstr("q: Value labels with no cases: 3 \"Unused\"."));
  const Result markdown = Run({"--alerts", "-f", "markdown", Path("people.sav").string(), "q"});
  EXPECT_THAT(markdown.out, HasSubstr("## Data-quality alerts"));
}

TEST_F(Report, EachAlertFromTheTablesOfARealRun) {
  // One variable per problem, and one with none; the alerts come from the
  // procedure's own tables and the weights. (A categorical variable with no
  // value at all has no rows to tell from; a scale one has its "N".)
  codebook::data::DatasetBuilder builder;
  builder.Numeric("clean").Level(1).ValueLabel(1, "Yes").ValueLabel(2, "No")
      .Numeric("unused").Level(1).ValueLabel(1, "Yes").ValueLabel(2, "No").ValueLabel(3, "Never")
      .Numeric("unlabeled").Level(1).ValueLabel(1, "Yes")
      .Numeric("empty").Level(3)
      .Numeric("constant").Level(1)
      .Numeric("sparse").Level(1)
      .Numeric("code").Level(1).MissingDiscrete({99})
      .String("padded", 6).Level(1)
      .Numeric("twins").Level(1).ValueLabel(1, "Same").ValueLabel(2, "Same")
      .Numeric("w").Level(3).Weight("w");
  for (int i = 0; i < 12; ++i) {
    builder.Case({1 + i % 2, 1 + i % 2, 1 + i % 2, kSysmis, 7, i < 4 ? 1.0 : kSysmis, 1 + i % 2,
                  i == 0 ? " lead" : "x", 1 + i % 2, i == 11 ? 0.0 : 1.0});
  }
  codebook::data::WriteDatasetFile(*builder.Build(), Path("problems.sav").string());
  const Result result = Run({"--format", "json", Path("problems.sav").string()});
  ASSERT_EQ(result.status, 0) << result.err;
  std::multimap<std::string, std::string> found;
  const nlohmann::json parsed = nlohmann::json::parse(result.out);
  for (const auto& alert : parsed["alerts"]) found.emplace(alert["item"], alert["kind"]);
  const std::multimap<std::string, std::string> expected = {
      {"unused", "unused-label"},   {"unlabeled", "unlabeled-value"}, {"empty", "all-missing"},
      {"constant", "constant"},     {"sparse", "mostly-missing"},     {"sparse", "constant"},
      {"code", "unlabeled-missing-code"}, {"padded", "blanks"},       {"twins", "duplicate-label"},
      {"", "weight"}};
  EXPECT_EQ(found, expected) << result.out.substr(result.out.find("\"alerts\""));
}

// The weights of a histogram's bins (its data-weights), summed: the
// histogram in the section of the item with this anchor.
double HistogramTotal(const std::string& html, const std::string& anchor) {
  const std::size_t section = html.find("<section id=\"" + anchor + "\">");
  const std::size_t end = html.find("</section>", section);
  const std::size_t at = html.find("data-weights=\"", section);
  if (section == std::string::npos || at > end) return -1;
  std::istringstream weights(html.substr(at + 14, html.find('"', at + 14) - at - 14));
  double total = 0;
  for (double weight = 0; weights >> weight;) total += weight;
  return total;
}

TEST_F(Report, HistogramsHoldTheValidCasesAndMarkTheQuartiles) {
  // The demo is weighted: the bins add up to the weighted valid count.
  const Result json = Run({"--format", "json", "--demo", "income"});
  const nlohmann::json parsed = nlohmann::json::parse(json.out);
  double valid = -1;
  for (const auto& item : parsed["items"]) {
    if (item["kind"] != "table" || item["title"] != "income") continue;
    for (const auto& row : item["rows"]) {
      if (row["label"] == "Valid") valid = row["cells"]["Value"]["number"];
    }
  }
  ASSERT_GT(valid, 0) << json.out;
  const Result html = Run({"--format", "html", "--demo", "income", "q1"});
  EXPECT_NEAR(HistogramTotal(html.out, "var-income"), valid, 1e-6 * valid);
  EXPECT_THAT(html.out, HasSubstr("quartiles $2,940.00, $3,650.00 and $4,400.00"));
  EXPECT_THAT(html.out, HasSubstr(">P25</text>"));
  // q1 is ordinal: percent bars, no histogram; hidden values: no histogram either.
  EXPECT_EQ(HistogramTotal(html.out, "var-q1"), -1);
  const Result hidden = Run({"--format", "html", "--demo", "income", "--hide-values", "income"});
  EXPECT_THAT(hidden.out, Not(HasSubstr("data-weights")));
}

// The report stands alone: nothing to fetch, no script. (How a browser
// lays it out is the layout test's.)
TEST_F(Report, TheDemoReportNeedsNothingFromOutside) {
  const Result written = Run({"--demo", "-o", Path("demo.html").string()});
  ASSERT_EQ(written.status, 0) << written.err;
  const std::string html = Slurp(Path("demo.html"));
  for (const char* outside : {"http://", "https://", " src=", "<script", "<link", "@import", "url("}) {
    EXPECT_THAT(html, Not(HasSubstr(outside))) << outside;
  }
}

}  // namespace
