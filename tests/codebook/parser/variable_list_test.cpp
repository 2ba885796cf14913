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
const char* kNoSuch = "error: nosuch Invalid or non-existent variable name.";

L LevelOf(const cbtest::ParseRun& run, int index) {
  return run.request().GetUserVariableSettings().at(static_cast<std::size_t>(index));
}

// A command over Survey(): whether it stands, the list it makes, the
// messages it gives, and the levels of some dictionary positions.
struct ListCase {
  const char* command;
  bool ok;
  std::vector<std::string> names;
  std::vector<std::string> texts;
  std::vector<std::pair<int, L>> levels = {};
};

TEST(VariableList, CommandsGiveTheirListsMessagesAndLevels) {
  const ListCase cases[] = {
      // Command order, the name as typed.
      {"CODEBOOK age Q1 name.", true, {"age", "Q1", "name"}, {}},
      {"CODEBOOK age nosuch q1.", false, {}, {kNoSuch}},
      {"CODEBOOK WITH.", false, {}, {"error: WITH Invalid or non-existent variable name."}},
      // A duplicate is rejected before its specifier is read.
      {"CODEBOOK age q1 AGE [N].", false, {}, {kDuplicate}, {{5, kScale}}},
      // Ranges run in dictionary order whichever way they are written.
      {"CODEBOOK q1 TO q3.", true, {"q1", "q2", "q3"}, {}},
      {"CODEBOOK q3 to q1.", true, {"q1", "q2", "q3"}, {}},
      {"CODEBOOK q2 q1 TO q3.", true, {"q2", "q1", "q3"}, {}},  // inner duplicate skipped
      // A duplicate at an end is reported, but the specifier step's result
      // replaces the failure, so the command stands.
      {"CODEBOOK q1 q1 TO q3.", true, {"q1", "q2", "q3"}, {kDuplicate}},
      {"CODEBOOK $brands TO $favs.", false, {}, {"error: $brands TO $favs keyword used for multiple response sets."}},
      {"CODEBOOK q1 TO nosuch.", false, {}, {kNoSuch}},
      // Only the ends of a range take their specifiers: the variables inside
      // keep the parser's seed, scale, whatever their dictionary level.
      {"CODEBOOK q1 [S] TO q5 [O].", true, {"q1", "q2", "q3", "q4", "q5"}, {},
       {{0, kScale}, {1, kScale}, {2, kScale}, {4, kOrd}}},
      // ALL applies its specifier to each variable; strings cannot be scale,
      // and each string says so.
      {"CODEBOOK all [S].", true, {"q1", "q2", "q3", "q4", "q5", "age", "name", "comment"},
       {"warning: Scale (continuous) measurement.", "warning: Scale (continuous) measurement."},
       {{0, kScale}, {5, kScale}, {6, kCat}, {7, kCat}}},
      {"CODEBOOK age ALL.", false, {}, {kDuplicate}},
      // Sets match case-insensitively; twice named gives the double report.
      {"CODEBOOK $BRANDS.", true, {"$BRANDS"}, {}},
      {"CODEBOOK $brands $Brands.", false, {}, {kDuplicate, "error: $Brands Invalid or non-existent variable name."}},
      {"CODEBOOK $nosuch.", false, {}, {"error: $nosuch Invalid or non-existent variable name."}},
      {"CODEBOOK $all $favs.", false, {}, {kDuplicate}},
      // Specifiers.
      {"CODEBOOK age [N].", true, {"age"}, {}, {{5, kCat}}},
      {"CODEBOOK age [n].", true, {"age"}, {}, {{5, kCat}}},
      {"CODEBOOK q1 [O].", true, {"q1"}, {}, {{0, kOrd}}},
      {"CODEBOOK q1 [S].", true, {"q1"}, {}, {{0, kScale}}},
      {"CODEBOOK age [X].", true, {"age"}, {"warning: Invalid measurement level."}, {{5, kScale}}},
      {"CODEBOOK name [S].", true, {"name"}, {"warning: Scale (continuous) measurement."}, {{6, kCat}}},
      {"CODEBOOK name [O].", true, {"name"}, {}, {{6, kOrd}}},
      // The default of a string whose dictionary level is scale overrides even [O].
      {"CODEBOOK comment [O].", true, {"comment"}, {}, {{7, kCat}}},
      // Sets take only [N].
      {"CODEBOOK $brands [N].", true, {"$brands"}, {}},
      {"CODEBOOK $brands [O] $favs [S].", true, {"$brands", "$favs"},
       {"warning: Invalid measurement level.", "warning: Invalid measurement level."}, {{kColumns, kCat}}},
  };
  for (const ListCase& c : cases) {
    SCOPED_TRACE(c.command);
    auto run = Parse(Survey(), c.command);
    EXPECT_EQ(run->ok, c.ok);
    EXPECT_EQ(run->texts(), c.texts);
    if (c.ok) {
      EXPECT_EQ(run->names(), c.names);
    } else if (c.texts == std::vector<std::string>{kNoSuch}) {
      EXPECT_TRUE(run->request().GetVarList().empty());
    }
    for (const auto& [index, level] : c.levels) EXPECT_EQ(LevelOf(*run, index), level) << index;
  }
}

