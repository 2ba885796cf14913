// Proleptic Gregorian calendar arithmetic on the host's day numbers: day 0 is
// 14 October 1582, the origin of date values (seconds since its midnight).
#pragma once

#include <cstdint>

namespace codebook::output {

struct CivilDate {
  std::int64_t year = 0;
  int month = 1;       // 1..12
  int day = 1;         // 1..31
  int dayOfYear = 1;   // 1..366
};

// Day 0 is 1582-10-14.
CivilDate DateFromDayNumber(std::int64_t dayNumber);
std::int64_t DayNumberFromDate(std::int64_t year, int month, int day);

}  // namespace codebook::output
