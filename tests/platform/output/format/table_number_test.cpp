// The formats of table numbers: Count, Percent, Coefficient, Mean, StdDev.
#include <gtest/gtest.h>

#include "host/data/obs.h"
#include "platform/output/format/table_number.h"

namespace codebook::output {
namespace {

BpFormatSpec Fmt(BpFormatSpec::Kind kind, VELA_Format::FormatType type = VELA_Format::F,
                  int width = 8, int decimals = 2) {
  return BpFormatSpec(kind, VELA_Format(type, width, decimals));
}

TEST(TableNumber, CountsHaveNoDecimalsRoundedHalfAwayFromZero) {
  const BpFormatSpec count = Fmt(BpFormatSpec::kCount);
  EXPECT_EQ(FormatTableNumber(12, count), "12");
  EXPECT_EQ(FormatTableNumber(12.5, count), "13");  // a fractional weight sum
  EXPECT_EQ(FormatTableNumber(12.4999, count), "12");
  EXPECT_EQ(FormatTableNumber(-0.5, count), "-1");
  EXPECT_EQ(FormatTableNumber(20000, count), "20000");
  EXPECT_EQ(FormatTableNumber(kSysmis, count), ".");
}

// A cell holds a number written out up to 40 characters, sign and decimals
// included; one character more and it is written in scientific notation.
TEST(TableNumber, FortyCharactersAreWrittenOutAndNoMore) {
  const BpFormatSpec count = Fmt(BpFormatSpec::kCount);
  const BpFormatSpec mean = Fmt(BpFormatSpec::kMean);  // F8.2: four decimals
  const struct {
    double value;
    const BpFormatSpec& format;
    std::string text;
  } cases[] = {
      {1e39, count, "1" + std::string(39, '0')},
      {1e40, count, "1.00E+040"},
      {-1e38, count, "-1" + std::string(38, '0')},
      {-1e39, count, "-1.00E+039"},
      {1e34, mean, "1" + std::string(34, '0') + ".0000"},
      {1e35, mean, "1.0000E+035"},
  };
  for (const auto& c : cases) EXPECT_EQ(FormatTableNumber(c.value, c.format), c.text) << c.value;
}

TEST(TableNumber, PercentsAndCoefficients) {
  EXPECT_EQ(FormatTableNumber(40, Fmt(BpFormatSpec::kPercent)), "40.0%");
  EXPECT_EQ(FormatTableNumber(100.0 / 3, Fmt(BpFormatSpec::kPercent)), "33.3%");
  EXPECT_EQ(FormatTableNumber(99.95, Fmt(BpFormatSpec::kPercent)), "100.0%");
  EXPECT_EQ(FormatTableNumber(0.12345, Fmt(BpFormatSpec::kCoefficient)), "0.123");
}

TEST(TableNumber, MeanAndStdDevOfPlainNumbersHaveTwoMoreDecimals) {
  EXPECT_EQ(FormatTableNumber(2.5, Fmt(BpFormatSpec::kMean)), "2.5000");
  EXPECT_EQ(FormatTableNumber(1.23456, Fmt(BpFormatSpec::kStdDev)), "1.2346");
  EXPECT_EQ(FormatTableNumber(12345.678, Fmt(BpFormatSpec::kMean, VELA_Format::COMMA, 10, 2)),
            "12,345.6780");
  EXPECT_EQ(FormatTableNumber(12.5, Fmt(BpFormatSpec::kMean, VELA_Format::DOLLAR, 8, 0)), "$12.50");
  EXPECT_EQ(FormatTableNumber(3.5, Fmt(BpFormatSpec::kMean, VELA_Format::F, 3, 0)), "3.50");
  // N, hexadecimal and weekday formats describe codes; their mean is an F.
  EXPECT_EQ(FormatTableNumber(3.5, Fmt(BpFormatSpec::kMean, VELA_Format::N, 3, 0)), "3.50");
  EXPECT_EQ(FormatTableNumber(3.5, Fmt(BpFormatSpec::kMean, VELA_Format::WKDAY, 9, 0)), "3.50");
  EXPECT_EQ(FormatTableNumber(255, Fmt(BpFormatSpec::kMean, VELA_Format::PIBHEX, 4, 0)), "255.00");
  // Decimals stop at 16.
  EXPECT_EQ(FormatTableNumber(0.5, Fmt(BpFormatSpec::kMean, VELA_Format::F, 40, 16)),
            "0.5000000000000000");
  // Without a usable print format the variable counts as F8.2.
  EXPECT_EQ(FormatTableNumber(2.5, BpFormatSpec(BpFormatSpec::kMean, VELA_Format())), "2.5000");
}

// A code that names no format (13, 14, 18, 19, 41..84 or past 86) is as
// unusable as a string format, whatever its decimals say.
TEST(TableNumber, UnnamedFormatCodesCountAsTheDefaultFormat) {
  for (const int code : {13, 19, 41, 84, 87}) {
    const auto type = static_cast<VELA_Format::FormatType>(code);
    EXPECT_EQ(FormatTableNumber(2.5, Fmt(BpFormatSpec::kMean, type, 8, 0)), "2.5000") << code;
  }
  EXPECT_EQ(FormatTableNumber(2.5, Fmt(BpFormatSpec::kMean, VELA_Format::A, 8, 0)), "2.5000");
}

TEST(TableNumber, DateVariablesKeepTheirFormatAndDeviateInDurations) {
  constexpr double k1970 = 12219379200.0;
  const double oneDayOneHour = 86400 + 3600 + 61;
  EXPECT_EQ(FormatTableNumber(k1970, Fmt(BpFormatSpec::kMean, VELA_Format::DATE, 11, 0)),
            "01-JAN-1970");
  EXPECT_EQ(FormatTableNumber(k1970 + 43200, Fmt(BpFormatSpec::kMean, VELA_Format::DATETIME, 20, 0)),
            "01-JAN-1970 12:00:00");
  EXPECT_EQ(FormatTableNumber(oneDayOneHour, Fmt(BpFormatSpec::kStdDev, VELA_Format::DATE, 11, 0)),
            "1 01:01:01");
  EXPECT_EQ(FormatTableNumber(oneDayOneHour, Fmt(BpFormatSpec::kStdDev, VELA_Format::YMDHMS, 19, 0)),
            "1 01:01:01");
  EXPECT_EQ(FormatTableNumber(3725, Fmt(BpFormatSpec::kMean, VELA_Format::TIME, 8, 0)), "01:02:05");
  EXPECT_EQ(FormatTableNumber(3725, Fmt(BpFormatSpec::kStdDev, VELA_Format::TIME, 8, 0)), "01:02:05");
  EXPECT_EQ(FormatTableNumber(125, Fmt(BpFormatSpec::kStdDev, VELA_Format::MTIME, 5, 0)), "02:05");
  EXPECT_EQ(FormatTableNumber(kSysmis, Fmt(BpFormatSpec::kStdDev, VELA_Format::DATE, 11, 0)), ".");
}

}  // namespace
}  // namespace codebook::output
