// The codebook program end to end: output formats, syntax files, and every
// error a user can cause, with its exit status and its one line of message.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "tests/cli/program_harness.h"

namespace {

using codebook::testing_cli::Program;
using codebook::testing_cli::Quote;
using codebook::testing_cli::Result;
using codebook::testing_cli::Slurp;
using testing::HasSubstr;
namespace fs = std::filesystem;

// Each way of choosing a format reaches its renderer.
TEST_F(Program, EveryOutputFormat) {
  const std::string file = Fixture("fx05_mrsets.sav");
  const std::pair<std::vector<std::string>, const char*> cases[] = {
      {{file, "$favs"}, "┌"},
      {{"--ascii", file, "$favs"}, "+--"},
      {{"--format", "json", file, "$favs"}, "\"format\": \"codebook-output\""},
      {{"--format=html", file, "$favs"}, "</html>"},
      {{"-f", "markdown", file, "$favs"}, "| "},
      {{"--format", "csv", file, "$favs"}, "Red"},
  };
  for (const auto& [arguments, marker] : cases) {
    const Result result = Run(arguments);
    EXPECT_EQ(result.status, 0) << arguments[0] << ": " << result.err;
    EXPECT_THAT(result.out, HasSubstr(marker)) << arguments[0];
  }
  EXPECT_THAT(Run({"--ascii", file, "$favs"}).out, testing::Not(HasSubstr("┌")));
}

TEST_F(Program, WeightOption) {
  const Result result = Run({"--weight", "w", Fixture("fx06_weight_integer.sav"), "w", "/FILEINFO", "WEIGHT"});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_THAT(result.out, HasSubstr("Weight Variable"));
}

TEST_F(Program, SyntaxFileOfSeveralCommands) {
  std::ofstream(Path("job.sps")) << "* A job of several commands.\n"
                                 << "GET FILE='" << Fixture("fx06_weight_integer.sav") << "'.\n"
                                 << "WEIGHT OFF.\n"
                                 << "CODEBOOK w /VARINFO POSITION /STATISTICS COUNT /FILEINFO CASECOUNT.\n"
                                 << "N OF CASES 10.\n"
                                 << "FILTER BY w.\n"
                                 << "CODEBOOK w /STATISTICS MEAN.\n"
                                 << "FILTER OFF.\n"
                                 << "WEIGHT BY w.\n"
                                 << "codebook w\n  /statistics mean.\n";
  const Result result = Run({"-x", Path("job.sps").string(), "--format", "json"});
  ASSERT_EQ(result.status, 0) << result.err;
  const nlohmann::json parsed = nlohmann::json::parse(result.out);
  ASSERT_EQ(parsed["items"].size(), 4u);  // File Information and three tables of w
  EXPECT_EQ(parsed["items"][0]["title"], "File Information");
}

TEST_F(Program, DemoVersionAndHelp) {
  const Result demo = Run({"--demo", "age", "$brands"});
  EXPECT_EQ(demo.status, 0) << demo.err;
  EXPECT_THAT(demo.out, HasSubstr("Brands known"));
  const Result version = Run({"--version"});
  EXPECT_EQ(version.status, 0);
  EXPECT_THAT(version.out, HasSubstr("codebook "));
  const Result help = Run({"--help"});
  EXPECT_EQ(help.status, 0);
  EXPECT_THAT(help.out, HasSubstr("usage: codebook"));
}

struct Failure {
  const char* what;
  std::vector<std::string> arguments;
  int status;
  const char* says;
};

TEST_F(Program, EveryUserErrorIsOneClearLineWithItsStatus) {
  std::ofstream(Path("text.sav")) << "this is not a dataset file\n";
  std::ofstream(Path("no_data.sps")) << "CODEBOOK age.\n";
  const std::string good = Fixture("fx04_dictionary_meta.sav");
  const Failure failures[] = {
      {"missing file", {Path("nosuch.sav").string()}, 3, "nosuch.sav"},
      {"not a dataset", {Path("text.sav").string()}, 3, "text.sav"},
      {"unknown variable", {good, "nosuch"}, 1, "nosuch Invalid or non-existent variable name."},
      {"syntax error", {good, "/STATISTICS", "COUNT", "BOGUS"}, 1, "BOGUS"},
      {"no active dataset", {"-x", Path("no_data.sps").string()}, 1, "no active dataset"},
      {"unknown option", {"--bogus", good}, 2, "--bogus"},
      {"unknown format", {"--format", "docx", good}, 2, "docx"},
      {"no dataset", {}, 2, "no dataset file"},
      {"missing syntax file", {"-x", Path("nosuch.sps").string()}, 2, "nosuch.sps"},
      {"unwritable output", {"-o", Path("no/such/folder/out.txt").string(), good}, 2, "out.txt"},
  };
  for (const Failure& failure : failures) {
    const Result result = Run(failure.arguments);
    EXPECT_EQ(result.status, failure.status) << failure.what << ": " << result.err;
    EXPECT_THAT(result.err, HasSubstr(failure.says)) << failure.what;
    EXPECT_EQ(Lines(result.err), 1) << failure.what << ": " << result.err;
  }
}

TEST_F(Program, ABrokenModuleIsAClearError) {
  std::ofstream(Path("libcodebook.so")) << "not a shared library";
  const Result result = Run({Fixture("fx04_dictionary_meta.sav"), "id"},
                            "CODEBOOK_MODULE=" + Quote(Path("libcodebook.so").string()));
  EXPECT_EQ(result.status, 1) << result.err;
  EXPECT_THAT(result.err, HasSubstr("cannot load the procedure module"));
  EXPECT_EQ(Lines(result.err), 1) << result.err;
}

TEST_F(Program, NothingIsWrittenToAnOutputFileOnFailure) {
  const fs::path target = Path("out.json");
  std::ofstream(target) << "previous contents";
  const Result failed = Run({"-o", target.string(), "--format", "json",
                             Fixture("fx04_dictionary_meta.sav"), "nosuch"});
  EXPECT_EQ(failed.status, 1);
  EXPECT_EQ(Slurp(target), "previous contents");
  // No temporary file is left behind either.
  int files = 0;
  for ([[maybe_unused]] const auto& entry : fs::directory_iterator(folder_)) ++files;
  EXPECT_EQ(files, 3);  // out.json, stdout, stderr

  const Result written = Run({"-o", target.string(), "--format", "json", Fixture("fx04_dictionary_meta.sav"), "id"});
  EXPECT_EQ(written.status, 0) << written.err;
  EXPECT_EQ(nlohmann::json::parse(Slurp(target))["items"][0]["title"], "id");
}

TEST_F(Program, DamagedDataEndsTheCommandWithoutPartialOutput) {
  const Result result = Run({"--format", "json", std::string(CODEBOOK_FIXTURES_DIR) +
                                                      "/malformed/m06_truncated_data_mid_case.sav"});
  EXPECT_EQ(result.status, 3) << result.err;
  EXPECT_THAT(result.err, HasSubstr("m06_truncated_data_mid_case.sav"));
  const nlohmann::json parsed = nlohmann::json::parse(result.out);
  for (const auto& item : parsed["items"]) EXPECT_EQ(item["kind"], "message");
}

}  // namespace
