// Whole outputs of the program's session on the shared fixture files,
// rendered as text and JSON and compared with the goldens in golden/.
// CODEBOOK_UPDATE_GOLDENS=1 rewrites them (only on purpose: read the diff).
#include <gtest/gtest.h>
#include <stdlib.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "platform/output/render/renderers.h"
#include "platform/session/session.h"

namespace {

struct Case {
  const char* name;
  const char* syntax;  // "@/" stands for the fixtures folder
};

// The fixtures are copied into a folder whose path has the same length on
// every machine, so that the width of the Location column does not change.
class FixtureFolder : public testing::Environment {
 public:
  void SetUp() override {
    char pattern[] = "/tmp/codebook-golden-XXXXXX";
    ASSERT_NE(mkdtemp(pattern), nullptr);
    path = pattern;
    for (const auto& entry : std::filesystem::directory_iterator(CODEBOOK_FIXTURES_DIR)) {
      if (entry.is_regular_file()) {
        std::filesystem::copy_file(entry.path(), std::filesystem::path(path) / entry.path().filename());
      }
    }
  }
  void TearDown() override { std::filesystem::remove_all(path); }
  static inline std::string path;
};

const testing::Environment* const kFolder = testing::AddGlobalTestEnvironment(new FixtureFolder);

const Case kCases[] = {
    {"default_dictionary_meta", "GET FILE='@/fx04_dictionary_meta.sav'.\nCODEBOOK."},
    {"varinfo_subsets",
     "GET FILE='@/fx03_labels_missing.zsav'.\n"
     "CODEBOOK r_range q_d2 /VARINFO LABEL VALUELABELS MISSING.\n"
     "CODEBOOK q_d2 /VARINFO POSITION TYPE FORMAT MEASURE ROLE /STATISTICS NONE.\n"
     "CODEBOOK r_range /VARINFO VALUELABELS /STATISTICS MEAN."},
    {"statistics_choices",
     "GET FILE='@/fx03_labels_missing.zsav'.\n"
     "CODEBOOK r_range q_d2 /VARINFO LABEL /STATISTICS NONE.\n"
     "CODEBOOK r_range q_d2 /VARINFO LABEL /STATISTICS COUNT.\n"
     "CODEBOOK r_range q_d2 /VARINFO LABEL /STATISTICS PERCENT.\n"
     "CODEBOOK r_range q_d2 /VARINFO LABEL /STATISTICS MEAN."},
    {"small_maxcats",
     "GET FILE='@/fx03_labels_missing.zsav'.\nCODEBOOK /VARINFO LABEL /OPTIONS MAXCATS=3."},
    {"varorders",
     "GET FILE='@/fx04_dictionary_meta.sav'.\n"
     "CODEBOOK /VARINFO POSITION /STATISTICS NONE /OPTIONS VARORDER=FILE SORT=ASCENDING.\n"
     "CODEBOOK /VARINFO POSITION /STATISTICS NONE /OPTIONS VARORDER=FILE SORT=DESCENDING.\n"
     "CODEBOOK /VARINFO POSITION /STATISTICS NONE /OPTIONS VARORDER=ALPHA SORT=ASCENDING.\n"
     "CODEBOOK /VARINFO POSITION /STATISTICS NONE /OPTIONS VARORDER=ALPHA SORT=DESCENDING.\n"
     "CODEBOOK region income satisfaction /VARINFO POSITION /STATISTICS NONE /OPTIONS VARORDER=VARLIST.\n"
     "CODEBOOK region income satisfaction /VARINFO POSITION /STATISTICS NONE /OPTIONS SORT=DESCENDING.\n"
     "CODEBOOK /VARINFO MEASURE /STATISTICS NONE /OPTIONS VARORDER=MEASURE SORT=ASCENDING.\n"
     "CODEBOOK /VARINFO MEASURE /STATISTICS NONE /OPTIONS VARORDER=MEASURE SORT=DESCENDING.\n"
     "CODEBOOK /VARINFO ATTRIBUTES /STATISTICS NONE /OPTIONS VARORDER=ATTRIBUTE(Note) SORT=ASCENDING.\n"
     "CODEBOOK /VARINFO ATTRIBUTES /STATISTICS NONE /OPTIONS VARORDER=ATTRIBUTE(Note) SORT=DESCENDING."},
    {"fileinfo_everything",
     "GET FILE='@/fx04_dictionary_meta.sav'.\n"
     "CODEBOOK income /VARINFO POSITION /FILEINFO NAME LOCATION CASECOUNT LABEL ATTRIBUTES DOCUMENTS "
     "WEIGHT RESERVEDATTRIBUTES.\n"
     "CODEBOOK income /VARINFO ATTRIBUTES RESERVEDATTRIBUTES /STATISTICS NONE."},
    {"mrsets", "GET FILE='@/fx05_mrsets.sav'.\nCODEBOOK $ALL.\nCODEBOOK $favs $brands /STATISTICS NONE."},
    {"scale_with_and_without_labels",
     "GET FILE='@/fx15_b_zlib.zsav'.\nCODEBOOK /VARINFO LABEL MEASURE /FILEINFO CASECOUNT."},
    {"weighted", "GET FILE='@/fx06_weight_integer.sav'.\nCODEBOOK /FILEINFO WEIGHT CASECOUNT."},
    {"no_cases", "GET FILE='@/fx09_zero_cases.sav'.\nCODEBOOK /FILEINFO NAME CASECOUNT."},
};

std::string Replace(std::string text, const std::string& from, const std::string& to) {
  for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size())) {
    text.replace(at, from.size(), to);
  }
  return text;
}

std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

void CompareWithGolden(const std::string& actual, const std::string& path) {
  if (const char* update = std::getenv("CODEBOOK_UPDATE_GOLDENS"); update && std::string(update) == "1") {
    std::ofstream(path, std::ios::binary) << actual;
    return;
  }
  const std::string expected = ReadFile(path);
  ASSERT_FALSE(expected.empty()) << "missing golden " << path;
  EXPECT_EQ(actual, expected) << "differs from " << path;
}

class Golden : public testing::TestWithParam<Case> {};

TEST_P(Golden, TextAndJson) {
  const Case& c = GetParam();
  const std::string& fixtures = FixtureFolder::path;
  codebook::session::SessionOptions options;
  options.modulePath = std::string(CODEBOOK_BINARY_DIR) + "/lib/libcodebook.so";
  options.messageStream = nullptr;
  codebook::session::Session session(options);
  session.RunSyntax(Replace(c.syntax, "@/", fixtures + "/"));

  std::ostringstream text;
  std::ostringstream json;
  codebook::output::Render(*session.Document(), codebook::output::OutputFormat::kText, text);
  codebook::output::Render(*session.Document(), codebook::output::OutputFormat::kJson, json);
  // The fixtures' folder differs between machines.
  const std::string golden = std::string(CODEBOOK_SOURCE_DIR) + "/tests/codebook/golden/" + c.name;
  // In text the placeholder keeps the path's width, so the table stays aligned.
  std::string placeholder = "<fixtures>";
  placeholder.resize(std::max(placeholder.size(), fixtures.size()), ' ');
  CompareWithGolden(Replace(text.str(), fixtures, placeholder), golden + ".txt");
  CompareWithGolden(Replace(json.str(), fixtures, "<fixtures>"), golden + ".json");
}

INSTANTIATE_TEST_SUITE_P(Fixtures, Golden, testing::ValuesIn(kCases),
                         [](const testing::TestParamInfo<Case>& info) { return info.param.name; });

}  // namespace
