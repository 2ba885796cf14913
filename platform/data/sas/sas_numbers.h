// The numbers of the SAS formats. A missing value is ".", "._" or ".A" to
// ".Z". A .sas7bdat file stores an IEEE double, a missing value as a NaN
// whose byte below the top two (bits 40 to 47) is the complement of the
// code's character ('.' 0xD1); a transport file stores the hexadecimal
// floating point of the format (sign, 7-bit exponent of 16 biased by 64,
// 56-bit fraction), most significant byte first, a missing value as the
// code's character followed by zeros. Both may keep only the first 2 to 8
// bytes of a number (the rest are zeros).
#pragma once

#include <bit>
#include <cmath>
#include <cstdint>

#include "host/data/obs.h"
#include "platform/data/extended_missing.h"

namespace codebook::data::sas {

// The value of a missing code's character: "." system-missing, "_" and
// "A" to "Z" extended codes; any other character is no code (nullopt).
inline std::optional<double> MissingOf(std::uint8_t character) {
  if (character == '.') return kSysmis;
  if (character == '_' || (character >= 'A' && character <= 'Z')) {
    return ExtendedMissingValue(static_cast<char>(character));
  }
  return std::nullopt;
}

// An IEEE double as a .sas7bdat file gives it (bits in the machine's order).
inline double Sas7bdatValue(std::uint64_t bits) {
  const double value = std::bit_cast<double>(bits);
  if (std::isnan(value)) {
    const auto code = static_cast<std::uint8_t>(~(bits >> 40) & 0xFF);
    const std::optional<double> missing = MissingOf(code);
    return missing ? *missing : kSysmis;
  }
  if (std::isinf(value)) return kSysmis;
  // A stored valid value may not pass for a code, nor for system-missing.
  if (InReservedBand(value)) return kBelowReservedBand;
  if (value == kSysmis) return -kBelowReservedBand;
  return value;
}

// A transport number of `n` bytes (1 to 8), most significant first.
inline double TransportValue(const std::uint8_t* p, std::size_t n) {
  std::uint64_t fraction = 0;
  for (std::size_t i = 1; i < 8; ++i) fraction = (fraction << 8) | (i < n ? p[i] : 0u);
  if (fraction == 0) {
    if (const std::optional<double> missing = MissingOf(p[0])) return *missing;
    return 0.0;
  }
  const int exponent = (p[0] & 0x7F) - 64;
  // The fraction's 56 bits round to the double's 53 once; scaling by a power
  // of two is exact.
  const double magnitude = std::ldexp(static_cast<double>(fraction), 4 * exponent - 56);
  return (p[0] & 0x80) != 0 ? -magnitude : magnitude;
}

}  // namespace codebook::data::sas
