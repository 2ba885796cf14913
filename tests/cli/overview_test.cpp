// The overview and the file's summary as the program writes them: the
// overview's numbers agree with the tables of the same run and with the
// fixtures' truth, it is in every format unless --no-overview, and every
// format says once, near the top, how the counts are weighted. A report
// names the file, never the folder it was read from, unless the command
// asked for the location.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <limits>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <vector>

#include "platform/data/sav/write_dataset.h"
#include "testing/dataset_builder.h"
#include "tests/cli/program_harness.h"

namespace {

using codebook::testing_cli::Program;
using codebook::testing_cli::Result;
using codebook::testing_cli::Slurp;
using nlohmann::json;
using testing::HasSubstr;
using testing::Not;
namespace fs = std::filesystem;

using Overview = Program;

// What an item's table says, as the overview should repeat it.
struct TableFacts {
  std::optional<double> position;
  std::string label;
  double valid = 0;
  double missing = 0;
  bool counted = false;      // an "N" group or counted categories
  int distinct = 0;          // valid categories with a count above 0
  bool listsValues = false;  // counted categories under "Valid Values"
  std::optional<double> low, high;
};

TableFacts FactsOf(const json& table) {
  TableFacts facts;
  for (const json& row : table["rows"]) {
    const std::string group = row["groups"].empty() ? "" : row["groups"][0].get<std::string>();
    const json& cells = row["cells"];
    if (group == "Standard Attributes" && row["label"] == "Position") facts.position = cells["Value"]["number"];
    if (group == "Standard Attributes" && row["label"] == "Label") facts.label = cells["Value"]["text"];
    if (group == "N") {
      facts.counted = true;
      (row["label"] == "Valid" ? facts.valid : facts.missing) += cells["Value"]["number"].get<double>();
    }
    if ((group == "Valid Values" || group == "Missing Values") && cells.contains("Count")) {
      facts.counted = true;
      const double count = cells["Count"]["number"];
      (group == "Valid Values" ? facts.valid : facts.missing) += count;
      if (group == "Valid Values") {
        facts.listsValues = true;
        if (count > 0) {
          ++facts.distinct;
          if (row["value"].is_number()) {
            const double value = row["value"];
            facts.low = std::min(facts.low.value_or(value), value);
            facts.high = std::max(facts.high.value_or(value), value);
          }
        }
      }
    }
  }
  return facts;
}

// The fixture's truth of a variable: its distinct valid values and range.
struct Truth {
  std::set<double> values;
};

std::map<std::string, Truth> TruthOf(const std::string& fixture) {
  std::map<std::string, Truth> truth;
  const fs::path path = fs::path(fixture).replace_extension(".json");
  if (!fs::exists(path)) return truth;
  std::ifstream in(path);
  const json parsed = json::parse(in);
  for (const json& variable : parsed["variables"]) {
    if (variable["type"] != "numeric") continue;
    const std::string name = variable["name"];
    const json& stats = parsed["stats"].contains(name) ? parsed["stats"][name] : json();
    if (!stats.is_object() || !stats.contains("counts")) continue;
    std::set<double> missing;
    for (const json& value : variable["missing"]["discrete"]) missing.insert(value.get<double>());
    // A range's open ends are "LO" and "HI".
    const json& range = variable["missing"]["range"];
    const double infinity = std::numeric_limits<double>::infinity();
    const double low = range.is_array() ? (range[0].is_number() ? range[0].get<double>() : -infinity) : infinity;
    const double high = range.is_array() ? (range[1].is_number() ? range[1].get<double>() : infinity) : -infinity;
    Truth& entry = truth[name];
    for (const json& pair : stats["counts"]) {
      if (!pair[0].is_number() || !(pair[1].get<double>() > 0)) continue;
      const double value = pair[0];
      const bool inRange = value >= low && value <= high;
      if (missing.count(value) == 0 && !inRange) entry.values.insert(value);
    }
  }
  return truth;
}

TEST_F(Overview, ItsNumbersAgreeWithTheTablesAndTheTruth) {
  std::vector<std::string> datasets;
  for (const auto& entry : fs::directory_iterator(CODEBOOK_FIXTURES_DIR)) {
    const std::string extension = entry.path().extension().string();
    if (extension == ".sav" || extension == ".zsav") datasets.push_back(entry.path().string());
  }
  std::sort(datasets.begin(), datasets.end());
  datasets.push_back(std::string(CODEBOOK_SOURCE_DIR) + "/data/demo.sav");
  int compared = 0;
  int truths = 0;
  int beyond = 0;  // "more than 50" checked against the truth
  for (const std::string& dataset : datasets) {
    const Result result = Run({"--format", "json", dataset, "/OPTIONS", "MAXCATS=50"});
    if (result.status != 0) {
      // A file without cases has no codebook to agree with.
      EXPECT_THAT(result.err, HasSubstr("Empty dataset")) << dataset;
      continue;
    }
    const json parsed = json::parse(result.out);
    const json& items = parsed["items"];
    ASSERT_EQ(items[0]["kind"], "file") << dataset;
    const json& overview = items[0]["overview"];
    std::map<std::string, json> tables;
    for (const json& item : items) {
      if (item["kind"] == "table" && item["subtype"] == "Variable Information") tables[item["title"]] = item;
    }
    ASSERT_EQ(overview.size(), tables.size()) << dataset;
    const std::map<std::string, Truth> truth = TruthOf(dataset);
    for (const json& row : overview) {
      const std::string name = row["name"];
      ASSERT_EQ(tables.count(name), 1u) << dataset << " " << name;
      const TableFacts facts = FactsOf(tables[name]);
      const std::string where = dataset + " " + name;
      if (facts.position) {
        EXPECT_EQ(row["position"], *facts.position) << where;
      }
      if (!facts.label.empty() && facts.label != "<none>") {
        EXPECT_EQ(row["label"], facts.label) << where;
      }
      if (facts.counted) {
        EXPECT_NEAR(row["valid"].get<double>(), facts.valid, 1e-9 * std::max(1.0, facts.valid)) << where;
        EXPECT_NEAR(row["missing"].get<double>(), facts.missing, 1e-9 * std::max(1.0, facts.missing)) << where;
      }
      if (facts.listsValues) {
        EXPECT_EQ(row["distinct_values"], facts.distinct) << where;
        if (facts.low) {
          EXPECT_EQ(row["minimum"], *facts.low) << where;
          EXPECT_EQ(row["maximum"], *facts.high) << where;
        } else if (facts.distinct == 0) {
          // No valid value: no least or greatest either.
          EXPECT_TRUE(row.value("minimum", json()).is_null()) << where << ": " << row;
          EXPECT_TRUE(row.value("maximum", json()).is_null()) << where << ": " << row;
        }
      }
      ++compared;
      const auto known = truth.find(name);
      if (known == truth.end() || known->second.values.empty()) continue;
      const std::set<double>& values = known->second.values;
      if (row["distinct_values"].is_number()) {
        EXPECT_EQ(row["distinct_values"], values.size()) << where;
      } else {
        EXPECT_EQ(row["distinct_values"], "more than 50") << where;
        EXPECT_GT(values.size(), 50u) << where;
        ++beyond;
      }
      EXPECT_EQ(row["minimum"], *values.begin()) << where;
      EXPECT_EQ(row["maximum"], *values.rbegin()) << where;
      ++truths;
    }
  }
  // Every fixture but the empty ones, and most variables against the truth.
  EXPECT_GT(compared, 600);
  EXPECT_GT(truths, 100);
  EXPECT_GT(beyond, 0);
}

TEST_F(Overview, ItsRowsNameTheItemsAndHiddenValuesStayHidden) {
  codebook::data::DatasetBuilder builder;
  builder.Numeric("id").Level(1).Numeric("score").Level(3).MissingRange(-9, -1)
      .Numeric("code").Level(1).ValueLabel(1, "One").ValueLabel(2, "Two").MissingDiscrete({9})
      .Numeric("none").Level(1).MissingDiscrete({9});
  for (int i = 0; i < 30; ++i) builder.Case({1000 + i, i == 0 ? -5.0 : i * 1.5, i % 3 == 0 ? 9 : 1 + i % 2, 9});
  codebook::data::WriteDatasetFile(*builder.Build(), Path("small.sav").string());
  const Result result = Run({"--format", "json", "--hide-values", "id", Path("small.sav").string(), "/OPTIONS",
                             "MAXC=4"});
  ASSERT_EQ(result.status, 0) << result.err;
  const json overview = json::parse(result.out)["items"][0]["overview"];
  ASSERT_EQ(overview.size(), 4u);
  // A hidden variable: its counts, no values.
  EXPECT_EQ(overview[0]["distinct_values"], "values hidden");
  EXPECT_TRUE(overview[0]["minimum"].is_null());
  EXPECT_EQ(overview[0]["valid"], 30);
  // A scale variable: its values from the quartiles' distribution, its
  // missing values as the dictionary writes them.
  EXPECT_EQ(overview[1]["missing_values"], "-9 thru -1");
  EXPECT_EQ(overview[1]["distinct_values"], 29);
  EXPECT_EQ(overview[1]["minimum"], 1.5);
  EXPECT_EQ(overview[1]["maximum"], 43.5);
  EXPECT_EQ(overview[1]["level"], "Scale");
  EXPECT_EQ(overview[2]["distinct_values"], 2);
  EXPECT_EQ(overview[2]["missing"], 10);
  EXPECT_EQ(overview[2]["type"], "Numeric F8.2");
  // Every value missing: no least or greatest valid value.
  EXPECT_EQ(overview[3]["valid"], 0);
  EXPECT_EQ(overview[3]["distinct_values"], 0);
  EXPECT_EQ(overview[3].value("minimum", json()), json()) << overview[3];
  EXPECT_EQ(overview[3].value("maximum", json()), json()) << overview[3];
  const Result shown = Run({"--format", "csv", Path("small.sav").string(), "none"});
  EXPECT_THAT(shown.out, HasSubstr("\nVariable,Position,Type,Level,Missing Values,Valid,Missing,Distinct Values\r\n"
                                   "none,4,Numeric F8.2,Nominal,9,0,30,0\r\n"));
  // Unhidden, the identifier has more values than MAXCATS (abbreviated
  // in the command): its table lists none, the overview says so.
  const Result plain = Run({"--format", "json", Path("small.sav").string(), "id", "/OPTIONS", "MAXC=4"});
  const json first = json::parse(plain.out)["items"][0]["overview"][0];
  EXPECT_EQ(first["distinct_values"], "more than 4");
  EXPECT_EQ(first["minimum"], 1000);
  EXPECT_EQ(first["maximum"], 1029);
  EXPECT_EQ(first["valid"], 30);
}

TEST_F(Overview, EveryFormatHasItUnlessLeftOut) {
  for (const char* format : {"text", "markdown", "json", "html", "csv"}) {
    const Result shown = Run({"--format", format, "--demo", "q1", "income"});
    ASSERT_EQ(shown.status, 0) << format << ": " << shown.err;
    EXPECT_THAT(shown.out, HasSubstr("Overview")) << format;
    EXPECT_THAT(shown.out, HasSubstr("Net monthly household income")) << format;
    const Result left = Run({"--format", format, "--no-overview", "--demo", "q1", "income"});
    ASSERT_EQ(left.status, 0) << format;
    EXPECT_THAT(left.out, Not(HasSubstr("Overview"))) << format;
    // The procedure's own tables are the same with or without it.
    EXPECT_THAT(left.out, HasSubstr("Strongly disagree")) << format;
  }
  // HTML without an overview lists its tables instead.
  const Result html = Run({"--format", "html", "--no-overview", "--demo", "q1", "income"});
  EXPECT_THAT(html.out, HasSubstr("<nav class=\"contents\" id=\"contents\""));
  EXPECT_THAT(html.out, HasSubstr("<a href=\"#var-q1\">q1</a>"));
}

TEST_F(Overview, EveryFormatSaysOnceNearTheTopHowTheCountsAreWeighted) {
  for (const char* format : {"text", "markdown", "json", "html", "csv"}) {
    const Result weighted = Run({"--format", format, "--demo", "sex"});
    ASSERT_EQ(weighted.status, 0) << format << ": " << weighted.err;
    const std::string& out = weighted.out;
    const std::size_t said = out.find("Counts are weighted by");
    ASSERT_NE(said, std::string::npos) << format;
    EXPECT_EQ(out.find("Counts are weighted by", said + 1), std::string::npos) << format;
    // Before any of the procedure's tables; with the weight's name and the
    // unweighted count of the file.
    EXPECT_LT(said, out.find("Standard Attributes")) << format;
    EXPECT_THAT(out.substr(said, 200), testing::ContainsRegex("weight.*2488.46.*2500 cases")) << format;
    const Result plain = Run({"--format", format, Fixture("fx01_numeric_formats.sav"), "id"});
    EXPECT_THAT(plain.out, Not(HasSubstr("Counts are weighted"))) << format;
  }
  // -w changes the weighting said.
  const Result other = Run({"--weight", "age", "--demo", "sex"});
  EXPECT_THAT(other.out, HasSubstr("Counts are weighted by `age`"));
}

TEST_F(Overview, AReportNamesTheFileNotTheFolderItWasReadFrom) {
  fs::create_directories(Path("private/home"));
  fs::copy_file(Fixture("fx04_dictionary_meta.sav"), Path("private/home/survey.sav"));
  const std::string folder = fs::canonical(Path("private/home")).string();
  const std::string file = folder + "/survey.sav";
  for (const char* format : {"html", "json", "text", "markdown", "csv"}) {
    const Result result = Run({"--format", format, file, "id"});
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_THAT(result.out, Not(HasSubstr(folder))) << format;
    EXPECT_THAT(result.out, HasSubstr("survey.sav")) << format;
    // Its label and documents, line by line.
    EXPECT_THAT(result.out, HasSubstr("Dictionary metadata fixture")) << format;
    EXPECT_THAT(result.out, HasSubstr("It carries several documents; this is the first.")) << format;
    // Asked for, the location is shown.
    const Result located = Run({"--format", format, file, "id", "/FILEINFO", "LOCATION"});
    EXPECT_THAT(located.out, HasSubstr(folder)) << format;
  }
  const Result html = Run({"--format", "html", file, "id"}, "SOURCE_DATE_EPOCH=1700000000");
  EXPECT_THAT(html.out, HasSubstr("<p class=\"made\">Made with codebook "));
  EXPECT_THAT(html.out, HasSubstr(" on 2023-11-14.</p>"));
  EXPECT_THAT(html.out, HasSubstr("<pre class=\"documents\" aria-label=\"Documents\">This file is a test fixture for the "
                                  "codebook reader.\nIt carries several documents; this is the first.\n"));
}

}  // namespace
