// What each print/write format type is: its name, the smallest width and
// the decimals it allows, its kind and its code in a dataset file. The one
// place the platform learns this; the reader's checks, the writer's codes
// and the display of values all read it.
//
// The codes are the host's (VELA_Format::FormatType). A dataset file numbers
// the same types alike except MTIME and YMDHMS, which it stores as 40 and 41;
// the host's 40 is G, a display format no file can hold.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "host/data/vela_format.h"

namespace codebook::data {

enum class FormatKind : std::uint8_t {
  kString,      // A AHEX
  kFixed,       // F COMMA DOT DOLLAR PCT, the binary input types, CCA..CCE
  kScientific,  // E
  kZoned,       // N Z: digits with implied decimals
  kHex,         // PIBHEX RBHEX
  kGeneral,     // G
  kDate,        // DATE ADATE EDATE SDATE JDATE QYR MOYR WKYR
  kDateTime,    // DATETIME YMDHMS
  kDuration,    // TIME DTIME MTIME
  kDayOrMonth,  // WKDAY MONTH: a number 1..7 or 1..12 shown as a name
};

enum class DecimalsRule : std::uint8_t {
  kNone,       // no decimals at all
  kUpTo16,     // any number up to 16, whatever the width
  kWidthLess,  // up to width - decimalsOffset (and 16)
};

struct FormatTraits {
  VELA_Format::FormatType type;
  std::string_view name;
  std::uint8_t minWidth;
  DecimalsRule decimals;
  std::uint8_t decimalsOffset;  // for kWidthLess: room the rest of the field needs
  FormatKind kind;
  // The type's code in a dataset file; 0 when no file can hold the type.
  std::uint8_t fileCode;

