// The parser against the CODEBOOK grammar: what the procedure reads back.
#include <gtest/gtest.h>

#include "host/syntax/parser_message.h"
#include "parse_harness.h"

namespace codebook::syntax {
namespace {

using testing::CodebookGrammar;
using testing::ParseCommand;
using testing::Parsed;

std::string QualifierName(const ParamObj& param) {
  ParamObj qualifier;
  if (!param.getStringAndQual(qualifier, nullptr, nullptr)) return "<none>";
  return qualifier.getParamName();
}

TEST(UniversalParser, BareCommandGivesNoSubcommands) {
  const Parsed p = ParseCommand("CODEBOOK.");
  EXPECT_EQ(p.result, 0);
  EXPECT_TRUE(p.messages.empty());
  for (const char* sub : {"", "VARINFO", "FILEINFO", "STATISTICS", "OPTIONS"}) {
    EXPECT_EQ(p.command->getSubComObj(sub), nullptr) << sub;
  }
}

TEST(UniversalParser, VariableListTokensAreExportedInOrder) {
  const Parsed p = ParseCommand("CODEBOOK a b TO c [N] $set $ALL all x [s] q1 [O] TO q5 [n].");
  ASSERT_EQ(p.result, 0) << p.OnlyMessage();
  const std::vector<std::string> expected{"a",   "b",    "TO",  "c", "[", "N", "]", "$set",
                                          "$ALL", "all", "x",  "[", "s", "]", "q1", "[",
                                          "O",   "]",    "TO",  "q5", "[", "n", "]"};
  EXPECT_EQ(p.Exported(""), expected);
  const SubComObj* unnamed = p.command->getSubComObj("");
  ASSERT_NE(unnamed, nullptr);
  const ParamObj* exported = unnamed->exportParamObj();
  ASSERT_NE(exported, nullptr);
  std::vector<TokenInfoObj> tokens;
  ASSERT_TRUE(exported->getTokenList(tokens));
  ASSERT_EQ(tokens.size(), expected.size());
  for (std::size_t i = 0; i < tokens.size(); ++i) EXPECT_EQ(tokens[i].getString(), expected[i]);
  EXPECT_EQ(tokens[11].getUpperString(), "[");
  EXPECT_EQ(tokens[12].getUpperString(), "S");
  EXPECT_EQ(tokens[1].column(), 12);
  EXPECT_EQ(unnamed->getTokenObj(expected.size()), nullptr);
  EXPECT_EQ(unnamed->getParamObj("TO"), nullptr);
}

TEST(UniversalParser, UnnamedPartAbsentWhenTheCommandStartsWithASubcommand) {
  const Parsed p = ParseCommand("CODEBOOK /VARINFO LABEL.");
  ASSERT_EQ(p.result, 0) << p.OnlyMessage();
  EXPECT_EQ(p.command->getSubComObj(""), nullptr);
  ASSERT_NE(p.command->getSubComObj("VARINFO"), nullptr);
}

TEST(UniversalParser, AllSubcommandsTogetherCaseInsensitiveWithPrefixes) {
  const Parsed p = ParseCommand(
      "codebook age /var pos lab Valuelabels /FILEINF nam doc /stat cou per /opt max=3 varo=alp sor=desc.");
  ASSERT_EQ(p.result, 0) << p.OnlyMessage();
  const SubComObj* varinfo = p.command->getSubComObj("VARINFO");
  ASSERT_NE(varinfo, nullptr);
  EXPECT_NE(varinfo->getParamObj("POSITION"), nullptr);
  EXPECT_NE(varinfo->getParamObj("LABEL"), nullptr);
  EXPECT_NE(varinfo->getParamObj("VALUELABELS"), nullptr);
  EXPECT_EQ(varinfo->getParamObj("TYPE"), nullptr);
  EXPECT_EQ(varinfo->getParamObj("POSITION")->getParamName(), "POSITION");
  const SubComObj* fileinfo = p.command->getSubComObj("FILEINFO");
  ASSERT_NE(fileinfo, nullptr);
  EXPECT_NE(fileinfo->getParamObj("NAME"), nullptr);
  EXPECT_NE(fileinfo->getParamObj("DOCUMENTS"), nullptr);
  const SubComObj* statistics = p.command->getSubComObj("STATISTICS");
  ASSERT_NE(statistics, nullptr);
  EXPECT_NE(statistics->getParamObj("COUNT"), nullptr);
  EXPECT_NE(statistics->getParamObj("PERCENT"), nullptr);
  EXPECT_EQ(statistics->getParamObj("MEAN"), nullptr);
  const SubComObj* options = p.command->getSubComObj("OPTIONS");
  ASSERT_NE(options, nullptr);
  int maxcats = 0;
  ASSERT_NE(options->getParamObj("MAXCATS"), nullptr);
  EXPECT_TRUE(options->getParamObj("MAXCATS")->getIntegerValue(maxcats));
  EXPECT_EQ(maxcats, 3);
  EXPECT_EQ(QualifierName(*options->getParamObj("VARORDER")), "ALPHA");
  EXPECT_EQ(QualifierName(*options->getParamObj("SORT")), "DESCENDING");
  EXPECT_EQ(options->getTokenListSize(), 0u);
  EXPECT_EQ(p.Exported(""), std::vector<std::string>{"age"});
}

TEST(UniversalParser, EqualsIsOptional) {
  for (const char* text : {"CODEBOOK /VARINFO=LABEL /OPTIONS=MAXCATS=7 SORT=DESCENDING VARORDER=FILE.",
                           "CODEBOOK /VARINFO LABEL /OPTIONS MAXCATS 7 SORT DESCENDING VARORDER FILE."}) {
    SCOPED_TRACE(text);
    const Parsed p = ParseCommand(text);
    ASSERT_EQ(p.result, 0) << p.OnlyMessage();
    EXPECT_NE(p.command->getSubComObj("VARINFO")->getParamObj("LABEL"), nullptr);
    const SubComObj* options = p.command->getSubComObj("OPTIONS");
    int maxcats = 0;
    EXPECT_TRUE(options->getParamObj("MAXCATS")->getIntegerValue(maxcats));
    EXPECT_EQ(maxcats, 7);
    EXPECT_EQ(QualifierName(*options->getParamObj("SORT")), "DESCENDING");
    EXPECT_EQ(QualifierName(*options->getParamObj("VARORDER")), "FILE");
    EXPECT_EQ(options->getTokenListSize(), 0u);
  }
}

TEST(UniversalParser, EmptySubcommandsAreAllowed) {
  const Parsed p = ParseCommand("CODEBOOK /VARINFO /FILEINFO= /STATISTICS /OPTIONS.");
  ASSERT_EQ(p.result, 0) << p.OnlyMessage();
  for (const char* sub : {"VARINFO", "FILEINFO", "STATISTICS", "OPTIONS"}) {
    EXPECT_NE(p.command->getSubComObj(sub), nullptr) << sub;
  }
  EXPECT_EQ(p.command->getSubComObj("OPTIONS")->getParamObj("MAXCATS"), nullptr);
  ASSERT_NE(p.command->getSubComObj("OPTIONS")->exportParamObj(), nullptr);
  EXPECT_EQ(p.command->getSubComObj("OPTIONS")->getTokenListSize(), 0u);
}

TEST(UniversalParser, MaxcatsValuesReachTheProcedure) {
  struct Case {
    const char* value;
    bool integral;
    int expected;
  };
  const Case cases[] = {{"5", true, 5},          {"-5", true, -5},         {"0", true, 0},
                        {"+12", true, 12},       {"1e2", true, 100},       {"5.0", true, 5},
                        {"2.5", false, 0},       {"'x'", false, 0},        {"'5'", false, 0},
                        {"abc", false, 0},       {"99999999999", false, 0}, {"2147483647", true, 2147483647},
                        {"-2147483648", true, -2147483647 - 1}, {"1e400", false, 0}};
  for (const Case& c : cases) {
    const std::string text = std::string("CODEBOOK /OPTIONS MAXCATS=") + c.value + ".";
    SCOPED_TRACE(text);
    const Parsed p = ParseCommand(text);
    ASSERT_EQ(p.result, 0) << p.OnlyMessage();
    const ParamObj* maxcats = p.command->getSubComObj("OPTIONS")->getParamObj("MAXCATS");
    ASSERT_NE(maxcats, nullptr);
    int value = 200;
    EXPECT_EQ(maxcats->getIntegerValue(value), c.integral);
    EXPECT_EQ(value, c.integral ? c.expected : 200);
  }
}

TEST(UniversalParser, VarorderQualifiers) {
  for (const char* q : {"FILE", "ALPHA", "VARLIST", "MEASURE"}) {
    const Parsed p = ParseCommand(std::string("CODEBOOK /OPTIONS VARORDER=") + q + ".");
    ASSERT_EQ(p.result, 0) << p.OnlyMessage();
    EXPECT_EQ(QualifierName(*p.command->getSubComObj("OPTIONS")->getParamObj("VARORDER")), q);
  }
  struct Case {
    const char* text;
    const char* name;
  };
  for (const Case& c : {Case{"VARORDER=ATTRIBUTE(Origin)", "Origin"},
                        Case{"VARORDER=attribute('quoted name')", "quoted name"},
                        Case{"VARORDER = ATTR ( \"it\"\"s\" )", "it\"s"}}) {
    const Parsed p = ParseCommand(std::string("CODEBOOK /OPTIONS ") + c.text + ".");
    SCOPED_TRACE(c.text);
    ASSERT_EQ(p.result, 0) << p.OnlyMessage();
    const ParamObj* varorder = p.command->getSubComObj("OPTIONS")->getParamObj("VARORDER");
    ASSERT_NE(varorder, nullptr);
    ParamObj qualifier;
    ASSERT_TRUE(varorder->getStringAndQual(qualifier, nullptr, nullptr));
    EXPECT_EQ(qualifier.getParamName(), "ATTRIBUTE");
    std::string name;
    ASSERT_TRUE(qualifier.getStringGeneric(name));
    EXPECT_EQ(name, c.name);
    std::vector<TokenInfoObj> tokens;
    ASSERT_TRUE(qualifier.getTokenList(tokens));
    ASSERT_EQ(tokens.size(), 4u);
    EXPECT_EQ(tokens[1].getString(), "(");
    ASSERT_TRUE(varorder->getTokenList(tokens));
    EXPECT_EQ(tokens.front().getUpperString(), "VARORDER");
    EXPECT_EQ(tokens.back().getString(), ")");
  }
}

TEST(UniversalParser, SortValues) {
  struct Case {
    const char* value;
    const char* chosen;
  };
  for (const Case& c : {Case{"ASCENDING", "ASCENDING"}, Case{"descending", "DESCENDING"}, Case{"Asc", "ASCENDING"},
                        Case{"DESCEND", "DESCENDING"}}) {
    const Parsed p = ParseCommand(std::string("CODEBOOK /OPTIONS SORT=") + c.value + ".");
    SCOPED_TRACE(c.value);
    ASSERT_EQ(p.result, 0) << p.OnlyMessage();
    const ParamObj* sort = p.command->getSubComObj("OPTIONS")->getParamObj("SORT");
    ASSERT_NE(sort, nullptr);
    EXPECT_EQ(QualifierName(*sort), c.chosen);
    std::string value;
    EXPECT_TRUE(sort->getStringGeneric(value));
    EXPECT_EQ(value, c.chosen);
  }
}

TEST(UniversalParser, OptionsExportsWhatMatchesNoParameter) {
  const Parsed p = ParseCommand("CODEBOOK /OPTIONS MAXCATS=3 extra 'str' 4 SORT=ASCENDING.");
  ASSERT_EQ(p.result, 0) << p.OnlyMessage();
  EXPECT_EQ(p.Exported("OPTIONS"), (std::vector<std::string>{"extra", "'str'", "4"}));
  EXPECT_EQ(p.command->getSubComObj("OPTIONS")->getTokenObj(1)->getValue(), "str");
}

TEST(ParamObj, EmptyAndDefaultObjects) {
  const ParamObj empty;
  int i = 7;
  std::string s = "keep";
  std::vector<TokenInfoObj> tokens;
  ParamObj q;
  EXPECT_EQ(empty.getParamName(), "");
  EXPECT_FALSE(empty.getIntegerValue(i));
  EXPECT_EQ(i, 7);
  EXPECT_FALSE(empty.getStringGeneric(s));
  EXPECT_EQ(s, "keep");
  EXPECT_FALSE(empty.getTokenList(tokens));
  EXPECT_FALSE(empty.getStringAndQual(q, nullptr, nullptr));
  // A plain keyword has no qualifier; with a sink the caller hears why.
  const Parsed p = ParseCommand("CODEBOOK /STATISTICS MEAN.");
  const ParamObj* mean = p.command->getSubComObj("STATISTICS")->getParamObj("MEAN");
  ASSERT_NE(mean, nullptr);
  MessageCollector sink;
  MessageSinkScope scope(sink);
  const ParserMessage messages("CODEBOOK", 1, 1);
  EXPECT_FALSE(mean->getStringAndQual(q, nullptr, &messages));
  EXPECT_EQ(sink.errorCount(), 1u);
  EXPECT_FALSE(mean->getIntegerValue(i));
}

TEST(UniversalParser, RepeatableAndRequiredDeclarations) {
  CommandDescriptor grammar("DEMO");
  SubComDescriptor repeat("REPEAT", UPSpecTypes::kSubComKeywords, false, true);
  repeat.addParamDesc("KEY", UPSpecTypes::kParamKeyword, false, true, UPSpecTypes::kNoBrackets);
  grammar.addSubComDesc(repeat);
  SubComDescriptor must("MUST", UPSpecTypes::kSubComKeywords, true, false);
  must.addParamDesc("LEVEL", UPSpecTypes::kParamInteger, true, false, UPSpecTypes::kNoBrackets);
  must.addParamDesc("NAME", UPSpecTypes::kParamString, false, false, UPSpecTypes::kNoBrackets);
  grammar.addSubComDesc(must);

  Parsed p = ParseCommand("DEMO /REPEAT KEY /MUST LEVEL=2 NAME='n' /REPEAT KEY.", grammar);
  ASSERT_EQ(p.result, 0) << p.OnlyMessage();
  std::string name;
  EXPECT_TRUE(p.command->getSubComObj("MUST")->getParamObj("NAME")->getStringGeneric(name));
  EXPECT_EQ(name, "n");

  p = ParseCommand("DEMO /REPEAT KEY.", grammar);
  EXPECT_EQ(p.OnlyMessage(),
            "Syntax error at line 1, column 17 of DEMO: missing subcommand MUST; expected /MUST.");
  p = ParseCommand("DEMO /MUST NAME=x.", grammar);
  EXPECT_EQ(p.OnlyMessage(),
            "Syntax error at line 1, column 7 of DEMO: keyword LEVEL is missing in subcommand MUST; expected LEVEL.");
  p = ParseCommand("DEMO /MUST LEVEL 2.", grammar);
  EXPECT_EQ(p.OnlyMessage(),
            "Syntax error at line 1, column 18 of DEMO: unexpected \"2\" in subcommand MUST; expected \"=\" after LEVEL.");
  p = ParseCommand("DEMO /REPEAT.", grammar);
  EXPECT_EQ(p.OnlyMessage(),
            "Syntax error at line 1, column 13 of DEMO: unexpected end of command in subcommand REPEAT; expected one of KEY.");
  p = ParseCommand("DEMO x /MUST LEVEL=1.", grammar);
  EXPECT_EQ(p.OnlyMessage(),
            "Syntax error at line 1, column 6 of DEMO: unexpected \"x\" before the first subcommand; expected \"/\" and one of REPEAT, MUST.");
}

}  // namespace
}  // namespace codebook::syntax
