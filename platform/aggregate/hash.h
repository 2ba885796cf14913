// Hashing and range reduction shared by the weight maps.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace codebook::aggregate {

// The MurmurHash3 finaliser: every input bit reaches every output bit. The
// maps index by the high bits of the hash, and data codes such as 1.0, 2.0
// differ only in a few exponent and mantissa bits, so a plain cast would
// cluster them.
inline std::uint64_t MixBits(std::uint64_t x) {
  x ^= x >> 33;
  x *= 0xff51afd7ed558ccdULL;
  x ^= x >> 33;
  x *= 0xc4ceb9fe1a85ec53ULL;
  x ^= x >> 33;
  return x;
}

// One multiplication: the numeric maps hash once per case, and the full
// finaliser above costs twice as much there. The shift folds the exponent
// and top mantissa bits, where codes such as 1.0, 2.0 or 0.25 differ, into
// the low bits, and the multiplication carries every bit into the high bits
// that ReduceRange uses. -0 and +0 must hash alike; callers pass values
// already normalised.
inline std::uint64_t HashDouble(double value) {
  const auto bits = std::bit_cast<std::uint64_t>(value);
  return (bits ^ (bits >> 29)) * 0x9E3779B97F4A7C15ULL;
}

// Hash of a byte string, eight bytes at a time.
std::uint64_t HashBytes(std::string_view bytes);

// Maps a hash onto [0, n) by its high bits: no division, and n need not be a
// power of two, which lets the maps grow by half instead of doubling.
inline std::size_t ReduceRange(std::uint64_t hash, std::size_t n) {
  __extension__ typedef unsigned __int128 Wide;
  return static_cast<std::size_t>((static_cast<Wide>(hash) * n) >> 64);
}

}  // namespace codebook::aggregate
