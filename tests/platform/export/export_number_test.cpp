// Numbers, dates and times as the exports write them: no float noise, no
// exponent on whole numbers, and date statistics as ISO 8601.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <limits>
#include <random>
#include <string>

#include "platform/export/export_number.h"
#include "platform/output/format/calendar.h"
#include "platform/output/format/number_text.h"

namespace {

using codebook::exporting::IsoSpanText;
using codebook::exporting::IsoText;
using codebook::exporting::NumberText;
using codebook::exporting::TimeKind;
using codebook::exporting::TimeKindOf;

int SignificantDigits(const std::string& text) {
  std::string digits;
  for (const char c : text) {
    if (c == 'e') break;
    if (c >= '0' && c <= '9') digits += c;
  }
  const std::size_t first = digits.find_first_not_of('0');
  if (first == std::string::npos) return 1;
  // Trailing zeros of a whole number hold its place, not its precision.
  std::size_t last = digits.find_last_not_of('0');
  return static_cast<int>(last - first + 1);
}

TEST(ExportNumber, NoiseIsGoneAndWholeNumbersHaveNoExponent) {
  const std::pair<double, const char*> cases[] = {
      {1141.5865000000033, "1141.5865"},
      {1248.8861000000036, "1248.8861"},
      // Noise larger than half a unit of the 15th digit stays.
      {2488.4584000000095, "2488.45840000001"},
      {0.1 + 0.2, "0.3"},
      {13976609765.22795, "13976609765.228"},
      {0.123456789012345678, "0.123456789012346"},
      {9.9999999999999982, "10"},  // rounding carries into a new digit
      {300000, "300000"},
      {2500, "2500"},
      {999999999999999, "999999999999999"},
      {-12.5, "-12.5"},
      {-0.0, "0"},
      {0.00001, "0.00001"},
      {0.000001, "1e-06"},
      {1e15, "1e+15"},
      {1.5e20, "1.5e+20"},
      {123456789012345678.0, "1.23456789012346e+17"},
      {-1.7976931348623157e308, "-1.79769313486232e+308"},
  };
  for (const auto& [value, text] : cases) EXPECT_EQ(NumberText(value), text) << value;
  EXPECT_EQ(NumberText(std::numeric_limits<double>::quiet_NaN()), "NaN");
  EXPECT_EQ(NumberText(-std::numeric_limits<double>::infinity()), "-INF");
}

// Whatever the value: at most 15 significant digits, and reading the text
// back gives the value to within half a unit of the 15th digit.
TEST(ExportNumber, AnyValueReadsBackToFifteenDigits) {
  std::mt19937_64 random(24);
  std::uniform_int_distribution<int> exponents(-30, 30);
  std::uniform_real_distribution<double> mantissas(-10, 10);
  for (int i = 0; i < 20000; ++i) {
    const double value = mantissas(random) * std::pow(10.0, exponents(random));
    const std::string text = codebook::output::NumberText(value);
    ASSERT_LE(SignificantDigits(text), 15) << text;
    const double back = std::strtod(text.c_str(), nullptr);
    ASSERT_LE(std::fabs(back - value), std::fabs(value) * 5.000001e-15) << value << " as " << text;
  }
}

double Seconds(int year, int month, int day, int hour = 0, int minute = 0, double second = 0) {
  return static_cast<double>(codebook::output::DayNumberFromDate(year, month, day)) * 86400.0 + hour * 3600.0 +
         minute * 60.0 + second;
}

TEST(ExportNumber, DatesAndTimesAreIso8601) {
  EXPECT_EQ(IsoText(0, TimeKind::kDate), "1582-10-14");
  EXPECT_EQ(IsoText(-1, TimeKind::kDate), "1582-10-13");
  EXPECT_EQ(IsoText(Seconds(2024, 3, 5), TimeKind::kDate), "2024-03-05");
  // A date's time of day is cut, as the tables cut it.
  EXPECT_EQ(IsoText(Seconds(2024, 3, 5, 23, 59, 59), TimeKind::kDate), "2024-03-05");
  EXPECT_EQ(IsoText(Seconds(2024, 3, 5, 13, 45), TimeKind::kDateTime), "2024-03-05T13:45:00");
  // Binary noise just under a whole second stays on that second.
  EXPECT_EQ(IsoText(Seconds(2024, 3, 5, 13, 45) - 1e-6, TimeKind::kDateTime), "2024-03-05T13:45:00");
  EXPECT_EQ(IsoText(Seconds(2024, 3, 5, 13, 45, 0.25), TimeKind::kDateTime, 2), "2024-03-05T13:45:00.25");
  EXPECT_EQ(IsoText(Seconds(2024, 12, 31, 23, 59, 59), TimeKind::kDateTime), "2024-12-31T23:59:59");
  EXPECT_EQ(IsoText(Seconds(12024, 1, 2), TimeKind::kDate), "+12024-01-02");

  EXPECT_EQ(IsoText(49500, TimeKind::kTime), "13:45:00");
  EXPECT_EQ(IsoText(49500.256, TimeKind::kTime, 2), "13:45:00.25");
  EXPECT_EQ(IsoText(100000, TimeKind::kTime), "27:46:40");  // a duration past a day
  EXPECT_EQ(IsoText(-3600, TimeKind::kTime), "-01:00:00");
  EXPECT_EQ(IsoText(0.4, TimeKind::kTime), "00:00:00");
}

TEST(ExportNumber, SpreadsAreDurations) {
  EXPECT_EQ(IsoSpanText(100 * 86400.0 + 15 * 3600 + 30 * 60 + 9, TimeKind::kDate), "P100DT15H30M9S");
  EXPECT_EQ(IsoSpanText(86400, TimeKind::kDateTime), "P1D");
  EXPECT_EQ(IsoSpanText(90.5, TimeKind::kDateTime, 1), "PT1M30.5S");
  EXPECT_EQ(IsoSpanText(0, TimeKind::kDate), "PT0S");
  EXPECT_EQ(IsoSpanText(12300, TimeKind::kTime), "03:25:00");
}

TEST(ExportNumber, WhatNoCalendarHoldsStaysANumber) {
  for (const TimeKind kind : {TimeKind::kDate, TimeKind::kTime, TimeKind::kDateTime}) {
    EXPECT_EQ(IsoText(1e300, kind), "1e+300");
    EXPECT_EQ(IsoText(-1.7976931348623157e308, kind), "-1.79769313486232e+308");
    EXPECT_EQ(IsoText(std::numeric_limits<double>::infinity(), kind), "INF");
    EXPECT_EQ(IsoSpanText(std::numeric_limits<double>::quiet_NaN(), kind), "NaN");
    // Absurd decimals are held to microseconds.
    EXPECT_EQ(IsoText(49500, kind, 200).size(), kind == TimeKind::kTime ? 15u : kind == TimeKind::kDate ? 10u : 26u);
  }
  EXPECT_EQ(IsoText(1141.5865000000033, TimeKind::kNone), "1141.5865");
}

TEST(ExportNumber, TheKindComesFromTheFormat) {
  const std::pair<VELA_Format::FormatType, TimeKind> cases[] = {
      {VELA_Format::DATE, TimeKind::kDate},         {VELA_Format::ADATE, TimeKind::kDate},
      {VELA_Format::MOYR, TimeKind::kDate},         {VELA_Format::DATETIME, TimeKind::kDateTime},
      {VELA_Format::YMDHMS, TimeKind::kDateTime},   {VELA_Format::TIME, TimeKind::kTime},
      {VELA_Format::DTIME, TimeKind::kTime},        {VELA_Format::MTIME, TimeKind::kTime},
      {VELA_Format::F, TimeKind::kNone},            {VELA_Format::WKDAY, TimeKind::kNone},
      {VELA_Format::A, TimeKind::kNone},            {static_cast<VELA_Format::FormatType>(99), TimeKind::kNone},
  };
  for (const auto& [type, kind] : cases) {
    VELA_Format format;
    format.Type(type);
    EXPECT_EQ(TimeKindOf(format), kind) << static_cast<int>(type);
  }
}

}  // namespace
