// Decoding of the subcommands into the request: defaults, VARINFO, FILEINFO,
// STATISTICS and OPTIONS, with their diagnostics.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "harness.h"

namespace {

using cbtest::DatasetBuilder;
using cbtest::Parse;
using testing::ElementsAre;

std::shared_ptr<cbtest::Dataset> Survey() {
  return DatasetBuilder()
      .Numeric("id").Level(1)
      .Numeric("age").Level(3).Attribute("Source", {"census"}).Attribute("$Hidden", {"x"})
      .Numeric("income").Level(3).Attribute("source", {"tax"})
      .String("name", 12).Level(1).Attribute("@internal", {"y"})
      .MRSet(cbtest::SetOf("$set", "", 1, {"id", "age"}))
      .Build();
}

const char* kMustFollow = "must be followed by one or more keywords. This subcommand ignored.";

TEST(RequestDefaults, StatsNoneClearsTheFlagsAndFalseRestoresNone) {
  CbkRequest request;
  request.SetStatsRequest(true, true, true, true, true);
  request.SetStatsNone(true);
  EXPECT_FALSE(request.IsStatsCount() || request.IsStatsPercent() || request.IsStatsMean() ||
               request.IsStatsStdDev() || request.IsStatsQuartiles());
  request.SetStatsNone(false);
  EXPECT_FALSE(request.IsStatsNone());
  EXPECT_FALSE(request.IsStatsCount() || request.IsStatsQuartiles());
}

TEST(RequestDefaults, AddMRSetNameKeepsDuplicates) {
  CbkRequest request;
  request.AddMRSetName("$a");
  request.AddMRSetName("$a");
  EXPECT_THAT(request.GetMRSetNameList(), ElementsAre("$a", "$a"));
}

TEST(BareCommand, SelectsEveryVariableAndSetWithDecodersDefaults) {
  auto run = Parse(Survey(), "CODEBOOK.");
  ASSERT_TRUE(run->ok);
  EXPECT_THAT(run->names(), ElementsAre("id", "age", "income", "name", "$set"));
  EXPECT_THAT(run->indexes(), ElementsAre(0, 1, 2, 3, 4));
  const CbkRequest& r = run->request();
  // The decoders overwrite the constructor's statistics defaults.
  EXPECT_FALSE(r.IsStatsCount() || r.IsStatsPercent() || r.IsStatsMean() || r.IsStatsStdDev() ||
               r.IsStatsQuartiles());
  EXPECT_FALSE(r.IsSTATISTICSinclude() || r.IsVARINFOincluded() || r.isFILEINFOincluded() ||
               r.IsOPTIONinclude());
  EXPECT_EQ(r.GetMaxCats(), 200u);
  EXPECT_TRUE(run->texts().empty());
}

TEST(BareCommand, LevelListHasOneEntryPerVariableThenPerSet) {
  auto run = Parse(Survey(), "CODEBOOK.");
  // Nominal becomes categorical (2), scale stays scale (1); sets are 2.
  EXPECT_THAT(run->request().GetUserVariableSettings(),
              ElementsAre(CBKVariable::kCategorical, CBKVariable::kScale, CBKVariable::kScale,
                          CBKVariable::kCategorical, CBKVariable::kCategorical));
  auto plain = Parse(DatasetBuilder().Numeric("a").Numeric("b").Build(), "CODEBOOK a.");
  EXPECT_EQ(plain->request().GetUserVariableSettings().size(), 2u);
}

TEST(Varinfo, KeywordsSetTheirFlags) {
  auto run = Parse(Survey(), "CODEBOOK age /VARINFO POSITION MISSING reservedattributes.");
  ASSERT_TRUE(run->ok);
  const CbkRequest& r = run->request();
  EXPECT_TRUE(r.IsVARINFOincluded());
  EXPECT_TRUE(r.GetVarPosition() && r.GetVarMissing() && r.GetVarReservedAttributes());
  EXPECT_FALSE(r.GetVarLabel() || r.GetVarType() || r.GetVarFormat() || r.GetVarMeasure() ||
               r.GetVarRole() || r.GetVarAttributes() || r.GetVarValueLabels());
}

TEST(Varinfo, EmptySubcommandWarnsAndLeavesEverythingOff) {
  auto run = Parse(Survey(), "CODEBOOK age /VARINFO.");
  ASSERT_TRUE(run->ok);
  EXPECT_THAT(run->texts(), ElementsAre(std::string("warning: < VARINFO > ") + kMustFollow));
  EXPECT_FALSE(run->request().IsVARINFOincluded());
  EXPECT_FALSE(run->request().GetVarPosition());
}

TEST(Fileinfo, KeywordsAndEmptySubcommand) {
  auto run = Parse(Survey(), "CODEBOOK age /FILEINFO NAME DOCUMENTS WEIGHT.");
  ASSERT_TRUE(run->ok);
  const CbkRequest& r = run->request();
  EXPECT_TRUE(r.isFILEINFOincluded() && r.GetFileName() && r.GetFileDocuments() && r.GetFileWeight());
  EXPECT_FALSE(r.GetFileLocation() || r.GetFileCaseCount() || r.GetFileLabel() ||
               r.GetFileAttribute() || r.GetFileReservedAttributes());

  auto empty = Parse(Survey(), "CODEBOOK age /FILEINFO.");
  EXPECT_THAT(empty->texts(), ElementsAre(std::string("warning: < FILEINFO > ") + kMustFollow));
  EXPECT_FALSE(empty->request().isFILEINFOincluded());
}

TEST(Statistics, NamedStatisticsAreIncluded) {
  auto run = Parse(Survey(), "CODEBOOK age /STATISTICS COUNT MEAN.");
  ASSERT_TRUE(run->ok);
  const CbkRequest& r = run->request();
  EXPECT_TRUE(r.IsSTATISTICSinclude() && r.IsStatsCount() && r.IsStatsMean());
  EXPECT_FALSE(r.IsStatsPercent() || r.IsStatsStdDev() || r.IsStatsQuartiles() || r.IsStatsNone());
}

TEST(Statistics, NoneAloneClearsEveryStatistic) {
  auto run = Parse(Survey(), "CODEBOOK age /STATISTICS NONE.");
  ASSERT_TRUE(run->ok);
  EXPECT_TRUE(run->request().IsStatsNone());
  EXPECT_TRUE(run->request().IsSTATISTICSinclude());
  EXPECT_FALSE(run->request().IsStatsCount() || run->request().IsStatsQuartiles());
}

TEST(Statistics, NoneWithAStatisticFailsAndStopsBeforeOptions) {
  auto run = Parse(Survey(), "CODEBOOK age /STATISTICS NONE COUNT /OPTIONS VARORDER=ALPHA.");
  EXPECT_FALSE(run->ok);
  ASSERT_EQ(run->messages.messages().size(), 1u);
  const auto& message = run->messages.messages()[0];
  EXPECT_EQ(message.severity, codebook::syntax::Severity::kError);
  EXPECT_NE(message.text.find("NONE"), std::string::npos);
  EXPECT_NE(message.text.find("STATISTICS"), std::string::npos);
  // OPTIONS was never decoded.
  EXPECT_EQ(run->request().GetVarOrderNum(), CbkRequest::OrderByVarList);
  EXPECT_FALSE(run->request().IsOPTIONinclude());
}

TEST(Statistics, EmptySubcommandWarns) {
  auto run = Parse(Survey(), "CODEBOOK age /STATISTICS.");
  ASSERT_TRUE(run->ok);
  EXPECT_THAT(run->texts(), ElementsAre(std::string("warning: < STATISTICS > ") + kMustFollow));
  EXPECT_FALSE(run->request().IsSTATISTICSinclude());
}

TEST(Options, MaxcatsPositiveIsTaken) {
  auto run = Parse(Survey(), "CODEBOOK age /OPTIONS MAXCATS=7.");
  ASSERT_TRUE(run->ok);
  EXPECT_EQ(run->request().GetMaxCats(), 7u);
  EXPECT_TRUE(run->texts().empty());
}

TEST(Options, MaxcatsThatIsNotAPositiveIntegerFallsBackWithTwoWarnings) {
  for (const char* value : {"0", "-5", "2.5", "'x'"}) {
    auto run = Parse(Survey(), std::string("CODEBOOK age /OPTIONS MAXCATS=") + value + ".");
    ASSERT_TRUE(run->ok) << value;
    EXPECT_EQ(run->request().GetMaxCats(), 200u) << value;
    EXPECT_THAT(run->texts(), ElementsAre("warning: MAXCATS must be a positive integer.",
                                          std::string("warning: < OPTIONS > ") + kMustFollow))
        << value;
    EXPECT_TRUE(run->request().IsOPTIONinclude()) << value;
  }
}

TEST(Options, VarorderKeywordsCaseInsensitive) {
  const std::pair<const char*, CbkRequest::OrderBy> cases[] = {
      {"FILE", CbkRequest::OrderByFile},       {"alpha", CbkRequest::OrderByAlpha},
      {"VarList", CbkRequest::OrderByVarList}, {"MEASURE", CbkRequest::OrderByMeasure}};
  for (const auto& [keyword, order] : cases) {
    auto run = Parse(Survey(), std::string("CODEBOOK age /OPTIONS VARORDER=") + keyword + ".");
    ASSERT_TRUE(run->ok) << keyword;
    EXPECT_EQ(run->request().GetVarOrderNum(), order) << keyword;
    EXPECT_TRUE(run->texts().empty()) << keyword;
  }
}

TEST(Options, VarorderAttributeOfAListedVariable) {
  auto run = Parse(Survey(), "CODEBOOK age income /OPTIONS VARORDER=ATTRIBUTE(SOURCE) SORT=DESCENDING.");
  ASSERT_TRUE(run->ok);
  EXPECT_EQ(run->request().GetVarOrderNum(), CbkRequest::OrderByAttribute);
  EXPECT_EQ(run->request().GetAttributeName(), "SOURCE");
  EXPECT_FALSE(run->request().IsAscending());
}

TEST(Options, VarorderAttributeThatNoListedVariableCarriesFallsBack) {
  // Only id carries no attribute; "$Hidden" and "@internal" never match
  // ("$" names are reserved; name is not listed anyway).
  for (const char* text : {"CODEBOOK id /OPTIONS VARORDER=ATTRIBUTE(Source).",
                           "CODEBOOK age /OPTIONS VARORDER=ATTRIBUTE($Hidden)."}) {
    auto run = Parse(Survey(), text);
    ASSERT_TRUE(run->ok) << text;
    EXPECT_EQ(run->request().GetVarOrderNum(), CbkRequest::OrderByVarList) << text;
    EXPECT_EQ(run->request().GetAttributeName(), "") << text;
    EXPECT_THAT(run->texts(), ElementsAre("warning: Invalid attribute name specified for VARORDER."))
        << text;
  }
}

TEST(Options, SortWithoutVarorderAndEmptyOptions) {
  auto run = Parse(Survey(), "CODEBOOK age /OPTIONS SORT=DESCENDING.");
  ASSERT_TRUE(run->ok);
  EXPECT_FALSE(run->request().IsAscending());
  EXPECT_EQ(run->request().GetVarOrderNum(), CbkRequest::OrderByVarList);

  auto empty = Parse(Survey(), "CODEBOOK age /OPTIONS.");
  ASSERT_TRUE(empty->ok);
  EXPECT_TRUE(empty->request().IsOPTIONinclude());
  EXPECT_THAT(empty->texts(), ElementsAre(std::string("warning: < OPTIONS > ") + kMustFollow));
}

TEST(Grammar, RejectedCommandIsReportedByTheHostAndDecodesNothing) {
  auto run = Parse(Survey(), "CODEBOOK age /STATISTICS COUNT FOO.");
  EXPECT_FALSE(run->ok);
  ASSERT_EQ(run->messages.messages().size(), 1u);
  const auto& message = run->messages.messages()[0];
  EXPECT_EQ(message.severity, codebook::syntax::Severity::kError);
  EXPECT_NE(message.text.find("FOO"), std::string::npos) << message.text;
  EXPECT_NE(message.text.find("32"), std::string::npos) << "column of FOO: " << message.text;
  // The variable list was not decoded either.
  EXPECT_TRUE(run->request().GetVarList().empty());
  EXPECT_FALSE(run->request().IsSTATISTICSinclude());
}

TEST(Grammar, UnknownSubcommandAndRepeatedSubcommand) {
  for (const char* text : {"CODEBOOK age /NOSUCH.", "CODEBOOK age /STATISTICS COUNT /STATISTICS MEAN."}) {
    auto run = Parse(Survey(), text);
    EXPECT_FALSE(run->ok) << text;
    EXPECT_EQ(run->messages.errorCount(), 1u) << text;
    EXPECT_TRUE(run->request().GetVarList().empty()) << text;
  }
}

}  // namespace
