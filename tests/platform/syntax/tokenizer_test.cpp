#include "platform/syntax/tokenizer.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace codebook::syntax {
namespace {

struct Expect {
  TokenInfoObj::Kind kind;
  std::string text;
  std::string value;
  int line;
  int column;
};

void ExpectTokens(const std::string& source, const std::vector<Expect>& expected) {
  SCOPED_TRACE(source);
  const std::vector<TokenInfoObj> tokens = Tokenize(source);
  ASSERT_EQ(tokens.size(), expected.size());
  for (std::size_t i = 0; i < tokens.size(); ++i) {
    SCOPED_TRACE(i);
    EXPECT_EQ(tokens[i].kind(), expected[i].kind);
    EXPECT_EQ(tokens[i].getString(), expected[i].text);
    EXPECT_EQ(tokens[i].getValue(), expected[i].value);
    EXPECT_EQ(tokens[i].line(), expected[i].line);
    EXPECT_EQ(tokens[i].column(), expected[i].column);
  }
}

constexpr auto kId = TokenInfoObj::kIdentifier;
constexpr auto kNum = TokenInfoObj::kNumber;
constexpr auto kStr = TokenInfoObj::kString;
constexpr auto kPun = TokenInfoObj::kPunct;
constexpr auto kBad = TokenInfoObj::kInvalid;

TEST(Tokenizer, EveryKindWithPositions) {
  ExpectTokens("CODEBOOK age [N] /OPTIONS MAXCATS=5, 'a b'",
               {{kId, "CODEBOOK", "CODEBOOK", 1, 1},
                {kId, "age", "age", 1, 10},
                {kPun, "[", "[", 1, 14},
                {kId, "N", "N", 1, 15},
                {kPun, "]", "]", 1, 16},
                {kPun, "/", "/", 1, 18},
                {kId, "OPTIONS", "OPTIONS", 1, 19},
                {kId, "MAXCATS", "MAXCATS", 1, 27},
                {kPun, "=", "=", 1, 34},
                {kNum, "5", "5", 1, 35},
                {kPun, ",", ",", 1, 36},
                {kStr, "'a b'", "a b", 1, 38}});
}

TEST(Tokenizer, IdentifierCharacters) {
  ExpectTokens("@x #y $set a.b_c$#@9 x(",
               {{kId, "@x", "@x", 1, 1},
                {kId, "#y", "#y", 1, 4},
                {kId, "$set", "$set", 1, 7},
                {kId, "a.b_c$#@9", "a.b_c$#@9", 1, 12},
                {kId, "x", "x", 1, 22},
                {kPun, "(", "(", 1, 23}});
  // Names never begin with a digit or an underscore.
  ExpectTokens("_a", {{kPun, "_", "_", 1, 1}, {kId, "a", "a", 1, 2}});
}

TEST(Tokenizer, NumbersDecimalsExponentsAndSigns) {
  ExpectTokens("x=-5 y=2.5 z=1e3 w=1.5E-2 v=.5 u=+7",
               {{kId, "x", "x", 1, 1},   {kPun, "=", "=", 1, 2},    {kNum, "-5", "-5", 1, 3},
                {kId, "y", "y", 1, 6},   {kPun, "=", "=", 1, 7},    {kNum, "2.5", "2.5", 1, 8},
                {kId, "z", "z", 1, 12},  {kPun, "=", "=", 1, 13},   {kNum, "1e3", "1e3", 1, 14},
                {kId, "w", "w", 1, 18},  {kPun, "=", "=", 1, 19},   {kNum, "1.5E-2", "1.5E-2", 1, 20},
                {kId, "v", "v", 1, 27},  {kPun, "=", "=", 1, 28},   {kNum, ".5", ".5", 1, 29},
                {kId, "u", "u", 1, 32},  {kPun, "=", "=", 1, 33},   {kNum, "+7", "+7", 1, 34}});
  // A sign glued to a name is not a value's sign; after a blank it is.
  ExpectTokens("a-5 b -5 (-1)",
               {{kId, "a", "a", 1, 1},
                {kPun, "-", "-", 1, 2},
                {kNum, "5", "5", 1, 3},
                {kId, "b", "b", 1, 5},
                {kNum, "-5", "-5", 1, 7},
                {kPun, "(", "(", 1, 10},
                {kNum, "-1", "-1", 1, 11},
                {kPun, ")", ")", 1, 13}});
  // An exponent needs digits; "1e" is a number and a name.
  ExpectTokens("1e x", {{kNum, "1", "1", 1, 1}, {kId, "e", "e", 1, 2}, {kId, "x", "x", 1, 4}});
}

TEST(Tokenizer, QuotesDoubledAndMixed) {
  ExpectTokens(R"('it''s' "say ""hi""" "it's" 'a "b"' '')",
               {{kStr, "'it''s'", "it's", 1, 1},
                {kStr, R"("say ""hi""")", R"(say "hi")", 1, 9},
                {kStr, R"("it's")", "it's", 1, 22},
                {kStr, R"('a "b"')", R"(a "b")", 1, 29},
                {kStr, "''", "", 1, 37}});
}

TEST(Tokenizer, UnterminatedStringIsAnInvalidTokenEndingAtTheLine) {
  ExpectTokens("a 'open\nb",
               {{kId, "a", "a", 1, 1}, {kBad, "'open", "unterminated string", 1, 3}, {kId, "b", "b", 2, 1}});
  // The period that ends the command is left to end it.
  const std::vector<ScannedCommand> commands = ScanCommands("X 'open.\nY b.");
  ASSERT_EQ(commands.size(), 2u);
  ASSERT_EQ(commands[0].tokens.size(), 2u);
  EXPECT_EQ(commands[0].tokens[1].kind(), kBad);
  EXPECT_EQ(commands[0].tokens[1].getString(), "'open");
  EXPECT_EQ(commands[1].tokens[0].getString(), "Y");
}

