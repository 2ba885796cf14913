// Numbers, dates and times as the exports write them: the one place that
// decides their text, for every export (the dictionary, DDI, and any
// export or overview that writes statistics for programs to read).
//
// A number is the shortest text that reads back to the same value after
// rounding to 15 significant digits (platform/output/format/number_text.h):
// 2488.4584, not 2488.4584000000095; 300000, not 3e+05; so a whole count
// is an integer. A value of a date, time or date-time variable is seconds
// since 14 October 1582; people and programs read it as ISO 8601.
#pragma once

#include <string>

#include "host/data/vela_format.h"

namespace codebook::exporting {

// "NaN", "INF" and "-INF" for what is not finite.
std::string NumberText(double value);

enum class TimeKind {
  kNone,      // a plain number
  kDate,      // 2024-03-05
  kTime,      // 13:45:00 (a time of day or a duration; hours past 24 go on)
  kDateTime,  // 2024-03-05T13:45:00
};

// The kind of the values of a variable with this print format.
TimeKind TimeKindOf(const VELA_Format& format);

// A value of a date, time or date-time variable in ISO 8601, with the
// format's decimals of a second (at most 6) where it shows seconds. Parts
// are cut, not rounded, as the tables cut them. A value no calendar holds
// (not finite, or beyond a million years) is written as a number.
std::string IsoText(double seconds, TimeKind kind, int decimals = 0);

// A spread of such values (a standard deviation): an ISO 8601 duration of
// days for dates and date-times ("P100DT15H30M9S"), a time for times.
std::string IsoSpanText(double seconds, TimeKind kind, int decimals = 0);

}  // namespace codebook::exporting
