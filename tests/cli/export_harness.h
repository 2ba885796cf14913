// What the tests of the exports share: reading DDI through libxml2, the
// dictionary as CSV, the fixtures and their truth, and how a statistic of a
// date or time variable is written.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <libxml/parser.h>
#include <libxml/tree.h>

#include <algorithm>
#include <cctype>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "tests/cli/program_harness.h"

namespace codebook::testing_export {

using codebook::testing_cli::ParseCsv;
using codebook::testing_cli::Program;
using codebook::testing_cli::Result;
using codebook::testing_cli::Slurp;
using nlohmann::json;
namespace fs = std::filesystem;

inline const std::string kSchema = std::string(CODEBOOK_SOURCE_DIR) + "/../shared/ddi-codebook-2.5/schemas/codebook.xsd";

inline bool HaveXmllint() { return std::system("command -v xmllint >/dev/null 2>&1") == 0; }

// Element helpers over libxml2's tree.
inline std::vector<xmlNode*> Children(xmlNode* node, const char* name) {
  std::vector<xmlNode*> out;
  for (xmlNode* child = node != nullptr ? node->children : nullptr; child != nullptr; child = child->next) {
    if (child->type == XML_ELEMENT_NODE && xmlStrcmp(child->name, BAD_CAST name) == 0) out.push_back(child);
  }
  return out;
}
inline xmlNode* Child(xmlNode* node, const char* name) {
  const auto all = Children(node, name);
  return all.empty() ? nullptr : all.front();
}
inline std::string Text(xmlNode* node) {
  if (node == nullptr) return {};
  xmlChar* content = xmlNodeGetContent(node);
  std::string text = content != nullptr ? reinterpret_cast<const char*>(content) : "";
  xmlFree(content);
  return text;
}
inline std::string Attribute(xmlNode* node, const char* name) {
  xmlChar* value = xmlGetProp(node, BAD_CAST name);
  std::string text = value != nullptr ? reinterpret_cast<const char*>(value) : "";
  xmlFree(value);
  return text;
}

// The truth's key for a value: numbers as JSON numbers print, strings as they are.
inline std::string Key(const json& value) { return value.is_string() ? value.get<std::string>() : std::to_string(value.get<double>()); }
inline std::string Key(const std::string& text, bool numeric) { return numeric ? std::to_string(std::stod(text)) : text; }

inline const json& Member(const json& object, const std::string& name) {
  static const json kNull;
  return object.is_object() && object.contains(name) ? object[name] : kNull;
}

inline std::map<std::string, double> Counts(const json& stats) {
  std::map<std::string, double> counts;
  if (stats.is_object() && stats.contains("counts")) {
    for (const json& pair : Member(stats, "counts")) counts[Key(pair[0])] = pair[1].get<double>();
  }
  return counts;
}

// A number as the exports write it: 15 significant digits at most, no
// trailing zeros, no exponent from 1e-5 to 1e15 (what "%.15g" makes too).
inline std::string Shortest(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%.15g", value);
  return text;
}

// A value or label inside a list field of the dictionary, its separators escaped.
inline std::string ListItem(const std::string& text) {
  std::string escaped;
  for (const char c : text) escaped += (c == '\\' || c == ';' || c == '=') ? std::string("\\") + c : std::string(1, c);
  return escaped;
}
inline std::string ListItem(const json& value) { return ListItem(value.is_string() ? value.get<std::string>() : Shortest(value.get<double>())); }

// The truth's missing values as the dictionary writes them.
inline std::string MissingDefinition(const json& missing) {
  std::string text;
  for (const json& value : missing["discrete"]) text += (text.empty() ? "" : "; ") + ListItem(value);
  const json& range = missing["range"];
  if (!range.is_null()) {
    const auto end = [](const json& bound) { return bound.is_string() ? bound.get<std::string>() : Shortest(bound.get<double>()); };
    text += (text.empty() ? "" : "; ") + end(range[0]) + " thru " + end(range[1]);
  }
  return text;
}

// A set's counts from its DDI note: one "value (label): count, percent%"
// line per category.
inline std::map<std::string, double> NoteCounts(const std::string& note) {
  std::map<std::string, double> counts;
  std::istringstream lines(note);
  for (std::string line; std::getline(lines, line);) {
    const std::size_t colon = line.rfind(": ");
    const std::size_t label = line.find(" (");
    const std::string value = line.substr(0, std::min(colon, label));
    counts[value] = std::stod(line.substr(colon + 2));
  }
  return counts;
}

// A truth of null (a percentile of fractional weights, say) is not checked.
inline void ExpectNear(double actual, const json& expected, const std::string& what) {
  if (expected.is_null()) return;
  ASSERT_TRUE(expected.is_number()) << what;
  const double truth = expected.get<double>();
  EXPECT_NEAR(actual, truth, 1e-6 * std::max(1.0, std::fabs(truth))) << what;
}

// How the exports write a statistic of a variable with this print format:
// a number, or ISO 8601 for dates, date-times and times.
enum class Written { kNumber, kDate, kDateTime, kTime };
inline Written WrittenAs(const std::string& printFormat) {
  std::string type;
  for (const char c : printFormat) {
    if (c < 'A' || c > 'Z') break;
    type += c;
  }
  for (const char* date : {"DATE", "ADATE", "EDATE", "SDATE", "JDATE", "QYR", "MOYR", "WKYR"}) {
    if (type == date) return Written::kDate;
  }
  if (type == "DATETIME" || type == "YMDHMS") return Written::kDateTime;
  if (type == "TIME" || type == "DTIME" || type == "MTIME") return Written::kTime;
  return Written::kNumber;
}

// Seconds since 14 October 1582 read back from ISO 8601 ("2024-03-05",
// "2024-03-05T13:45:00.25", "-27:46:40", "P100DT15H30M9S"), by the calendar
// of the standard library; nullopt when the text is not of that form.
inline std::optional<double> ReadIso(const std::string& text) {
  using namespace std::chrono;
  double seconds = 0;
  std::string rest = text;
  int year = 0;
  unsigned month = 0, day = 0;
  char dash1 = 0, dash2 = 0;
  if (rest.size() >= 10 && std::isdigit(static_cast<unsigned char>(rest[0])) && rest[4] == '-') {
    std::istringstream date(rest.substr(0, 10));
    date >> year >> dash1 >> month >> dash2 >> day;
    const year_month_day ymd{std::chrono::year(year), std::chrono::month(month), std::chrono::day(day)};
    if (!date || !ymd.ok()) return std::nullopt;
    seconds = static_cast<double>((sys_days(ymd) - sys_days(1582y / October / 14)).count()) * 86400.0;
    if (rest.size() == 10) return seconds;
    if (rest[10] != 'T') return std::nullopt;
    rest = rest.substr(11);
  } else if (!rest.empty() && (rest[0] == 'P' || rest.rfind("-P", 0) == 0)) {
    const bool negative = rest[0] == '-';
    double total = 0;
    double number = 0;
    std::string digits;
    for (const char c : rest.substr(negative ? 2 : 1)) {
      if (std::isdigit(static_cast<unsigned char>(c)) || c == '.') {
        digits += c;
        continue;
      }
      if (c == 'T') continue;
      number = digits.empty() ? 0 : std::stod(digits);
      digits.clear();
      total += number * (c == 'D' ? 86400 : c == 'H' ? 3600 : c == 'M' ? 60 : 1);
    }
    return negative ? -total : total;
  }
  const bool negative = !rest.empty() && rest[0] == '-';
  long long hours = 0;
  int minutes = 0;
  double secondsPart = 0;
  char colon1 = 0, colon2 = 0;
  std::istringstream clock(negative ? rest.substr(1) : rest);
  clock >> hours >> colon1 >> minutes >> colon2 >> secondsPart;
  if (clock.fail() || colon1 != ':' || colon2 != ':') return std::nullopt;
  const double time = static_cast<double>(hours) * 3600 + minutes * 60 + secondsPart;
  return seconds + (negative ? -time : time);
}

// A statistic as the exports write it, against the truth: a number, or a
// date or time that falls where the truth's value does (cut to the day, or
// to the format's decimals of a second).
inline void ExpectStatistic(const std::string& text, const json& truth, const std::string& printFormat, bool spread,
                     const std::string& what) {
  if (truth.is_null()) return;
  const Written written = WrittenAs(printFormat);
  if (written == Written::kNumber) return ExpectNear(std::stod(text), truth, what);
  const std::optional<double> read = ReadIso(text);
  ASSERT_TRUE(read.has_value()) << what << ": not ISO 8601: " << text;
  const double value = truth.get<double>();
  // A date is its day; a time is cut to its shown second.
  const double cut = written == Written::kDate && !spread ? 86400 : 1;
  EXPECT_LE(*read, value + 1e-3) << what << ": " << text;
  EXPECT_GT(*read, value - cut - 1e-3) << what << ": " << text;
}

// Significant digits of a number as written: "2488.4584" has 8.
inline int SignificantDigits(const std::string& number) {
  std::string digits;
  for (const char c : number) {
    if (c == 'e' || c == 'E') break;
    if (std::isdigit(static_cast<unsigned char>(c))) digits += c;
  }
  const std::size_t first = digits.find_first_not_of('0');
  if (first == std::string::npos) return 1;
  // The zeros that end a whole number hold places, not precision.
  const bool whole = number.find_first_of(".eE") == std::string::npos;
  const std::size_t last = whole ? digits.find_last_not_of('0') : digits.size() - 1;
  return static_cast<int>(last - first + 1);
}

// -?D+(.D+)?([eE][-+]?D+)? with D a digit.
inline bool IsNumber(const std::string& text) {
  std::size_t at = 0;
  const auto digits = [&] {
    const std::size_t start = at;
    while (at < text.size() && std::isdigit(static_cast<unsigned char>(text[at]))) ++at;
    return at > start;
  };
  if (at < text.size() && text[at] == '-') ++at;
  if (!digits()) return false;
  if (at < text.size() && text[at] == '.') {
    ++at;
    if (!digits()) return false;
  }
  if (at < text.size() && (text[at] == 'e' || text[at] == 'E')) {
    ++at;
    if (at < text.size() && (text[at] == '-' || text[at] == '+')) ++at;
    if (!digits()) return false;
  }
  return at == text.size();
}

// What a variable's table shows: whether it is shown as scale (an "N" or a
// statistics group) and its mean and valid count.
struct Shown {
  bool scale = false;
  std::optional<double> mean;
  std::optional<double> valid;
};

class Export : public Program {
 protected:
  // The tables of the same command, through the JSON output.
  std::map<std::string, Shown> TablesOf(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), {"--format", "json"});
    const Result result = Run(arguments);
    std::map<std::string, Shown> tables;
    const json parsed = json::parse(result.out);
    for (const json& item : parsed["items"]) {
      if (item["kind"] != "table" || item["subtype"] != "Variable Information") continue;
      Shown& shown = tables[item["title"].get<std::string>()];
      for (const json& row : item["rows"]) {
        if (row["groups"].empty()) continue;
        const std::string group = row["groups"][0];
        if (group != "N" && group != "Central Tendency and Dispersion") continue;
        shown.scale = true;
        const json& number = row["cells"]["Value"]["number"];
        if (!number.is_number()) continue;
        if (row["label"] == "Mean") shown.mean = number.get<double>();
        if (row["label"] == "Valid") shown.valid = number.get<double>();
      }
    }
    return tables;
  }

  static std::vector<fs::path> Fixtures() {
    std::vector<fs::path> files;
    for (const auto& entry : fs::directory_iterator(CODEBOOK_FIXTURES_DIR)) {
      const std::string extension = entry.path().extension().string();
      if (extension != ".sav" && extension != ".zsav") continue;
      files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    return files;
  }
  static json Truth(const fs::path& file) {
    fs::path truth = file;
    return json::parse(Slurp(truth.replace_extension(".json")));
  }
};

}  // namespace codebook::testing_export
