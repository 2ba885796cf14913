// Every syntax error of the CODEBOOK grammar, with its exact message.
#include <gtest/gtest.h>

#include "parse_harness.h"

namespace codebook::syntax {
namespace {

using testing::ParseCommand;
using testing::Parsed;

struct ErrorCase {
  const char* command;
  const char* message;
  int line;
  int column;
};

class SyntaxErrors : public ::testing::TestWithParam<ErrorCase> {};

TEST_P(SyntaxErrors, ReportedOnceWithPlaceAndNothingUsable) {
  const ErrorCase& c = GetParam();
  const Parsed p = ParseCommand(c.command);
  EXPECT_NE(p.result, 0);
  ASSERT_EQ(p.messages.size(), 1u) << c.command;
  EXPECT_EQ(p.messages[0].severity, Severity::kError);
  EXPECT_EQ(p.messages[0].command, "CODEBOOK");
  EXPECT_EQ(p.messages[0].text, c.message);
  EXPECT_EQ(p.messages[0].line, c.line);
  EXPECT_EQ(p.messages[0].column, c.column);
  // Parts read before the error are not left for the procedure.
  for (const char* sub : {"", "VARINFO", "FILEINFO", "STATISTICS", "OPTIONS"}) {
    EXPECT_EQ(p.command->getSubComObj(sub), nullptr) << sub;
  }
}

const char kStatistics[] = "NONE, COUNT, PERCENT, MEAN, STDDEV, QUARTILES";

INSTANTIATE_TEST_SUITE_P(
    Codebook, SyntaxErrors,
    ::testing::Values(
        ErrorCase{"CODEBOOK a /STATISTICS COUNT FOO.",
                  "Syntax error at line 1, column 30 of CODEBOOK: unexpected \"FOO\" in subcommand STATISTICS; "
                  "expected one of NONE, COUNT, PERCENT, MEAN, STDDEV, QUARTILES.",
                  1, 30},
        ErrorCase{"CODEBOOK a /FOO LABEL.",
                  "Syntax error at line 1, column 13 of CODEBOOK: unexpected \"FOO\" after \"/\"; "
                  "expected one of VARINFO, FILEINFO, STATISTICS, OPTIONS.",
                  1, 13},
        // Two letters are too short an abbreviation.
        ErrorCase{"CODEBOOK /VA LABEL.",
                  "Syntax error at line 1, column 11 of CODEBOOK: unexpected \"VA\" after \"/\"; "
                  "expected one of VARINFO, FILEINFO, STATISTICS, OPTIONS.",
                  1, 11},
        ErrorCase{"CODEBOOK a /.",
                  "Syntax error at line 1, column 13 of CODEBOOK: unexpected end of command after \"/\"; "
                  "expected one of VARINFO, FILEINFO, STATISTICS, OPTIONS.",
                  1, 13},
        ErrorCase{"CODEBOOK a // VARINFO.",
                  "Syntax error at line 1, column 13 of CODEBOOK: unexpected \"/\" after \"/\"; "
                  "expected one of VARINFO, FILEINFO, STATISTICS, OPTIONS.",
                  1, 13},
        ErrorCase{"CODEBOOK /VARINFO LABEL /varinfo TYPE.",
                  "Syntax error at line 1, column 26 of CODEBOOK: subcommand VARINFO is given more than once; "
                  "expected each subcommand at most once.",
                  1, 26},
        ErrorCase{"CODEBOOK /STATISTICS MEAN COUNT mean.",
                  "Syntax error at line 1, column 33 of CODEBOOK: keyword MEAN is given more than once in "
                  "subcommand STATISTICS; expected each keyword at most once.",
                  1, 33},
        ErrorCase{"CODEBOOK /VARINFO LABEL=x.",
                  "Syntax error at line 1, column 24 of CODEBOOK: unexpected \"=\" in subcommand VARINFO; expected "
                  "one of POSITION, LABEL, TYPE, FORMAT, MEASURE, ROLE, ATTRIBUTES, VALUELABELS, MISSING, "
                  "RESERVEDATTRIBUTES.",
                  1, 24},
        ErrorCase{"CODEBOOK /FILEINFO 'NAME'.",
                  "Syntax error at line 1, column 20 of CODEBOOK: unexpected \"'NAME'\" in subcommand FILEINFO; "
                  "expected one of NAME, LOCATION, CASECOUNT, LABEL, ATTRIBUTES, DOCUMENTS, WEIGHT, "
                  "RESERVEDATTRIBUTES.",
                  1, 20},
        ErrorCase{"CODEBOOK /OPTIONS SORT=UP.",
                  "Syntax error at line 1, column 24 of CODEBOOK: unexpected \"UP\" as the value of SORT in "
                  "subcommand OPTIONS; expected one of ASCENDING, DESCENDING.",
                  1, 24},
        ErrorCase{"CODEBOOK /OPTIONS SORT='ASCENDING'.",
                  "Syntax error at line 1, column 24 of CODEBOOK: unexpected \"'ASCENDING'\" as the value of SORT "
                  "in subcommand OPTIONS; expected one of ASCENDING, DESCENDING.",
                  1, 24},
        ErrorCase{"CODEBOOK /OPTIONS SORT=.",
                  "Syntax error at line 1, column 24 of CODEBOOK: unexpected end of command as the value of SORT "
                  "in subcommand OPTIONS; expected one of ASCENDING, DESCENDING.",
                  1, 24},
        ErrorCase{"CODEBOOK /OPTIONS VARORDER=SIZE.",
                  "Syntax error at line 1, column 28 of CODEBOOK: unexpected \"SIZE\" as the value of VARORDER in "
                  "subcommand OPTIONS; expected one of FILE, ALPHA, VARLIST, MEASURE, ATTRIBUTE.",
                  1, 28},
        ErrorCase{"CODEBOOK /OPTIONS MAXCATS=.",
                  "Syntax error at line 1, column 27 of CODEBOOK: unexpected end of command in subcommand OPTIONS; "
                  "expected an integer value for MAXCATS.",
                  1, 27},
        ErrorCase{"CODEBOOK /OPTIONS MAXCATS= /VARINFO LABEL.",
                  "Syntax error at line 1, column 28 of CODEBOOK: unexpected \"/\" in subcommand OPTIONS; "
                  "expected an integer value for MAXCATS.",
                  1, 28},
        ErrorCase{"CODEBOOK /OPTIONS MAXCATS SORT=ASCENDING.",
                  "Syntax error at line 1, column 27 of CODEBOOK: unexpected \"SORT\" in subcommand OPTIONS; "
                  "expected an integer value for MAXCATS.",
                  1, 27},
        ErrorCase{"CODEBOOK /OPTIONS MAXCATS=(5).",
                  "Syntax error at line 1, column 27 of CODEBOOK: unexpected \"(\" in subcommand OPTIONS; "
                  "expected an integer value for MAXCATS.",
                  1, 27},
        ErrorCase{"CODEBOOK /OPTIONS VARORDER=ATTRIBUTE.",
                  "Syntax error at line 1, column 37 of CODEBOOK: unexpected end of command in subcommand OPTIONS; "
                  "expected \"(\" after ATTRIBUTE.",
                  1, 37},
        ErrorCase{"CODEBOOK /OPTIONS VARORDER=ATTRIBUTE(origin.",
                  "Syntax error at line 1, column 44 of CODEBOOK: unexpected end of command in ATTRIBUTE(...) in "
                  "subcommand OPTIONS; expected \")\" to close the \"(\" at line 1, column 37.",
                  1, 44},
        ErrorCase{"CODEBOOK /OPTIONS VARORDER=ATTRIBUTE(a b) SORT=ASCENDING.",
                  "Syntax error at line 1, column 40 of CODEBOOK: unexpected \"b\" in ATTRIBUTE(...) in subcommand "
                  "OPTIONS; expected \")\" to close the \"(\" at line 1, column 37.",
                  1, 40},
        ErrorCase{"CODEBOOK /OPTIONS VARORDER=ATTRIBUTE().",
                  "Syntax error at line 1, column 38 of CODEBOOK: unexpected \")\" in ATTRIBUTE(...) in subcommand "
                  "OPTIONS; expected a name or a quoted string.",
                  1, 38},
        ErrorCase{"CODEBOOK /OPTIONS VARORDER=ATTRIBUTE(((a))).",
                  "Syntax error at line 1, column 38 of CODEBOOK: unexpected \"(\" in ATTRIBUTE(...) in subcommand "
                  "OPTIONS; expected a name or a quoted string.",
                  1, 38},
        ErrorCase{"CODEBOOK a % b.",
                  "Syntax error at line 1, column 12 of CODEBOOK: unexpected character \"%\" before the first "
                  "subcommand; expected a name, a number or a quoted string.",
                  1, 12},
        ErrorCase{"CODEBOOK a 'open",
                  "Syntax error at line 1, column 12 of CODEBOOK: unterminated string \"'open\" before the first "
                  "subcommand; expected a name, a number or a quoted string.",
                  1, 12},
        ErrorCase{"CODEBOOK a (b c.",
                  "Syntax error at line 1, column 16 of CODEBOOK: unexpected end of command before the first "
                  "subcommand; expected \")\" to close the \"(\" at line 1, column 12.",
                  1, 16},
        ErrorCase{"CODEBOOK a ) b.",
                  "Syntax error at line 1, column 12 of CODEBOOK: unexpected \")\" before the first subcommand; "
                  "expected no \")\" without its \"(\".",
                  1, 12},
        ErrorCase{"CODEBOOK a\n  /STATISTICS\n  MEAN Bad.",
                  "Syntax error at line 3, column 8 of CODEBOOK: unexpected \"Bad\" in subcommand STATISTICS; "
                  "expected one of NONE, COUNT, PERCENT, MEAN, STDDEV, QUARTILES.",
                  3, 8},
        ErrorCase{"CODEBOOK \xC3\xA9 /STATISTICS \xE2\x82\xAC.",
                  "Syntax error at line 1, column 24 of CODEBOOK: unexpected character \"\xE2\x82\xAC\" in "
                  "subcommand STATISTICS; expected one of NONE, COUNT, PERCENT, MEAN, STDDEV, QUARTILES.",
                  1, 24},
        ErrorCase{"CODEBOOK a \xFF.",
                  "Syntax error at line 1, column 12 of CODEBOOK: a byte that is not valid UTF-8 \"\\xFF\" before "
                  "the first subcommand; expected a name, a number or a quoted string.",
                  1, 12},
        ErrorCase{"CODEBOOK a /* forgot to close",
                  "Syntax error at line 1, column 12 of CODEBOOK: unterminated comment \"/*\" before the first "
                  "subcommand; expected a name, a number or a quoted string.",
                  1, 12}));

TEST(SyntaxErrors, LongTokensAreCutInMessages) {
  const std::string name(5000, 'x');
  const Parsed p = ParseCommand("CODEBOOK /STATISTICS " + name + ".");
  ASSERT_EQ(p.messages.size(), 1u);
  EXPECT_EQ(p.messages[0].text, "Syntax error at line 1, column 22 of CODEBOOK: unexpected \"" + std::string(40, 'x') +
                                    "...\" in subcommand STATISTICS; expected one of " + kStatistics + ".");
}

TEST(SyntaxErrors, AmbiguousAbbreviation) {
  CommandDescriptor grammar("DEMO");
  SubComDescriptor a("MISSING", UPSpecTypes::kSubComKeywords, false, false);
  a.addParamDesc("MEASURE", UPSpecTypes::kParamKeyword, false, true, UPSpecTypes::kNoBrackets);
  a.addParamDesc("MEASUREMENT", UPSpecTypes::kParamKeyword, false, true, UPSpecTypes::kNoBrackets);
  a.addParamDesc("MEAN", UPSpecTypes::kParamKeyword, false, true, UPSpecTypes::kNoBrackets);
  grammar.addSubComDesc(a);
  grammar.addSubComDesc(SubComDescriptor("MISSINGNESS", UPSpecTypes::kSubComKeywords, false, false));
  // An exact name wins over the longer one it begins.
  Parsed p = ParseCommand("DEMO /MISSING MEASURE.", grammar);
  EXPECT_EQ(p.result, 0) << p.OnlyMessage();
  p = ParseCommand("DEMO /MISSING MEA.", grammar);
  EXPECT_EQ(p.OnlyMessage(),
            "Syntax error at line 1, column 15 of DEMO: \"MEA\" abbreviates more than one keyword in subcommand "
            "MISSING; expected one of MEASURE, MEASUREMENT, MEAN.");
  p = ParseCommand("DEMO /MISSI MEAN.", grammar);
  EXPECT_EQ(p.OnlyMessage(),
            "Syntax error at line 1, column 7 of DEMO: \"MISSI\" abbreviates more than one subcommand; expected one "
            "of MISSING, MISSINGNESS.");
}

}  // namespace
}  // namespace codebook::syntax
