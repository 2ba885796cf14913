// The conventions of the command line, run as a person runs the program:
// runs that end in tables or a message (never an internal assertion), text
// that is safe for a terminal and fits it, the order of tables and their
// warnings, full paths, standard input, several files, and the options.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "platform/data/sav/write_dataset.h"
#include "testing/dataset_builder.h"
#include "tests/cli/program_harness.h"

namespace {

using codebook::testing_cli::Program;
using codebook::testing_cli::Quote;
using codebook::testing_cli::Result;
using testing::HasSubstr;
using testing::Not;
namespace fs = std::filesystem;
namespace data = codebook::data;

class CommandLine : public Program {
 protected:
  void SetUp() override {
    Program::SetUp();
    fs::copy_file(Fixture("fx04_dictionary_meta.sav"), Path("survey.sav"));
    fs::copy_file(Fixture("fx05_mrsets.sav"), Path("sets.sav"));
  }
  std::string In(const std::string& command) const { return "cd " + Quote(folder_.string()) + " && " + command; }
};

// Columns of a line on a terminal, counting each UTF-8 character as one.
int Columns(const std::string& line) {
  int columns = 0;
  for (const char c : line) columns += (static_cast<unsigned char>(c) & 0xC0) != 0x80 ? 1 : 0;
  return columns;
}

TEST_F(CommandLine, RunsThatOnceStoppedOnAnAssertionEndInTables) {
  // A set right after a scale variable without value labels, counts off.
  const Result readme = Run({"--demo", "income", "$brands", "/STATISTICS", "MEAN", "STDDEV", "QUARTILES"});
  EXPECT_EQ(readme.status, 0) << readme.err;
  EXPECT_THAT(readme.out, HasSubstr("Brands known"));
  EXPECT_THAT(readme.out, HasSubstr("Percentile 75"));

  // A dichotomy set whose counted value no member holds.
  VariableSetImpl::Definition set;
  set.name = "$never";
  set.label = "Never chosen";
  set.kind = VariableSetImpl::kMultipleDichotomy;
  set.members = {"a", "b"};
  set.countedValue = "1";
  auto dataset = data::DatasetBuilder().Numeric("a").Numeric("b").MRSet(set).Cases({{0, 2}, {2, 0}, {0, 0}}).Build();
  data::WriteDatasetFile(*dataset, Path("never.sav").string());
  const Result plain = Run({Path("never.sav").string()});
  EXPECT_EQ(plain.status, 0) << plain.err;
  EXPECT_THAT(plain.out, HasSubstr("Never chosen"));
  EXPECT_THAT(plain.out, HasSubstr("Multiple Dichotomy Set"));
  const Result onlyCategories = Run({Path("never.sav").string(), "$never", "/VARINFO", "VALUELABELS"});
  EXPECT_EQ(onlyCategories.status, 0) << onlyCategories.err;
  EXPECT_THAT(onlyCategories.err, HasSubstr("No Variable Information for $never"));
}

TEST_F(CommandLine, ControlCharactersFromTheDataNeverReachTheTerminal) {
  auto dataset = data::DatasetBuilder()
                     .Numeric("x")
                     .Label("red\x1B[31m alert\x07")
                     .ValueLabel(1, "one\x1B]0;title\x07")
                     .Attribute("Note", {"tab\there\rcarriage"})
                     .FileLabel("\xC2\x9B" "2J cleared")
                     .Cases({{1}, {2}})
                     .Build();
  data::WriteDatasetFile(*dataset, Path("hostile.sav").string());
  for (const char* format : {"text", "markdown"}) {
    const Result result = Run({"--format", format, Path("hostile.sav").string(), "/FILEINFO", "LABEL"});
    EXPECT_EQ(result.status, 0) << result.err;
    for (const char c : result.out) {
      const auto byte = static_cast<unsigned char>(c);
      EXPECT_TRUE(byte >= 0x20 || c == '\n')
          << format << ": control byte " << static_cast<int>(byte);
      if (byte < 0x20 && c != '\n') break;
    }
    EXPECT_THAT(result.out, Not(HasSubstr("\xC2\x9B"))) << format;
    EXPECT_THAT(result.out, HasSubstr("x1B")) << format;
    EXPECT_THAT(result.out, HasSubstr("31m alert")) << format;
    EXPECT_THAT(result.out, HasSubstr("u009B")) << format;
  }
  // JSON keeps the text, escaped its own way.
  const Result json = Run({"--format", "json", Path("hostile.sav").string()});
  EXPECT_EQ(json.status, 0) << json.err;
  EXPECT_THAT(nlohmann::json::parse(json.out).dump(), HasSubstr("red\\u001b[31m alert"));
}

TEST_F(CommandLine, ClosingWarningsFollowTheirTablesOnOneStream) {
  // q1 has more value labels than MAXCATS: the warning comes after the table.
  // So also when -o names the file standard output goes to.
  for (const std::string output : {"", " -o /dev/stdout", " -o out.txt >out.txt"}) {
    const Result result = Shell(In(Binary() + output +
                                   " --demo q1 /VARINFO LABEL VALUELABELS /STATISTICS NONE /OPTIONS MAXCATS=1 2>&1"));
    EXPECT_EQ(result.status, 0) << output;
    const std::string text = output.find('>') != std::string::npos ? codebook::testing_cli::Slurp(Path("out.txt"))
                                                                    : result.out;
    const std::size_t table = text.find("The staff were friendly");
    const std::size_t warning = text.find("warning: Value labels, counts, and/or percents not displayed for q1.");
    ASSERT_NE(table, std::string::npos) << output << ": " << text;
    ASSERT_NE(warning, std::string::npos) << output << ": " << text;
    EXPECT_LT(table, warning) << output;
  }
}

// The table the command made, not what the program adds around it.
nlohmann::json FirstTable(const std::string& json, const std::string& subtype) {
  const nlohmann::json parsed = nlohmann::json::parse(json);
  for (const auto& item : parsed["items"]) {
    if (item["kind"] == "table" && item["subtype"] == subtype) return item;
  }
  return {};
}

TEST_F(CommandLine, FileInformationShowsTheFullPathWhateverWasTyped) {
  const Result result = Shell(In(Binary() + " --format json survey.sav /FILEINFO NAME LOCATION"));
  EXPECT_EQ(result.status, 0) << result.err;
  const nlohmann::json rows = FirstTable(result.out, "FileInformation")["rows"];
  ASSERT_EQ(rows.size(), 2u) << result.out;
  EXPECT_EQ(rows[0]["cells"][""]["text"], "survey.sav");
  EXPECT_EQ(rows[1]["cells"][""]["text"], fs::canonical(folder_).string());
  // The file's summary shows the location only because it was asked for;
  // its name is the file's, never the path.
  const nlohmann::json file = nlohmann::json::parse(result.out)["items"][0];
  EXPECT_EQ(file["name"], "survey.sav");
  EXPECT_EQ(file["location"], fs::canonical(folder_).string());
  const Result unasked = Shell(In(Binary() + " --format json " + (folder_ / "survey.sav").string() + " /FILEINFO NAME"));
  EXPECT_TRUE(nlohmann::json::parse(unasked.out)["items"][0]["location"].is_null()) << unasked.out.substr(0, 300);
  // Standard input has a path too.
  const Result piped = Shell(In("cat survey.sav | " + Binary() + " --format json - /FILEINFO NAME LOCATION"));
  EXPECT_EQ(piped.status, 0) << piped.err;
  const nlohmann::json pipedRows = FirstTable(piped.out, "FileInformation")["rows"];
  ASSERT_EQ(pipedRows.size(), 2u) << piped.out;
  EXPECT_EQ(pipedRows[0]["cells"][""]["text"], "stdin");
  EXPECT_EQ(pipedRows[1]["cells"][""]["text"], "/dev");
}

TEST_F(CommandLine, SyntaxFilesResolveTheirPathsAndNameTheirLines) {
  fs::create_directories(Path("jobs"));
  fs::copy_file(Path("survey.sav"), Path("jobs/local.sav"));
  std::ofstream(Path("jobs/job.sps")) << "GET FILE='local.sav'.\n"
                                      << "CODEBOOK nosuch.\n"
                                      << "CODEBOOK id /STATISTICS NONE /VARINFO LABEL.\n";
  // Run from elsewhere: the dataset is found beside the syntax file.
  const Result result = Shell(In(Binary() + " -x jobs/job.sps"));
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.out, HasSubstr("Standard Attributes"));
  EXPECT_THAT(result.err, HasSubstr("jobs/job.sps:2: CODEBOOK: error: nosuch"));
  EXPECT_EQ(Lines(result.err), 1) << result.err;
}

