// Hashing and range reduction shared by the weight maps.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
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

// Hash of a byte string longer than 16 bytes, eight bytes at a time.
std::uint64_t HashLongBytes(std::string_view bytes);

// Hash of a byte string. Most string values are short, and a pass hashes
// one per case and table: up to 16 bytes take two (overlapping) word loads
// and no loop. Two strings of one length differ in one of the two words.
inline std::uint64_t HashBytes(std::string_view bytes) {
  const std::size_t n = bytes.size();
  if (n > 16) return HashLongBytes(bytes);
  const char* p = bytes.data();
  std::uint64_t a = 0;
  std::uint64_t b = 0;
  if (n >= 8) {
    std::memcpy(&a, p, 8);
    std::memcpy(&b, p + n - 8, 8);
  } else if (n >= 4) {
    std::uint32_t x = 0;
    std::uint32_t y = 0;
    std::memcpy(&x, p, 4);
    std::memcpy(&y, p + n - 4, 4);
    a = x;
    b = y;
  } else if (n > 0) {
    a = static_cast<unsigned char>(p[0]) | std::uint64_t{static_cast<unsigned char>(p[n / 2])} << 8 |
        std::uint64_t{static_cast<unsigned char>(p[n - 1])} << 16;
  }
  return MixBits((a * 0x9E3779B97F4A7C15ULL) ^ std::rotl(b * 0xC2B2AE3D27D4EB4FULL, 29) ^ n);
}

// Whether n bytes at a and b are equal; short runs without a library call.
inline bool EqualBytes(const char* a, const char* b, std::size_t n) {
  if (n > 16) return std::memcmp(a, b, n) == 0;
  if (n >= 8) {
    std::uint64_t a0, a1, b0, b1;
    std::memcpy(&a0, a, 8);
    std::memcpy(&b0, b, 8);
    std::memcpy(&a1, a + n - 8, 8);
    std::memcpy(&b1, b + n - 8, 8);
    return ((a0 ^ b0) | (a1 ^ b1)) == 0;
  }
  return n == 0 || std::memcmp(a, b, n) == 0;
}

// Maps a hash onto [0, n) by its high bits: no division, and n need not be a
// power of two, which lets the maps grow by half instead of doubling.
inline std::size_t ReduceRange(std::uint64_t hash, std::size_t n) {
  __extension__ typedef unsigned __int128 Wide;
  return static_cast<std::size_t>((static_cast<Wide>(hash) * n) >> 64);
}

}  // namespace codebook::aggregate
