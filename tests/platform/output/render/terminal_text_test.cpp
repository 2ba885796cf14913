// Text made safe for a terminal, and text tables fitted to a screen width.
#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "platform/output/render/renderers.h"
#include "platform/output/render/terminal_text.h"
#include "platform/output/render/text_width.h"
#include "tests/platform/output/sample_document.h"

namespace codebook::output {
namespace {

TEST(TerminalText, EscapesControlsAndInvalidBytesOnly) {
  struct Case {
    std::string in;
    std::string out;
  };
  const Case cases[] = {
      {"plain été 日本", "plain été 日本"},
      {"two\nlines", "two\nlines"},
      {"\x1B[31mred", "\\x1B[31mred"},
      {"bell\x07tab\tcr\r", "bell\\x07tab\\x09cr\\x0D"},
      {"del\x7F", "del\\x7F"},
      {"csi\xC2\x9B" "2J", "csi\\u009B2J"},       // a C1 control, UTF-8 encoded
      {"bad\xFF\xC3", "bad\\xFF\\xC3"},           // not UTF-8, and a cut sequence
      {"\xED\xA0\x80", "\\xED\\xA0\\x80"},        // a surrogate is not UTF-8
      {"\xC0\xAF", "\\xC0\\xAF"},                 // nor an overlong form
  };
  for (const Case& c : cases) {
    EXPECT_EQ(EscapeForTerminal(c.in), c.out) << c.in;
    EXPECT_EQ(NeedsTerminalEscape(c.in), c.in != c.out) << c.in;
  }
}

TEST(TextFitting, TablesNarrowToTheScreenAndKeepTheirNumbers) {
  const auto document = testing::BuildSampleCodebook();
  std::ostringstream natural;
  RenderText(*document, natural);
  int widest = 0;
  std::istringstream naturalLines(natural.str());
  for (std::string line; std::getline(naturalLines, line);) widest = std::max(widest, DisplayWidth(line));
  ASSERT_GT(widest, 45);

  TextOptions options;
  options.width = 45;
  std::ostringstream fitted;
  RenderText(*document, fitted, options);
  std::istringstream lines(fitted.str());
  for (std::string line; std::getline(lines, line);) EXPECT_LE(DisplayWidth(line), 45) << line;
  // Long labels wrap; numbers stay whole.
  EXPECT_NE(fitted.str().find("50.0%"), std::string::npos);
  EXPECT_NE(fitted.str().find("Monthly"), std::string::npos);

  // The narrowest screen still takes every line, titles included, and
  // keeps the numbers whole: text columns give way first.
  options.width = TextOptions::kMinimumWidth;
  std::ostringstream narrowest;
  RenderText(*document, narrowest, options);
  std::istringstream narrowLines(narrowest.str());
  for (std::string line; std::getline(narrowLines, line);) {
    EXPECT_LE(DisplayWidth(line), TextOptions::kMinimumWidth) << line;
  }
  EXPECT_NE(narrowest.str().find("50.0%"), std::string::npos);
}

}  // namespace
}  // namespace codebook::output
