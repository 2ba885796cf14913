// The dictionary as a workbook (--format xlsx, -o *.xlsx), read back with a
// standard reader (python3-openpyxl, through tests/cli/read_workbook.py):
// its "Variables" sheet holds the dictionary CSV of the same run, numbers as
// numbers and dates as dates; its "Values" sheet every category the tables
// count; text no XML can hold still gives a valid workbook; and a workbook
// that cannot be written leaves nothing behind. Extensions that choose no
// format are refused. Skipped where no Python with openpyxl is found.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <vector>

#include "platform/data/sav/write_dataset.h"
#include "testing/dataset_builder.h"
#include "tests/cli/program_harness.h"

namespace {

using codebook::testing_cli::ParseCsv;
using codebook::testing_cli::Program;
using codebook::testing_cli::Quote;
using codebook::testing_cli::Result;
using codebook::testing_cli::Slurp;
using nlohmann::json;
using testing::HasSubstr;
using testing::Not;
namespace fs = std::filesystem;

// A Python that has openpyxl: Debian's, which CI installs, first.
std::string Python() {
  for (const char* python : {"/usr/bin/python3", "python3"}) {
    const std::string probe = std::string(python) + " -c 'import openpyxl' >/dev/null 2>&1";
    if (std::system(probe.c_str()) == 0) return python;
  }
  return {};
}

// Seconds since the dataset calendar's origin (14 October 1582) of an ISO
// date or date-time as the reader gives it ("2024-03-05T13:45:00.250000").
double SecondsOfIso(const std::string& iso) {
  int year = 0;
  unsigned month = 0;
  unsigned day = 0;
  int hour = 0;
  int minute = 0;
  double second = 0;
  std::sscanf(iso.c_str(), "%d-%u-%uT%d:%d:%lf", &year, &month, &day, &hour, &minute, &second);
  // Days from civil (the proleptic Gregorian calendar).
  const auto days = [](int y, unsigned m, unsigned d) {
    y -= m <= 2 ? 1 : 0;
    const int era = (y >= 0 ? y : y - 399) / 400;
    const auto yoe = static_cast<unsigned>(y - era * 400);
    const unsigned doy = (153 * (m > 2 ? m - 3 : m + 9) + 2) / 5 + d - 1;
    const unsigned doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
    return static_cast<double>(era) * 146097 + static_cast<double>(doe);
  };
  return (days(year, month, day) - days(1582, 10, 14)) * 86400 + hour * 3600 + minute * 60 + second;
}

// Seconds of a time of day or a duration written "13:45:00.5" (hours may
// pass 24).
double SecondsOfClock(const std::string& text) {
  int hour = 0;
  int minute = 0;
  double second = 0;
  std::sscanf(text.c_str(), "%d:%d:%lf", &hour, &minute, &second);
  return hour * 3600.0 + minute * 60.0 + second;
}

// Seconds of an ISO 8601 duration of days as the exports write a spread of
// dates ("P100DT15H30M9S").
double SecondsOfDuration(const std::string& text) {
  double seconds = 0;
  double number = 0;
  bool time = false;
  for (std::size_t i = 1; i < text.size(); ++i) {
    const char c = text[i];
    if (c == 'T') {
      time = true;
    } else if ((c >= '0' && c <= '9') || c == '.') {
      std::size_t used = 0;
      number = std::stod(text.substr(i), &used);
      i += used - 1;
    } else {
      seconds += number * (c == 'D' ? 86400.0 : c == 'H' ? 3600.0 : c == 'M' ? (time ? 60.0 : 0.0) : c == 'S' ? 1.0 : 0.0);
      number = 0;
    }
  }
  return seconds;
}

// A statistic of the dictionary CSV as seconds where it is a date, a time
// or a duration (ISO 8601), else the number it is; `unit` is what its text
// cuts off: a day for a date, a second for times (the workbook keeps the
// whole value).
double FieldValue(const std::string& field, double& unit) {
  unit = 0;
  if (field.size() > 1 && field[0] == 'P') {
    unit = 1;
    return SecondsOfDuration(field);
  }
  const bool dateTime = field.find('T') != std::string::npos;
  if (dateTime || (field.size() >= 10 && field[4] == '-' && field[7] == '-')) {
    unit = dateTime ? 1 : 86400;
    return SecondsOfIso(field);
  }
  if (field.find(':') != std::string::npos) {
    unit = 1;
    return SecondsOfClock(field);
  }
  return std::stod(field);
}

class Workbook : public Program {
 protected:
  void SetUp() override {
    Program::SetUp();
    python_ = Python();
    if (python_.empty()) GTEST_SKIP() << "no python3 with openpyxl; the workbook tests are skipped";
  }

