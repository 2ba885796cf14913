// Hostile command texts: every one gives at most one clear error and never a
// crash, a hang or a deep recursion. Seeds are fixed so failures repeat.
#include <gtest/gtest.h>

#include <random>
#include <string>

#include "parse_harness.h"
#include "platform/syntax/tokenizer.h"

namespace codebook::syntax {
namespace {

using testing::ParseCommand;
using testing::Parsed;

// Checks what holds for any text: tokens are placed and non-empty, and a
// failed parse says so exactly once.
void ExpectSane(const std::string& text) {
  for (const ScannedCommand& command : ScanCommands(text)) {
    EXPECT_GE(command.line, 1);
    EXPECT_GE(command.column, 1);
    for (const TokenInfoObj& token : command.tokens) {
      ASSERT_FALSE(token.getString().empty());
      ASSERT_GE(token.line(), command.line);
      ASSERT_GE(token.column(), 1);
    }
  }
  const Parsed p = ParseCommand(text);
  if (p.result == 0) {
    EXPECT_TRUE(p.messages.empty());
  } else {
    ASSERT_EQ(p.messages.size(), 1u) << text;
    EXPECT_EQ(p.messages[0].severity, Severity::kError);
    EXPECT_EQ(p.messages[0].text.rfind("Syntax error at line ", 0), 0u) << p.messages[0].text;
    EXPECT_LT(p.messages[0].text.size(), 1000u);
  }
}

TEST(Robustness, RandomBytes) {
  std::mt19937 random(20261122);
  std::uniform_int_distribution<int> byte(0, 255);
  std::uniform_int_distribution<int> length(0, 400);
  for (int round = 0; round < 300; ++round) {
    std::string text = "CODEBOOK ";
    for (int n = length(random); n > 0; --n) text += static_cast<char>(byte(random));
    ExpectSane(text);
  }
}

TEST(Robustness, RandomPiecesOfTheLanguage) {
  const char* pieces[] = {"/",     "=",        "(",         ")",     "[",        "]",       "'",      "\"",
                          "''",    ",",        "VARINFO",   "OPTIONS", "MAXCATS", "VARORDER", "ATTRIBUTE", "SORT",
                          "DESC",  "-5",       "2.5",       "x",     "$s",       ".",       "\n",     " ",
                          "/*",    "*/",       "*",         "STATISTICS", "NONE", "LABEL",  "TO",     "ALL",
                          "\xC3",  "\xE2\x82\xAC", "1e",    "-",     "\t",       "é",       "@",      "#"};
  std::mt19937 random(7);
  std::uniform_int_distribution<std::size_t> pick(0, std::size(pieces) - 1);
  std::uniform_int_distribution<int> length(0, 60);
  for (int round = 0; round < 1000; ++round) {
    std::string text = "CODEBOOK ";
    for (int n = length(random); n > 0; --n) {
      text += pieces[pick(random)];
      if (n % 3 == 0) text += ' ';
    }
    ExpectSane(text);
  }
}

TEST(Robustness, UnbalancedQuotesAndBrackets) {
  for (const char* text : {"CODEBOOK a 'b", "CODEBOOK a \"b", "CODEBOOK 'a''", "CODEBOOK \"\"\"",
                           "CODEBOOK a /OPTIONS VARORDER=ATTRIBUTE('x", "CODEBOOK a /OPTIONS VARORDER=ATTRIBUTE(",
                           "CODEBOOK a (", "CODEBOOK a ((b)", "CODEBOOK a )", "CODEBOOK /*/", "CODEBOOK */"}) {
    SCOPED_TRACE(text);
    ExpectSane(text);
    EXPECT_NE(ParseCommand(text).result, 0);
  }
  // Square brackets belong to the variable list: the procedure checks them.
  const Parsed p = ParseCommand("CODEBOOK a [N b ] ] [.");
  EXPECT_EQ(p.result, 0);
  EXPECT_EQ(p.Exported(""), (std::vector<std::string>{"a", "[", "N", "b", "]", "]", "["}));
}

TEST(Robustness, AMegabyteOfTokens) {
  std::string text = "CODEBOOK";
  std::size_t names = 0;
  while (text.size() < (1u << 20)) {
    text += " v" + std::to_string(names++);
    if (names % 20 == 0) text += '\n';
  }
  text += " /STATISTICS COUNT.";
  const Parsed p = ParseCommand(text);
  ASSERT_EQ(p.result, 0) << p.OnlyMessage();
  const SubComObj* unnamed = p.command->getSubComObj("");
  ASSERT_NE(unnamed, nullptr);
  ASSERT_EQ(unnamed->getTokenListSize(), names);
  EXPECT_EQ(unnamed->getTokenObj(names - 1)->getString(), "v" + std::to_string(names - 1));
  EXPECT_EQ(unnamed->getTokenObj(names - 1)->line(), static_cast<int>((names - 1) / 20) + 1);

  // The same megabyte where only keywords are allowed stops at the second one.
  std::string keywords = "CODEBOOK /STATISTICS";
  while (keywords.size() < (1u << 20)) keywords += " COUNT";
  const Parsed repeated = ParseCommand(keywords);
  EXPECT_NE(repeated.result, 0);
  EXPECT_EQ(repeated.messages.size(), 1u);

  // One string a megabyte long.
  const Parsed big = ParseCommand("CODEBOOK '" + std::string(1u << 20, 'q') + "'.");
  EXPECT_EQ(big.result, 0);
  EXPECT_EQ(big.command->getSubComObj("")->getTokenObj(0)->getValue().size(), 1u << 20);
}

TEST(Robustness, HundredThousandNestedParentheses) {
  const std::string open(100000, '('), close(100000, ')');
  Parsed p = ParseCommand("CODEBOOK a " + open + "b" + close + ".");
  EXPECT_EQ(p.result, 0) << p.OnlyMessage();
  EXPECT_EQ(p.command->getSubComObj("")->getTokenListSize(), 200002u);
  p = ParseCommand("CODEBOOK a " + open + "b.");
  ASSERT_EQ(p.messages.size(), 1u);
  EXPECT_NE(p.messages[0].text.find("to close the \"(\" at line 1, column 12"), std::string::npos);
  p = ParseCommand("CODEBOOK /OPTIONS VARORDER=ATTRIBUTE" + open + close + ".");
  EXPECT_EQ(p.messages.size(), 1u);
  p = ParseCommand("CODEBOOK /OPTIONS " + open + close);
  EXPECT_EQ(p.result, 0);
  p = ParseCommand("CODEBOOK a " + close);
  EXPECT_EQ(p.messages.size(), 1u);
}

TEST(Robustness, ManyCommandsAndLines) {
  std::string text;
  for (int i = 0; i < 20000; ++i) text += "CODEBOOK v" + std::to_string(i) + ".\n* note.\n";
  const std::vector<ScannedCommand> commands = ScanCommands(text);
  ASSERT_EQ(commands.size(), 40000u);
  EXPECT_EQ(commands.back().line, 40000);
  EXPECT_TRUE(commands.back().comment);
  // Many periods and comments on one long line stay linear.
  std::string line = "CODEBOOK";
  for (int i = 0; i < 100000; ++i) line += " a. /* c */";
  EXPECT_EQ(ScanCommands(line).size(), 1u);
}

}  // namespace
}  // namespace codebook::syntax
