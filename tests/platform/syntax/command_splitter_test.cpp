#include "platform/syntax/command_splitter.h"

#include <gtest/gtest.h>

namespace codebook::syntax {
namespace {

TEST(CommandSplitter, CommandsOverSeveralLines) {
  const std::vector<Command> commands = SplitCommands(
      "get file='a.sav'.\n"
      "codebook age\n"
      "   income /varinfo\n"
      "   label.\n");
  ASSERT_EQ(commands.size(), 2u);
  EXPECT_EQ(commands[0].name, "GET");
  EXPECT_EQ(commands[0].line, 1);
  ASSERT_EQ(commands[0].tokens.size(), 3u);
  EXPECT_EQ(commands[0].tokens[2].getValue(), "a.sav");
  EXPECT_EQ(commands[1].name, "CODEBOOK");
  EXPECT_EQ(commands[1].line, 2);
  EXPECT_EQ(commands[1].column, 1);
  ASSERT_EQ(commands[1].tokens.size(), 5u);
  EXPECT_EQ(commands[1].tokens[1].getString(), "income");
  EXPECT_EQ(commands[1].tokens[1].line(), 3);
  EXPECT_EQ(commands[1].tokens[4].getString(), "label");
  EXPECT_EQ(commands[1].text, "codebook age\n   income /varinfo\n   label");
}

TEST(CommandSplitter, EndOfInputEndsTheLastCommand) {
  const std::vector<Command> commands = SplitCommands("FILTER OFF.\n  WEIGHT BY w");
  ASSERT_EQ(commands.size(), 2u);
  EXPECT_EQ(commands[1].name, "WEIGHT");
  EXPECT_EQ(commands[1].line, 2);
  EXPECT_EQ(commands[1].column, 3);
  ASSERT_EQ(commands[1].tokens.size(), 2u);
  EXPECT_EQ(commands[1].tokens[1].getString(), "w");
}

TEST(CommandSplitter, CommentCommandsAndEmptyCommands) {
  const std::vector<Command> commands =
      SplitCommands("* first comment\n  spans lines.\n.\n\n   \nCODEBOOK.\n*last");
  ASSERT_EQ(commands.size(), 3u);
  EXPECT_TRUE(commands[0].comment);
  EXPECT_EQ(commands[0].name, "*");
  EXPECT_EQ(commands[0].text, "* first comment\n  spans lines");
  EXPECT_EQ(commands[1].name, "CODEBOOK");
  EXPECT_TRUE(commands[1].tokens.empty());
  EXPECT_TRUE(commands[2].comment);
  EXPECT_EQ(commands[2].line, 7);
}

TEST(CommandSplitter, StarLineEndsAnOpenCommand) {
  const std::vector<Command> commands = SplitCommands("CODEBOOK a\n* note.\nCODEBOOK b.");
  ASSERT_EQ(commands.size(), 3u);
  ASSERT_EQ(commands[0].tokens.size(), 1u);
  EXPECT_TRUE(commands[1].comment);
  EXPECT_EQ(commands[2].tokens[0].getString(), "b");
}

TEST(CommandSplitter, MultiWordNames) {
  const CommandNames names{"N OF CASES", "WEIGHT", "FILTER", "GET", "N"};
  const std::vector<Command> commands =
      SplitCommands("n of cases 10.\nN 5.\nN OF x.\nweight by w.\nList.", names);
  ASSERT_EQ(commands.size(), 5u);
  EXPECT_EQ(commands[0].name, "N OF CASES");
  ASSERT_EQ(commands[0].tokens.size(), 1u);
  EXPECT_EQ(commands[0].tokens[0].getString(), "10");
  EXPECT_EQ(commands[1].name, "N");
  // The longest name that matches wins; a partial match falls back.
  EXPECT_EQ(commands[2].name, "N");
  EXPECT_EQ(commands[2].tokens.size(), 2u);
  EXPECT_EQ(commands[3].name, "WEIGHT");
  EXPECT_EQ(commands[4].name, "LIST");
}

TEST(CommandSplitter, CommandThatDoesNotBeginWithAName) {
  const std::vector<Command> commands = SplitCommands("'x' y.\n/* open");
  ASSERT_EQ(commands.size(), 2u);
  EXPECT_EQ(commands[0].name, "");
  ASSERT_EQ(commands[0].tokens.size(), 2u);
  EXPECT_EQ(commands[0].tokens[0].getValue(), "x");
  EXPECT_EQ(commands[1].name, "");
  ASSERT_EQ(commands[1].tokens.size(), 1u);
  EXPECT_EQ(commands[1].tokens[0].kind(), TokenInfoObj::kInvalid);
  EXPECT_EQ(commands[1].line, 2);
}

}  // namespace
}  // namespace codebook::syntax
