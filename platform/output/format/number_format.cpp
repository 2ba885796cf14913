// Fixed-point, scientific and hexadecimal numeric formats (format document
// 10.5) and the dispatch over all numeric format types.
#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "host/data/obs.h"

#include "platform/data/extended_missing.h"
#include "platform/data/format_traits.h"
#include "platform/output/format/decimal.h"
#include "platform/output/format/format_internal.h"
#include "platform/output/format/value_format.h"

namespace codebook::output {

namespace detail {

std::string Stars(int width) { return std::string(static_cast<std::size_t>(width > 0 ? width : 1), '*'); }

std::string FitField(std::string text, int width, FieldMode mode) {
  if (mode == FieldMode::kCell) {
    // Cells drop the blanks that right-align a field (DTIME's day column).
    const std::size_t first = text.find_first_not_of(' ');
    return first == std::string::npos ? std::string() : text.substr(first);
  }
  const int length = static_cast<int>(text.size());
  if (length > width) return Stars(width);
  return std::string(static_cast<std::size_t>(width - length), ' ') + text;
}

std::string MissingText(int width, FieldMode mode) {
  return mode == FieldMode::kCell ? std::string(".") : FitField(".", width < 1 ? 1 : width, mode);
}

}  // namespace detail

namespace {

using detail::FitField;
using detail::MissingText;
using detail::Stars;

bool HasKind(unsigned int type, data::FormatKind kind) {
  const data::FormatTraits* traits = data::FindFormatTraits(type);
  return traits && traits->kind == kind;
}

constexpr int kMaxDecimals = 16;
// A cell never grows past this: beyond it a fixed-point number is shown in
// scientific notation instead.
constexpr std::size_t kMaxCellNumberLength = 40;

struct FixedStyle {
  char grouping = 0;      // 0: none
  char decimalPoint = '.';
  const char* prefix = "";
  const char* suffix = "";
};

FixedStyle StyleOf(unsigned int type) {
  FixedStyle style;
  switch (type) {
    case VELA_Format::COMMA:
      style.grouping = ',';
      break;
    case VELA_Format::DOT:
      style.grouping = '.';
      style.decimalPoint = ',';
      break;
    case VELA_Format::DOLLAR:
      style.grouping = ',';
      style.prefix = "$";
      break;
    case VELA_Format::PCT:
      style.suffix = "%";
      break;
    default:
      break;
  }
  return style;
}

std::string GroupDigits(const std::string& digits, char separator) {
  if (separator == 0 || digits.size() <= 3) return digits;
  std::string out;
  out.reserve(digits.size() + digits.size() / 3);
  const std::size_t lead = digits.size() % 3 == 0 ? 3 : digits.size() % 3;
  out.append(digits, 0, lead);
  for (std::size_t i = lead; i < digits.size(); i += 3) {
    out.push_back(separator);
    out.append(digits, i, 3);
  }
  return out;
}

std::string FixedText(double value, int decimals, const FixedStyle& style, bool grouped,
                      bool leadingZero) {
  std::string integer;
  bool negative = false;
  DecimalDigits number;
  const bool whole = std::fabs(value) < 1e15 && value == std::trunc(value);
  // Whole numbers (counts, codes, positions: most cells of a codebook) have
  // exact digits of their own; the rest go through their decimal form.
  if (whole) {
    const auto integral = static_cast<long long>(value);
    char digits[24];
    const auto [end, error] = std::to_chars(digits, digits + sizeof digits, integral < 0 ? -integral : integral);
    integer.assign(digits, error == std::errc() ? end : digits);
    negative = integral < 0;
  } else {
    number = ToDecimal(value);
    RoundToDecimals(number, decimals);
    integer = IntegerDigits(number);
    negative = number.negative && !number.IsZero();
  }
  std::string out;
  if (negative) out.push_back('-');
  out += style.prefix;
  if (!(integer == "0" && !leadingZero && decimals > 0)) out += GroupDigits(integer, grouped ? style.grouping : 0);
  if (decimals > 0) {
    out.push_back(style.decimalPoint);
    if (whole) {
      out.append(static_cast<std::size_t>(decimals), '0');
    } else {
      out += FractionDigits(number, decimals);
    }
  }
  out += style.suffix;
  return out;
}

std::string ScientificText(double value, int decimals, bool keepPoint) {
  DecimalDigits number = ToDecimal(value);
  RoundToSignificant(number, decimals + 1);
  const int exponent = number.IsZero() ? 0 : number.point - 1;
  std::string out;
  if (number.negative && !number.IsZero()) out.push_back('-');
  out.push_back(number.digits.empty() ? '0' : number.digits[0]);
  if (decimals > 0 || keepPoint) out.push_back('.');
  for (int i = 1; i <= decimals; ++i) {
    out.push_back(i < static_cast<int>(number.digits.size()) ? number.digits[static_cast<std::size_t>(i)] : '0');
  }
  char buffer[16];
  std::snprintf(buffer, sizeof buffer, "E%c%03d", exponent < 0 ? '-' : '+', std::abs(exponent));
  out += buffer;
  return out;
}

std::string FormatScientific(double value, int width, int decimals, FieldMode mode) {
  if (mode == FieldMode::kCell) return ScientificText(value, decimals, decimals == 0);
  for (int d = std::min(decimals, std::max(0, width - 7)); d >= 0; --d) {
    std::string text = ScientificText(value, d, false);
    if (d == 0 && static_cast<int>(text.size()) < width) text = ScientificText(value, 0, true);
    if (static_cast<int>(text.size()) <= width) return FitField(std::move(text), width, mode);
  }
  return Stars(width);
}

std::string FormatFixed(double value, int width, int decimals, const FixedStyle& style,
                        FieldMode mode) {
  if (mode == FieldMode::kCell) {
    std::string text = FixedText(value, decimals, style, true, true);
    if (text.size() <= kMaxCellNumberLength) return text;
    return ScientificText(value, decimals < 2 ? 2 : decimals, false);
  }
  // Fewer decimals before stars; then the leading zero of a pure fraction,
  // then the grouping separators.
  for (int d = decimals; d >= 0; --d) {
    std::string text = FixedText(value, d, style, true, true);
    if (static_cast<int>(text.size()) <= width) return FitField(std::move(text), width, mode);
    text = FixedText(value, d, style, true, false);
    if (static_cast<int>(text.size()) <= width) return FitField(std::move(text), width, mode);
  }
  std::string text = FixedText(value, 0, style, false, true);
  return FitField(std::move(text), width, mode);
}

// N and Z: the digits of the value with implied decimals, zero-filled.
std::string FormatZoned(double value, int width, int decimals, bool zoned, FieldMode mode) {
  if (value < 0 && !zoned) return MissingText(width, mode);
  DecimalDigits number = ToDecimal(value);
  RoundToDecimals(number, decimals);
  std::string digits = IntegerDigits(number) + FractionDigits(number, decimals);
  const std::size_t first = digits.find_first_not_of('0');
  digits = first == std::string::npos ? std::string() : digits.substr(first);
  if (digits.size() < static_cast<std::size_t>(width)) digits.insert(0, static_cast<std::size_t>(width) - digits.size(), '0');
  if (digits.empty()) digits = "0";
  if (number.negative && !number.IsZero()) {
    char& last = digits.back();
    last = last == '0' ? '}' : static_cast<char>('J' + (last - '1'));
  }
  if (mode == FieldMode::kFixed && static_cast<int>(digits.size()) > width) return Stars(width);
  return digits;
}

std::string FormatPibHex(double value, int width, FieldMode mode) {
  const double rounded = std::round(value);
  // Beyond 2^64 the value has no unsigned binary form at all.
  if (rounded < 0) return MissingText(width, mode);
  if (rounded >= 18446744073709551616.0) return Stars(width);
  const auto integer = static_cast<std::uint64_t>(rounded);
  char buffer[32];
  const int digits = width < 1 ? 1 : (width > 16 ? 16 : width);
  std::snprintf(buffer, sizeof buffer, "%0*llX", digits, static_cast<unsigned long long>(integer));
  std::string text = buffer;
  if (mode == FieldMode::kFixed && static_cast<int>(text.size()) > width) return Stars(width);
  return FitField(std::move(text), width, mode);
}

// The bits of the double, most significant byte first, so the text is the
// same on every machine.
std::string FormatRbHex(double value, int width, FieldMode mode) {
  std::uint64_t bits = 0;
  std::memcpy(&bits, &value, sizeof bits);
  char buffer[32];
  std::snprintf(buffer, sizeof buffer, "%016llX", static_cast<unsigned long long>(bits));
  return FitField(buffer, width, mode);
}

// G: like F with as many decimals as the value needs (at most 16).
std::string FormatGeneral(double value, int width, FieldMode mode) {
  DecimalDigits number = ToDecimal(value);
  int decimals = static_cast<int>(number.digits.size()) - number.point;
  decimals = decimals < 0 ? 0 : (decimals > kMaxDecimals ? kMaxDecimals : decimals);
  std::string text = FixedText(value, decimals, FixedStyle{}, false, true);
  if (mode == FieldMode::kFixed && static_cast<int>(text.size()) > width) {
    if (width >= 6) return FormatScientific(value, width, width - 7 > 0 ? width - 7 : 0, mode);
    return FormatFixed(value, width, decimals, FixedStyle{}, mode);
  }
  if (mode == FieldMode::kCell && text.size() > kMaxCellNumberLength) return ScientificText(value, 6, false);
  return FitField(std::move(text), width, mode);
}

}  // namespace

bool IsDateFormat(unsigned int type) { return HasKind(type, data::FormatKind::kDate); }

bool IsDateTimeFormat(unsigned int type) { return HasKind(type, data::FormatKind::kDateTime); }

bool IsDurationFormat(unsigned int type) { return HasKind(type, data::FormatKind::kDuration); }

std::string FormatNumber(double value, const VELA_Format& format, FieldMode mode) {
  int width = format.Width();
  int decimals = format.Decimals() > kMaxDecimals ? kMaxDecimals : format.Decimals();
  if (width < 1) width = 1;
  if (!std::isfinite(value) || value == kSysmis) return MissingText(width, mode);
  // An extended missing code shows as such in every numeric format.
  if (const char code = data::ExtendedMissingCode(value)) {
    return FitField(data::ExtendedMissingText(code), width < 2 ? 2 : width, mode);
  }

  const unsigned int type = format.TypeEx();
  const data::FormatTraits* traits = data::FindFormatTraits(type);
  // A string or invalid format on a number: the reader's substitute F8.2.
  switch (traits ? traits->kind : data::FormatKind::kString) {
    case data::FormatKind::kString:
      return FormatFixed(value, 8, 2, FixedStyle{}, mode);
    case data::FormatKind::kFixed:
      return FormatFixed(value, width, decimals, StyleOf(type), mode);
    case data::FormatKind::kScientific:
      return FormatScientific(value, width, decimals, mode);
    case data::FormatKind::kZoned:
      return FormatZoned(value, width, decimals, type == VELA_Format::Z, mode);
    case data::FormatKind::kHex:
      if (type == VELA_Format::RBHEX) return FormatRbHex(value, width, mode);
      return FormatPibHex(value, width, mode);
    case data::FormatKind::kGeneral:
      return FormatGeneral(value, width, mode);
    case data::FormatKind::kDate: case data::FormatKind::kDateTime:
    case data::FormatKind::kDuration: case data::FormatKind::kDayOrMonth: {
      bool isMissing = false;
      std::optional<std::string> text = detail::DateTimeText(value, format, mode, isMissing);
      if (isMissing) return MissingText(width, mode);
      if (!text) return Stars(width);
      return FitField(std::move(*text), width, mode);
    }
  }
  return FormatFixed(value, 8, 2, FixedStyle{}, mode);
}

}  // namespace codebook::output