TEST_F(CommandLine, ADatasetFromStandardInput) {
  const Result piped = Shell(In("cat survey.sav | " + Binary() + " - id /FILEINFO NAME"));
  EXPECT_EQ(piped.status, 0) << piped.err;
  EXPECT_THAT(piped.out, HasSubstr("File Name"));
  EXPECT_THAT(piped.out, HasSubstr("Standard Attributes"));
  const Result redirected = Shell(In(Binary() + " - id < survey.sav"));
  EXPECT_EQ(redirected.status, 0) << redirected.err;
  // The same file summary and overview; the table of id alike.
  EXPECT_EQ(redirected.out.substr(redirected.out.find("\nid\n")), piped.out.substr(piped.out.find("\nid\n")));
  EXPECT_EQ(redirected.out.substr(0, redirected.out.find("Overview")), piped.out.substr(0, piped.out.find("Overview")));
  EXPECT_THAT(redirected.out, HasSubstr("File standard input: 40 cases"));
  const Result empty = Shell(In(Binary() + " - < /dev/null"));
  EXPECT_EQ(empty.status, 3);
  EXPECT_THAT(empty.err, HasSubstr("standard input"));
  EXPECT_EQ(Lines(empty.err), 1) << empty.err;
}

TEST_F(CommandLine, SeveralFilesGiveOnePartEachAndTheWorstStatus) {
  const Result both = Shell(In(Binary() + " survey.sav sets.sav id /STATISTICS NONE"));
  EXPECT_EQ(both.status, 0) << both.err;
  const std::size_t first = both.out.find("==> survey.sav <==");
  const std::size_t second = both.out.find("==> sets.sav <==");
  ASSERT_NE(first, std::string::npos) << both.out;
  ASSERT_NE(second, std::string::npos) << both.out;
  EXPECT_LT(first, second);

  const Result oneMissing = Shell(In(Binary() + " --format json nosuch.sav sets.sav id"));
  EXPECT_EQ(oneMissing.status, 3);
  EXPECT_THAT(oneMissing.err, HasSubstr("nosuch.sav"));
  const nlohmann::json items = nlohmann::json::parse(oneMissing.out)["items"];
  std::vector<std::string> headings;
  for (const auto& item : items) {
    if (item["kind"] == "heading") headings.push_back(item["text"]);
  }
  EXPECT_EQ(headings, (std::vector<std::string>{"nosuch.sav", "sets.sav"}));
  EXPECT_EQ(items.back()["title"], "id");
}

