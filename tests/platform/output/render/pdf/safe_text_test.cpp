// Text made fit for a page: always valid UTF-8, control characters shown
// as the escapes the other outputs use.
#include <gtest/gtest.h>

#include "platform/output/render/pdf/safe_text.h"

namespace codebook::output::pdf {
namespace {

TEST(PdfSafeText, EscapesReplacesAndKeeps) {
  struct Case {
    std::string in;
    std::string out;
  };
  const Case cases[] = {
      {"plain", "plain"},
      {"\xCE\xB1\xCE\xB2 \xE6\x97\xA5\xE6\x9C\xAC \xF0\x9F\x98\x80", "\xCE\xB1\xCE\xB2 \xE6\x97\xA5\xE6\x9C\xAC \xF0\x9F\x98\x80"},
      {"a\x01" "b\x7F", "a\\x01b\\x7F"},
      {std::string("nul\0x", 5), "nul\\x00x"},
      {"tab\there", "tab here"},
      {"line\r\nend\rmac\n", "line\nend\nmac\n"},
      {"c1 \xC2\x9B", "c1 \\u009B"},
      {"nbsp \xC2\xA0 kept", "nbsp \xC2\xA0 kept"},
      {"\xFF", "\xEF\xBF\xBD"},
      {"cut \xE6\x97", "cut \xEF\xBF\xBD\xEF\xBF\xBD"},
      {"overlong \xC0\xAF", "overlong \xEF\xBF\xBD\xEF\xBF\xBD"},
      {"surrogate \xED\xA0\x80", "surrogate \xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD"},
      {"too high \xF4\x90\x80\x80", "too high \xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD"},
  };
  for (const Case& c : cases) EXPECT_EQ(SafeText(c.in), c.out) << c.in;
}

}  // namespace
}  // namespace codebook::output::pdf
