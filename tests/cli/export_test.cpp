// The archive exports of every shared fixture, made by the program as a
// person runs it: the DDI document validates against the DDI-Codebook 2.5
// schema, and its labels, missing values, counts and statistics, like the
// dictionary spreadsheet's, are the fixture's truth.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <libxml/parser.h>
#include <libxml/tree.h>
#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <optional>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "platform/data/sav/write_dataset.h"
#include "testing/dataset_builder.h"
#include "tests/cli/export_harness.h"

namespace {

using codebook::testing_cli::Quote;
using testing::HasSubstr;
using testing::Not;
using namespace codebook::testing_export;

TEST_F(Export, DdiOfEveryFixtureIsValidAndTrue) {
  const bool validate = HaveXmllint();
  const std::vector<fs::path> files = Fixtures();
  ASSERT_GT(files.size(), 10u);
  for (const fs::path& file : files) {
    SCOPED_TRACE(file.filename().string());
    const json truth = Truth(file);
    const bool weighted = !truth["weight"].is_null();
    const fs::path out = Path("out.xml");
    const Result result = Run({"-o", out.string(), file.string(), "/OPTIONS", "MAXCATS=1000000"});
    ASSERT_EQ(result.status, 0) << result.err;
    // A file without cases is described by its dictionary (the tables of
    // STATISTICS NONE), with a warning.
    const bool empty = truth["case_count"].get<long long>() == 0;
    EXPECT_EQ(result.err.find("has no cases") != std::string::npos, empty) << result.err;
    std::vector<std::string> tableArguments = {file.string(), "/OPTIONS", "MAXCATS=1000000"};
    if (empty) tableArguments.insert(tableArguments.end(), {"/STATISTICS", "NONE"});
    const std::map<std::string, Shown> tables = TablesOf(tableArguments);
    if (validate) {
      const Result valid = Shell("xmllint --noout --nonet --schema " + Quote(kSchema) + " " + Quote(out.string()));
      EXPECT_EQ(valid.status, 0) << valid.err;
    }
    xmlDoc* document = xmlReadFile(out.c_str(), nullptr, XML_PARSE_NONET);
    ASSERT_NE(document, nullptr);
    xmlNode* root = xmlDocGetRootElement(document);
    // The file's dimensions; the case count only where the file states it.
    xmlNode* dimensions = Child(Child(Child(root, "fileDscr"), "fileTxt"), "dimensns");
    EXPECT_EQ(Text(Child(dimensions, "varQnty")), std::to_string(truth["variables"].size()));
    if (xmlNode* cases = Child(dimensions, "caseQnty")) {
      EXPECT_EQ(Text(cases), std::to_string(truth["case_count"].get<long long>()));
    } else {
      EXPECT_EQ(file.filename(), "fx17_ncases_unknown.sav");
    }
    std::map<std::string, const json*> variables;
    for (const json& variable : truth["variables"]) variables[variable["name"]] = &variable;
    xmlNode* data = Child(root, "dataDscr");
    const auto vars = Children(data, "var");
    EXPECT_EQ(vars.size(), truth["variables"].size());
    for (xmlNode* var : vars) {
      const std::string name = Attribute(var, "name");
      SCOPED_TRACE(name);
      ASSERT_EQ(variables.count(name), 1u);
      const json& variable = *variables[name];
      const bool numeric = variable["type"] == "numeric";
      EXPECT_EQ(Text(Child(var, "labl")), variable["label"].is_null() ? "" : variable["label"].get<std::string>());
      // Missing values.
      std::vector<std::string> discrete;
      xmlNode* invalid = Child(var, "invalrng");
      for (xmlNode* item : Children(invalid, "item")) discrete.push_back(Key(Attribute(item, "VALUE"), numeric));
      std::vector<std::string> expected;
      for (const json& value : variable["missing"]["discrete"]) expected.push_back(Key(value));
      EXPECT_EQ(discrete, expected);
      const json& range = variable["missing"]["range"];
      xmlNode* ranged = Child(invalid, "range");
      EXPECT_EQ(ranged != nullptr, !range.is_null());
      if (ranged != nullptr && !range.is_null()) {
        if (range[0].is_string()) {
          EXPECT_EQ(Attribute(ranged, "min"), "");
        }
        if (range[0].is_number()) {
          EXPECT_DOUBLE_EQ(std::stod(Attribute(ranged, "min")), range[0].get<double>());
        }
        if (range[1].is_number()) {
          EXPECT_DOUBLE_EQ(std::stod(Attribute(ranged, "max")), range[1].get<double>());
        }
        if (range[1].is_string()) {
          EXPECT_EQ(Attribute(ranged, "max"), "");
        }
      }
      // Categories: labels, weighted and unweighted counts.
      std::map<std::string, std::string> labels;
      for (const json& pair : variable["value_labels"]) labels[Key(pair[0])] = pair[1];
      const auto counts = Counts(Member(Member(truth, "stats"), name));
      const auto unweighted = Counts(Member(Member(truth, "stats_unweighted"), name));
      for (xmlNode* category : Children(var, "catgry")) {
        const std::string value = Text(Child(category, "catValu"));
        if (value == ".") continue;  // system-missing
        const std::string key = Key(value, numeric);
        if (labels.count(key) > 0) {
          EXPECT_EQ(Text(Child(category, "labl")), labels[key]) << value;
        }
        for (xmlNode* stat : Children(category, "catStat")) {
          if (Attribute(stat, "type") != "freq") continue;
          const bool isWeighted = Attribute(stat, "wgtd") == "wgtd";
          const auto& truthCounts = isWeighted || !weighted ? counts : unweighted;
          const auto found = truthCounts.find(key);
          const double expectedCount = found == truthCounts.end() ? 0.0 : found->second;
          EXPECT_NEAR(std::stod(Text(stat)), expectedCount, 1e-6) << value << (isWeighted ? " weighted" : "");
        }
      }
      // Statistics: those the table shows, whatever the dictionary's level,
      // and they are the truth's.
      const json& stats = Member(Member(truth, "stats"), name);
      std::map<std::string, double> summary;
      for (xmlNode* stat : Children(var, "sumStat")) {
        const std::string type = Attribute(stat, "type");
        const double number = std::stod(Text(stat));
        summary[type] = number;
        if (type == "vald") ExpectNear(number, Member(stats, "valid"), name + " valid");
        if (type == "invd") ExpectNear(number, Member(stats, "missing"), name + " missing");
        if (type == "mean") ExpectNear(number, Member(stats, "mean"), name + " mean");
        if (type == "stdev") ExpectNear(number, Member(stats, "sd"), name + " sd");
        if (type == "medn") ExpectNear(number, Member(stats, "p50"), name + " median");
      }
      const auto shown = tables.find(name);
      ASSERT_NE(shown, tables.end());
      EXPECT_EQ(Attribute(var, "intrvl"), shown->second.scale ? "contin" : "discrete");
      EXPECT_EQ(summary.count("mean") > 0, shown->second.mean.has_value());
      EXPECT_EQ(summary.count("vald") > 0, shown->second.valid.has_value());
      if (shown->second.mean && summary.count("mean") > 0) {
        EXPECT_DOUBLE_EQ(summary["mean"], *shown->second.mean);
      }
    }
    // Every set is a group of its members, with the truth's counts.
    EXPECT_EQ(Children(data, "varGrp").size(), truth["mr_sets"].size());
    for (xmlNode* group : Children(data, "varGrp")) {
      const std::string name = Attribute(group, "name");
      SCOPED_TRACE(name);
      std::map<std::string, double> expected;
      for (const json& pair : Member(Member(truth, "mr_stats"), name)["counts"]) {
        expected[pair[0].is_string() ? pair[0].get<std::string>() : Shortest(pair[0].get<double>())] = pair[1].get<double>();
      }
      std::map<std::string, double> found;
      for (xmlNode* note : Children(group, "notes")) {
        if (Attribute(note, "type") == "codebook:categories") found = NoteCounts(Text(note));
      }
      if (empty) {
        EXPECT_TRUE(found.empty());
        continue;
      }
      ASSERT_EQ(found.size(), expected.size());
      for (const auto& [value, count] : expected) {
        ASSERT_EQ(found.count(value), 1u) << value;
        EXPECT_NEAR(found[value], count, 1e-5) << value;
      }
    }
    xmlFreeDoc(document);
  }
  if (!validate) GTEST_SKIP() << "xmllint is not installed: the documents were checked but not validated";
}

TEST_F(Export, TheTableDecidesWhatIsContinuous) {
  // Levels the file does not know: the table shows temp as scale.
  const auto var = [&](const std::vector<std::string>& arguments, const std::string& name,
                       const std::function<void(xmlNode*)>& check) {
    std::vector<std::string> full = {"-f", "ddi"};
    full.insert(full.end(), arguments.begin(), arguments.end());
    const Result result = Run(full);
    ASSERT_EQ(result.status, 0) << result.err;
    xmlDoc* document = xmlReadMemory(result.out.data(), static_cast<int>(result.out.size()), "ddi.xml", nullptr,
                                     XML_PARSE_NONET);
    ASSERT_NE(document, nullptr);
    xmlNode* found = nullptr;
    for (xmlNode* node : Children(Child(xmlDocGetRootElement(document), "dataDscr"), "var")) {
      if (Attribute(node, "name") == name) found = node;
    }
    ASSERT_NE(found, nullptr) << name;
    check(found);
    xmlFreeDoc(document);
  };
  const auto statistics = [](xmlNode* node) {
    std::map<std::string, std::string> found;
    for (xmlNode* stat : Children(node, "sumStat")) found[Attribute(stat, "type")] = Text(stat);
    return found;
  };
  var({Fixture("fx14_b_uncompressed.sav"), "temp"}, "temp", [&](xmlNode* temp) {
    EXPECT_EQ(Attribute(temp, "intrvl"), "contin");
    const auto found = statistics(temp);
    ASSERT_EQ(found.count("mean"), 1u);
    EXPECT_NEAR(std::stod(found.at("mean")), 14.864285714285714, 1e-9);
    EXPECT_EQ(found.at("vald"), "56");
  });
  // A scale variable the command makes nominal is counted, not summed up.
  var({"--demo", "age", "[N]"}, "age", [&](xmlNode* age) {
    EXPECT_EQ(Attribute(age, "intrvl"), "discrete");
    EXPECT_EQ(statistics(age).count("mean"), 0u);
    EXPECT_GT(Children(age, "catgry").size(), 10u);
  });
  var({"--demo", "age"}, "age", [&](xmlNode* age) {
    EXPECT_EQ(Attribute(age, "intrvl"), "contin");
    EXPECT_EQ(statistics(age).count("mean"), 1u);
  });
}

TEST_F(Export, DictionaryOfEveryFixtureIsTrue) {
  for (const fs::path& file : Fixtures()) {
    SCOPED_TRACE(file.filename().string());
    const json truth = Truth(file);
    const Result result = Run({"--format", "dictionary", file.string()});
    ASSERT_EQ(result.status, 0) << result.err;
    const auto rows = ParseCsv(result.out);
    ASSERT_EQ(rows.size(), truth["variables"].size() + 1);
    const std::vector<std::string>& header = rows[0];
    const auto column = [&](const char* name) {
      return static_cast<std::size_t>(std::find(header.begin(), header.end(), name) - header.begin());
    };
    for (std::size_t r = 1; r < rows.size(); ++r) {
      const std::vector<std::string>& row = rows[r];
      ASSERT_EQ(row.size(), header.size());
      const json& variable = truth["variables"][r - 1];
      const std::string name = variable["name"];
      SCOPED_TRACE(name);
      EXPECT_EQ(row[column("name")], name);
      EXPECT_EQ(row[column("position")], std::to_string(variable["position"].get<int>()));
      EXPECT_EQ(row[column("label")], variable["label"].is_null() ? "" : variable["label"].get<std::string>());
      EXPECT_EQ(row[column("type")], variable["type"]);
      EXPECT_EQ(row[column("measure")], variable["measure"]);
      EXPECT_EQ(row[column("role")], variable["role"]);
      // One item per value label, in order; the separators inside escaped.
      std::string labels;
      for (const json& pair : variable["value_labels"]) {
        labels += (labels.empty() ? "" : "; ") + ListItem(pair[0]) + "=" + ListItem(pair[1]);
      }
      EXPECT_EQ(row[column("value_labels")], labels);
      EXPECT_EQ(row[column("missing_values")], MissingDefinition(variable["missing"]));
      // A file without cases has no counts to give.
      if (truth["case_count"].get<long long>() == 0) {
        EXPECT_EQ(row[column("valid")], "");
        EXPECT_EQ(row[column("missing")], "");
      }
      const json& stats = Member(Member(truth, "stats"), name);
      if (!row[column("valid")].empty()) ExpectNear(std::stod(row[column("valid")]), Member(stats, "valid"), "valid");
      if (!row[column("missing")].empty()) ExpectNear(std::stod(row[column("missing")]), Member(stats, "missing"), "missing");
      // Counts of cases that are not weighted are whole numbers, written so.
      if (truth["weight"].is_null() && !row[column("valid")].empty()) {
        EXPECT_EQ(row[column("valid")].find_first_of(".e"), std::string::npos) << row[column("valid")];
      }
      const std::string format = variable["print_format"];
      const std::pair<const char*, const char*> statistics[] = {
          {"mean", "mean"}, {"std_dev", "sd"}, {"percentile_25", "p25"}, {"median", "p50"}, {"percentile_75", "p75"}};
      for (const auto& [header, key] : statistics) {
        const std::string& text = row[column(header)];
        if (text.empty()) continue;
        EXPECT_EQ(IsNumber(text), WrittenAs(format) == Written::kNumber) << header << ": " << text;
        // The truth's quartiles are exact only to a millionth of the range.
        if (std::string(key) != "p25" && std::string(key) != "p75") {
          ExpectStatistic(text, Member(stats, key), format, std::string(key) == "sd", header);
        }
      }
    }
  }
}

// Every character of a label, value or attribute survives the dictionary:
// line ends, commas and quotes through CSV quoting, the list separators
// through their escapes, so that each list splits back into its items.
TEST_F(Export, DictionaryFieldsKeepEveryCharacter) {
  auto dataset = codebook::data::DatasetBuilder()
                     .Numeric("x")
                     .Label("two\nlines")
                     .ValueLabel(1, "a=b").ValueLabel(2, "c;d").ValueLabel(3, "back\\slash").ValueLabel(4, "plain")
                     .MissingDiscrete({9})
                     .Attribute("Note", {"x; y", "z=w"})
                     .String("s", 8)
                     .Label("carriage\rreturn")
                     .ValueLabel("k=v", "pair").ValueLabel("p;q", "semi, colon")
                     .MissingStrings({"n;a"})
                     .Attribute("Note", {"say \"hi\""})
                     .Cases({{1, "k=v"}, {2, "p;q"}, {9, "n;a"}})
                     .Build();
  codebook::data::WriteDatasetFile(*dataset, Path("hostile.sav").string());
  const Result result = Run({"-f", "dictionary", Path("hostile.sav").string()});
  ASSERT_EQ(result.status, 0) << result.err;
  const auto rows = ParseCsv(result.out);
  ASSERT_EQ(rows.size(), 3u) << result.out;
  const std::vector<std::string>& header = rows[0];
  const auto field = [&](std::size_t row, const char* name) {
    const auto at = std::find(header.begin(), header.end(), name);
    return at == header.end() || rows[row].size() != header.size() ? std::string("<absent>")
                                                                   : rows[row][static_cast<std::size_t>(at - header.begin())];
  };
  // A line end of either kind is quoted, as a comma or a quote is.
  EXPECT_THAT(result.out, HasSubstr(",\"two\nlines\","));
  EXPECT_THAT(result.out, HasSubstr(",\"carriage\rreturn\","));
  EXPECT_EQ(field(1, "label"), "two\nlines");
  EXPECT_EQ(field(1, "value_labels"), "1=a\\=b; 2=c\\;d; 3=back\\\\slash; 4=plain");
  EXPECT_EQ(field(1, "missing_values"), "9");
  EXPECT_EQ(field(1, "attribute:Note"), "x\\; y; z\\=w");
  EXPECT_EQ(field(2, "label"), "carriage\rreturn");
  EXPECT_EQ(field(2, "value_labels"), "k\\=v=pair; p\\;q=semi, colon");
  EXPECT_EQ(field(2, "missing_values"), "n\\;a");
  EXPECT_EQ(field(2, "attribute:Note"), "say \"hi\"");
}

// References to the variable in the first position (V1): as a set's
// member and as the weight of the statistics.
TEST_F(Export, TheFirstVariableIsReferencedLikeAnyOther) {
  VariableSetImpl::Definition set;
  set.name = "$both";
  set.kind = VariableSetImpl::kMultipleCategory;
  set.members = {"a", "b"};
  codebook::data::WriteDatasetFile(
      *codebook::data::DatasetBuilder().Numeric("a").Numeric("b").MRSet(set).Cases({{1, 2}, {2, 2}}).Build(),
      Path("set.sav").string());
  codebook::data::WriteDatasetFile(
      *codebook::data::DatasetBuilder().Numeric("w").Weight("w").Numeric("x").Cases({{2, 1}, {1, 2}}).Build(),
      Path("weighted.sav").string());
  const Result sets = Run({"-f", "ddi", Path("set.sav").string()});
  ASSERT_EQ(sets.status, 0) << sets.err;
  EXPECT_THAT(sets.out, HasSubstr("type=\"multipleResp\" name=\"$both\" var=\"V1 V2\""));
  EXPECT_THAT(sets.out, Not(HasSubstr("codebook:members")));
  const Result weighted = Run({"-f", "ddi", Path("weighted.sav").string()});
  ASSERT_EQ(weighted.status, 0) << weighted.err;
  EXPECT_THAT(weighted.out, HasSubstr("<sumStat wgtd=\"wgtd\" weight=\"V1\" type=\"mean\">"));
}

TEST_F(Export, TextFromTheFileComesOutAsValidXml) {
  // Names, labels and values with markup, quotes, controls, bytes that are
  // not UTF-8 and any Unicode.
  auto dataset = codebook::data::DatasetBuilder()
                     .Numeric("x")
                     .Label("a < b & \"c\" 'd' \x1B[31m\x01 \xFF end")
                     .ValueLabel(1, "<one> \xC2\x85 \xF0\x9F\x98\x80 \r\n")
                     .Attribute("Note", {"]]> --> <!-- &amp;"})
                     .String("s", 8)
                     .ValueLabel("<&>", "tag")
                     .MissingStrings({"\"q\""})
                     .FileLabel("Ünïcode – \x07")
                     .Document({"line with \x0B vertical tab"})
                     .Cases({{1, "<&>"}, {2, "\"q\""}, {1, "x"}})
                     .Build();
  codebook::data::WriteDatasetFile(*dataset, Path("hostile.sav").string());
  const Result result = Run({"-f", "ddi", Path("hostile.sav").string()});
  ASSERT_EQ(result.status, 0) << result.err;
  std::ofstream(Path("hostile.xml")) << result.out;
  xmlDoc* document = xmlReadFile(Path("hostile.xml").c_str(), nullptr, XML_PARSE_NONET);
  ASSERT_NE(document, nullptr) << result.out;
  xmlFreeDoc(document);
  // The reader has made the stray byte a replacement character already.
  EXPECT_THAT(result.out, HasSubstr("a &lt; b &amp; &quot;c&quot; &apos;d&apos; \\x1B[31m\\x01 \xEF\xBF\xBD end"));
  EXPECT_THAT(result.out, HasSubstr("&lt;one&gt; \\u0085 \xF0\x9F\x98\x80 &#13;"));
  EXPECT_THAT(result.out, HasSubstr("<titl>Ünïcode – \\x07</titl>"));
  if (HaveXmllint()) {
    const Result valid = Shell("xmllint --noout --nonet --schema " + Quote(kSchema) + " " + Quote(Path("hostile.xml").string()));
    EXPECT_EQ(valid.status, 0) << valid.err;
  }
}

TEST_F(Export, ASyntaxFileExportsItsOneCodebookCommand) {
  const auto job = [&](const std::string& name, const std::string& text) {
    std::ofstream(Path(name)) << text;
    return Path(name).string();
  };
  const std::string a = Fixture("fx04_dictionary_meta.sav");
  const std::string b = Fixture("fx05_mrsets.sav");
  // Two datasets, two documents that one file cannot hold: refused before
  // anything is read, in one line, and nothing written.
  const std::string two = job("two.sps", "GET FILE='" + a + "'.\nCODEBOOK.\nGET FILE='" + b + "'.\nCODEBOOK.\n");
  for (const char* format : {"ddi", "dictionary"}) {
    const Result refused = Run({"-f", format, "-o", Path("out.xml").string(), "-x", two});
    EXPECT_EQ(refused.status, 2) << format;
    EXPECT_EQ(Lines(refused.err), 1) << refused.err;
    EXPECT_THAT(refused.err, HasSubstr("describes one CODEBOOK command, and this file has 2 (lines 2 and 4)"));
    EXPECT_FALSE(fs::exists(Path("out.xml")));
  }
  const Result none = Run({"-f", "ddi", "-x", job("none.sps", "GET FILE='" + a + "'.\n")});
  EXPECT_EQ(none.status, 2);
  EXPECT_THAT(none.err, HasSubstr("this file has none"));
  EXPECT_EQ(none.out, "");
  // One command: the dataset it ran on, whatever was opened before.
  const Result one = Run({"-f", "ddi", "-x", job("one.sps", "GET FILE='" + a + "'.\nGET FILE='" + b + "'.\nCODEBOOK.\n")});
  EXPECT_EQ(one.status, 0) << one.err;
  EXPECT_THAT(one.out, HasSubstr("<fileName>fx05_mrsets.sav</fileName>"));
  // The text formats run every command.
  const Result text = Run({"-x", two});
  EXPECT_EQ(text.status, 0) << text.err;
}

TEST_F(Export, BadInputGetsTheSameMessagesAndNoFile) {
  const Result unknown = Run({"-o", Path("out.xml").string(), Fixture("fx04_dictionary_meta.sav"), "nosuch"});
  EXPECT_EQ(unknown.status, 1);
  EXPECT_THAT(unknown.err, HasSubstr("nosuch"));
  EXPECT_FALSE(fs::exists(Path("out.xml")));
  const Result toStandardOutput = Run({"-f", "dictionary", Fixture("fx04_dictionary_meta.sav"), "nosuch"});
  EXPECT_EQ(toStandardOutput.status, 1);
  EXPECT_EQ(toStandardOutput.out, "");
  // A file without cases exports its dictionary; its codebook is the
  // procedure's error, as ever.
  // A file without cases exports its dictionary, whatever STATISTICS asks.
  for (const std::vector<std::string>& statistics : {std::vector<std::string>{}, {"/STATISTICS", "MEAN"}}) {
    std::vector<std::string> arguments = {"-f", "ddi", Fixture("fx09_zero_cases.sav")};
    arguments.insert(arguments.end(), statistics.begin(), statistics.end());
    const Result empty = Run(arguments);
    EXPECT_EQ(empty.status, 0) << empty.err;
    EXPECT_THAT(empty.out, HasSubstr("<caseQnty>0</caseQnty>"));
    EXPECT_THAT(empty.out, Not(HasSubstr("catStat")));
  }
  for (const char* format : {"text", "json", "html"}) {
    const Result tables = Run({"-f", format, Fixture("fx09_zero_cases.sav")});
    EXPECT_EQ(tables.status, 1) << format;
    EXPECT_THAT(tables.err, HasSubstr("Empty dataset.")) << format;
  }
  const Result several = Run({"-f", "ddi", Fixture("fx04_dictionary_meta.sav"), Fixture("fx05_mrsets.sav")});
  EXPECT_EQ(several.status, 2);
  EXPECT_THAT(several.err, HasSubstr("one dataset file at a time"));
}

}  // namespace
