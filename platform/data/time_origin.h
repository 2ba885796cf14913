// Dates and times of other dataset formats in this program's terms. Here a
// date or a date-time is a number of seconds since 14 October 1582, and a
// time of day or a duration a number of seconds, so that the date, date-time
// and duration formats show them and the statistics of a date (its mean,
// its quartiles) are dates. The .dta and SAS formats count from 1 January
// 1960 in days, milliseconds, seconds, or in weeks, months, quarters and
// half-years (.dta); the readers convert each valid value once, as they
// decode it, through this one function.
#pragma once

#include <cstdint>

namespace codebook::data {

enum class TimeUnit : std::uint8_t {
  kNone,            // not a time: the value as stored
  kDays1960,        // .dta %td, SAS date formats
  kMillis1960,      // .dta %tc and %tC
  kSeconds1960,     // SAS date-time formats
  kWeeks1960,       // .dta %tw: 52 weeks a year, week 1 from 1 January
  kMonths1960,      // .dta %tm
  kQuarters1960,    // .dta %tq
  kHalfYears1960,   // .dta %th
};

// 1960-01-01 in seconds since 1582-10-14.
inline constexpr double kSeconds1582To1960 = 137775.0 * 86400.0;

// A valid stored value in this program's terms. Weeks, months, quarters and
// half-years become the first day of the period they fall in (the whole
// period, as the file's own display shows it). A value too large to stand
// for any date is returned as stored.
double ToProgramTime(double value, TimeUnit unit);

}  // namespace codebook::data
