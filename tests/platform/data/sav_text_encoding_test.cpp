// Converting a file's text to UTF-8 and back: what stands for bytes that
// cannot be converted, and a character cut off at the end of a field.
#include <gtest/gtest.h>

#include <string>

#include "platform/data/sav/text_encoding.h"

namespace codebook::data::sav {
namespace {

const std::string kReplacement = "\xEF\xBF\xBD";  // U+FFFD

TEST(TextDecoder, ConvertsAndMarksBytesTheEncodingLacks) {
  TextDecoder latin(ResolveEncodingName("windows-1252"));
  bool damaged = false;
  EXPECT_EQ(latin.Decode("caf\xE9 \x80", &damaged), "caf\xC3\xA9 \xE2\x82\xAC");
  EXPECT_FALSE(damaged);
  // 0x81 is undefined in this code page: one replacement, and the rest goes on.
  EXPECT_EQ(latin.Decode("a\x81" "b\xE9", &damaged), "a" + kReplacement + "b\xC3\xA9");
  EXPECT_TRUE(damaged);
}

TEST(TextDecoder, DropsACharacterCutOffAtTheEnd) {
  TextDecoder japanese(ResolveEncodingName("Shift_JIS"));
  bool damaged = false;
  // "\x82\xA0" is one character; its first byte alone ends the field.
  EXPECT_EQ(japanese.Decode("x\x82\xA0y\x82", &damaged), "x\xE3\x81\x82y");
  EXPECT_TRUE(damaged);
  std::string out = "kept ";
  japanese.DecodeAppend("ok", out);
  EXPECT_EQ(out, "kept ok");
}

TEST(TextEncoder, WritesAQuestionMarkForEachCharacterTheEncodingLacks) {
  TextEncoder latin(ResolveEncodingName("ISO-8859-1"));
  // The euro sign (three bytes) and a CJK character become one '?' each.
  EXPECT_EQ(latin.Encode("caf\xC3\xA9 \xE2\x82\xAC \xE6\x97\xA5!"), "caf\xE9 ? ?!");
  // Invalid UTF-8 too, and a sequence cut at the end is dropped.
  EXPECT_EQ(latin.Encode("a\xFF" "b\xC3"), "a?b");
  EXPECT_TRUE(TextEncoder("UTF-8").IsUtf8());
  EXPECT_THROW(TextEncoder("no-such-encoding"), std::runtime_error);
}

}  // namespace
}  // namespace codebook::data::sav