TEST(VariableList, ImproperRangesAndUnclosedBracketsAreErrors) {
  for (const char* text : {"CODEBOOK q2 TO q2.", "CODEBOOK q2 TO."}) {
    auto run = Parse(Survey(), text);
    EXPECT_FALSE(run->ok) << text;
    EXPECT_EQ(run->messages.errorCount(), 1u) << text;
  }
  EXPECT_NE(Parse(Survey(), "CODEBOOK q2 TO q2.")->messages.messages()[0].text.find("TO"), std::string::npos);
  for (const char* text : {"CODEBOOK age [N.", "CODEBOOK $brands [N q1."}) {
    auto run = Parse(Survey(), text);
    EXPECT_FALSE(run->ok) << text;
    EXPECT_THAT(run->texts(), testing::Contains("error: Error in < CODEBOOK > command.")) << text;
  }
}

TEST(VariableList, AVariableNamedAllCannotBeListed) {
  auto run = Parse(DatasetBuilder().Numeric("all").Numeric("x").Build(), "CODEBOOK x ALL.");
  EXPECT_FALSE(run->ok);
  EXPECT_THAT(run->texts(), ElementsAre(kDuplicate));
  auto noSets = Parse(DatasetBuilder().Numeric("x").Build(), "CODEBOOK $ALL.");
  EXPECT_FALSE(noSets->ok);
  EXPECT_THAT(noSets->texts(), ElementsAre("error: No MRSet."));
}

TEST(VariableList, SetIndexesComeFromTheCounterInOrderOfEntry) {
  auto run = Parse(Survey(), "CODEBOOK $favs age $brands.");
  ASSERT_TRUE(run->ok);
  EXPECT_THAT(run->indexes(), ElementsAre(kColumns, 5, kColumns + 1));
  EXPECT_THAT(run->request().GetMRSetNameList(), ElementsAre("$favs", "$brands"));
  EXPECT_THAT(Parse(Survey(), "CODEBOOK age Q1 name.")->indexes(), ElementsAre(5, 0, 6));

  auto all = Parse(Survey(), "CODEBOOK ALL $ALL.");
  ASSERT_TRUE(all->ok);
  ASSERT_EQ(all->names().size(), static_cast<std::size_t>(kColumns + 2));
  EXPECT_EQ(all->names()[kColumns], "$brands");
  EXPECT_EQ(all->indexes()[kColumns + 1], kColumns + 1);
  EXPECT_TRUE(all->request().ALLMRSets());
}

TEST(VariableList, AllAndRangesOnManyVariables) {
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
