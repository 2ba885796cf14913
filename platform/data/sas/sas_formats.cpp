// The mapping of SAS display formats, decided once here:
//
// - none and BEST: G (as many decimals as a value needs); w.d and F: F;
//   COMMA(X): COMMA; DOLLAR(X), NLMNY: DOLLAR; E: E; Z: F. PERCENT shows
//   its value times 100, which no format here does: F with two more
//   decimals, so that the stored fraction shows in full.
// - Dates (days since 1960): DATE DATE11 (DATE9 below width 9), MMDDYY
//   ADATE, DDMMYY EDATE, YYMMDD and the ISO 8601 dates SDATE, MONYY and
//   YYMON MOYR, JULIAN JDATE, YYQ QYR, other date formats (WEEKDATE,
//   WORDDATE, YEAR, ...) DATE11.
// - Date-times (seconds since 1960): DATETIME DATETIME, the ISO 8601
//   date-times YMDHMS; other date-time formats DATETIME20.
// - Times of day (seconds): TIME, HHMM, TOD, the ISO 8601 times: TIME.
// - Strings ($, $CHAR, none): A of the variable's width.
// - Any other name (a format of a catalog, say) shows numbers as G.
#include "platform/data/sas/sas_formats.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <initializer_list>

#include "platform/data/format_traits.h"

