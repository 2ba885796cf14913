// Several dataset files in one run: each file's part stands alone. A file
// that cannot be read, or whose command fails, has its error in its part
// and on standard error; the other parts are written, the output file is
// made whole, and the status is the worst of them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tests/cli/program_harness.h"

namespace {

using codebook::testing_cli::Program;
using codebook::testing_cli::Quote;
using codebook::testing_cli::Result;
using codebook::testing_cli::Slurp;
using testing::HasSubstr;
using testing::Not;
namespace fs = std::filesystem;

const char kNotOurs[] = "broken.sav: not a dataset file this program reads";

class Batch : public Program {
 protected:
  void SetUp() override {
    Program::SetUp();
    fs::copy_file(Fixture("fx04_dictionary_meta.sav"), Path("good.sav"));
    fs::copy_file(Fixture("fx05_mrsets.sav"), Path("sets.sav"));
    std::ofstream(Path("broken.sav")) << "this is no dataset file\n";
  }
  Result In(const std::vector<std::string>& arguments) {
    return Shell("cd " + Quote(folder_.string()) + " && " + Binary() + Arguments(arguments));
  }
  int Files() const {
    int files = 0;
    for ([[maybe_unused]] const auto& entry : fs::directory_iterator(folder_)) ++files;
    return files;
  }
};

// The text of the part that begins at a file's heading, up to the next.
std::string PartOf(const std::string& text, const std::string& file) {
  const std::size_t start = text.find("==> " + file + " <==");
  if (start == std::string::npos) return {};
  const std::size_t end = text.find("==> ", start + 4);
  return text.substr(start, end == std::string::npos ? std::string::npos : end - start);
}

// The JSON document's items in a word or two each: "heading good.sav",
// "file good.sav", "table id", "error".
std::vector<std::string> Outline(const nlohmann::json& items) {
  std::vector<std::string> outline;
  for (const nlohmann::json& item : items) {
    const std::string kind = item["kind"];
    if (kind == "heading") outline.push_back("heading " + item["text"].get<std::string>());
    if (kind == "file") outline.push_back("file " + item["name"].get<std::string>());
    if (kind == "table") outline.push_back("table " + item["title"].get<std::string>());
    if (kind == "message") outline.push_back(item["severity"].get<std::string>());
  }
  return outline;
}

TEST_F(Batch, AGoodAndABrokenFileInTextHtmlAndJson) {
  for (const bool toFile : {false, true}) {
    for (const std::string format : {"text", "html", "json"}) {
      SCOPED_TRACE(format + (toFile ? " to a file" : " to standard output"));
      const std::string out = "out." + std::string(format == "text" ? "txt" : format);
      std::vector<std::string> arguments = {"good.sav", "broken.sav", "id", "/STATISTICS", "NONE"};
      if (toFile) arguments.insert(arguments.begin(), {"-o", out});
      if (!toFile) arguments.insert(arguments.begin(), {"-f", format});
      const Result result = In(arguments);
      EXPECT_EQ(result.status, 3);
      EXPECT_THAT(result.err, HasSubstr("codebook: " + std::string(kNotOurs)));
      const std::string written = toFile ? Slurp(Path(out)) : result.out;
      if (format == "json") {
        const nlohmann::json items = nlohmann::json::parse(written)["items"];
        // good's heading, summary, overview and table, then broken's
        // heading and its error.
        EXPECT_THAT(Outline(items), testing::ElementsAre("heading good.sav", "file good.sav", "table Overview", "table id",
                                                         "heading broken.sav", "error"))
            << written;
        EXPECT_THAT(items.back()["text"].get<std::string>(), HasSubstr(kNotOurs));
      } else if (format == "html") {
        EXPECT_THAT(written, HasSubstr("</html>"));
        EXPECT_THAT(written, HasSubstr("Standard Attributes"));
        const std::size_t good = written.find("good.sav");
        const std::size_t error = written.find(kNotOurs);
        ASSERT_NE(error, std::string::npos);
        EXPECT_LT(good, error);
      } else {
        EXPECT_THAT(PartOf(written, "good.sav"), HasSubstr("Standard Attributes"));
        EXPECT_THAT(PartOf(written, "good.sav"), Not(HasSubstr("error")));
        EXPECT_THAT(PartOf(written, "broken.sav"), HasSubstr("error: " + std::string(kNotOurs)));
      }
      if (toFile) fs::remove(Path(out));
      // No temporary file is left: the folder holds the three datasets and
      // the two streams.
      EXPECT_EQ(Files(), 5);
    }
  }
}

TEST_F(Batch, EveryPartStandsAloneWhateverFails) {
  // The broken file first: the good one's part is still made.
  const Result first = In({"--format", "text", "broken.sav", "good.sav", "id"});
  EXPECT_EQ(first.status, 3);
  EXPECT_THAT(PartOf(first.out, "broken.sav"), HasSubstr(kNotOurs));
  EXPECT_THAT(PartOf(first.out, "good.sav"), HasSubstr("Standard Attributes"));

  // A command that fails on one file alone: status 1, its error in its part.
  const Result command = In({"-o", "out.txt", "good.sav", "sets.sav", "brand_a", "/STATISTICS", "NONE"});
  EXPECT_EQ(command.status, 1) << command.err;
  const std::string text = Slurp(Path("out.txt"));
  EXPECT_THAT(PartOf(text, "good.sav"), HasSubstr("error: brand_a Invalid or non-existent variable name."));
  EXPECT_THAT(PartOf(text, "sets.sav"), HasSubstr("Uses brand A"));
  fs::remove(Path("out.txt"));

  // Standard input that is no dataset is a part of its own as well.
  const Result piped = Shell("cd " + Quote(folder_.string()) + " && " + Binary() +
                             " -f json good.sav - id < /dev/null");
  EXPECT_EQ(piped.status, 3);
  const nlohmann::json items = nlohmann::json::parse(piped.out)["items"];
  const std::vector<std::string> outline = Outline(items);
  ASSERT_GE(outline.size(), 2u);
  EXPECT_EQ(outline[outline.size() - 2], "heading -");
  EXPECT_EQ(outline.back(), "error");
}

TEST_F(Batch, NothingIsWrittenWhenNoPartIsMade) {
  // One dataset that fails writes nothing, as ever.
  std::ofstream(Path("out.txt")) << "before";
  const Result single = In({"-o", "out.txt", "broken.sav"});
  EXPECT_EQ(single.status, 3);
  EXPECT_EQ(Slurp(Path("out.txt")), "before");
  EXPECT_THAT(single.err, HasSubstr("output not written to out.txt"));
  // Nor does a batch of which no file could be read.
  std::ofstream(Path("also.sav")) << "";
  const Result none = In({"-o", "out.txt", "broken.sav", "also.sav"});
  EXPECT_EQ(none.status, 3);
  EXPECT_EQ(Slurp(Path("out.txt")), "before");
}

}  // namespace
