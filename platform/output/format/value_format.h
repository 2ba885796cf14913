// Display of data values in their print formats.
//
// Two modes. A fixed field (listings) is exactly `width` columns: right-
// aligned numbers, fewer decimals when the value does not fit, then '*'s.
// A cell shows the same text without the leading blanks, and is widened
// rather than starred: a table cell has room, and a row of stars hides the
// value the reader came for. Only a value that no form of the format can
// express at all (a date after year 9,999,999, say) is starred in a cell.
//
// Two-digit years are shown for years 1940..2039; a date outside that
// window needs the four-digit form (a fixed field of the short width shows
// stars, a cell switches to the long form).
#pragma once

#include <string>
#include <string_view>

#include "host/data/vela_format.h"

namespace codebook::output {

enum class FieldMode { kFixed, kCell };

inline constexpr int kTwoDigitYearFirst = 1940;  // window 1940..2039

// A numeric value in a numeric format. System-missing (and NaN or
// infinity) shows as "."; so do values a format cannot hold (a negative N,
// a date before the calendar origin, a WKDAY outside 1..7). A string
// format, or an invalid one, shows the value as F8.2. An extended missing
// code (platform/data/extended_missing.h) shows as ".a", "._", ".Z".
std::string FormatNumber(double value, const VELA_Format& format, FieldMode mode);

// A string value (the bytes of its cells) in an A or AHEX format: A without
// trailing blanks (a fixed field pads it back to the width), AHEX as upper-
// case hexadecimal of the value's bytes.
std::string FormatString(std::string_view bytes, const VELA_Format& format, FieldMode mode);

// True for the date, date-time and duration formats.
bool IsDateFormat(unsigned int type);   // DATE ADATE EDATE SDATE JDATE QYR MOYR WKYR
bool IsDateTimeFormat(unsigned int type);  // DATETIME YMDHMS
bool IsDurationFormat(unsigned int type);  // TIME DTIME MTIME

}  // namespace codebook::output
