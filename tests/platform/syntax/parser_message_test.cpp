#include <gtest/gtest.h>

#include <string>

#include "host/syntax/parser_message.h"
#include "host/syntax/token_sequence.h"
#include "platform/syntax/current_command.h"
#include "platform/syntax/message_sink.h"

namespace codebook::syntax {
namespace {

TEST(SubstituteMessageArgs, PlaceholdersInOrderAndNulls) {
  EXPECT_EQ(SubstituteMessageArgs("^1 TO ^2 keyword.", "a", "b", nullptr, nullptr, nullptr), "a TO b keyword.");
  EXPECT_EQ(SubstituteMessageArgs("^5^4^3^2^1", "1", "2", "3", "4", "5"), "54321");
  EXPECT_EQ(SubstituteMessageArgs("[^1] [^2]", nullptr, "x", nullptr, nullptr, nullptr), "[] [x]");
  // Repeated placeholders, ones out of range, a lone caret at the end.
  EXPECT_EQ(SubstituteMessageArgs("^1^1 ^6 ^0 ^", "a", nullptr, nullptr, nullptr, nullptr), "aa ^6 ^0 ^");
  // An argument is never substituted again.
  EXPECT_EQ(SubstituteMessageArgs("^1 ^2", "^2", "b", nullptr, nullptr, nullptr), "^2 b");
}

TEST(ParserMessage, ErrorsAndWarningsCarrySeverityCommandAndPlace) {
  MessageCollector sink;
  MessageSinkScope scope(sink);
  const ParserMessage messages("CODEBOOK", 3, 5);
  messages.GenericWarning("< ^1 > must be followed by one or more keywords.", "VARINFO");
  messages.GenericError("^1 Invalid or non-existent variable name.", "zz", nullptr, nullptr, nullptr, nullptr);
  messages.Report(ParserMessage::kError, "at a token", 4, 9);
  ASSERT_EQ(sink.messages().size(), 3u);
  EXPECT_EQ(sink.messages()[0].severity, Severity::kWarning);
  EXPECT_EQ(sink.messages()[0].text, "< VARINFO > must be followed by one or more keywords.");
  EXPECT_EQ(sink.messages()[0].command, "CODEBOOK");
  EXPECT_EQ(sink.messages()[0].line, 3);
  EXPECT_EQ(sink.messages()[0].column, 5);
  EXPECT_EQ(sink.messages()[1].severity, Severity::kError);
  EXPECT_EQ(sink.messages()[1].text, "zz Invalid or non-existent variable name.");
  EXPECT_EQ(sink.messages()[2].line, 4);
  EXPECT_EQ(sink.messages()[2].column, 9);
  EXPECT_EQ(sink.errorCount(), 2u);
  EXPECT_EQ(sink.warningCount(), 1u);
}

TEST(ParserMessage, DefaultSinkReportsForTheCurrentCommand) {
  MessageCollector sink;
  MessageSinkScope scope(sink);
  {
    CurrentCommandScope command({"CODEBOOK", {}, 7, 2});
    ParserMessage().GenericError("Empty dataset.");
    // A sink made while a command runs keeps that command's place.
    const ParserMessage kept;
    CurrentCommandScope other({"OTHER", {}, 9, 1});
    kept.GenericWarning("w");
  }
  ParserMessage().GenericWarning("no command");
  ASSERT_EQ(sink.messages().size(), 3u);
  EXPECT_EQ(sink.messages()[0].command, "CODEBOOK");
  EXPECT_EQ(sink.messages()[0].line, 7);
  EXPECT_EQ(sink.messages()[0].column, 2);
  EXPECT_EQ(sink.messages()[1].command, "CODEBOOK");
  EXPECT_EQ(sink.messages()[2].command, "");
  EXPECT_EQ(sink.messages()[2].line, 0);
}

TEST(MessageSink, ScopesNestAndRestore) {
  MessageCollector outer, inner;
  {
    MessageSinkScope a(outer);
    {
      MessageSinkScope b(inner);
      ParserMessage("X", 1, 1).GenericError("to inner");
    }
    ParserMessage("X", 1, 1).GenericError("to outer");
  }
  EXPECT_EQ(GetMessageSink(), nullptr);
  ASSERT_EQ(inner.messages().size(), 1u);
  EXPECT_EQ(inner.messages()[0].text, "to inner");
  ASSERT_EQ(outer.messages().size(), 1u);
  EXPECT_EQ(outer.messages()[0].text, "to outer");
}

TEST(MessageSink, StandardErrorWithoutASink) {
  ASSERT_EQ(GetMessageSink(), nullptr);
  testing::internal::CaptureStderr();
  ParserMessage("CODEBOOK", 1, 1).GenericWarning("MAXCATS must be a positive integer.");
  ParserMessage("CODEBOOK", 1, 1).GenericError("No MRSet.");
  ParserMessage("", 1, 1).GenericError("bare");
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "CODEBOOK: warning: MAXCATS must be a positive integer.\n"
            "CODEBOOK: error: No MRSet.\n"
            "error: bare\n");
}

TEST(CurrentCommand, TokenSequenceCopiesTheCurrentCommand) {
  EXPECT_EQ(GetCurrentCommand(), nullptr);
  EXPECT_TRUE(VELA_TokenSequence(true).tokens().empty());
  {
    CurrentCommandScope scope(
        {"CODEBOOK", {TokenInfoObj(TokenInfoObj::kIdentifier, "age", "age", 1, 10)}, 1, 1});
    const VELA_TokenSequence current(true);
    EXPECT_EQ(current.commandName(), "CODEBOOK");
    ASSERT_EQ(current.tokens().size(), 1u);
    EXPECT_EQ(current.tokens()[0].getString(), "age");
    EXPECT_EQ(current.line(), 1);
    EXPECT_TRUE(VELA_TokenSequence(false).tokens().empty());
  }
  EXPECT_EQ(GetCurrentCommand(), nullptr);
  SetCurrentCommand({"A", {}, 2, 3});
  EXPECT_EQ(VELA_TokenSequence(true).column(), 3);
  ClearCurrentCommand();
  EXPECT_EQ(VELA_TokenSequence(true).commandName(), "");
}

}  // namespace
}  // namespace codebook::syntax
