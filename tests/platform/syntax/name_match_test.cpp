// Keywords as typed: in any case, whole or by a prefix of three letters or
// more that begins one keyword only.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/syntax/name_match.h"

namespace codebook::syntax {
namespace {

TEST(MatchKeyword, WholeWordsAndUniquePrefixes) {
  const std::vector<std::string_view> keywords = {"MEAN", "MEASURE", "MAXCATS", "NONE", "NO"};
  const struct {
    const char* word;
    KeywordMatch::Result result;
    std::size_t index;
  } cases[] = {
      {"mean", KeywordMatch::kFound, 0},     // whole, though MEASURE begins with it
      {"No", KeywordMatch::kFound, 4},       // whole, shorter than any prefix may be
      {"MAX", KeywordMatch::kFound, 2},      // the shortest prefix
      {"measu", KeywordMatch::kFound, 1},
      {"MEA", KeywordMatch::kAmbiguous, 0},  // MEAN and MEASURE
      {"MA", KeywordMatch::kNone, 0},        // too short to stand for MAXCATS
      {"NON", KeywordMatch::kFound, 3},
      {"MAXCATSX", KeywordMatch::kNone, 0},  // longer than the keyword
      {"XYZ", KeywordMatch::kNone, 0},
      {"", KeywordMatch::kNone, 0},
  };
  for (const auto& c : cases) {
    const KeywordMatch match = MatchKeyword(c.word, keywords);
    EXPECT_EQ(match.result, c.result) << c.word;
    if (c.result == KeywordMatch::kFound) {
      EXPECT_EQ(match.index, c.index) << c.word;
    }
    const std::vector<std::size_t> both = {0, 1};
    EXPECT_EQ(match.candidates, c.result == KeywordMatch::kAmbiguous ? both : std::vector<std::size_t>{}) << c.word;
  }
}

}  // namespace
}  // namespace codebook::syntax
