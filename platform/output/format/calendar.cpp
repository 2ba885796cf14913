#include "platform/output/format/calendar.h"

namespace codebook::output {

namespace {

// 1970-01-01 is day 141428 (12,219,379,200 seconds / 86400).
constexpr std::int64_t kUnixEpochDay = 141428;

// Days since 1970-01-01 of a civil date, and back (H. Hinnant, "chrono-
// Compatible Low-Level Date Algorithms").
std::int64_t DaysFromCivil(std::int64_t y, int m, int d) {
  y -= m <= 2;
  const std::int64_t era = (y >= 0 ? y : y - 399) / 400;
  const std::int64_t yoe = y - era * 400;
  const std::int64_t doy = (153 * (m > 2 ? m - 3 : m + 9) + 2) / 5 + d - 1;
  const std::int64_t doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
  return era * 146097 + doe - 719468;
}

}  // namespace

CivilDate DateFromDayNumber(std::int64_t dayNumber) {
  std::int64_t z = dayNumber - kUnixEpochDay + 719468;
  const std::int64_t era = (z >= 0 ? z : z - 146096) / 146097;
  const std::int64_t doe = z - era * 146097;
  const std::int64_t yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
  const std::int64_t doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
  const std::int64_t mp = (5 * doy + 2) / 153;
  CivilDate out;
  out.day = static_cast<int>(doy - (153 * mp + 2) / 5 + 1);
  out.month = static_cast<int>(mp < 10 ? mp + 3 : mp - 9);
  out.year = yoe + era * 400 + (out.month <= 2);
  out.dayOfYear = static_cast<int>(DaysFromCivil(out.year, out.month, out.day) -
                                   DaysFromCivil(out.year, 1, 1) + 1);
  return out;
}

std::int64_t DayNumberFromDate(std::int64_t year, int month, int day) {
  return DaysFromCivil(year, month, day) + kUnixEpochDay;
}

}  // namespace codebook::output
