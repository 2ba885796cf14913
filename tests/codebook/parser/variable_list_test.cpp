// The variable list: names, TO ranges, ALL, multiple-response sets, $ALL and
// the measurement-level specifiers.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "harness.h"

namespace {

using cbtest::DatasetBuilder;
using cbtest::Parse;
using testing::ElementsAre;
using L = CBKVariable::MEASUREMENT_LEVEL;
constexpr L kScale = CBKVariable::kScale;
constexpr L kCat = CBKVariable::kCategorical;
constexpr L kOrd = CBKVariable::kOrdinal;

// q1..q5 nominal, age scale, name a nominal string, comment a string whose
// dictionary level is scale; two sets.
std::shared_ptr<cbtest::Dataset> Survey() {
  return DatasetBuilder()
      .Numeric("q1").Level(1)
      .Numeric("q2").Level(1)
      .Numeric("q3").Level(2)
      .Numeric("q4").Level(1)
      .Numeric("q5").Level(1)
      .Numeric("age").Level(3)
      .String("name", 12).Level(1)
      .String("comment", 40).Level(3)
      .MRSet(cbtest::SetOf("$brands", "Brands", 2, {"q1", "q2"}, "1"))
      .MRSet(cbtest::SetOf("$favs", "", 1, {"q3", "q4"}))
      .Build();
}

constexpr int kColumns = 8;
const char* kDuplicate = "error: Duplicate variable or MRset name.";

L LevelOf(const cbtest::ParseRun& run, int index) {
  return run.request().GetUserVariableSettings().at(static_cast<std::size_t>(index));
}

TEST(SingleNames, KeepCommandOrderAndTheNameAsTyped) {
  auto run = Parse(Survey(), "CODEBOOK age Q1 name.");
  ASSERT_TRUE(run->ok);
  EXPECT_THAT(run->names(), ElementsAre("age", "Q1", "name"));
  EXPECT_THAT(run->indexes(), ElementsAre(5, 0, 6));
}

TEST(SingleNames, UnknownOrInvalidNameFails) {
  auto unknown = Parse(Survey(), "CODEBOOK age nosuch q1.");
  EXPECT_FALSE(unknown->ok);
  EXPECT_THAT(unknown->texts(), ElementsAre("error: nosuch Invalid or non-existent variable name."));
  EXPECT_TRUE(unknown->request().GetVarList().empty());

  auto reserved = Parse(Survey(), "CODEBOOK WITH.");
  EXPECT_FALSE(reserved->ok);
  EXPECT_THAT(reserved->texts(), ElementsAre("error: WITH Invalid or non-existent variable name."));
}

TEST(SingleNames, DuplicateIsRejectedBeforeItsSpecifier) {
  auto run = Parse(Survey(), "CODEBOOK age q1 AGE [N].");
  EXPECT_FALSE(run->ok);
  EXPECT_THAT(run->texts(), ElementsAre(kDuplicate));
  EXPECT_EQ(LevelOf(*run, 5), kScale);
}

TEST(ToRanges, ForwardAndBackwardGiveDictionaryOrder) {
  auto forward = Parse(Survey(), "CODEBOOK q1 TO q3.");
  auto backward = Parse(Survey(), "CODEBOOK q3 to q1.");
  ASSERT_TRUE(forward->ok);
  ASSERT_TRUE(backward->ok);
  EXPECT_THAT(forward->names(), ElementsAre("q1", "q2", "q3"));
  EXPECT_THAT(backward->names(), ElementsAre("q1", "q2", "q3"));
}

TEST(ToRanges, DuplicateInsideIsSkippedSilently) {
  auto run = Parse(Survey(), "CODEBOOK q2 q1 TO q3.");
  ASSERT_TRUE(run->ok);
  EXPECT_THAT(run->names(), ElementsAre("q2", "q1", "q3"));
  EXPECT_TRUE(run->texts().empty());
}

TEST(ToRanges, DuplicateAtAnEndIsReportedButTheRangeGoesOn) {
  auto run = Parse(Survey(), "CODEBOOK q1 q1 TO q3.");
  // The specifier step's result replaces the failure, so the command stands.
  EXPECT_TRUE(run->ok);
  EXPECT_THAT(run->texts(), ElementsAre(kDuplicate));
  EXPECT_THAT(run->names(), ElementsAre("q1", "q2", "q3"));
}

TEST(ToRanges, ImproperRanges) {
  auto self = Parse(Survey(), "CODEBOOK q2 TO q2.");
  EXPECT_FALSE(self->ok);
  EXPECT_EQ(self->messages.errorCount(), 1u);
  EXPECT_NE(self->messages.messages()[0].text.find("TO"), std::string::npos);

  auto open = Parse(Survey(), "CODEBOOK q2 TO.");
  EXPECT_FALSE(open->ok);
  EXPECT_EQ(open->messages.errorCount(), 1u);

  auto sets = Parse(Survey(), "CODEBOOK $brands TO $favs.");
  EXPECT_FALSE(sets->ok);
  EXPECT_THAT(sets->texts(),
              ElementsAre("error: $brands TO $favs keyword used for multiple response sets."));

  auto unknown = Parse(Survey(), "CODEBOOK q1 TO nosuch.");
  EXPECT_FALSE(unknown->ok);
  EXPECT_THAT(unknown->texts(), ElementsAre("error: nosuch Invalid or non-existent variable name."));
}

TEST(ToRanges, OnlyTheEndsTakeTheirSpecifiers) {
  auto run = Parse(Survey(), "CODEBOOK q1 [S] TO q5 [O].");
  ASSERT_TRUE(run->ok) << testing::PrintToString(run->texts());
  EXPECT_THAT(run->names(), ElementsAre("q1", "q2", "q3", "q4", "q5"));
  EXPECT_EQ(LevelOf(*run, 0), kScale);
  // Variables inside a range are not looked at: they keep the parser's seed,
  // scale, whatever their dictionary level.
  EXPECT_EQ(LevelOf(*run, 1), kScale);
  EXPECT_EQ(LevelOf(*run, 2), kScale);
  EXPECT_EQ(LevelOf(*run, 4), kOrd);
}

TEST(All, EveryVariableWithTheSpecifierAppliedToEach) {
  auto run = Parse(Survey(), "CODEBOOK all [S].");
  ASSERT_TRUE(run->ok);
  EXPECT_EQ(run->names().size(), static_cast<std::size_t>(kColumns));
  EXPECT_EQ(LevelOf(*run, 0), kScale);
  EXPECT_EQ(LevelOf(*run, 5), kScale);
  // Strings cannot be scale.
  EXPECT_EQ(LevelOf(*run, 6), kCat);
  EXPECT_EQ(LevelOf(*run, 7), kCat);
}

TEST(All, MeetingAListedVariableIsADuplicate) {
  auto run = Parse(Survey(), "CODEBOOK age ALL.");
  EXPECT_FALSE(run->ok);
  EXPECT_THAT(run->texts(), ElementsAre(kDuplicate));
}

TEST(All, AVariableNamedAllCannotBeListed) {
  auto ds = DatasetBuilder().Numeric("all").Numeric("x").Build();
  auto run = Parse(ds, "CODEBOOK x ALL.");
  EXPECT_FALSE(run->ok);
  EXPECT_THAT(run->texts(), ElementsAre(kDuplicate));
}

TEST(Sets, IndexesComeFromTheCounterInOrderOfEntry) {
  auto run = Parse(Survey(), "CODEBOOK $favs age $brands.");
  ASSERT_TRUE(run->ok);
  EXPECT_THAT(run->names(), ElementsAre("$favs", "age", "$brands"));
  EXPECT_THAT(run->indexes(), ElementsAre(kColumns, 5, kColumns + 1));
  EXPECT_THAT(run->request().GetMRSetNameList(), ElementsAre("$favs", "$brands"));
}

TEST(Sets, NamesMatchCaseInsensitively) {
  auto run = Parse(Survey(), "CODEBOOK $BRANDS.");
  ASSERT_TRUE(run->ok);
  EXPECT_THAT(run->names(), ElementsAre("$BRANDS"));
}

TEST(Sets, NamedTwiceGivesTheDeliberateDoubleReport) {
  auto run = Parse(Survey(), "CODEBOOK $brands $Brands.");
  EXPECT_FALSE(run->ok);
  EXPECT_THAT(run->texts(), ElementsAre(kDuplicate,
                                        "error: $Brands Invalid or non-existent variable name."));
}

TEST(Sets, UnknownSetName) {
  auto run = Parse(Survey(), "CODEBOOK $nosuch.");
  EXPECT_FALSE(run->ok);
  EXPECT_THAT(run->texts(), ElementsAre("error: $nosuch Invalid or non-existent variable name."));
}

TEST(Sets, DollarAllAfterAllListsEverything) {
  auto run = Parse(Survey(), "CODEBOOK ALL $ALL.");
  ASSERT_TRUE(run->ok);
  ASSERT_EQ(run->names().size(), static_cast<std::size_t>(kColumns + 2));
  EXPECT_EQ(run->names()[kColumns], "$brands");
  EXPECT_EQ(run->indexes()[kColumns], kColumns);
  EXPECT_EQ(run->indexes()[kColumns + 1], kColumns + 1);
  EXPECT_TRUE(run->request().ALLMRSets());
}

TEST(Sets, ASetAfterDollarAllIsADuplicate) {
  auto run = Parse(Survey(), "CODEBOOK $all $favs.");
  EXPECT_FALSE(run->ok);
  EXPECT_THAT(run->texts(), ElementsAre(kDuplicate));
}

TEST(Sets, DollarAllWithoutSets) {
  auto run = Parse(DatasetBuilder().Numeric("x").Build(), "CODEBOOK $ALL.");
  EXPECT_FALSE(run->ok);
  EXPECT_THAT(run->texts(), ElementsAre("error: No MRSet."));
}

TEST(Specifiers, NumericVariables) {
  const std::pair<const char*, L> cases[] = {
      {"CODEBOOK age [N].", kCat}, {"CODEBOOK age [n].", kCat}, {"CODEBOOK q1 [O].", kOrd},
      {"CODEBOOK q1 [S].", kScale}};
  for (const auto& [text, level] : cases) {
    auto run = Parse(Survey(), text);
    ASSERT_TRUE(run->ok) << text;
    EXPECT_EQ(LevelOf(*run, run->indexes()[0]), level) << text;
    EXPECT_TRUE(run->texts().empty()) << text;
  }
}

TEST(Specifiers, UnknownLetterWarnsAndKeepsTheDefault) {
  auto run = Parse(Survey(), "CODEBOOK age [X].");
  ASSERT_TRUE(run->ok);
  EXPECT_THAT(run->texts(), ElementsAre("warning: Invalid measurement level."));
  EXPECT_EQ(LevelOf(*run, 5), kScale);
}

TEST(Specifiers, StringVariablesCannotBeScale) {
  auto scale = Parse(Survey(), "CODEBOOK name [S].");
  ASSERT_TRUE(scale->ok);
  EXPECT_THAT(scale->texts(), ElementsAre("warning: Scale (continuous) measurement."));
  EXPECT_EQ(LevelOf(*scale, 6), kCat);

  auto ordinal = Parse(Survey(), "CODEBOOK name [O].");
  EXPECT_EQ(LevelOf(*ordinal, 6), kOrd);
  // The default of a string whose dictionary level is scale overrides even [O].
  auto overridden = Parse(Survey(), "CODEBOOK comment [O].");
  ASSERT_TRUE(overridden->ok);
  EXPECT_EQ(LevelOf(*overridden, 7), kCat);
}

TEST(Specifiers, SetsAcceptOnlyN) {
  auto n = Parse(Survey(), "CODEBOOK $brands [N].");
  ASSERT_TRUE(n->ok);
  EXPECT_TRUE(n->texts().empty());
  auto o = Parse(Survey(), "CODEBOOK $brands [O] $favs [S].");
  ASSERT_TRUE(o->ok);
  EXPECT_THAT(o->texts(), ElementsAre("warning: Invalid measurement level.",
                                      "warning: Invalid measurement level."));
  EXPECT_EQ(o->request().GetUserVariableSettings().at(kColumns), kCat);
}

TEST(Specifiers, UnclosedBracketIsAnError) {
  for (const char* text : {"CODEBOOK age [N.", "CODEBOOK $brands [N q1."}) {
    auto run = Parse(Survey(), text);
    EXPECT_FALSE(run->ok) << text;
    EXPECT_THAT(run->texts(), testing::Contains("error: Error in < CODEBOOK > command.")) << text;
  }
}

TEST(WideFiles, AllAndRangesOnManyVariables) {
  DatasetBuilder builder;
  for (int i = 0; i < 20000; ++i) builder.Numeric("v" + std::to_string(i)).Level(i % 2 ? 1 : 3);
  auto ds = builder.Build();
  auto all = Parse(ds, "CODEBOOK ALL.");
  ASSERT_TRUE(all->ok);
  ASSERT_EQ(all->names().size(), 20000u);
  EXPECT_EQ(all->names()[19999], "v19999");
  EXPECT_EQ(LevelOf(*all, 1), kCat);
  EXPECT_EQ(LevelOf(*all, 2), kScale);

  auto range = Parse(ds, "CODEBOOK v19999 TO v0 [O].");
  ASSERT_TRUE(range->ok);
  ASSERT_EQ(range->names().size(), 20000u);
  EXPECT_EQ(range->indexes()[0], 0);
  // A reversed range is swapped first; the specifier written after the last
  // name then goes to the range's upper end.
  EXPECT_EQ(LevelOf(*range, 19999), kOrd);
  EXPECT_EQ(LevelOf(*range, 0), kScale);
}

}  // namespace
