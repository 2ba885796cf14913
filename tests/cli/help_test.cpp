// What a newcomer is told: --help names every keyword of the CODEBOOK
// command's grammar, as the procedure declares it, on one screen with the
// defaults that surprise; a subcommand left empty gets what it takes.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "host/data/data_source.h"
#include "platform/data/selection.h"
#include "host/syntax/command_descriptor.h"
#include "host/syntax/parser_message.h"
#include "parser/cbkparser.h"
#include "testing/dataset_builder.h"
#include "tests/cli/program_harness.h"

namespace {

using codebook::testing_cli::Program;
using codebook::testing_cli::Result;
using testing::HasSubstr;

// The grammar the procedure gives the parser.
CommandDescriptor Grammar() {
  auto dataset = codebook::data::DatasetBuilder().Numeric("x").Build();
  ProcedureDataSource source(std::make_shared<const ProcedureDataSource::Selection>(dataset));
  ParserMessage messages;
  CbkParser parser(source, messages);
  CommandDescriptor descriptor("CODEBOOK");
  parser.InitCmdDesc(descriptor);
  return descriptor;
}

// Every keyword a subcommand takes: its parameters, their qualifiers and
// their values.
std::vector<std::string> Keywords(const SubComDescriptor& subcommand) {
  std::vector<std::string> keywords;
  for (const ParamDescriptor& param : subcommand.params()) {
    keywords.push_back(param.name());
    for (const ParamDescriptor& qualifier : param.qualifiers()) keywords.push_back(qualifier.name());
    for (const std::string& value : param.stringValues()) keywords.push_back(value);
  }
  return keywords;
}

// The word stands in the text, not inside a longer keyword.
bool NamesWord(const std::string& text, const std::string& word) {
  const auto letter = [](char c) { return c >= 'A' && c <= 'Z'; };
  for (std::size_t at = text.find(word); at != std::string::npos; at = text.find(word, at + 1)) {
    const std::size_t end = at + word.size();
    if ((at == 0 || !letter(text[at - 1])) && (end == text.size() || !letter(text[end]))) return true;
  }
  return false;
}

class Help : public Program {};

TEST_F(Help, NamesEveryKeywordOfTheGrammarOnOneScreen) {
  const Result help = Run({"--help"});
  ASSERT_EQ(help.status, 0);
  const CommandDescriptor grammar = Grammar();
  int subcommands = 0;
  for (const SubComDescriptor& subcommand : grammar.subcommands()) {
    if (subcommand.name().empty()) continue;  // the variable list
    ++subcommands;
    EXPECT_THAT(help.out, HasSubstr("/" + subcommand.name())) << subcommand.name();
    for (const std::string& keyword : Keywords(subcommand)) {
      EXPECT_TRUE(NamesWord(help.out, keyword)) << subcommand.name() << " " << keyword;
    }
  }
  EXPECT_EQ(subcommands, 4);
  // The defaults a newcomer trips over.
  EXPECT_THAT(help.out, HasSubstr("MAXCATS=200"));
  EXPECT_THAT(help.out, HasSubstr("identifier"));
  EXPECT_THAT(help.out, HasSubstr("weight variable weights the counts"));
  EXPECT_THAT(help.out, HasSubstr("--no-weight"));
  // One screen.
  std::istringstream lines(help.out);
  int count = 0;
  for (std::string line; std::getline(lines, line); ++count) EXPECT_LE(line.size(), 80u) << line;
  EXPECT_LE(count, 25);
}

TEST_F(Help, AnEmptySubcommandIsToldWhatItTakes) {
  const CommandDescriptor grammar = Grammar();
  for (const SubComDescriptor& subcommand : grammar.subcommands()) {
    if (subcommand.name().empty()) continue;
    const Result run = Run({"--demo", "age", "/" + subcommand.name()});
    SCOPED_TRACE(subcommand.name());
    EXPECT_EQ(run.status, 0) << run.err;
    // The procedure's own warning stays, and the hint follows it.
    const std::string warning = "codebook: warning: < " + subcommand.name() + " > must be followed by";
    const std::string hint = "codebook: note: /" + subcommand.name() + " takes ";
    const std::size_t at = run.err.find(warning);
    ASSERT_NE(at, std::string::npos) << run.err;
    ASSERT_NE(run.err.find(hint), std::string::npos) << run.err;
    EXPECT_LT(at, run.err.find(hint));
    const std::string hintLine = run.err.substr(run.err.find(hint));
    for (const std::string& keyword : Keywords(subcommand)) {
      EXPECT_TRUE(NamesWord(hintLine.substr(0, hintLine.find('\n')), keyword)) << keyword;
    }
  }
  // JSON carries the hint as a note after the warning.
  const Result json = Run({"--demo", "age", "/FILEINFO", "-f", "json"});
  EXPECT_THAT(json.out, HasSubstr("\"severity\": \"note\""));
  EXPECT_THAT(json.out, HasSubstr("/FILEINFO takes NAME, LOCATION, CASECOUNT, LABEL, ATTRIBUTES, DOCUMENTS, WEIGHT"));
}

}  // namespace
