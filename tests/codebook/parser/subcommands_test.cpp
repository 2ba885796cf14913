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

std::string MustFollow(const char* subcommand) {
  return std::string("warning: < ") + subcommand +
         " > must be followed by one or more keywords. This subcommand ignored.";
}

// What each subcommand's keywords select is seen whole in the goldens
// (tests/codebook/output); here, the defaults and the diagnostics.
TEST(Subcommands, DefaultsAndEmptySubcommands) {
  auto bare = Parse(Survey(), "CODEBOOK.");
  ASSERT_TRUE(bare->ok);
  EXPECT_TRUE(bare->texts().empty());
  const CbkRequest& r = bare->request();
  // The decoders overwrite the constructor's statistics defaults.
  EXPECT_FALSE(r.IsStatsCount() || r.IsStatsPercent() || r.IsStatsMean() || r.IsStatsStdDev() ||
               r.IsStatsQuartiles());
  EXPECT_FALSE(r.IsSTATISTICSinclude() || r.IsVARINFOincluded() || r.isFILEINFOincluded() || r.IsOPTIONinclude());
  EXPECT_EQ(r.GetMaxCats(), 200u);
  // Every variable then every set; nominal becomes categorical, scale stays
  // scale, sets are categorical.
  EXPECT_THAT(bare->names(), ElementsAre("id", "age", "income", "name", "$set"));
  EXPECT_THAT(bare->indexes(), ElementsAre(0, 1, 2, 3, 4));
  EXPECT_THAT(r.GetUserVariableSettings(),
              ElementsAre(CBKVariable::kCategorical, CBKVariable::kScale, CBKVariable::kScale,
                          CBKVariable::kCategorical, CBKVariable::kCategorical));
  auto plain = Parse(DatasetBuilder().Numeric("a").Numeric("b").Build(), "CODEBOOK a.");
  EXPECT_EQ(plain->request().GetUserVariableSettings().size(), 2u);

  // An empty subcommand warns and is not included (OPTIONS is, with its defaults).
  for (const char* sub : {"VARINFO", "FILEINFO", "STATISTICS", "OPTIONS"}) {
    auto run = Parse(Survey(), std::string("CODEBOOK age /") + sub + ".");
    ASSERT_TRUE(run->ok) << sub;
    EXPECT_THAT(run->texts(), ElementsAre(MustFollow(sub)));
    const CbkRequest& e = run->request();
    EXPECT_FALSE(e.IsVARINFOincluded() || e.isFILEINFOincluded() || e.IsSTATISTICSinclude()) << sub;
    EXPECT_EQ(e.IsOPTIONinclude(), std::string(sub) == "OPTIONS") << sub;
  }
  auto none = Parse(Survey(), "CODEBOOK age /STATISTICS NONE.");
  ASSERT_TRUE(none->ok);
  EXPECT_TRUE(none->request().IsStatsNone() && none->request().IsSTATISTICSinclude());
  EXPECT_FALSE(none->request().IsStatsCount() || none->request().IsStatsQuartiles());
  auto sort = Parse(Survey(), "CODEBOOK age /OPTIONS SORT=DESCENDING.");
  EXPECT_FALSE(sort->request().IsAscending());
  EXPECT_EQ(sort->request().GetVarOrderNum(), CbkRequest::OrderByVarList);
}

TEST(Subcommands, OptionValuesThatDoNotFitFallBackWithWarnings) {
  for (const char* value : {"0", "-5", "2.5", "'x'"}) {
    auto run = Parse(Survey(), std::string("CODEBOOK age /OPTIONS MAXCATS=") + value + ".");
    ASSERT_TRUE(run->ok) << value;
    EXPECT_EQ(run->request().GetMaxCats(), 200u) << value;
    EXPECT_THAT(run->texts(), ElementsAre("warning: MAXCATS must be a positive integer.", MustFollow("OPTIONS")))
        << value;
  }
  const std::pair<const char*, CbkRequest::OrderBy> orders[] = {
      {"FILE", CbkRequest::OrderByFile},       {"alpha", CbkRequest::OrderByAlpha},
      {"VarList", CbkRequest::OrderByVarList}, {"MEASURE", CbkRequest::OrderByMeasure}};
  for (const auto& [keyword, order] : orders) {
    auto run = Parse(Survey(), std::string("CODEBOOK age /OPTIONS VARORDER=") + keyword + ".");
    ASSERT_TRUE(run->ok) << keyword;
    EXPECT_EQ(run->request().GetVarOrderNum(), order) << keyword;
    EXPECT_TRUE(run->texts().empty()) << keyword;
  }
  // An attribute name matches in any case.
  auto attribute = Parse(Survey(), "CODEBOOK age income /OPTIONS VARORDER=ATTRIBUTE(SOURCE).");
  EXPECT_EQ(attribute->request().GetVarOrderNum(), CbkRequest::OrderByAttribute);
  EXPECT_EQ(attribute->request().GetAttributeName(), "SOURCE");
  // Only id carries no attribute; "$" names are reserved and never match.
  for (const char* text : {"CODEBOOK id /OPTIONS VARORDER=ATTRIBUTE(Source).",
                           "CODEBOOK age /OPTIONS VARORDER=ATTRIBUTE($Hidden)."}) {
    auto run = Parse(Survey(), text);
    ASSERT_TRUE(run->ok) << text;
    EXPECT_EQ(run->request().GetVarOrderNum(), CbkRequest::OrderByVarList) << text;
    EXPECT_EQ(run->request().GetAttributeName(), "") << text;
    EXPECT_THAT(run->texts(), ElementsAre("warning: Invalid attribute name specified for VARORDER.")) << text;
  }
}

// A rejected command gives one error and decodes nothing, not even the
// variable list, nor the subcommands after the one that failed.
TEST(Subcommands, RejectedCommandsGiveOneErrorAndDecodeNothing) {
  for (const char* text : {"CODEBOOK age /STATISTICS COUNT FOO.", "CODEBOOK age /NOSUCH.",
                           "CODEBOOK age /STATISTICS COUNT /STATISTICS MEAN."}) {
    auto run = Parse(Survey(), text);
    EXPECT_FALSE(run->ok) << text;
    EXPECT_EQ(run->messages.errorCount(), 1u) << text;
    EXPECT_TRUE(run->request().GetVarList().empty()) << text;
    EXPECT_FALSE(run->request().IsSTATISTICSinclude()) << text;
  }
  auto foo = Parse(Survey(), "CODEBOOK age /STATISTICS COUNT FOO.");
  EXPECT_NE(foo->messages.messages()[0].text.find("FOO"), std::string::npos);
  EXPECT_NE(foo->messages.messages()[0].text.find("32"), std::string::npos) << "the column of FOO";

  auto none = Parse(Survey(), "CODEBOOK age /STATISTICS NONE COUNT /OPTIONS VARORDER=ALPHA.");
  EXPECT_FALSE(none->ok);
  ASSERT_EQ(none->messages.messages().size(), 1u);
  EXPECT_EQ(none->messages.messages()[0].severity, codebook::syntax::Severity::kError);
  EXPECT_NE(none->messages.messages()[0].text.find("NONE"), std::string::npos);
  EXPECT_EQ(none->request().GetVarOrderNum(), CbkRequest::OrderByVarList);
  EXPECT_FALSE(none->request().IsOPTIONinclude());
}

}  // namespace
