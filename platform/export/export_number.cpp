#include "platform/export/export_number.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>

#include "platform/data/extended_missing.h"
#include "platform/data/format_traits.h"
#include "platform/output/format/calendar.h"
#include "platform/output/format/number_text.h"

namespace codebook::exporting {

namespace {

constexpr std::int64_t kSecondsPerDay = 86400;
// About 95,000 years of seconds: past this no calendar date is useful, and
// the arithmetic below, in millionths of a second, stays within 64 bits.
constexpr double kLargestTime = 3.0e12;

int Decimals(int decimals) { return decimals < 0 ? 0 : (decimals > 6 ? 6 : decimals); }

std::int64_t Scale(int decimals) {
  std::int64_t scale = 1;
  for (int i = 0; i < decimals; ++i) scale *= 10;
  return scale;
}

// The value in whole units of 10^-decimals seconds, cut toward minus
// infinity as the tables cut it. The slack keeps the binary noise of a
// whole second (13:44:59.9999999 for 13:45) from cutting a second off.
std::int64_t Units(double seconds, std::int64_t scale) {
  const double slack = std::max(1e-6, std::fabs(seconds) * 1e-15);
  return static_cast<std::int64_t>(std::floor((seconds + slack) * static_cast<double>(scale)));
}

// hh:mm:ss[.fff] of a non-negative number of units; hours go past 24.
std::string Clock(std::int64_t units, std::int64_t scale, int decimals) {
  const std::int64_t fraction = units % scale;
  const std::int64_t whole = units / scale;
  char text[64];
  std::snprintf(text, sizeof text, "%02lld:%02d:%02d", static_cast<long long>(whole / 3600),
                static_cast<int>(whole / 60 % 60), static_cast<int>(whole % 60));
  std::string out = text;
  if (decimals > 0) {
    std::snprintf(text, sizeof text, ".%0*lld", decimals, static_cast<long long>(fraction));
    out += text;
  }
  return out;
}

bool Calendared(double seconds, TimeKind kind) {
  return kind != TimeKind::kNone && std::isfinite(seconds) && std::fabs(seconds) <= kLargestTime;
}

}  // namespace

std::string NumberText(double value) {
  if (const char code = data::ExtendedMissingCode(value)) return data::ExtendedMissingText(code);
  if (std::isnan(value)) return "NaN";
  if (std::isinf(value)) return value > 0 ? "INF" : "-INF";
  return output::NumberText(value);
}

TimeKind TimeKindOf(const VELA_Format& format) {
  const data::FormatTraits* traits = data::FindFormatTraits(format.TypeEx());
  if (traits == nullptr) return TimeKind::kNone;
  switch (traits->kind) {
    case data::FormatKind::kDate: return TimeKind::kDate;
    case data::FormatKind::kDateTime: return TimeKind::kDateTime;
    case data::FormatKind::kDuration: return TimeKind::kTime;
    default: return TimeKind::kNone;
  }
}

std::string IsoText(double seconds, TimeKind kind, int decimals) {
  if (!Calendared(seconds, kind)) return NumberText(seconds);
  decimals = Decimals(decimals);
  const std::int64_t scale = Scale(decimals);
  if (kind == TimeKind::kTime) {
    const std::int64_t units = Units(std::fabs(seconds), scale);
    return (seconds < 0 && units > 0 ? "-" : "") + Clock(units, scale, decimals);
  }
  // The day a moment falls in (a moment before 1582 is in a day before
  // day 0), then the time into that day.
  const std::int64_t units = Units(seconds, scale);
  const std::int64_t perDay = kSecondsPerDay * scale;
  std::int64_t day = units / perDay;
  if (units % perDay < 0) --day;
  const output::CivilDate date = output::DateFromDayNumber(day);
  char text[48];
  // ISO 8601's expanded years, outside 0000 to 9999, carry a sign.
  std::snprintf(text, sizeof text, date.year >= 0 && date.year <= 9999 ? "%04lld-%02d-%02d" : "%+lld-%02d-%02d",
                static_cast<long long>(date.year), date.month, date.day);
  std::string out = text;
  if (kind == TimeKind::kDateTime) out += 'T' + Clock(units - day * perDay, scale, decimals);
  return out;
}

std::string IsoSpanText(double seconds, TimeKind kind, int decimals) {
  if (!Calendared(seconds, kind)) return NumberText(seconds);
  decimals = Decimals(decimals);
  if (kind == TimeKind::kTime) return IsoText(seconds, kind, decimals);
  const std::int64_t scale = Scale(decimals);
  const std::int64_t units = Units(std::fabs(seconds), scale);
  const std::int64_t fraction = units % scale;
  const std::int64_t whole = units / scale;
  const std::int64_t days = whole / kSecondsPerDay;
  const std::int64_t hours = whole / 3600 % 24;
  const std::int64_t minutes = whole / 60 % 60;
  const std::int64_t secondsPart = whole % 60;
  std::string out = seconds < 0 && units > 0 ? "-P" : "P";
  if (days != 0) out += std::to_string(days) + "D";
  if (hours == 0 && minutes == 0 && secondsPart == 0 && fraction == 0) return days != 0 ? out : out + "T0S";
  out += 'T';
  if (hours != 0) out += std::to_string(hours) + "H";
  if (minutes != 0) out += std::to_string(minutes) + "M";
  if (secondsPart != 0 || fraction != 0) {
    out += std::to_string(secondsPart);
    if (fraction != 0) {
      char text[32];
      std::snprintf(text, sizeof text, ".%0*lld", decimals, static_cast<long long>(fraction));
      out += text;
    }
    out += 'S';
  }
  return out;
}

}  // namespace codebook::exporting
