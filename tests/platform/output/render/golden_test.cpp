// Whole rendered documents compared with the goldens in golden/. To change
// a golden on purpose: CODEBOOK_UPDATE_GOLDENS=1 ./output_render_test, then
// read the diff before committing it.
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>

#include "platform/output/render/renderers.h"
#include "tests/platform/output/sample_document.h"

namespace codebook::output {
namespace {

std::string GoldenPath(const std::string& name) {
  return std::string(CODEBOOK_SOURCE_DIR) + "/tests/platform/output/golden/" + name;
}

void CompareWithGolden(const std::string& name, const std::string& actual) {
  const char* update = std::getenv("CODEBOOK_UPDATE_GOLDENS");
  if (update != nullptr && std::string(update) == "1") {
    std::ofstream(GoldenPath(name), std::ios::binary) << actual;
    GTEST_SKIP() << "rewrote " << name;
  }
  std::ifstream in(GoldenPath(name), std::ios::binary);
  ASSERT_TRUE(in) << "missing golden " << name << " (run with CODEBOOK_UPDATE_GOLDENS=1)";
  std::stringstream expected;
  expected << in.rdbuf();
  EXPECT_EQ(actual, expected.str()) << "rendered output differs from golden/" << name;
}

std::string Rendered(const std::function<void(const Document&, std::ostream&)>& render) {
  const auto document = testing::BuildSampleCodebook();
  std::ostringstream out;
  render(*document, out);
  return out.str();
}

TEST(Golden, Text) {
  CompareWithGolden("codebook.txt", Rendered([](const Document& d, std::ostream& o) { RenderText(d, o); }));
}

TEST(Golden, Ascii) {
  CompareWithGolden("codebook_ascii.txt", Rendered([](const Document& d, std::ostream& o) {
                      RenderText(d, o, TextOptions{true, 40});
                    }));
}

// Narrow screens: columns narrowed to their longest words, and tables that
// cannot fit so become lists inside their boxes.
TEST(Golden, TextAt40Columns) {
  CompareWithGolden("codebook_40.txt", Rendered([](const Document& d, std::ostream& o) {
                      TextOptions options;
                      options.width = 40;
                      RenderText(d, o, options);
                    }));
}

TEST(Golden, AsciiAt30Columns) {
  CompareWithGolden("codebook_30_ascii.txt", Rendered([](const Document& d, std::ostream& o) {
                      TextOptions options;
                      options.ascii = true;
                      options.width = 30;
                      RenderText(d, o, options);
                    }));
}

TEST(Golden, Html) { CompareWithGolden("codebook.html", Rendered(RenderHtml)); }
TEST(Golden, Json) { CompareWithGolden("codebook.json", Rendered(RenderJson)); }
TEST(Golden, Markdown) { CompareWithGolden("codebook.md", Rendered(RenderMarkdown)); }
TEST(Golden, Csv) { CompareWithGolden("codebook.csv", Rendered(RenderCsv)); }

}  // namespace
}  // namespace codebook::output