TEST_F(CommandLine, TheOutputFileChoosesTheFormatAndValuesMayBeAttached) {
  struct Case {
    std::vector<std::string> arguments;
    const char* file;
    const char* starts;
  };
  const Case cases[] = {
      {{"-o", "out.json"}, "out.json", "{\"format\": \"codebook-output\""},
      {{"-o", "out.html"}, "out.html", "<!DOCTYPE html>"},
      // Each begins with the file's summary.
      {{"-o", "out.md"}, "out.md", "**survey.sav**: 40 cases"},
      {{"-o", "out.txt"}, "out.txt", "File survey.sav: 40 cases"},
      {{"-fjson", "-o", "out.html"}, "out.html", "{\"format\""},
      {{"--format=markdown", "-oout.csv"}, "out.csv", "**survey.sav**"},
      // Two kinds of CSV: the tables, and the dictionary by its name.
      {{"-o", "out.csv"}, "out.csv", "File\r\nName,survey.sav\r\n"},
      {{"-o", "survey.dict.csv"}, "survey.dict.csv", "position,name,label,"},
      {{"-o", "survey.xml"}, "survey.xml", "<?xml"},
  };
  for (const Case& c : cases) {
    std::vector<std::string> arguments = c.arguments;
    arguments.insert(arguments.end(), {"survey.sav", "id"});
    const Result result = Shell(In(Binary() + codebook::testing_cli::Program::Arguments(arguments)));
    EXPECT_EQ(result.status, 0) << result.err;
    const std::string written = codebook::testing_cli::Slurp(Path(c.file));
    EXPECT_EQ(written.rfind(c.starts, 0), 0u) << c.file << ": " << written.substr(0, 80);
    fs::remove(Path(c.file));
  }
}

