#include "platform/data/time_origin.h"

#include <cmath>

namespace codebook::data {
namespace {

constexpr double kDay = 86400.0;
// Periods beyond this many from 1960 stand for no date any format shows;
// they are left as stored rather than turned into absurd day numbers.
constexpr double kMaxPeriods = 1e7;

// Days since 1960-01-01 of the first day of a month (proleptic Gregorian;
// days-from-civil of H. Hinnant's "chrono-Compatible Low-Level Date
// Algorithms").
double DaysTo(std::int64_t year, int month) {
  const std::int64_t y = year - (month <= 2 ? 1 : 0);
  const std::int64_t era = (y >= 0 ? y : y - 399) / 400;
  const std::int64_t yoe = y - era * 400;
  const std::int64_t doy = (153 * (month > 2 ? month - 3 : month + 9) + 2) / 5;
  const std::int64_t doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
  constexpr std::int64_t kDaysTo1960FromCivilOrigin = 715815;  // 1960-01-01 from 0000-03-01
  return static_cast<double>(era * 146097 + doe - kDaysTo1960FromCivilOrigin);
}

// The first day of period `index` of `perYear` periods a year, counted from
// 1960's first, in days since 1960-01-01.
double FirstDayOfPeriod(double index, int perYear) {
  const auto period = static_cast<std::int64_t>(std::floor(index));
  std::int64_t year = period / perYear;
  std::int64_t within = period % perYear;
  if (within < 0) {
    within += perYear;
    --year;
  }
  year += 1960;
  if (perYear == 52) return DaysTo(year, 1) + 7.0 * static_cast<double>(within);
  return DaysTo(year, static_cast<int>(1 + within * (12 / perYear)));
}

}  // namespace

double ToProgramTime(double value, TimeUnit unit) {
  double days = 0;
  switch (unit) {
    case TimeUnit::kNone:
      return value;
    case TimeUnit::kDays1960:
      if (std::fabs(value) > 1e12) return value;
      return (value + 137775.0) * kDay;
    case TimeUnit::kMillis1960:
      if (std::fabs(value) > 1e17) return value;
      // Whole milliseconds since 1582 are exact here, so the one rounding
      // is the division.
      return (value + 137775.0 * kDay * 1000.0) / 1000.0;
    case TimeUnit::kSeconds1960:
      if (std::fabs(value) > 1e17) return value;
      return value + kSeconds1582To1960;
    case TimeUnit::kWeeks1960:
    case TimeUnit::kMonths1960:
    case TimeUnit::kQuarters1960:
    case TimeUnit::kHalfYears1960: {
      if (!(std::fabs(value) <= kMaxPeriods)) return value;
      const int perYear = unit == TimeUnit::kWeeks1960     ? 52
                          : unit == TimeUnit::kMonths1960  ? 12
                          : unit == TimeUnit::kQuarters1960 ? 4
                                                            : 2;
      days = FirstDayOfPeriod(value, perYear);
      break;
    }
  }
  return (days + 137775.0) * kDay;
}

}  // namespace codebook::data
