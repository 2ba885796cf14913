// Date, date-time and duration formats (format document 10.3 and 10.4).
//
// Time parts are truncated to the last shown digit, never rounded up: a
// time of 23:59:59 in an hh:mm form stays on its day as 23:59. A millionth
// of a unit is added first so that computed values such as 3599.9999999
// (a mean) show as the 01:00:00 they stand for. At most six decimals of a
// second are computed; further requested decimals are zeros, as a double
// holding a date carries no more.
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string>

#include "platform/data/format_traits.h"
#include "platform/output/format/calendar.h"
#include "platform/output/format/format_internal.h"

namespace codebook::output::detail {

namespace {

constexpr const char* kMonths[] = {"JANUARY", "FEBRUARY", "MARCH",     "APRIL",   "MAY",      "JUNE",
                                   "JULY",    "AUGUST",   "SEPTEMBER", "OCTOBER", "NOVEMBER", "DECEMBER"};
constexpr const char* kWeekdays[] = {"SUNDAY", "MONDAY", "TUESDAY", "WEDNESDAY",
                                     "THURSDAY", "FRIDAY", "SATURDAY"};
// Beyond this many seconds (about 300,000 years) no date or duration form is
// meaningful, and the integer arithmetic below would overflow.
constexpr double kMaxSeconds = 1e13;
constexpr int kMaxComputedDecimals = 6;

std::string Printf(const char* format, long long a, long long b = 0, long long c = 0) {
  char buffer[64];
  std::snprintf(buffer, sizeof buffer, format, a, b, c);
  return buffer;
}

// A few units in the last place of the value: what arithmetic on a date of
// about 1e10 seconds may have lost.
double Slack(double value) {
  const double magnitude = std::fabs(value);
  return 4 * (std::nextafter(magnitude, 2 * magnitude + 1) - magnitude);
}

std::string MonthAbbreviation(int month) { return std::string(kMonths[month - 1], 3); }

// A non-negative number of seconds cut to the shown resolution: whole
// minutes, whole seconds, or seconds with `decimals` digits.
struct TimeParts {
  std::int64_t minutes = 0;  // total minutes
  int seconds = 0;
  std::int64_t fraction = 0;  // in units of 10^-computedDecimals seconds
  int computedDecimals = 0;
};

// `slack` is the rounding error of the original value, in seconds.
TimeParts SplitSeconds(double seconds, bool showSeconds, int decimals, double slack) {
  TimeParts parts;
  if (!showSeconds) {
    parts.minutes = static_cast<std::int64_t>(std::floor(seconds / 60.0 + 1e-6 + slack / 60.0));
    return parts;
  }
  parts.computedDecimals = decimals > kMaxComputedDecimals ? kMaxComputedDecimals : decimals;
  std::int64_t scale = 1;
  for (int i = 0; i < parts.computedDecimals; ++i) scale *= 10;
  // Keep the count of units inside 64 bits for the longest durations.
  while (parts.computedDecimals > 0 && (seconds + slack) * static_cast<double>(scale) >= 9e18) {
    --parts.computedDecimals;
    scale /= 10;
  }
  const auto units = static_cast<std::int64_t>(std::floor((seconds + slack) * static_cast<double>(scale) + 1e-6));
  const std::int64_t totalSeconds = units / scale;
  parts.fraction = units % scale;
  parts.minutes = totalSeconds / 60;
  parts.seconds = static_cast<int>(totalSeconds % 60);
  return parts;
}

std::string SecondsText(const TimeParts& parts, int decimals) {
  std::string out = Printf(":%02lld", parts.seconds);
  if (decimals > 0) {
    std::string digits;
    if (parts.computedDecimals > 0) {
      char buffer[32];
      std::snprintf(buffer, sizeof buffer, "%0*lld", parts.computedDecimals,
                    static_cast<long long>(parts.fraction));
      digits = buffer;
    }
    digits.resize(static_cast<std::size_t>(decimals), '0');
    out += "." + digits;
  }
  return out;
}

int ShownDecimals(int width, int firstDecimalWidth, int decimals) {
  // The first decimal needs the point as well: width - (firstDecimalWidth - 1).
  const int room = width - (firstDecimalWidth - 1);
  if (width < firstDecimalWidth || room <= 0) return 0;
  return decimals < room ? decimals : room;
}

std::optional<std::string> YearText(std::int64_t year, bool fourDigits) {
  if (fourDigits) return Printf("%04lld", year);
  if (year < kTwoDigitYearFirst || year > kTwoDigitYearFirst + 99) return std::nullopt;
  return Printf("%02lld", year % 100);
}

std::optional<std::string> DateText(unsigned int type, const CivilDate& date, bool longForm) {
  std::optional<std::string> year = YearText(date.year, longForm);
  if (!year) return std::nullopt;
  switch (type) {
    case VELA_Format::DATE:
      return Printf("%02lld-", date.day) + MonthAbbreviation(date.month) + "-" + *year;
    case VELA_Format::ADATE:
      return Printf("%02lld/%02lld/", date.month, date.day) + *year;
    case VELA_Format::EDATE:
      return Printf("%02lld.%02lld.", date.day, date.month) + *year;
    case VELA_Format::SDATE:
      return *year + Printf("/%02lld/%02lld", date.month, date.day);
    case VELA_Format::JDATE:
      return *year + Printf("%03lld", date.dayOfYear);
    case VELA_Format::QYR:
      return Printf("%lld Q ", (date.month - 1) / 3 + 1) + *year;
    case VELA_Format::MOYR:
      return MonthAbbreviation(date.month) + " " + *year;
    case VELA_Format::WKYR:
      return Printf("%2lld WK ", (date.dayOfYear - 1) / 7 + 1) + *year;
    default:
      return std::nullopt;
  }
}

// Width of the long (four-digit year) form of each date format.
int LongDateWidth(unsigned int type) {
  switch (type) {
    case VELA_Format::DATE: return 11;
    case VELA_Format::JDATE: return 7;
    case VELA_Format::QYR: case VELA_Format::MOYR: return 8;
    default: return 10;  // ADATE EDATE SDATE WKYR
  }
}

std::optional<std::string> DurationText(double value, unsigned int type, int width, int decimals) {
  const bool negative = value < 0;
  const double magnitude = std::fabs(value);
  std::string out;
  bool zero = false;
  if (type == VELA_Format::MTIME) {
    const int shown = ShownDecimals(width, 7, decimals);
    TimeParts parts = SplitSeconds(magnitude, true, shown, Slack(value));
    out = Printf("%02lld", parts.minutes) + SecondsText(parts, shown);
    zero = parts.minutes == 0 && parts.seconds == 0 && parts.fraction == 0;
  } else if (type == VELA_Format::TIME) {
    const bool showSeconds = width >= 8;
    const int shown = showSeconds ? ShownDecimals(width, 10, decimals) : 0;
    TimeParts parts = SplitSeconds(magnitude, showSeconds, shown, Slack(value));
    out = Printf("%02lld:%02lld", parts.minutes / 60, parts.minutes % 60);
    if (showSeconds) out += SecondsText(parts, shown);
    zero = parts.minutes == 0 && parts.seconds == 0 && parts.fraction == 0;
  } else {  // DTIME
    const bool showSeconds = width >= 11;
    const int shown = showSeconds ? ShownDecimals(width, 13, decimals) : 0;
    TimeParts parts = SplitSeconds(magnitude, showSeconds, shown, Slack(value));
    const std::int64_t days = parts.minutes / 1440;
    const std::int64_t minutesOfDay = parts.minutes % 1440;
    zero = parts.minutes == 0 && parts.seconds == 0 && parts.fraction == 0;
    const std::string dayText = (negative && !zero ? "-" : "") + Printf("%lld", days);
    out = (dayText.size() < 2 ? std::string(2 - dayText.size(), ' ') : std::string()) + dayText +
          Printf(" %02lld:%02lld", minutesOfDay / 60, minutesOfDay % 60);
    if (showSeconds) out += SecondsText(parts, shown);
    return out;
  }
  if (negative && !zero) out.insert(0, "-");
  return out;
}

std::optional<std::string> DateTimeWithTime(double value, unsigned int type, int width, int decimals) {
  const bool ymd = type == VELA_Format::YMDHMS;
  const int secondsWidth = ymd ? 19 : 20;
  const bool showSeconds = width >= secondsWidth;
  const int shown = showSeconds ? ShownDecimals(width, secondsWidth + 2, decimals) : 0;
  auto day = static_cast<std::int64_t>(std::floor(value / 86400.0));
  TimeParts parts = SplitSeconds(value - static_cast<double>(day) * 86400.0, showSeconds, shown, Slack(value));
  if (parts.minutes >= 1440) {  // the + 1e-6 reached midnight
    ++day;
    parts = TimeParts{};
  }
  const CivilDate date = DateFromDayNumber(day);
  std::string out = ymd ? Printf("%04lld-%02lld-%02lld", date.year, date.month, date.day)
                        : Printf("%02lld-", date.day) + MonthAbbreviation(date.month) +
                              Printf("-%04lld", date.year);
  out += Printf(" %02lld:%02lld", parts.minutes / 60, parts.minutes % 60);
  if (showSeconds) out += SecondsText(parts, shown);
  return out;
}

}  // namespace

std::optional<std::string> DateTimeText(double value, const VELA_Format& format, FieldMode mode,
                                        bool& isMissing) {
  isMissing = false;
  const unsigned int type = format.TypeEx();
  const int width = format.Width();
  const int decimals = format.Decimals();

  const data::FormatTraits* traits = data::FindFormatTraits(type);
  if (traits && traits->kind == data::FormatKind::kDayOrMonth) {
    const bool weekday = type == VELA_Format::WKDAY;
    const double number = std::floor(value);
    if (number < 1 || number > (weekday ? 7 : 12)) {
      isMissing = true;
      return std::nullopt;
    }
    std::string name = weekday ? kWeekdays[static_cast<int>(number) - 1] : kMonths[static_cast<int>(number) - 1];
    if (static_cast<int>(name.size()) > width) name.resize(static_cast<std::size_t>(width < 2 ? 2 : width));
    return name;
  }
  if (std::fabs(value) >= kMaxSeconds) return std::nullopt;
  if (IsDurationFormat(type)) return DurationText(value, type, width, decimals);

  // Dates and date-times count from the calendar origin; value <= 0 is
  // before or at it and shows as missing.
  if (value <= 0) {
    isMissing = true;
    return std::nullopt;
  }
  if (IsDateTimeFormat(type)) return DateTimeWithTime(value, type, width, decimals);
  const CivilDate date = DateFromDayNumber(static_cast<std::int64_t>(std::floor(value / 86400.0)));
  const bool longForm = width >= LongDateWidth(type);
  std::optional<std::string> text = DateText(type, date, longForm);
  if (!text && mode == FieldMode::kCell) text = DateText(type, date, true);
  return text;
}

}  // namespace codebook::output::detail