namespace codebook::data::sas {
namespace {

bool OneOf(const std::string& name, std::initializer_list<std::string_view> names) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

bool StartsWithAny(const std::string& name, std::initializer_list<std::string_view> prefixes) {
  for (const std::string_view prefix : prefixes) {
    if (name.starts_with(prefix)) return true;
  }
  return false;
}

int Number(std::string_view text, std::size_t& at) {
  int value = 0;
  const auto [end, error] = std::from_chars(text.data() + at, text.data() + text.size(), value);
  if (error != std::errc()) return 0;
  at = static_cast<std::size_t>(end - text.data());
  return std::min(value, 32767);
}

SasDisplay Dates(const SasFormat& f) {
  const int w = f.width;
  SasDisplay d;
  d.time = TimeUnit::kDays1960;
  const std::string& n = f.name;
  if (n == "DATE") {
    d.format = VELA_Format(VELA_Format::DATE, w != 0 && w < 9 ? 9 : 11, 0);
  } else if (n == "MMDDYY") {
    d.format = VELA_Format(VELA_Format::ADATE, w != 0 && w < 10 ? 8 : 10, 0);
  } else if (n == "DDMMYY") {
    d.format = VELA_Format(VELA_Format::EDATE, w != 0 && w < 10 ? 8 : 10, 0);
  } else if (n == "YYMMDD" || StartsWithAny(n, {"E8601DA", "IS8601DA", "B8601DA"})) {
    d.format = VELA_Format(VELA_Format::SDATE, n == "YYMMDD" && w != 0 && w < 10 ? 8 : 10, 0);
  } else if (OneOf(n, {"MONYY", "YYMON", "MMYY", "YYMM"})) {
    d.format = VELA_Format(VELA_Format::MOYR, 8, 0);
  } else if (n == "JULIAN") {
    d.format = VELA_Format(VELA_Format::JDATE, w != 0 && w < 7 ? 5 : 7, 0);
  } else if (OneOf(n, {"YYQ", "QTR", "YYQR"})) {
    d.format = VELA_Format(VELA_Format::QYR, 8, 0);
  } else {
    d.format = VELA_Format(VELA_Format::DATE, 11, 0);
  }
  return d;
}

bool IsDate(const std::string& n) {
  return OneOf(n, {"DATE", "MMDDYY", "DDMMYY", "YYMMDD", "MONYY", "YYMON", "MMYY", "YYMM", "JULIAN", "YYQ", "QTR",
                   "YYQR", "WEEKDATE", "WEEKDATX", "WORDDATE", "WORDDATX", "DOWNAME", "WEEKDAY", "YEAR", "DAY",
                   "MONTH", "MONNAME", "NLDATE", "EURDFDD", "EURDFDE", "MINGUO", "NENGO", "PDJULG", "PDJULI"}) ||
         StartsWithAny(n, {"E8601DA", "IS8601DA", "B8601DA", "DDMMYY", "MMDDYY", "YYMMDD"});
}

bool IsDateTime(const std::string& n) {
  return OneOf(n, {"DATETIME", "DATEAMPM", "DTDATE", "NLDATM", "MDYAMPM", "DTMONYY", "DTYEAR", "DTWKDATX"}) ||
         StartsWithAny(n, {"E8601DT", "IS8601DT", "B8601DT", "E8601DN"});
}

bool IsTime(const std::string& n) {
  return OneOf(n, {"TIME", "HHMM", "HOUR", "MMSS", "TOD", "TIMEAMPM", "NLTIME"}) ||
         StartsWithAny(n, {"E8601TM", "IS8601TM", "B8601TM"});
}

}  // namespace

std::string SasFormat::Text() const {
  if (name.empty() && width == 0) return {};
  std::string text = name;
  if (width != 0) text += std::to_string(width);
  text += '.';
  if (decimals != 0) text += std::to_string(decimals);
  return text;
}

SasFormat ParseSasFormat(std::string_view stored, int width, int decimals) {
  while (!stored.empty() && (stored.back() == ' ' || stored.back() == '\0')) stored.remove_suffix(1);
  // NAME<width>.<decimals>; a name may hold digits itself (E8601DA).
  const std::size_t point = stored.rfind('.');
  std::string_view head = point == std::string_view::npos ? stored : stored.substr(0, point);
  const std::string_view tail = point == std::string_view::npos ? std::string_view() : stored.substr(point + 1);
  std::size_t digits = head.size();
  while (digits > 0 && std::isdigit(static_cast<unsigned char>(head[digits - 1]))) --digits;
  std::size_t at = digits;
  const int textWidth = Number(head, at);
  at = 0;
  const int textDecimals = Number(tail, at);
  SasFormat f;
  for (const char c : head.substr(0, digits)) f.name += static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  // A width and decimals in the text count when the fields give none.
  f.width = width > 0 ? width : textWidth;
  f.decimals = width > 0 || decimals > 0 ? std::max(decimals, 0) : textDecimals;
  return f;
}

SasDisplay MapSasFormat(const SasFormat& f, bool isString, int stringWidth) {
  SasDisplay d;
  if (isString) {
    d.format = VELA_Format(VELA_Format::A, stringWidth, 0);
    return d;
  }
  const std::string& n = f.name;
  const int w = f.width;
  if (IsDateTime(n)) {
    d.time = TimeUnit::kSeconds1960;
    if (StartsWithAny(n, {"E8601", "IS8601", "B8601"})) {
      d.format = VELA_Format(VELA_Format::YMDHMS, 19, 0);
    } else {
      // Decimals of seconds need their room: DATETIME22.3 shows as 24.3.
      const int decimals = n == "DATETIME" ? f.decimals : 0;
      const int width = std::max(n == "DATETIME" && w != 0 ? w : 20, decimals > 0 ? 21 + decimals : 0);
      d.format = FittedFormat(VELA_Format::DATETIME, width, decimals);
    }
    return d;
  }
  if (IsDate(n)) return Dates(f);
  if (IsTime(n)) {
    const int width = n == "HHMM" || n == "HOUR" ? 5 : (n == "TIME" && w != 0 ? w : 8);
    d.format = FittedFormat(VELA_Format::TIME, width, n == "TIME" ? f.decimals : 0);
    return d;
  }
  if (n.empty() && w != 0) {
    d.format = FittedFormat(VELA_Format::F, w, f.decimals);
  } else if (n == "F" || n == "Z" || n == "NUMX") {
    d.format = FittedFormat(VELA_Format::F, w != 0 ? w : 8, f.decimals);
  } else if (n == "COMMA" || n == "COMMAX") {
    d.format = FittedFormat(VELA_Format::COMMA, w != 0 ? w : 12, f.decimals);
  } else if (n == "DOLLAR" || n == "DOLLARX" || n == "NLMNY") {
    d.format = FittedFormat(VELA_Format::DOLLAR, w != 0 ? w : 12, f.decimals);
  } else if (n == "PERCENT" || n == "PERCENTN") {
    d.format = FittedFormat(VELA_Format::F, w != 0 ? w : 8, f.decimals + 2);
  } else if (n == "E") {
    d.format = FittedFormat(VELA_Format::E, w != 0 ? w : 12, f.decimals);
  } else {
    d.format = FittedFormat(VELA_Format::G, w != 0 ? w : 12, 0);  // none, BEST, or a catalog's format
  }
  return d;
}

}  // namespace codebook::data::sas
