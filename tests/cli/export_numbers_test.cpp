// Numbers in the exports and the JSON of every shared fixture: no float
// noise past 15 significant digits, whole numbers without an exponent, and
// the statistics of date and time variables as ISO 8601.
#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <sstream>
#include <string>

#include "tests/cli/export_harness.h"

namespace {

using namespace codebook::testing_export;

// Every number the exports and the JSON write, of every fixture: at most 15
// significant digits (no float noise), whole numbers without an exponent;
// the statistics of date and time variables as ISO 8601 beside DDI's numbers.
TEST_F(Export, NumbersHaveFifteenDigitsAndDatesAreIso) {
  int numbers = 0;
  const auto check = [&numbers](const std::string& number, const std::string& where) {
    if (number.empty()) return;
    ++numbers;
    EXPECT_TRUE(IsNumber(number)) << where << ": " << number;
    EXPECT_LE(SignificantDigits(number), 15) << where << ": " << number;
    if (std::fabs(std::stod(number)) >= 1 && std::fabs(std::stod(number)) < 1e15) {
      EXPECT_EQ(number.find('e'), std::string::npos) << where << ": " << number;
    }
  };
  int isoNotes = 0;
  for (const fs::path& file : Fixtures()) {
    SCOPED_TRACE(file.filename().string());
    const json truth = Truth(file);
    std::map<std::string, std::string> formats;
    for (const json& variable : truth["variables"]) formats[variable["name"]] = variable["print_format"];

    const Result dictionary = Run({"--format", "dictionary", file.string()});
    ASSERT_EQ(dictionary.status, 0) << dictionary.err;
    const auto rows = ParseCsv(dictionary.out);
    for (std::size_t r = 1; r < rows.size(); ++r) {
      for (std::size_t c = 10; c <= 16 && c < rows[r].size(); ++c) {
        // Numbers, or dates and times where the format says so.
        if (!IsNumber(rows[r][c]) && WrittenAs(formats[rows[r][1]]) != Written::kNumber) continue;
        check(rows[r][c], rows[0][c] + " of " + rows[r][1]);
      }
    }

    const Result ddi = Run({"--format", "ddi", file.string()});
    ASSERT_EQ(ddi.status, 0) << ddi.err;
    xmlDoc* document = xmlReadMemory(ddi.out.data(), static_cast<int>(ddi.out.size()), "ddi.xml", nullptr, XML_PARSE_NONET);
    ASSERT_NE(document, nullptr);
    for (xmlNode* var : Children(Child(xmlDocGetRootElement(document), "dataDscr"), "var")) {
      const std::string name = Attribute(var, "name");
      for (xmlNode* stat : Children(var, "sumStat")) check(Text(stat), "sumStat of " + name);
      for (xmlNode* category : Children(var, "catgry")) {
        for (xmlNode* stat : Children(category, "catStat")) check(Text(stat), "catStat of " + name);
      }
      const json& stats = Member(Member(truth, "stats"), name);
      const Written written = WrittenAs(formats[name]);
      if (written == Written::kNumber || Children(var, "sumStat").empty()) continue;
      // The dates beside the numbers: "mean 2024-03-05; stdev P3DT4H; ...".
      std::string note;
      for (xmlNode* notes : Children(var, "notes")) {
        if (Attribute(notes, "type") == "codebook:iso8601") note = Text(notes);
      }
      ASSERT_FALSE(note.empty()) << name;
      ++isoNotes;
      std::istringstream parts(note);
      for (std::string part; std::getline(parts, part, ';');) {
        std::istringstream words(part);
        std::string statistic, text;
        words >> statistic >> text;
        if (statistic == "mean") ExpectStatistic(text, Member(stats, "mean"), formats[name], false, name + " mean");
        if (statistic == "medn") ExpectStatistic(text, Member(stats, "p50"), formats[name], false, name + " median");
        if (statistic == "stdev") ExpectStatistic(text, Member(stats, "sd"), formats[name], true, name + " sd");
      }
    }
    xmlFreeDoc(document);

    const Result tables = Run({"--format", "json", file.string()});
    // The JSON writes numbers after "number" and "value" alone.
    for (const std::string key : {"\"number\": ", "\"value\": "}) {
      for (std::size_t at = tables.out.find(key); at != std::string::npos; at = tables.out.find(key, at + 1)) {
        const std::size_t start = at + key.size();
        if (start >= tables.out.size() || tables.out[start] == '"' || tables.out[start] == 'n') continue;
        const std::size_t end = tables.out.find_first_of(",}] \n", start);
        check(tables.out.substr(start, end - start), "JSON " + key);
      }
    }
  }
  EXPECT_GT(isoNotes, 20);
  EXPECT_GT(numbers, 10000);
}

}  // namespace
