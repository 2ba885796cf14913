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
using Range = MissingValues::Range;

struct NumericCase {
  MissingValues missing;
  double value;
  bool isMissing;
};

TEST(MissingValues, NumbersDiscreteAndInRangesWithTheirBounds) {
  const NumericCase cases[] = {
      // None: nothing is missing, system-missing included.
      {MissingValues(), 0.0, false},
      {MissingValues(), kSysmis, false},
      {MissingValues::Numeric({-1, 98, 99}), -1, true},
      {MissingValues::Numeric({-1, 98, 99}), 99, true},
      {MissingValues::Numeric({-1, 98, 99}), 97, false},
      {MissingValues::Numeric({-1, 98, 99}), 99.0000001, false},
      {MissingValues::Numeric({-1, 98, 99}), kSysmis, false},
      {MissingValues::Numeric({-1, 98, 99}), std::nan(""), false},
      // Bounds are included.
      {MissingValues::Numeric({}, Range{1, 5}), 1, true},
      {MissingValues::Numeric({}, Range{1, 5}), 5, true},
      {MissingValues::Numeric({}, Range{1, 5}), 3.5, true},
      {MissingValues::Numeric({}, Range{1, 5}), 0.999, false},
      {MissingValues::Numeric({}, Range{1, 5}), 5.001, false},
      // LO THRU 0: everything up to 0, but never system-missing.
      {MissingValues::Numeric({}, Range{-kInf, 0}), -1e300, true},
      {MissingValues::Numeric({}, Range{-kInf, 0}), 0, true},
      {MissingValues::Numeric({}, Range{-kInf, 0}), 0.5, false},
      {MissingValues::Numeric({}, Range{-kInf, 0}), kSysmis, false},
      // The lowest finite number as LO (as files write it).
      {MissingValues::Numeric({}, Range{kSysmis, 0}), kSysmis, false},
      {MissingValues::Numeric({}, Range{kSysmis, 0}), -5, true},
      // 90 THRU HI.
      {MissingValues::Numeric({}, Range{90, kInf}), 90, true},
      {MissingValues::Numeric({}, Range{90, kInf}), 1e308, true},
      {MissingValues::Numeric({}, Range{90, kInf}), 89.9, false},
      {MissingValues::Numeric({}, Range{7, 7}), 7, true},
      {MissingValues::Numeric({}, Range{7, 7}), 7.5, false},
      // A range and a discrete value.
      {MissingValues::Numeric({-9}, Range{97, 99}), -9, true},
      {MissingValues::Numeric({-9}, Range{97, 99}), 98, true},
      {MissingValues::Numeric({-9}, Range{97, 99}), -8, false},
      {MissingValues::Numeric({-9}, Range{97, 99}), 96, false},
  };
  for (const NumericCase& c : cases) EXPECT_EQ(c.missing.IsMissing(c.value), c.isMissing) << c.value;
  EXPECT_TRUE(MissingValues().Empty());
}

TEST(MissingValues, RejectsWhatAFileCannotSay) {
  EXPECT_THROW(MissingValues::Numeric({1, 2, 3, 4}), std::invalid_argument);
  EXPECT_THROW(MissingValues::Numeric({}, Range{5, 1}), std::invalid_argument);
  EXPECT_THROW(MissingValues::Numeric({}, Range{std::nan(""), 1}), std::invalid_argument);
  EXPECT_THROW(MissingValues::Strings({"a", "b", "c", "d"}), std::invalid_argument);
}

TEST(MissingValues, StringsIgnoreTrailingBlanks) {
  const auto m = MissingValues::Strings({"NA  ", "-", " "});
  EXPECT_TRUE(m.IsStringKind());
  for (const char* value : {"NA", "NA      ", "-", "", "        "}) EXPECT_TRUE(m.IsMissing(value)) << value;
  // Leading blanks and case matter.
  EXPECT_FALSE(m.IsMissing(" NA"));
  EXPECT_FALSE(m.IsMissing("na"));
  // Blank is missing only when declared.
  const auto na = MissingValues::Strings({"NA"});
  EXPECT_FALSE(na.IsMissing("        "));
  EXPECT_FALSE(na.IsMissing(""));
  EXPECT_FALSE(MissingValues().IsMissing(""));
}

}  // namespace
