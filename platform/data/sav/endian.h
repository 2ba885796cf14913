// Byte-order helpers: file values are read byte-wise and converted
// explicitly, never by mapping structures onto the buffer.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>

namespace codebook::data::sav {

inline std::uint32_t Load32(const std::uint8_t* p, bool bigEndian) {
  std::uint32_t v;
  std::memcpy(&v, p, 4);
  if (bigEndian != (std::endian::native == std::endian::big)) v = __builtin_bswap32(v);
  return v;
}

inline std::uint64_t Load64(const std::uint8_t* p, bool bigEndian) {
  std::uint64_t v;
  std::memcpy(&v, p, 8);
  if (bigEndian != (std::endian::native == std::endian::big)) v = __builtin_bswap64(v);
  return v;
}

inline double LoadDouble(const std::uint8_t* p, bool bigEndian) {
  return std::bit_cast<double>(Load64(p, bigEndian));
}

inline void Store32(std::uint8_t* p, std::uint32_t v, bool bigEndian) {
  if (bigEndian != (std::endian::native == std::endian::big)) v = __builtin_bswap32(v);
  std::memcpy(p, &v, 4);
}

inline void Store64(std::uint8_t* p, std::uint64_t v, bool bigEndian) {
  if (bigEndian != (std::endian::native == std::endian::big)) v = __builtin_bswap64(v);
  std::memcpy(p, &v, 8);
}

}  // namespace codebook::data::sav