TEST(Tokenizer, TrailingPeriodEndsTheCommandNotTheName) {
  const std::vector<ScannedCommand> commands = ScanCommands("A x.y z.\nB 5.\nC 2.5 n. m");
  ASSERT_EQ(commands.size(), 3u);
  ASSERT_EQ(commands[0].tokens.size(), 3u);
  EXPECT_EQ(commands[0].tokens[1].getString(), "x.y");
  EXPECT_EQ(commands[0].tokens[2].getString(), "z");
  EXPECT_EQ(commands[0].text, "A x.y z");
  ASSERT_EQ(commands[1].tokens.size(), 2u);
  EXPECT_EQ(commands[1].tokens[1].getString(), "5");
  // A period inside the line belongs to the name ("n." is not a valid name,
  // but that is for the name checks to say).
  ASSERT_EQ(commands[2].tokens.size(), 4u);
  EXPECT_EQ(commands[2].tokens[1].getString(), "2.5");
  EXPECT_EQ(commands[2].tokens[2].getString(), "n.");
  EXPECT_EQ(commands[2].tokens[3].getString(), "m");
}

TEST(Tokenizer, PeriodFollowedByBlanksOrAClosedCommentEndsTheCommand) {
  EXPECT_EQ(ScanCommands("A x.  \t\r\nB y. /* done */ \nC").size(), 3u);
  // A comment still open at the line's end: the period is inside the command.
  EXPECT_EQ(ScanCommands("A x. /* still\n open */ y.").size(), 1u);
}

TEST(Tokenizer, BlockCommentsAnywhere) {
  ExpectTokens("a /* one\n two */ b/**/c", {{kId, "a", "a", 1, 1}, {kId, "b", "b", 2, 9}, {kId, "c", "c", 2, 14}});
  ExpectTokens("a /* never closed",
               {{kId, "a", "a", 1, 1}, {kBad, "/*", "unterminated comment", 1, 3}});
}

TEST(Tokenizer, StarLineIsACommentCommand) {
  const std::vector<ScannedCommand> commands =
      ScanCommands("* a comment with 'quotes and /* things.\nA x.\n * not at column one.\n");
  ASSERT_EQ(commands.size(), 3u);
  EXPECT_TRUE(commands[0].comment);
  EXPECT_TRUE(commands[0].tokens.empty());
  EXPECT_EQ(commands[0].text, "* a comment with 'quotes and /* things");
  EXPECT_FALSE(commands[1].comment);
  EXPECT_EQ(commands[1].line, 2);
  // Not in the first column: an ordinary token the parser will reject.
  EXPECT_FALSE(commands[2].comment);
  EXPECT_EQ(commands[2].tokens[0].getString(), "*");
  EXPECT_EQ(commands[2].tokens[0].column(), 2);
}

TEST(Tokenizer, UnicodeIdentifiersAndColumnsInCharacters) {
  ExpectTokens("ÄRGER größe 名前 x",
               {{kId, "ÄRGER", "ÄRGER", 1, 1},
                {kId, "größe", "größe", 1, 7},
                {kId, "名前", "名前", 1, 13},
                {kId, "x", "x", 1, 16}});
  // A combining mark continues a name; a symbol is a one-character token.
  ExpectTokens("e\xCC\x81t \xE2\x82\xAC",
               {{kId, "e\xCC\x81t", "e\xCC\x81t", 1, 1}, {kPun, "\xE2\x82\xAC", "\xE2\x82\xAC", 1, 5}});
}

TEST(Tokenizer, GarbageBytes) {
  ExpectTokens(std::string("a \xFF\x80 % b\x01", 9),
               {{kId, "a", "a", 1, 1},
                {kBad, "\xFF", "a byte that is not valid UTF-8", 1, 3},
                {kBad, "\x80", "a byte that is not valid UTF-8", 1, 4},
                {kPun, "%", "%", 1, 5},
                {kId, "b", "b", 1, 7},
                {kPun, "\x01", "\x01", 1, 8}});
  // A NUL byte is a token too, not the end of the text.
  const std::vector<TokenInfoObj> tokens = Tokenize(std::string("a\0b", 3));
  ASSERT_EQ(tokens.size(), 3u);
  EXPECT_EQ(tokens[2].getString(), "b");
}

TEST(Tokenizer, ByteOrderMarkAndStarAfterIt) {
  const std::vector<ScannedCommand> commands = ScanCommands("\xEF\xBB\xBF* comment.\nA b.");
  ASSERT_EQ(commands.size(), 2u);
  EXPECT_TRUE(commands[0].comment);
  EXPECT_EQ(commands[0].column, 1);
  EXPECT_EQ(commands[1].tokens[0].getString(), "A");
  // Only at the very start: elsewhere it is a character like any other.
  EXPECT_EQ(Tokenize("a \xEF\xBB\xBF")[1].kind(), kPun);
  // A stray byte at a line's start does not make the next "*" a comment.
  EXPECT_FALSE(ScanCommands("\x80* x")[0].comment);
}

TEST(Tokenizer, LinesAndColumnsAcrossLines) {
  ExpectTokens("  a\n\tb\r\n   c",
               {{kId, "a", "a", 1, 3}, {kId, "b", "b", 2, 2}, {kId, "c", "c", 3, 4}});
}

}  // namespace
}  // namespace codebook::syntax
