// Name validation, Unicode case-insensitive comparison and fixed-field copy.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>

#include "host/data/text.h"
#include "platform/data/text/fold_case.h"

using codebook::data::FoldCase;

namespace {

int Sign(int v) { return (v > 0) - (v < 0); }

struct NameCase {
  std::string name;
  bool valid;
};

class ValidateNameTest : public ::testing::TestWithParam<NameCase> {};

TEST_P(ValidateNameTest, AcceptsOnlyValidNames) {
  const NameCase& c = GetParam();
  EXPECT_EQ(ValidateVELAName(c.name.c_str()) == 0, c.valid) << "name: '" << c.name << "'";
}

INSTANTIATE_TEST_SUITE_P(
    Names, ValidateNameTest,
    ::testing::Values(
        NameCase{"age", true}, NameCase{"A", true}, NameCase{"x1", true},
        NameCase{"income_2020", true}, NameCase{"q1.a", true}, NameCase{"@x", true},
        NameCase{"#tmp", true}, NameCase{"$sys", true}, NameCase{"a$#@._9", true},
        NameCase{"größe", true}, NameCase{"Ärger", true}, NameCase{"возраст", true},
        NameCase{"名前", true},
        // Empty, bad first characters, bad characters inside.
        NameCase{"", false}, NameCase{"1abc", false}, NameCase{"_abc", false},
        NameCase{".abc", false}, NameCase{"a b", false}, NameCase{"a-b", false},
        NameCase{"a+b", false}, NameCase{"a,b", false}, NameCase{"a\tb", false},
        NameCase{"€uro", false}, NameCase{"a€", false},
        // Trailing period.
        NameCase{"abc.", false}, NameCase{"a.b.", false},
        // Reserved words, in any case; names that only contain them are fine.
        NameCase{"ALL", false}, NameCase{"and", false}, NameCase{"By", false},
        NameCase{"EQ", false}, NameCase{"ge", false}, NameCase{"GT", false},
        NameCase{"le", false}, NameCase{"LT", false}, NameCase{"ne", false},
        NameCase{"NOT", false}, NameCase{"or", false}, NameCase{"To", false},
        NameCase{"WITH", false}, NameCase{"ALLx", true}, NameCase{"tot", true},
        NameCase{"WITHIN", true}, NameCase{"#by", true},
        // Invalid UTF-8.
        NameCase{"a\xff", false}, NameCase{"\xc3", false}));

TEST(ValidateName, LengthLimitIsSixtyFourBytes) {
  EXPECT_EQ(ValidateVELAName(std::string(64, 'a').c_str()), 0);
  EXPECT_NE(ValidateVELAName(std::string(65, 'a').c_str()), 0);
  // The limit counts bytes, not characters: 32 two-byte letters fit, 33 do not.
  std::string twoByte;
  for (int i = 0; i < 32; ++i) twoByte += "é";
  EXPECT_EQ(ValidateVELAName(twoByte.c_str()), 0);
  EXPECT_NE(ValidateVELAName((twoByte + "é").c_str()), 0);
  EXPECT_NE(ValidateVELAName(nullptr), 0);
}

TEST(FoldCase, FoldsAsciiAndUnicode) {
  EXPECT_EQ(FoldCase("AbC_1"), "abc_1");
  EXPECT_EQ(FoldCase("ÄÖÜ"), "äöü");
  EXPECT_EQ(FoldCase("ΣΊΣΥΦΟΣ"), FoldCase("σίσυφος"));
  EXPECT_EQ(FoldCase("Straße"), "strasse");  // full folding
  EXPECT_EQ(FoldCase(""), "");
  // Invalid bytes are kept, the valid characters around them are folded.
  EXPECT_EQ(FoldCase("A\xffÉ"), "a\xff" "é");
}

// Case-insensitive comparison: the sign of the result, by Unicode folding,
// bytes unsigned (non-ASCII after ASCII), invalid UTF-8 bytewise.
TEST(Compare, SignOfTheCaseInsensitiveComparison) {
  struct Case {
    const char* a;
    const char* b;
    int sign;
  };
  const Case cases[] = {
      {"Age", "aGE", 0},    {"ÄRGER", "ärger", 0}, {"STRASSE", "straße", 0}, {"Ωmega", "ωMEGA", 0},
      {"a", "b", -1},       {"é", "e", 1},         {"abc", "ABD", -1},        {"abd", "ABC", 1},
      {"ab", "ABC", -1},    {"ABC", "ab", 1},      {"", "a", -1},             {"z", "é", -1},
      {"É", "z", 1},        {"a\xff", "A\xff", 0}, {"\xc3", "\xc3\xa9", -1}};
  for (const Case& c : cases) {
    EXPECT_EQ(Sign(VELAMBstricmp_A(c.a, c.b)), c.sign) << c.a << " " << c.b;
    EXPECT_EQ(Sign(VELAMBstricmp_A(c.b, c.a)), -c.sign) << c.b << " " << c.a;
  }
  EXPECT_NE(VELAMBstricmp_A("a\xff", "a\xfe"), 0);
  EXPECT_EQ(VELAMBstricmp_A(nullptr, ""), 0);
}

TEST(Compare, PrefixComparison) {
  EXPECT_EQ(VELAMBstrnicmp_A("ABCdef", "abcXYZ", 3), 0);
  EXPECT_NE(VELAMBstrnicmp_A("ABCdef", "abcXYZ", 4), 0);
  EXPECT_EQ(VELAMBstrnicmp_A("ab", "AB", 10), 0);
  EXPECT_EQ(VELAMBstrnicmp_A("x", "y", 0), 0);
  EXPECT_EQ(VELAMBstrnicmp_A("ÄBC", "äbd", 3), 0);  // Ä is two bytes
  EXPECT_NE(VELAMBstrnicmp_A("ÄBC", "äbd", 4), 0);
  // A limit that cuts a character must not read past it or crash.
  EXPECT_EQ(VELAMBstrnicmp_A("éa", "éb", 1), 0);
  // The limit may exceed an unterminated buffer's text only up to its NUL.
  const char shortText[] = {'a', 'b', '\0'};
  EXPECT_EQ(VELAMBstrnicmp_A(shortText, "AB", 100), 0);
}

TEST(CopyToFixed, CopiesWithinLimits) {
  char field[8];
  std::memset(field, ' ', sizeof field);
  VELAMBCopyToFixed_A(field, sizeof field, "abc", 3);
  EXPECT_EQ(std::string(field, sizeof field), "abc     ");

  std::memset(field, ' ', sizeof field);
  VELAMBCopyToFixed_A(field, 4, "abcdefgh", 8);
  EXPECT_EQ(std::string(field, sizeof field), "abcd    ");

  // The source length bounds the copy even when the text runs on.
  std::memset(field, ' ', sizeof field);
  VELAMBCopyToFixed_A(field, sizeof field, "abcdef", 2);
  EXPECT_EQ(std::string(field, sizeof field), "ab      ");
}

TEST(CopyToFixed, NeverSplitsACharacter) {
  char field[8];
  std::memset(field, ' ', sizeof field);
  // "aé" is a, then two bytes: a field of 2 takes only the a.
  VELAMBCopyToFixed_A(field, 2, "aé", 3);
  EXPECT_EQ(std::string(field, sizeof field), "a       ");

  std::memset(field, ' ', sizeof field);
  // A four-byte character cut after any of its first three bytes is dropped.
  for (std::size_t n = 1; n <= 3; ++n) {
    std::memset(field, ' ', sizeof field);
    VELAMBCopyToFixed_A(field, n, "😀", 4);
    EXPECT_EQ(std::string(field, sizeof field), "        ") << n;
  }
  std::memset(field, ' ', sizeof field);
  VELAMBCopyToFixed_A(field, 4, "😀x", 5);
  EXPECT_EQ(std::string(field, 4), "😀");
}

}  // namespace