  json Read(const fs::path& workbook) {
    const Result dump = Shell(python_ + " " + Quote(std::string(CODEBOOK_SOURCE_DIR) + "/tests/cli/read_workbook.py") +
                              " " + Quote(workbook.string()));
    EXPECT_EQ(dump.status, 0) << dump.err;
    return json::parse(dump.out, nullptr, false);
  }

  // Runs the program for a workbook of `arguments`; the workbook read back.
  json Workbook_(std::vector<std::string> arguments) {
    const fs::path file = Path("out.xlsx");
    fs::remove(file);
    arguments.insert(arguments.begin(), {"-o", file.string()});
    const Result result = Run(arguments);
    EXPECT_EQ(result.status, 0) << result.err;
    return Read(file);
  }

  std::string python_;
};

// The dictionary CSV's columns that hold numbers.
bool NumericColumn(const std::string& name) {
  static const std::set<std::string> kNumeric = {"position", "width", "valid", "missing", "mean",
                                                 "std_dev", "percentile_25", "median", "percentile_75"};
  return kNumeric.count(name) != 0;
}

// One cell of the Variables sheet against the CSV's field.
void ExpectSame(const json& cell, const std::string& field, const std::string& column, const std::string& where) {
  if (field.empty()) {
    EXPECT_TRUE(cell.is_null()) << where << " " << column << ": " << cell;
    return;
  }
  ASSERT_FALSE(cell.is_null()) << where << " " << column << " should be " << field;
  const std::string kind = cell["t"];
  if (!NumericColumn(column) || field == "NaN" || field == "INF" || field == "-INF") {
    EXPECT_EQ(kind, "s") << where << " " << column;
    EXPECT_EQ(cell["v"].get<std::string>(), field) << where << " " << column;
    return;
  }
  double unit = 0;
  const double expected = FieldValue(field, unit);
  double actual = 0;
  double tolerance = 1e-12 * std::max(1.0, std::fabs(expected));
  if (kind == "n") {
    actual = cell["v"].get<double>();
  } else if (kind == "d") {
    // A date keeps its day and time to the millisecond; a time of day has
    // no date.
    const std::string iso = cell["v"].get<std::string>();
    actual = iso.find('-', 1) != std::string::npos ? SecondsOfIso(iso) : SecondsOfClock(iso);
    tolerance = std::max(1e-3, unit);
  } else if (kind == "p") {
    actual = cell["v"].get<double>();
    tolerance = std::max(1e-3, unit);
  } else {
    ADD_FAILURE() << where << " " << column << ": a number written as " << cell;
    return;
  }
  EXPECT_NEAR(actual, expected, tolerance) << where << " " << column;
}

std::vector<std::string> Datasets() {
  std::vector<std::string> files;
  for (const auto& entry : fs::directory_iterator(CODEBOOK_FIXTURES_DIR)) {
    const std::string extension = entry.path().extension().string();
    if (extension == ".sav" || extension == ".zsav") files.push_back(entry.path().string());
  }
  std::sort(files.begin(), files.end());
  files.push_back(std::string(CODEBOOK_SOURCE_DIR) + "/data/demo.sav");
  return files;
}

TEST_F(Workbook, TheVariablesSheetIsTheDictionaryCsvWithNumbersAsNumbers) {
  for (const std::string& dataset : Datasets()) {
    const Result csv = Run({"--format", "dictionary", dataset});
    ASSERT_EQ(csv.status, 0) << dataset << ": " << csv.err;
    const std::vector<std::vector<std::string>> expected = ParseCsv(csv.out);
    const json book = Workbook_({dataset});
    ASSERT_TRUE(book.is_object()) << dataset;
    EXPECT_EQ(book["order"], (json{"Variables", "Values", "Sets", "File"})) << dataset;
    const json& variables = book["sheets"]["Variables"];
    const json& rows = variables["rows"];
    ASSERT_EQ(rows.size(), expected.size()) << dataset;
    for (std::size_t c = 0; c < expected[0].size(); ++c) EXPECT_EQ(rows[0][c]["v"], expected[0][c]) << dataset;
    for (std::size_t r = 1; r < expected.size(); ++r) {
      ASSERT_EQ(rows[r].size(), expected[r].size()) << dataset << " row " << r;
      for (std::size_t c = 0; c < expected[r].size(); ++c) {
        ExpectSame(rows[r][c], expected[r][c], expected[0][c], dataset + " row " + std::to_string(r));
      }
    }
    // The header stays in view, every column filters, every sheet alike.
    for (const auto& [name, sheet] : book["sheets"].items()) {
      EXPECT_EQ(sheet["freeze"], "A2") << dataset << " " << name;
      EXPECT_THAT(sheet["filter"].get<std::string>(), testing::StartsWith("A1:")) << dataset << " " << name;
      EXPECT_FALSE(sheet["widths"].empty()) << dataset << " " << name;
    }
  }
}

TEST_F(Workbook, TheValuesSheetHoldsEveryCategoryTheTablesCount) {
  for (const std::string& dataset : {Fixture("fx03_labels_missing.zsav"), Fixture("fx05_mrsets.sav"),
                                     Fixture("fx07_weight_fractional.zsav"),
                                     std::string(CODEBOOK_SOURCE_DIR) + "/data/demo.sav"}) {
    const Result tables = Run({"--format", "json", dataset});
    ASSERT_EQ(tables.status, 0) << tables.err;
    // (item, row label, count) of every counted category of the tables.
    std::multiset<std::tuple<std::string, std::string, double>> counted;
    const json parsed = json::parse(tables.out);
    for (const json& item : parsed["items"]) {
      if (item["kind"] != "table" || item["subtype"] != "Variable Information") continue;
      for (const json& row : item["rows"]) {
        const std::string group = row["groups"].empty() ? "" : row["groups"][0].get<std::string>();
        if (group != "Valid Values" && group != "Missing Values" && group != "Labeled Values" &&
            group != "Multiple Response Categories") {
          continue;
        }
        if (!row["cells"].contains("Count")) continue;
        counted.emplace(item["title"], row["label"], row["cells"]["Count"]["number"].get<double>());
      }
    }
    ASSERT_FALSE(counted.empty()) << dataset;
    const json book = Workbook_({dataset});
    const json& rows = book["sheets"]["Values"]["rows"];
    // (item, count) of the sheet's counted rows, each matched once.
    std::vector<std::pair<std::string, double>> listed;
    for (std::size_t r = 1; r < rows.size(); ++r) {
      const json& row = rows[r];
      if (row[4].is_null()) continue;
      ASSERT_EQ(row[4]["t"], "n") << dataset << " row " << r;  // counts are numbers
      if (!row[5].is_null()) {
        EXPECT_EQ(row[5]["t"], "n") << dataset << " row " << r;
      }
      listed.emplace_back(row[0]["v"], row[4]["v"].get<double>());
    }
    for (const auto& [item, label, count] : counted) {
      const auto match = std::find_if(listed.begin(), listed.end(), [&](const auto& entry) {
        return entry.first == item && std::fabs(entry.second - count) <= 1e-12 * std::max(1.0, count);
      });
      EXPECT_NE(match, listed.end()) << dataset << ": " << item << " " << label << " " << count;
      if (match != listed.end()) listed.erase(match);
    }
  }
}

TEST_F(Workbook, WeightedCountsComeWithTheUnweightedOnes) {
  // The demo is weighted by `weight`; the same command unweighted counts
  // each value's cases.
  std::ofstream(Path("unweighted.sps")) << "GET FILE='" << CODEBOOK_SOURCE_DIR << "/data/demo.sav'.\nWEIGHT OFF.\n"
                                        << "CODEBOOK region.\n";
  const Result plain = Run({"-x", Path("unweighted.sps").string(), "--format", "json"});
  ASSERT_EQ(plain.status, 0) << plain.err;
  std::map<double, double> cases;
  const json parsed = json::parse(plain.out);
  for (const json& item : parsed["items"]) {
    if (item["kind"] != "table" || item["title"] != "region") continue;
    for (const json& row : item["rows"]) {
      if (row.contains("value") && row["cells"].contains("Count")) cases[row["value"]] = row["cells"]["Count"]["number"];
    }
  }
  ASSERT_FALSE(cases.empty());
  const json book = Workbook_({"--demo", "region"});
  const json& values = book["sheets"]["Values"]["rows"];
  ASSERT_EQ(values[0][6]["v"], "unweighted_count");
  std::size_t compared = 0;
  for (std::size_t r = 1; r < values.size(); ++r) {
    if (values[r][1].is_null() || values[r][6].is_null()) continue;
    EXPECT_EQ(values[r][6]["v"].get<double>(), cases[values[r][1]["v"].get<double>()]) << r;
    // The weighted count differs: the weights are not all 1.
    EXPECT_NE(values[r][4]["v"].get<double>(), values[r][6]["v"].get<double>()) << r;
    ++compared;
  }
  EXPECT_EQ(compared, cases.size());
  // The File sheet says how the cases are weighted.
  std::map<std::string, json> file;
  for (const json& row : book["sheets"]["File"]["rows"]) file[row[0]["v"]] = row[1];
  EXPECT_EQ(file["name"]["v"], "demo.sav");
  EXPECT_EQ(file["weight"]["v"], "weight");
  EXPECT_EQ(file["cases"]["v"], 2500);
  EXPECT_NEAR(file["weighted_cases"]["v"].get<double>(), 2488.4584, 1e-6);
}

TEST_F(Workbook, TextNoXmlCanHoldStillGivesAValidWorkbook) {
  const std::string longValue(40000, 'y');
  auto dataset = codebook::data::DatasetBuilder()
                     .FileLabel("Bell\x07 and escape\x1B[31m")
                     .Document({"line one", "line \xFF two"})
                     .Numeric("x").Label("Control\x01 and bad \xC3 byte").ValueLabel(1, "tab\there")
                     .Attribute("Note", {longValue})
                     .Numeric("y").Attribute("Note", {std::string(20000, '\x01')})
                     .Cases({{1, 1}, {2, 2}})
                     .Build();
  codebook::data::WriteDatasetFile(*dataset, Path("odd.sav").string());
  const json book = Workbook_({Path("odd.sav").string()});
  ASSERT_TRUE(book.is_object());
  const json& row = book["sheets"]["Variables"]["rows"][1];
  // (The reader has made the stray byte a U+FFFD already.)
  EXPECT_EQ(row[2]["v"], "Control\\x01 and bad \xEF\xBF\xBD byte");
  EXPECT_EQ(row[9]["v"], "1=tab\there");
  // The attribute's value, cut at what a cell holds.
  const std::string attribute = row[18]["v"];
  EXPECT_LE(attribute.size(), 32767u + 3);
  EXPECT_EQ(attribute.substr(attribute.size() - 3), "\xE2\x80\xA6");
  // Escapes count as the characters they are: still within a cell.
  const std::string escaped = book["sheets"]["Variables"]["rows"][2][18]["v"];
  EXPECT_EQ(escaped.substr(0, 8), "\\x01\\x01");
  EXPECT_LE(escaped.size(), 32767u + 3);
  std::map<std::string, std::string> file;
  for (const json& line : book["sheets"]["File"]["rows"]) {
    if (!line[1].is_null() && line[1]["t"] == "s") file[line[0]["v"]] += line[1]["v"].get<std::string>() + "|";
  }
  EXPECT_EQ(file["label"], "Bell\\x07 and escape\\x1B[31m|");
  EXPECT_EQ(file["document 1"], "line one|line \xEF\xBF\xBD two|");
}

TEST_F(Workbook, AWorkbookThatCannotBeWrittenLeavesNothing) {
  fs::create_directories(Path("tmp"));
  const std::string environment = "TMPDIR=" + Quote(Path("tmp").string());
  const Result missingFolder = Run({"--demo", "-o", Path("no/such/folder/out.xlsx").string()}, environment);
  EXPECT_EQ(missingFolder.status, 2) << missingFolder.err;
  EXPECT_EQ(Lines(missingFolder.err), 1) << missingFolder.err;
  // A temporary folder where nothing can be made: the workbook's own
  // temporary file cannot be made either.
  const Result noTemporary = Run({"--demo", "-o", Path("out.xlsx").string()}, "TMPDIR=/proc/self");
  EXPECT_EQ(noTemporary.status, 2) << noTemporary.err;
  EXPECT_FALSE(fs::exists(Path("out.xlsx")));
  EXPECT_TRUE(fs::is_empty(Path("tmp")));
  // Several files make no one workbook; a syntax file of two commands
  // neither.
  const Result two = Run({"-o", Path("two.xlsx").string(), Fixture("fx01_numeric_formats.sav"),
                          Fixture("fx02_strings.sav")});
  EXPECT_EQ(two.status, 2);
  EXPECT_THAT(two.err, HasSubstr("one dataset file at a time"));
  EXPECT_FALSE(fs::exists(Path("two.xlsx")));
  // To standard output it is written whole, but not onto a terminal.
  const Result piped = Run({"--demo", "--format", "xlsx"});
  EXPECT_EQ(piped.status, 0);
  EXPECT_EQ(piped.out.substr(0, 2), "PK");
  const Result terminal = Shell("script -qec " + Quote(Binary() + " --demo --format xlsx") + " /dev/null");
  if (terminal.status != 127) {
    EXPECT_THAT(terminal.out, HasSubstr("a workbook is not shown on a terminal"));
    EXPECT_THAT(terminal.out, Not(HasSubstr("PK")));
  }
}

TEST_F(Workbook, AnExtensionThatChoosesNoFormatIsRefused) {
  for (const char* name : {"out.docx", "out.tsv", "out.odt", "OUT.DOCX", "report.2024"}) {
    const Result refused = Run({"--demo", "-o", Path(name).string()});
    EXPECT_EQ(refused.status, 2) << name;
    EXPECT_THAT(refused.err, HasSubstr("chooses no output format; known: .txt .html"));
    EXPECT_THAT(refused.err, HasSubstr(".xlsx"));
    EXPECT_EQ(Lines(refused.err), 1) << refused.err;
    EXPECT_FALSE(fs::exists(Path(name))) << name;
  }
  // --format says what to write; a name without an extension is text.
  const Result json = Run({"--demo", "--format", "json", "-o", Path("out.docx").string(), "sex"});
  EXPECT_EQ(json.status, 0) << json.err;
  EXPECT_EQ(Slurp(Path("out.docx")).substr(0, 10), "{\"format\":");
  const Result plain = Run({"--demo", "-o", Path("codebook").string(), "sex"});
  EXPECT_EQ(plain.status, 0) << plain.err;
  EXPECT_THAT(Slurp(Path("codebook")), HasSubstr("File demo.sav:"));
  const Result hidden = Run({"--demo", "-o", Path(".codebook").string(), "sex"});
  EXPECT_EQ(hidden.status, 0) << hidden.err;
}

}  // namespace