  constexpr bool IsString() const { return kind == FormatKind::kString; }
  constexpr bool InFile() const { return fileCode != 0; }
  // The most decimals a field of this width may have.
  constexpr int MaxDecimals(int width) const {
    switch (decimals) {
      case DecimalsRule::kNone: return 0;
      case DecimalsRule::kUpTo16: return 16;
      case DecimalsRule::kWidthLess: break;
    }
    const int room = width - decimalsOffset;
    return room < 0 ? 0 : (room > 16 ? 16 : room);
  }
};

namespace format_traits_detail {

using F = VELA_Format;
using K = FormatKind;
using D = DecimalsRule;

}  // namespace format_traits_detail

// Sorted by type code; codes 13, 14, 18, 19 and 41..84 are no format.
inline constexpr auto kFormatTraits = [] {
  using namespace format_traits_detail;
  return std::to_array<FormatTraits>({
      {F::A, "A", 1, D::kNone, 0, K::kString, 1},
      {F::AHEX, "AHEX", 2, D::kNone, 0, K::kString, 2},
      {F::COMMA, "COMMA", 1, D::kWidthLess, 1, K::kFixed, 3},
      {F::DOLLAR, "DOLLAR", 2, D::kWidthLess, 2, K::kFixed, 4},
      {F::F, "F", 1, D::kWidthLess, 1, K::kFixed, 5},
      {F::IB, "IB", 1, D::kUpTo16, 0, K::kFixed, 6},
      {F::PIBHEX, "PIBHEX", 2, D::kNone, 0, K::kHex, 7},
      {F::P, "P", 1, D::kUpTo16, 0, K::kFixed, 8},
      {F::PIB, "PIB", 1, D::kUpTo16, 0, K::kFixed, 9},
      {F::PK, "PK", 1, D::kUpTo16, 0, K::kFixed, 10},
      {F::RB, "RB", 2, D::kUpTo16, 0, K::kFixed, 11},
      {F::RBHEX, "RBHEX", 4, D::kNone, 0, K::kHex, 12},
      {F::Z, "Z", 1, D::kWidthLess, 0, K::kZoned, 15},
      {F::N, "N", 1, D::kWidthLess, 0, K::kZoned, 16},
      {F::E, "E", 6, D::kWidthLess, 7, K::kScientific, 17},
      {F::DATE, "DATE", 9, D::kNone, 0, K::kDate, 20},
      {F::TIME, "TIME", 5, D::kWidthLess, 9, K::kDuration, 21},
      {F::DATETIME, "DATETIME", 17, D::kWidthLess, 21, K::kDateTime, 22},
      {F::ADATE, "ADATE", 8, D::kNone, 0, K::kDate, 23},
      {F::JDATE, "JDATE", 5, D::kNone, 0, K::kDate, 24},
      {F::DTIME, "DTIME", 8, D::kWidthLess, 12, K::kDuration, 25},
      {F::WKDAY, "WKDAY", 2, D::kNone, 0, K::kDayOrMonth, 26},
      {F::MONTH, "MONTH", 3, D::kNone, 0, K::kDayOrMonth, 27},
      {F::MOYR, "MOYR", 6, D::kNone, 0, K::kDate, 28},
      {F::QYR, "QYR", 6, D::kNone, 0, K::kDate, 29},
      {F::WKYR, "WKYR", 8, D::kNone, 0, K::kDate, 30},
      {F::PCT, "PCT", 2, D::kWidthLess, 2, K::kFixed, 31},
      {F::DOT, "DOT", 1, D::kWidthLess, 1, K::kFixed, 32},
      {F::CCA, "CCA", 2, D::kWidthLess, 1, K::kFixed, 33},
      {F::CCB, "CCB", 2, D::kWidthLess, 1, K::kFixed, 34},
      {F::CCC, "CCC", 2, D::kWidthLess, 1, K::kFixed, 35},
      {F::CCD, "CCD", 2, D::kWidthLess, 1, K::kFixed, 36},
      {F::CCE, "CCE", 2, D::kWidthLess, 1, K::kFixed, 37},
      {F::EDATE, "EDATE", 8, D::kNone, 0, K::kDate, 38},
      {F::SDATE, "SDATE", 8, D::kNone, 0, K::kDate, 39},
      // G never comes from a file; its width and decimals are not checked.
      {F::G, "G", 1, D::kUpTo16, 0, K::kGeneral, 0},
      {F::MTIME, "MTIME", 5, D::kWidthLess, 6, K::kDuration, 40},
      {F::YMDHMS, "YMDHMS", 16, D::kWidthLess, 20, K::kDateTime, 41},
  });
}();

namespace format_traits_detail {

constexpr bool SortedAndUnique() {
  for (std::size_t i = 1; i < kFormatTraits.size(); ++i) {
    if (kFormatTraits[i - 1].type >= kFormatTraits[i].type) return false;
  }
  return true;
}
static_assert(SortedAndUnique(), "format traits must be sorted by type code, each code once");

// Table position + 1 per host code (0: no format), so a lookup on every
// value shown costs one load.
inline constexpr auto kIndexByType = [] {
  std::array<std::uint8_t, 256> index{};
  for (std::size_t i = 0; i < kFormatTraits.size(); ++i) {
    index[kFormatTraits[i].type] = static_cast<std::uint8_t>(i + 1);
  }
  return index;
}();

inline constexpr auto kIndexByFileCode = [] {
  std::array<std::uint8_t, 256> index{};
  for (std::size_t i = 0; i < kFormatTraits.size(); ++i) {
    if (kFormatTraits[i].InFile()) index[kFormatTraits[i].fileCode] = static_cast<std::uint8_t>(i + 1);
  }
  return index;
}();

}  // namespace format_traits_detail

// The traits of a host type code, or nullptr when the code is no format.
constexpr const FormatTraits* FindFormatTraits(unsigned int type) {
  if (type >= format_traits_detail::kIndexByType.size()) return nullptr;
  const std::uint8_t slot = format_traits_detail::kIndexByType[type];
  return slot == 0 ? nullptr : &kFormatTraits[slot - 1u];
}

// The traits of a type as a dataset file numbers it, or nullptr.
constexpr const FormatTraits* FindFileFormatTraits(unsigned int fileCode) {
  if (fileCode >= format_traits_detail::kIndexByFileCode.size()) return nullptr;
  const std::uint8_t slot = format_traits_detail::kIndexByFileCode[fileCode];
  return slot == 0 ? nullptr : &kFormatTraits[slot - 1u];
}

// A format of a type, its width and decimals brought within what the type
// allows (numbers at most 40 columns wide): for the readers of formats
// whose own widths and decimals need not fit. `type` must be a format.
constexpr VELA_Format FittedFormat(VELA_Format::FormatType type, int width, int decimals) {
  const FormatTraits* traits = FindFormatTraits(type);
  const int maxWidth = traits->IsString() ? 32767 : 40;
  width = std::clamp(width, static_cast<int>(traits->minWidth), maxWidth);
  decimals = std::clamp(decimals, 0, traits->MaxDecimals(width));
  return VELA_Format(type, width, decimals);
}

}  // namespace codebook::data