namespace {

// Arbitrary bytes, biased towards UTF-8 lead and continuation bytes, must
// never crash the helpers (the sanitizer build watches for bad reads), and
// the comparison must stay a consistent order.
TEST(TextHelpers, ArbitraryBytesAreSafeAndConsistent) {
  std::uint32_t seed = 12345;
  auto next = [&seed] {
    seed = seed * 1664525u + 1013904223u;
    return seed >> 8;
  };
  const unsigned char alphabet[] = {'a', 'B', '.', '_', ' ', 0x80, 0xBF, 0xC3, 0xA4,
                                    0xE2, 0x82, 0xAC, 0xF0, 0x9F, 0xFF, 'z'};
  auto randomText = [&] {
    std::string s(next() % 12, ' ');
    for (char& c : s) c = static_cast<char>(alphabet[next() % sizeof alphabet]);
    return s;
  };
  for (int i = 0; i < 3000; ++i) {
    const std::string a = randomText();
    const std::string b = randomText();
    ValidateVELAName(a.c_str());
    EXPECT_EQ(VELAMBstricmp_A(a.c_str(), a.c_str()), 0);
    EXPECT_EQ(Sign(VELAMBstricmp_A(a.c_str(), b.c_str())),
              -Sign(VELAMBstricmp_A(b.c_str(), a.c_str())));
    EXPECT_EQ(VELAMBstricmp_A(a.c_str(), b.c_str()) == 0, FoldCase(a) == FoldCase(b));
    const std::size_t n = next() % 8;
    EXPECT_EQ(Sign(VELAMBstrnicmp_A(a.c_str(), b.c_str(), n)),
              -Sign(VELAMBstrnicmp_A(b.c_str(), a.c_str(), n)));
    std::string field(n, ' ');
    VELAMBCopyToFixed_A(field.data(), field.size(), a.data(), a.size());
    // What was copied is a prefix of the source.
    const std::size_t used = field.find_last_not_of(' ') + 1;
    EXPECT_EQ(a.compare(0, used, field, 0, used), 0);
  }
}

}  // namespace
