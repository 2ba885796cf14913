// Generated command texts against the procedure's parser: any mix of names,
// ranges, brackets, sets and subcommands either parses or fails with an
// error that says why; nothing crashes, hangs or reads out of bounds.
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "cbk_assert.h"
#include "harness.h"

namespace {

std::shared_ptr<cbtest::Dataset> Survey() {
  return cbtest::DatasetBuilder()
      .Numeric("a").Level(1)
      .Numeric("b").Level(3)
      .String("s", 12).Level(3)
      .Numeric("all").Level(2)
      .MRSet(cbtest::SetOf("$m", "", 1, {"a", "b"}))
      .Build();
}

const std::vector<std::string> kVocabulary = {
    "a", "b", "s", "A", "all", "ALL", "$all", "$m", "$M", "$x", "TO", "to", "[", "]", "N", "O", "S",
    "X", "[N]", "[S", "nosuch", "/VARINFO", "LABEL", "/FILEINFO", "NAME", "/STATISTICS", "NONE",
    "COUNT", "/OPTIONS", "MAXCATS=3", "MAXCATS=-1", "VARORDER=ALPHA", "SORT=DESCENDING",
    "VARORDER=ATTRIBUTE(x)", "'quoted'", "(", ")", "=", "1", "-2.5", ".5", "$", "@", "#"};

TEST(HostileCommands, EveryFailureSaysWhy) {
  std::mt19937 random(20261122);
  auto dataset = Survey();
  for (int round = 0; round < 3000; ++round) {
    std::string text = "CODEBOOK";
    const int length = static_cast<int>(random() % 12);
    for (int i = 0; i < length; ++i) text += " " + kVocabulary[random() % kVocabulary.size()];
    text += ".";
    auto run = cbtest::Parse(dataset, text);
    if (!run->ok) {
      EXPECT_GE(run->messages.errorCount(), 1u) << text;
    } else {
      // A successful parse lists only items of the dataset.
      for (int index : run->indexes()) {
        EXPECT_GE(index, 0) << text;
        EXPECT_LT(index, dataset->ColumnCount() + 2) << text;
      }
    }
  }
}

TEST(HostileCommands, LongListsStayLinear) {
  cbtest::DatasetBuilder builder;
  for (int i = 0; i < 5000; ++i) builder.Numeric("v" + std::to_string(i));
  auto dataset = builder.Build();
  std::string text = "CODEBOOK";
  for (int i = 0; i < 5000; ++i) text += " v" + std::to_string(i) + (i % 3 == 0 ? " [N]" : "");
  auto run = cbtest::Parse(dataset, text + ".");
  ASSERT_TRUE(run->ok);
  EXPECT_EQ(run->names().size(), 5000u);
  EXPECT_EQ(run->request().GetUserVariableSettings()[3], CBKVariable::kCategorical);
}

}  // namespace

namespace {

// An internal assertion reports its condition as written, with the
// function and the source, and ends the process with the host's status.
TEST(Assertion, ReportsTheConditionAsItIsWritten) {
  constexpr const char* kSource = "backend/codebook/parser/cbkparser";
  const int* paramObjPtr = nullptr;
  EXPECT_EXIT(CBK_ASSERT(paramObjPtr), testing::ExitedWithCode(70),
              "internal assertion failed: paramObjPtr in TestBody \\(backend/codebook/parser/cbkparser, line [0-9]+\\)");
  const std::vector<int> varIndxList;
  EXPECT_EXIT(CBK_ASSERT_AT(varIndxList.size() > 0, 916), testing::ExitedWithCode(70),
              "varIndxList.size\\(\\) > 0 in TestBody \\(backend/codebook/parser/cbkparser, line 916\\)");
}

}  // namespace