TEST_F(CommandLine, TextFitsTheScreen) {
  const Result wide = Run({"--demo", "q1"});
  int widest = 0;
  std::istringstream lines(wide.out);
  for (std::string line; std::getline(lines, line);) widest = std::max(widest, Columns(line));
  ASSERT_GT(widest, 50);

  for (const std::string environment : {"COLUMNS=50", ""}) {
    const Result fitted = environment.empty() ? Run({"--width", "50", "--demo", "q1"}) : Run({"--demo", "q1"}, environment);
    EXPECT_EQ(fitted.status, 0) << fitted.err;
    std::istringstream fittedLines(fitted.out);
    for (std::string line; std::getline(fittedLines, line);) EXPECT_LE(Columns(line), 50) << line;
    EXPECT_THAT(fitted.out, HasSubstr("Strongly"));
  }
  const Result tooNarrow = Run({"--width", "29", "--demo"});
  EXPECT_EQ(tooNarrow.status, 2);
  EXPECT_THAT(tooNarrow.err, HasSubstr("--width needs a number of columns, 30 or more"));
  EXPECT_EQ(Lines(tooNarrow.err), 1);
}

TEST_F(CommandLine, EveryLineFitsAnyWidthDownToTheNarrowest) {
  // A title as long as a name can be, labels and values wider than the
  // screen, weighted counts, and alerts.
  const std::string longName(64, 'v');
  auto dataset = data::DatasetBuilder()
                     .Numeric(longName).Level(1).Label("A label that is a good deal longer than any narrow screen")
                     .ValueLabel(1, "Agreed entirely and without any reservation whatsoever").ValueLabel(3, "Unused")
                     .Numeric("amount").Level(3).Format(VELA_Format::DOLLAR, 16, 2)
                     .Numeric("w").Level(3).Weight("w")
                     .Cases({{1, 123456789.25, 1.5}, {2, 987654321.5, 2.25}, {1, 5, 1000000.125}})
                     .Build();
  data::WriteDatasetFile(*dataset, Path("wide.sav").string());
  for (const int width : {30, 34, 40, 50, 64}) {
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"--demo"}, std::vector<std::string>{Path("wide.sav").string(), "/FILEINFO"}}) {
      std::vector<std::string> full = {"--width", std::to_string(width), "--alerts"};
      full.insert(full.end(), arguments.begin(), arguments.end());
      const Result fitted = Run(full);
      ASSERT_EQ(fitted.status, 0) << fitted.err;
      std::istringstream lines(fitted.out);
      int widest = 0;
      for (std::string line; std::getline(lines, line);) {
        EXPECT_LE(Columns(line), width) << width << ": " << line;
        widest = std::max(widest, Columns(line));
      }
      EXPECT_GE(widest, width - 8) << width << ": the screen is used";
      EXPECT_THAT(fitted.out, HasSubstr("Data-quality alerts"));
    }
  }
  // The long title is wrapped, not cut: all of it is there, the split
  // marked.
  const Result fifty = Run({"--width", "50", Path("wide.sav").string()});
  EXPECT_THAT(fifty.out, HasSubstr(std::string(49, 'v') + "\xE2\x86\xB5\n" + std::string(15, 'v') + "\n"));
}

TEST_F(CommandLine, EncodingOverridesTheFilesCodePage) {
  const Result declared = Run({Fixture("fx08_cp1252.sav"), "id", "/FILEINFO", "LABEL"});
  EXPECT_THAT(declared.out, HasSubstr("Übersicht"));
  const Result greek = Run({"--encoding", "ISO-8859-7", Fixture("fx08_cp1252.sav"), "id", "/FILEINFO", "LABEL"});
  EXPECT_EQ(greek.status, 0) << greek.err;
  EXPECT_THAT(greek.out, HasSubstr("άbersicht"));
  const Result unknown = Run({"--encoding", "no-such-code-page", Fixture("fx08_cp1252.sav")});
  EXPECT_EQ(unknown.status, 2);
  EXPECT_THAT(unknown.err, HasSubstr("no-such-code-page"));
}

