// Extended missing values: the codes .a to .z of .dta files and ._, .A to .Z
// of the SAS formats. Each code is a distinct number that nothing else can
// be: one of the 64 largest finite doubles (the largest itself is not used,
// being the "highest" value of missing ranges). So a code is an ordinary number
// to everything that only stores, compares, sorts and hashes numbers (it
// sorts after every valid value, the codes in their own order), and the few
// places that must know (IsMissing, the display of values) recognise it by
// its bits.
//
// No reader delivers a valid value inside that band: the .dta and transport
// formats cannot hold one (their largest numbers are far below), and the
// readers of files that store any IEEE double lower such a value to the
// largest double below the band, a relative change of less than 1e-14.
#pragma once

#include <bit>
#include <cstdint>
#include <optional>
#include <string>

namespace codebook::data {

namespace extended_missing_detail {

inline constexpr std::uint64_t kHighestBits = 0x7FEFFFFFFFFFFFFFull;  // the largest finite double
inline constexpr std::uint64_t kFirstBits = kHighestBits - 63;
// The slots codes use: past the last, the band is free.
inline constexpr std::uint64_t kSlots = 59;
// Slots within the band: .a-.z at 0..25; ._ at 32 and .A-.Z at 33..58, so
// that ._ sorts before .A as it does where these codes come from.
inline constexpr int kLowerFirst = 0;
inline constexpr int kUnderscoreSlot = 32;
inline constexpr int kUpperFirst = 33;

constexpr int SlotOf(char code) {
  if (code >= 'a' && code <= 'z') return kLowerFirst + (code - 'a');
  if (code == '_') return kUnderscoreSlot;
  if (code >= 'A' && code <= 'Z') return kUpperFirst + (code - 'A');
  return -1;
}

constexpr char CodeOf(int slot) {
  if (slot >= kLowerFirst && slot < kLowerFirst + 26) return static_cast<char>('a' + (slot - kLowerFirst));
  if (slot == kUnderscoreSlot) return '_';
  if (slot >= kUpperFirst && slot < kUpperFirst + 26) return static_cast<char>('A' + (slot - kUpperFirst));
  return 0;
}

}  // namespace extended_missing_detail

// The number that stands for the code ('a'..'z', '_', 'A'..'Z'); nullopt for
// any other character.
constexpr std::optional<double> ExtendedMissingValue(char code) {
  using namespace extended_missing_detail;
  const int slot = SlotOf(code);
  if (slot < 0) return std::nullopt;
  return std::bit_cast<double>(kFirstBits + static_cast<std::uint64_t>(slot));
}

// The code a number stands for, or 0 when it is no code.
constexpr char ExtendedMissingCode(double value) {
  using namespace extended_missing_detail;
  const auto bits = std::bit_cast<std::uint64_t>(value);
  if (bits < kFirstBits || bits > kHighestBits) return 0;
  return CodeOf(static_cast<int>(bits - kFirstBits));
}

constexpr bool IsExtendedMissing(double value) { return ExtendedMissingCode(value) != 0; }

// True for a code, or a number among the codes that no code uses: what a
// reader of plain doubles must not hand on as a valid value.
constexpr bool InReservedBand(double value) {
  using namespace extended_missing_detail;
  return std::bit_cast<std::uint64_t>(value) - kFirstBits < kSlots;
}

// The largest double below the band: where a reader puts a stored valid
// value that falls inside it.
inline constexpr double kBelowReservedBand =
    std::bit_cast<double>(extended_missing_detail::kFirstBits - 1);

// ".a", "._", ".Z": how a code is shown.
inline std::string ExtendedMissingText(char code) { return std::string(".") + code; }

}  // namespace codebook::data
