// Every file of ../shared/fixtures-formats (.dta, .sas7bdat, .xpt), read by
// the program as a person runs it, against its truth: through the JSON
// output, each variable's name, label, value labels (extended missing
// codes' included), the count of every value and of every missing code,
// valid, missing and system-missing counts, mean, standard deviation and
// quartiles; the file's label and case count; and every other output
// format made.
//
// The truths give dates and times as the files store them (days or
// milliseconds since 1960); the program shows them as dates and times, in
// seconds since 1582 (docs/formats.md), so the test maps its numbers back.
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <vector>

#include "tests/platform/data/program_runner.h"

namespace {

namespace fs = std::filesystem;
using codebook::testing_data::RunProgram;
using nlohmann::json;

const fs::path kFolder = fs::path(CODEBOOK_FIXTURES_DIR).parent_path() / "fixtures-formats";
constexpr double kSeconds1582To1960 = 137775.0 * 86400.0;

// How a variable's numbers were converted, from the file's own format.
enum class Time { kNone, kDays, kMillis, kSeconds };

Time TimeOf(const json& variable) {
  if (variable.contains("stata_format")) {
    const std::string f = variable["stata_format"];
    const std::size_t at = f.size() > 1 && f[1] == '-' ? 2 : 1;
    if (f.compare(at, 2, "td") == 0 || f.compare(at, 1, "d") == 0) return Time::kDays;
    if (f.compare(at, 2, "tc") == 0 || f.compare(at, 2, "tC") == 0) return Time::kMillis;
    return Time::kNone;
  }
  if (!variable.contains("sas_format") || variable["sas_format"].is_null()) return Time::kNone;
  const std::string f = variable["sas_format"];
  if (f.starts_with("DATETIME")) return Time::kSeconds;
  if (f.starts_with("DATE")) return Time::kDays;
  return Time::kNone;
}

// A shown value back in the file's terms.
double Stored(double shown, Time time) {
  switch (time) {
    case Time::kNone: return shown;
    case Time::kDays: return shown / 86400.0 - 137775.0;
    case Time::kMillis: return shown * 1000.0 - kSeconds1582To1960 * 1000.0;
    case Time::kSeconds: return shown - kSeconds1582To1960;
  }
  return shown;
}
// A shown spread (standard deviation) back in the file's units.
double StoredSpread(double shown, Time time) {
  switch (time) {
    case Time::kDays: return shown / 86400.0;
    case Time::kMillis: return shown * 1000.0;
    default: return shown;
  }
}

// Dates are exact; a converted time of day carries the rounding of the one
// division or addition made, relative to the size of the sum, and the JSON
// document's 15 significant digits, which for seconds since 1582 (eleven
// digits before the point) leave four after it.
bool Close(double actual, double expected, Time time, double relative = 1e-9) {
  if (actual == expected) return true;
  const double scale = std::max(1.0, std::fabs(expected));
  if (time == Time::kMillis) return std::fabs(actual - expected) <= 0.1;
  if (time == Time::kSeconds) return std::fabs(actual - expected) <= 1e-4;
  return std::fabs(actual - expected) <= relative * scale;
}

struct Fixture {
  std::string name;
  fs::path file;
  json truth;
};

void PrintTo(const Fixture& f, std::ostream* os) { *os << f.name; }

std::vector<Fixture> LoadFixtures() {
  std::vector<Fixture> out;
  if (!fs::exists(kFolder)) return out;
  for (const auto& entry : fs::directory_iterator(kFolder)) {
    if (entry.path().extension() != ".json") continue;
    std::ifstream in(entry.path());
    Fixture f;
    f.name = entry.path().stem().string();
    f.truth = json::parse(in);
    f.file = kFolder / f.truth.at("file").get<std::string>();
    out.push_back(std::move(f));
  }
  std::sort(out.begin(), out.end(), [](const Fixture& a, const Fixture& b) { return a.name < b.name; });
  return out;
}

// The tables of a JSON document by title.
std::map<std::string, json> Tables(const json& document) {
  std::map<std::string, json> tables;
  for (const json& item : document.at("items")) {
    if (item.at("kind") == "table") tables[item.at("title")] = item;
  }
  return tables;
}

std::vector<json> RowsIn(const json& table, const std::string& group) {
  std::vector<json> rows;
  for (const json& row : table.at("rows")) {
    if (!row.at("groups").empty() && row.at("groups").back() == group) rows.push_back(row);
  }
  return rows;
}

const json* Row(const json& table, const std::string& group, const std::string& label) {
  for (const json& row : table.at("rows")) {
    if (!row.at("groups").empty() && row.at("groups").back() == group && row.at("label") == label) return &row;
  }
  return nullptr;
}

double Number(const json& row, const std::string& column) { return row.at("cells").at(column).at("number"); }
std::string Text(const json& row, const std::string& column) { return row.at("cells").at(column).at("text"); }

// The code of a missing-values row: "a" for ".a"; empty for "System".
std::string CodeOf(const json& row) {
  const std::string label = row.at("label");
  return label.size() == 2 && label[0] == '.' ? label.substr(1) : std::string();
}

class FormatFixtures : public ::testing::TestWithParam<Fixture> {
 protected:
  json Run(const std::vector<std::string>& arguments) {
    // The overview is tested with the other outputs; here each table is a variable's.
    std::vector<std::string> all = {"--format", "json", "--no-overview", GetParam().file.string()};
    all.insert(all.end(), arguments.begin(), arguments.end());
    const auto result = RunProgram(all);
    EXPECT_EQ(result.status, 0) << result.err;
    return json::parse(result.out);
  }
  bool HasCases() const { return GetParam().truth.at("case_count").get<int>() > 0; }
};

// Each value with its count, each missing code with its count, and the
// system-missing cases: every variable described as categorical.
TEST_P(FormatFixtures, CountsOfEveryValueAndMissingCode) {
  if (!HasCases()) GTEST_SKIP() << "no cases to count";
  const json& truth = GetParam().truth;
  const auto tables = Tables(Run({"ALL", "[N]", "/OPTIONS", "MAXCATS=100000"}));
  for (const json& variable : truth.at("variables")) {
    const std::string name = variable.at("name");
    SCOPED_TRACE(name);
    ASSERT_TRUE(tables.count(name)) << "no table";
    const json& table = tables.at(name);
    const json& stats = truth.at("stats").at(name);
    const Time time = TimeOf(variable);

    const std::vector<json> valid = RowsIn(table, "Valid Values");
    const json& counts = stats.at("counts");
    ASSERT_EQ(valid.size(), counts.size());
    for (std::size_t i = 0; i < valid.size(); ++i) {
      const json& value = valid[i].at("value");
      if (counts[i][0].is_string()) {
        EXPECT_EQ(value, counts[i][0]) << "value " << i;
      } else {
        EXPECT_TRUE(Close(Stored(value.get<double>(), time), counts[i][0].get<double>(), time))
            << "value " << i << ": " << Stored(value.get<double>(), time) << " vs " << counts[i][0];
      }
      EXPECT_EQ(Number(valid[i], "Count"), counts[i][1].get<double>()) << "count of value " << i;
    }

    std::map<std::string, double> codes;
    double system = 0;
    for (const json& row : RowsIn(table, "Missing Values")) {
      const std::string code = CodeOf(row);
      if (code.empty()) {
        EXPECT_EQ(row.at("label"), "System");
        system = Number(row, "Count");
      } else {
        EXPECT_EQ(row.at("value"), "." + code) << "the JSON value of a missing code is its text";
        codes[code] = Number(row, "Count");
      }
    }
    std::map<std::string, double> expected;
    if (stats.contains("tagged_missing")) {
      for (const auto& [code, count] : stats.at("tagged_missing").items()) expected[code] = count.get<double>();
    }
    EXPECT_EQ(codes, expected);
    // A variable whose every value is system-missing has no values to list,
    // and so no "System" row either.
    if (valid.empty() && codes.empty()) {
      EXPECT_EQ(stats.at("sysmis"), stats.at("n_cases"));
    } else {
      EXPECT_EQ(system, stats.at("sysmis").get<double>());
    }
  }
}

// Valid and missing counts, mean, standard deviation and quartiles: every
// numeric variable described as scale. (With counts asked for, each scale
// variable keeps its own statistics position.)
TEST_P(FormatFixtures, ScaleStatistics) {
  if (!HasCases()) GTEST_SKIP() << "no cases to count";
  const json& truth = GetParam().truth;
  const auto tables = Tables(Run({"ALL", "[S]", "/STATISTICS", "COUNT", "MEAN", "STDDEV", "QUARTILES"}));
  for (const json& variable : truth.at("variables")) {
    if (variable.at("type") != "numeric") continue;
    const std::string name = variable.at("name");
    SCOPED_TRACE(name);
    const json& table = tables.at(name);
    const json& stats = truth.at("stats").at(name);
    const Time time = TimeOf(variable);
    EXPECT_EQ(Number(*Row(table, "N", "Valid"), "Value"), stats.at("valid").get<double>());
    EXPECT_EQ(Number(*Row(table, "N", "Missing"), "Value"), stats.at("missing").get<double>());
    const auto check = [&](const char* label, const char* key, bool spread) {
      const json& cell = Row(table, "Central Tendency and Dispersion", label)->at("cells").at("Value");
      if (stats.at(key).is_null()) {
        EXPECT_TRUE(cell.at("number").is_null()) << label;
        return;
      }
      ASSERT_FALSE(cell.at("number").is_null()) << label;
      const double shown = cell.at("number");
      const double actual = spread ? StoredSpread(shown, time) : Stored(shown, time);
      EXPECT_TRUE(Close(actual, stats.at(key).get<double>(), time)) << label << ": " << actual << " vs " << stats.at(key);
    };
    check("Mean", "mean", false);
    check("Standard Deviation", "sd", true);
    check("Percentile 25", "p25", false);
    check("Percentile 50", "p50", false);
    check("Percentile 75", "p75", false);
  }
}

// Names in order, labels, and every value label, those of missing codes
// included; shown without counts, so also for a file without cases.
TEST_P(FormatFixtures, DictionaryOfEveryVariable) {
  const json& truth = GetParam().truth;
  const json document = Run({"ALL", "[N]", "/VARINFO", "POSITION", "LABEL", "VALUELABELS", "MISSING", "/STATISTICS",
                             "NONE", "/OPTIONS", "MAXCATS=100000"});
  std::vector<std::string> titles;
  for (const json& item : document.at("items")) {
    if (item.at("kind") == "table") titles.push_back(item.at("title"));
  }
  std::vector<std::string> names;
  for (const json& variable : truth.at("variables")) names.push_back(variable.at("name"));
  EXPECT_EQ(titles, names);

  const auto tables = Tables(document);
  for (const json& variable : truth.at("variables")) {
    const std::string name = variable.at("name");
    SCOPED_TRACE(name);
    const json& table = tables.at(name);
    const json* label = Row(table, "Standard Attributes", "Label");
    ASSERT_NE(label, nullptr);
    EXPECT_EQ(Text(*label, "Value"), variable.at("label").is_null() ? "<none>" : variable.at("label").get<std::string>());
    EXPECT_EQ(Number(*Row(table, "Standard Attributes", "Position"), "Value"), variable.at("position").get<double>());

    // Every labelled value, valid ones by value and codes by their text.
    std::set<std::pair<std::string, std::string>> shown;
    const Time time = TimeOf(variable);
    for (const char* group : {"Valid Values", "Missing Values", "Labeled Values"}) {
      for (const json& row : RowsIn(table, group)) {
        const json& value = row.at("value");
        std::string key = value.is_string() ? value.get<std::string>() : std::to_string(Stored(value.get<double>(), time));
        shown.insert({key, Text(row, "Value")});
      }
    }
    std::set<std::pair<std::string, std::string>> expected;
    for (const json& pair : variable.at("value_labels")) {
      expected.insert({pair[0].is_string() ? pair[0].get<std::string>() : std::to_string(pair[0].get<double>()), pair[1]});
    }
    if (variable.contains("extended_missing_labels")) {
      for (const json& pair : variable.at("extended_missing_labels")) expected.insert({"." + pair[0].get<std::string>(), pair[1]});
    }
    EXPECT_EQ(shown, expected);
  }
}

// The file's label and number of cases.
TEST_P(FormatFixtures, FileInformation) {
  const json& truth = GetParam().truth;
  const json document = Run({"/FILEINFO", "LABEL", "CASECOUNT", "/STATISTICS", "NONE"});
  const auto tables = Tables(document);
  ASSERT_EQ(tables.count("File Information"), 1u);
  const json& table = tables.at("File Information");
  const json* label = nullptr;
  const json* cases = nullptr;
  for (const json& row : table.at("rows")) {
    if (row.at("label") == "Label") label = &row;
    if (row.at("label") == "Unweighted") cases = &row;
  }
  ASSERT_NE(label, nullptr);
  EXPECT_EQ(Text(*label, ""), truth.at("file_label").is_null() ? "<none>" : truth.at("file_label").get<std::string>());
  ASSERT_NE(cases, nullptr);
  EXPECT_EQ(Number(*cases, ""), truth.at("case_count").get<double>());
}

// Every other output is made, and the DDI export is valid. (PDF output
// has tests of its own, which know its libraries.)
TEST_P(FormatFixtures, EveryOutputFormat) {
  const std::string file = GetParam().file.string();
  for (const char* format : {"text", "html", "markdown", "csv", "ddi", "dictionary"}) {
    SCOPED_TRACE(format);
    const bool exporting = std::string(format) == "ddi" || std::string(format) == "dictionary";
    const auto result = RunProgram({"--format", format, file});
    // Without cases the tables are the procedure's "Empty dataset." error;
    // the exports describe the dictionary.
    if (!HasCases() && !exporting) {
      EXPECT_EQ(result.status, 1) << result.err;
      continue;
    }
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_GT(result.out.size(), 100u);
    if (std::string(format) == "ddi") {
      const auto valid = codebook::testing_data::ValidateDdi(result.out);
      if (valid) {
        EXPECT_TRUE(*valid) << "the DDI document does not validate";
      }
    }
  }
}

std::string Name(const ::testing::TestParamInfo<Fixture>& info) { return info.param.name; }

INSTANTIATE_TEST_SUITE_P(Files, FormatFixtures, ::testing::ValuesIn(LoadFixtures()), Name);

}  // namespace
