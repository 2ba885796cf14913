// The numbers of a .dta file: each storage type keeps its missing values
// above its largest valid value. From release 113, "." is the first of them
// and .a to .z the next 26 (for float and double, spaced 2^11 and 2^40
// apart in the bits); before, only "." exists. A value label's value is a
// 4-byte integer whatever the variable's storage, so the labels of .a-.z
// are 2147483622 and on, the codes of a long.
#pragma once

#include <array>
#include <bit>
#include <cstdint>
#include <cstring>

#include "host/data/obs.h"
#include "platform/data/dta/dta_layout.h"
#include "platform/data/extended_missing.h"

namespace codebook::data::dta {

// Index 0 is ".", system-missing; 1 to 26 are .a to .z.
inline constexpr std::array<double, 27> kMissingByIndex = [] {
  std::array<double, 27> out{};
  out[0] = kSysmis;
  for (int k = 1; k <= 26; ++k) out[static_cast<std::size_t>(k)] = *ExtendedMissingValue(static_cast<char>('a' + k - 1));
  return out;
}();

// The first missing value of each integer type, by era.
struct IntegerLimits {
  std::int32_t byteMissing, intMissing, longMissing;
};
inline constexpr IntegerLimits kLimits113{101, 32741, 2147483621};
inline constexpr IntegerLimits kLimitsBefore113{127, 32767, 2147483647};

// An integer at or above `first` (its type's first missing value): "." or a
// code; past the 26 codes (only a damaged file has such), ".".
inline double IntegerValue(std::int64_t value, std::int64_t first, bool extended) {
  if (value < first) return static_cast<double>(value);
  const std::int64_t k = value - first;
  return extended && k <= 26 ? kMissingByIndex[static_cast<std::size_t>(k)] : kSysmis;
}

inline double FloatValue(std::uint32_t bits, bool extended) {
  constexpr std::uint32_t kMissing = 0x7F000000u;
  if ((bits & 0x80000000u) == 0 && bits >= kMissing) {
    const std::uint32_t k = (bits - kMissing) >> 11;
    // An exact code; anything else up there (infinity, NaN) is ".".
    if (extended && k <= 26 && (bits - kMissing) == k << 11) return kMissingByIndex[k];
    return kSysmis;
  }
  const float f = std::bit_cast<float>(bits);
  // NaN and -infinity are no valid value either.
  return f != f || f < -3.4028235e38f ? kSysmis : static_cast<double>(f);
}

inline double DoubleValue(std::uint64_t bits, bool extended) {
  constexpr std::uint64_t kMissing = 0x7FE0000000000000ull;
  if ((bits & 0x8000000000000000ull) == 0 && bits >= kMissing) {
    const std::uint64_t k = (bits - kMissing) >> 40;
    if (extended && k <= 26 && (bits - kMissing) == k << 40) return kMissingByIndex[k];
    return kSysmis;
  }
  const double d = std::bit_cast<double>(bits);
  // NaN and -infinity are no valid value either.
  return d != d || d < -1.7976931348623157e308 ? kSysmis : d;
}

// The value of a numeric field of a row.
inline double NumberAt(const std::uint8_t* p, Storage storage, bool bigEndian, bool extended) {
  const IntegerLimits& limits = extended ? kLimits113 : kLimitsBefore113;
  switch (storage) {
    case Storage::kByte:
      return IntegerValue(static_cast<std::int8_t>(p[0]), limits.byteMissing, extended);
    case Storage::kInt: {
      const auto u = static_cast<std::uint16_t>(bigEndian ? (p[0] << 8) | p[1] : p[0] | (p[1] << 8));
      return IntegerValue(static_cast<std::int16_t>(u), limits.intMissing, extended);
    }
    case Storage::kLong: {
      std::uint32_t u;
      std::memcpy(&u, p, 4);
      if (bigEndian != (std::endian::native == std::endian::big)) u = __builtin_bswap32(u);
      return IntegerValue(static_cast<std::int32_t>(u), limits.longMissing, extended);
    }
    case Storage::kFloat: {
      std::uint32_t u;
      std::memcpy(&u, p, 4);
      if (bigEndian != (std::endian::native == std::endian::big)) u = __builtin_bswap32(u);
      return FloatValue(u, extended);
    }
    case Storage::kDouble: {
      std::uint64_t u;
      std::memcpy(&u, p, 8);
      if (bigEndian != (std::endian::native == std::endian::big)) u = __builtin_bswap64(u);
      return DoubleValue(u, extended);
    }
    case Storage::kString:
    case Storage::kStrL:
      break;
  }
  return kSysmis;
}

// A value-label table's value: the labels of .a-.z are those of a long's
// codes (and "." has none that could be shown).
inline double LabelValue(std::int32_t value, bool extended) {
  return IntegerValue(value, (extended ? kLimits113 : kLimitsBefore113).longMissing, extended);
}

}  // namespace codebook::data::dta
