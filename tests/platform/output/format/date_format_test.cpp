// Date, date-time and duration formats, at the reference points of the
// format document (10.3, 10.4).
#include <gtest/gtest.h>

#include <string>

#include "platform/output/format/calendar.h"
#include "platform/output/format/value_format.h"

namespace codebook::output {
namespace {

constexpr double k1970 = 12219379200.0;   // 1970-01-01 00:00:00
constexpr double k2000 = 13166064000.0;   // 2000-01-01
constexpr double k2024Leap = 13928544000.0;  // 2024-02-29

struct Case {
  double value;
  VELA_Format::FormatType type;
  int width;
  int decimals;
  const char* fixed;
  const char* cell;
};


template <std::size_t N>
void CheckAll(const Case (&cases)[N]) {
  for (const Case& c : cases) {
    const VELA_Format format(c.type, c.width, c.decimals);
    SCOPED_TRACE(std::to_string(c.type) + "." + std::to_string(c.width) + " of " +
                 std::to_string(c.value));
    EXPECT_EQ(FormatNumber(c.value, format, FieldMode::kFixed), c.fixed);
    EXPECT_EQ(FormatNumber(c.value, format, FieldMode::kCell), c.cell);
  }
}

double Day(int y, int m, int d) { return static_cast<double>(DayNumberFromDate(y, m, d)) * 86400.0; }

TEST(Calendar, ReferencePointsOfTheFormatDocument) {
  EXPECT_EQ(DayNumberFromDate(1582, 10, 14), 0);
  EXPECT_EQ(Day(1970, 1, 1), k1970);
  EXPECT_EQ(Day(2000, 1, 1), k2000);
  EXPECT_EQ(Day(2024, 2, 29), k2024Leap);
  const CivilDate leap = DateFromDayNumber(static_cast<std::int64_t>(k2024Leap / 86400));
  EXPECT_EQ(leap.year, 2024);
  EXPECT_EQ(leap.month, 2);
  EXPECT_EQ(leap.day, 29);
  EXPECT_EQ(leap.dayOfYear, 60);
  // Before the origin the calendar runs on (proleptic Gregorian).
  const CivilDate before = DateFromDayNumber(-1);
  EXPECT_EQ(before.year, 1582);
  EXPECT_EQ(before.month, 10);
  EXPECT_EQ(before.day, 13);
  // Round trip over four centuries, through 1900 (not leap) and 2000 (leap).
  for (std::int64_t day = 100000; day < 100000 + 146097; day += 37) {
    const CivilDate date = DateFromDayNumber(day);
    ASSERT_EQ(DayNumberFromDate(date.year, date.month, date.day), day);
  }
}

TEST(DateFormat, EveryDateFormatInItsShortAndLongForms) {
  using F = VELA_Format;
  const double t = k2024Leap + 13 * 3600 + 45 * 60 + 30.25;
  const Case cases[] = {
      // Short and long forms of every date format.
      {k1970, F::DATE, 9, 0, "01-JAN-70", "01-JAN-70"},
      {k1970, F::DATE, 10, 0, " 01-JAN-70", "01-JAN-70"},
      {k1970, F::DATE, 11, 0, "01-JAN-1970", "01-JAN-1970"},
      {k1970, F::ADATE, 8, 0, "01/01/70", "01/01/70"},
      {k1970, F::ADATE, 10, 0, "01/01/1970", "01/01/1970"},
      {k1970, F::EDATE, 8, 0, "01.01.70", "01.01.70"},
      {k1970, F::EDATE, 10, 0, "01.01.1970", "01.01.1970"},
      {k1970, F::SDATE, 8, 0, "70/01/01", "70/01/01"},
      {k1970, F::SDATE, 10, 0, "1970/01/01", "1970/01/01"},
      {k1970, F::JDATE, 5, 0, "70001", "70001"},
      {k1970, F::JDATE, 7, 0, "1970001", "1970001"},
      {k1970, F::QYR, 6, 0, "1 Q 70", "1 Q 70"},
      {k1970, F::QYR, 8, 0, "1 Q 1970", "1 Q 1970"},
      {k1970, F::MOYR, 6, 0, "JAN 70", "JAN 70"},
      {k1970, F::MOYR, 8, 0, "JAN 1970", "JAN 1970"},
      {k1970, F::WKYR, 8, 0, " 1 WK 70", "1 WK 70"},
      {k1970, F::WKYR, 10, 0, " 1 WK 1970", "1 WK 1970"},
      {k2024Leap, F::DATE, 11, 0, "29-FEB-2024", "29-FEB-2024"},
      {k2024Leap, F::ADATE, 10, 0, "02/29/2024", "02/29/2024"},
      {k2024Leap, F::JDATE, 7, 0, "2024060", "2024060"},
      {k2024Leap, F::WKYR, 10, 0, " 9 WK 2024", "9 WK 2024"},
      {k2024Leap + 86399, F::EDATE, 10, 0, "29.02.2024", "29.02.2024"},  // time of day ignored
      {k2000, F::QYR, 8, 0, "1 Q 2000", "1 Q 2000"},
      {k2000, F::DATE, 9, 0, "01-JAN-00", "01-JAN-00"},
      {Day(2013, 1, 31), F::DATE, 11, 0, "31-JAN-2013", "31-JAN-2013"},
      {Day(2013, 12, 31), F::QYR, 8, 0, "4 Q 2013", "4 Q 2013"},
      {Day(2013, 12, 31), F::WKYR, 10, 0, "53 WK 2013", "53 WK 2013"},
      // Two-digit years only inside the window.
      {Day(1940, 1, 1), F::DATE, 9, 0, "01-JAN-40", "01-JAN-40"},
      {Day(2039, 12, 31), F::ADATE, 8, 0, "12/31/39", "12/31/39"},
      // Outside 1940..2039 a fixed field stars, a cell shows four digits.
      {Day(1939, 12, 31), F::DATE, 9, 0, "*********", "31-DEC-1939"},
      {Day(2040, 1, 1), F::SDATE, 8, 0, "********", "2040/01/01"},
      {Day(1600, 3, 1), F::MOYR, 6, 0, "******", "MAR 1600"},
      // Date times with and without seconds.
      {t, F::DATETIME, 17, 0, "29-FEB-2024 13:45", "29-FEB-2024 13:45"},
      {t, F::DATETIME, 18, 0, " 29-FEB-2024 13:45", "29-FEB-2024 13:45"},
      {t, F::DATETIME, 20, 0, "29-FEB-2024 13:45:30", "29-FEB-2024 13:45:30"},
      {t, F::DATETIME, 21, 2, " 29-FEB-2024 13:45:30", "29-FEB-2024 13:45:30"},
      {t, F::DATETIME, 23, 2, "29-FEB-2024 13:45:30.25", "29-FEB-2024 13:45:30.25"},
      {t, F::DATETIME, 22, 3, "29-FEB-2024 13:45:30.2", "29-FEB-2024 13:45:30.2"},
      {t, F::YMDHMS, 16, 0, "2024-02-29 13:45", "2024-02-29 13:45"},
      {t, F::YMDHMS, 19, 0, "2024-02-29 13:45:30", "2024-02-29 13:45:30"},
      {t, F::YMDHMS, 22, 2, "2024-02-29 13:45:30.25", "2024-02-29 13:45:30.25"},
      {k1970, F::DATETIME, 20, 0, "01-JAN-1970 00:00:00", "01-JAN-1970 00:00:00"},
      // Truncated, not rounded into the next day.
      {k1970 - 1, F::DATETIME, 17, 0, "31-DEC-1969 23:59", "31-DEC-1969 23:59"},
      // A computed value a hair below a whole second shows that second.
      {k1970 + 3599.9999999, F::YMDHMS, 19, 0, "1970-01-01 01:00:00", "1970-01-01 01:00:00"},
      // Dates at or before the origin are missing.
      {0, F::DATE, 11, 0, "          .", "."},
      {-86400, F::ADATE, 10, 0, "         .", "."},
      {-1, F::DATETIME, 20, 0, "                   .", "."},
      {86400, F::DATE, 11, 0, "15-OCT-1582", "15-OCT-1582"},
      {1e300, F::DATE, 11, 0, "***********", "***********"},
  };
  CheckAll(cases);
}

TEST(DurationFormat, TimesDaysAndNames) {
  using F = VELA_Format;
  const Case cases[] = {
      // TIME, DTIME and MTIME, negatives included.
      {3725, F::TIME, 5, 0, "01:02", "01:02"},
      {3725, F::TIME, 8, 0, "01:02:05", "01:02:05"},
      {3725.5, F::TIME, 11, 2, "01:02:05.50", "01:02:05.50"},
      {3725.5, F::TIME, 10, 2, "01:02:05.5", "01:02:05.5"},
      {3725.5, F::TIME, 9, 2, " 01:02:05", "01:02:05"},
      {-3725, F::TIME, 9, 0, "-01:02:05", "-01:02:05"},
      {-3725, F::TIME, 8, 0, "********", "-01:02:05"},
      {-30, F::TIME, 5, 0, "00:00", "00:00"},
      {360000, F::TIME, 10, 0, " 100:00:00", "100:00:00"},  // hours past 23
      {360000, F::TIME, 8, 0, "********", "100:00:00"},
      {0, F::DTIME, 8, 0, " 0 00:00", "0 00:00"},
      {183845, F::DTIME, 8, 0, " 2 03:04", "2 03:04"},
      {183845, F::DTIME, 11, 0, " 2 03:04:05", "2 03:04:05"},
      {183845.5, F::DTIME, 14, 2, " 2 03:04:05.50", "2 03:04:05.50"},
      {-183845, F::DTIME, 11, 0, "-2 03:04:05", "-2 03:04:05"},
      {-183845 - 86400.0 * 10, F::DTIME, 12, 0, "-12 03:04:05", "-12 03:04:05"},
      {125, F::MTIME, 5, 0, "02:05", "02:05"},
      {125.25, F::MTIME, 8, 2, "02:05.25", "02:05.25"},
      {7265, F::MTIME, 7, 0, " 121:05", "121:05"},
      {-125, F::MTIME, 6, 0, "-02:05", "-02:05"},
      // Weekday and month names truncated to the width.
      {1, F::WKDAY, 2, 0, "SU", "SU"},
      {1, F::WKDAY, 3, 0, "SUN", "SUN"},
      {4, F::WKDAY, 9, 0, "WEDNESDAY", "WEDNESDAY"},
      {7, F::WKDAY, 9, 0, " SATURDAY", "SATURDAY"},
      {8, F::WKDAY, 3, 0, "  .", "."},
      {0, F::WKDAY, 3, 0, "  .", "."},
      {1, F::MONTH, 3, 0, "JAN", "JAN"},
      {9, F::MONTH, 9, 0, "SEPTEMBER", "SEPTEMBER"},
      {5, F::MONTH, 9, 0, "      MAY", "MAY"},
      {13, F::MONTH, 3, 0, "  .", "."},
  };
  CheckAll(cases);
}

}  // namespace
}  // namespace codebook::output