TEST_F(CommandLine, AnUnknownWeightVariableIsOneErrorAndNoTables) {
  const Result result = Run({"-w", "nosuch", Path("survey.sav").string()});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.out, "");
  EXPECT_THAT(result.err, HasSubstr("nosuch"));
  EXPECT_EQ(Lines(result.err), 1) << result.err;
}

// --no-weight and -w OFF give the counts of a syntax job's WEIGHT OFF.
TEST_F(CommandLine, NoWeightIsTheCommandLanguagesWeightOff) {
  const std::string demo = std::string(CODEBOOK_SOURCE_DIR) + "/data/demo.sav";
  std::ofstream(Path("off.sps")) << "GET FILE='" << demo << "'.\nWEIGHT OFF.\nCODEBOOK sex wave.\n";
  const Result job = Run({"-f", "json", "-x", Path("off.sps").string()});
  ASSERT_EQ(job.status, 0) << job.err;
  const nlohmann::json unweighted = nlohmann::json::parse(job.out)["items"];
  for (const std::vector<std::string>& off : {std::vector<std::string>{"--no-weight"},
                                              std::vector<std::string>{"-w", "OFF"},
                                              std::vector<std::string>{"--weight=off"}}) {
    std::vector<std::string> arguments = {"-f", "json", "--demo", "sex", "wave"};
    arguments.insert(arguments.begin(), off.begin(), off.end());
    const Result result = Run(arguments);
    ASSERT_EQ(result.status, 0) << off[0] << ": " << result.err;
    EXPECT_EQ(nlohmann::json::parse(result.out)["items"], unweighted) << off[0];
  }
  // The demo's own weight makes other counts.
  const Result weighted = Run({"-f", "json", "--demo", "sex", "wave"});
  EXPECT_NE(nlohmann::json::parse(weighted.out)["items"], unweighted);

  const Result both = Run({"--no-weight", "-w", "weight", "--demo"});
  EXPECT_EQ(both.status, 2);
  EXPECT_THAT(both.err, HasSubstr("contradict"));
  const Result syntax = Run({"--no-weight", "-x", Path("off.sps").string()});
  EXPECT_EQ(syntax.status, 2);
  EXPECT_THAT(syntax.err, HasSubstr("WEIGHT OFF"));
}

// The program speaks as itself for the commands it makes up; a syntax file's
// messages name its file, line and command.
TEST_F(CommandLine, MessagesSpeakAsTheProgram) {
  std::ofstream(Path("x.dta")) << "not a dataset\n";
  const Result notOurs = Shell(In(Binary() + " x.dta"));
  EXPECT_EQ(notOurs.status, 3);
  EXPECT_EQ(notOurs.err, "codebook: x.dta: not a dataset file this program reads (it reads .sav and .zsav, Stata .dta releases 104 to 119, SAS .sas7bdat and SAS transport .xpt versions 5 and 8)\n");
  const Result missing = Shell(In(Binary() + " nosuch.sav"));
  EXPECT_EQ(missing.status, 3);
  EXPECT_THAT(missing.err, testing::StartsWith("codebook: nosuch.sav: "));
  const Result warned = Shell(In(Binary() + " survey.sav id /VARINFO"));
  EXPECT_EQ(warned.status, 0);
  EXPECT_THAT(warned.err, testing::StartsWith("codebook: warning: < VARINFO > must be followed"));
  const Result unknown = Shell(In(Binary() + " survey.sav nosuch"));
  EXPECT_THAT(unknown.err, testing::StartsWith("codebook: error: nosuch Invalid or non-existent variable name."));
  for (const std::string& text : {notOurs.err, missing.err, warned.err, unknown.err}) {
    EXPECT_THAT(text, Not(HasSubstr("GET:")));
    EXPECT_THAT(text, Not(HasSubstr("CODEBOOK:")));
  }

  std::ofstream(Path("job.sps")) << "GET FILE='x.dta'.\nGET FILE='survey.sav'.\nCODEBOOK id /VARINFO.\n";
  const Result job = Shell(In(Binary() + " -x job.sps"));
  EXPECT_EQ(job.status, 3);
  EXPECT_THAT(job.err, HasSubstr("job.sps:1: GET: error: x.dta: not a dataset file this program reads"));
  EXPECT_THAT(job.err, HasSubstr("job.sps:3: CODEBOOK: warning: < VARINFO > must be followed"));
}

}  // namespace
