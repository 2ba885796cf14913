// User-missing values: discrete numbers, ranges with open ends, strings.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <stdexcept>

#include "host/data/obs.h"
#include "platform/data/missing_values.h"

using codebook::data::MissingValues;

namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();

TEST(MissingValues, NoneMeansNothingIsMissing) {
  const MissingValues none;
  EXPECT_TRUE(none.Empty());
  EXPECT_FALSE(none.IsMissing(0.0));
  EXPECT_FALSE(none.IsMissing(kSysmis));
  EXPECT_FALSE(none.IsMissing(""));
}

TEST(MissingValues, DiscreteNumbers) {
  const auto m = MissingValues::Numeric({-1, 98, 99});
  EXPECT_TRUE(m.IsMissing(-1));
  EXPECT_TRUE(m.IsMissing(98));
  EXPECT_TRUE(m.IsMissing(99));
  EXPECT_FALSE(m.IsMissing(97));
  EXPECT_FALSE(m.IsMissing(99.0000001));
  EXPECT_FALSE(m.IsMissing(kSysmis));
  EXPECT_FALSE(m.IsMissing(std::nan("")));
}

struct RangeCase {
  double low, high, value;
  bool missing;
};

class MissingRangeTest : public ::testing::TestWithParam<RangeCase> {};

TEST_P(MissingRangeTest, BoundsAreIncluded) {
  const RangeCase& c = GetParam();
  const auto m = MissingValues::Numeric({}, MissingValues::Range{c.low, c.high});
  EXPECT_EQ(m.IsMissing(c.value), c.missing) << c.low << ".." << c.high << " @ " << c.value;
}

INSTANTIATE_TEST_SUITE_P(
    Ranges, MissingRangeTest,
    ::testing::Values(RangeCase{1, 5, 1, true}, RangeCase{1, 5, 5, true},
                      RangeCase{1, 5, 3.5, true}, RangeCase{1, 5, 0.999, false},
                      RangeCase{1, 5, 5.001, false},
                      // LO THRU 0: everything up to 0, but never system-missing.
                      RangeCase{-kInf, 0, -1e300, true}, RangeCase{-kInf, 0, 0, true},
                      RangeCase{-kInf, 0, 0.5, false}, RangeCase{-kInf, 0, kSysmis, false},
                      // The lowest finite number as LO (as files write it).
                      RangeCase{kSysmis, 0, kSysmis, false},
                      RangeCase{kSysmis, 0, -5, true},
                      // 90 THRU HI.
                      RangeCase{90, kInf, 90, true}, RangeCase{90, kInf, 1e308, true},
                      RangeCase{90, kInf, 89.9, false},
                      // A range of one point.
                      RangeCase{7, 7, 7, true}, RangeCase{7, 7, 7.5, false}));

TEST(MissingValues, RangePlusDiscrete) {
  const auto m = MissingValues::Numeric({-9}, MissingValues::Range{97, 99});
  EXPECT_TRUE(m.IsMissing(-9));
  EXPECT_TRUE(m.IsMissing(98));
  EXPECT_FALSE(m.IsMissing(-8));
  EXPECT_FALSE(m.IsMissing(96));
}

TEST(MissingValues, RejectsWhatAFileCannotSay) {
  EXPECT_THROW(MissingValues::Numeric({1, 2, 3, 4}), std::invalid_argument);
  EXPECT_THROW(MissingValues::Numeric({}, MissingValues::Range{5, 1}), std::invalid_argument);
  EXPECT_THROW(MissingValues::Numeric({}, MissingValues::Range{std::nan(""), 1}),
               std::invalid_argument);
  EXPECT_THROW(MissingValues::Strings({"a", "b", "c", "d"}), std::invalid_argument);
}

TEST(MissingValues, StringsIgnoreTrailingBlanks) {
  const auto m = MissingValues::Strings({"NA  ", "-", " "});
  EXPECT_TRUE(m.IsStringKind());
  EXPECT_TRUE(m.IsMissing("NA"));
  EXPECT_TRUE(m.IsMissing("NA      "));
  EXPECT_TRUE(m.IsMissing("-"));
  // The blank value was declared missing: any all-blank value matches it.
  EXPECT_TRUE(m.IsMissing(""));
  EXPECT_TRUE(m.IsMissing("        "));
  // Leading blanks and case matter.
  EXPECT_FALSE(m.IsMissing(" NA"));
  EXPECT_FALSE(m.IsMissing("na"));
}

TEST(MissingValues, BlankStringIsNotMissingUnlessDeclared) {
  const auto m = MissingValues::Strings({"NA"});
  EXPECT_FALSE(m.IsMissing("        "));
  EXPECT_FALSE(m.IsMissing(""));
}

}  // namespace
