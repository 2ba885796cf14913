// Reading UTF-8 one character at a time, strictly: what a renderer must
// escape (a stray byte, a surrogate, an overlong form) is told apart from
// what it may copy.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace codebook::data {

// The length of the valid UTF-8 sequence at `i`, its code point in
// `codePoint`; 0 when the bytes there are not one.
inline std::size_t Utf8SequenceAt(std::string_view text, std::size_t i, char32_t& codePoint) {
  const auto byte = [&](std::size_t k) { return static_cast<std::uint8_t>(text[k]); };
  const std::uint8_t lead = byte(i);
  if (lead < 0x80) {
    codePoint = lead;
    return 1;
  }
  std::size_t length = 0;
  char32_t value = 0;
  if (lead >= 0xC2 && lead <= 0xDF) {
    length = 2;
    value = lead & 0x1F;
  } else if (lead >= 0xE0 && lead <= 0xEF) {
    length = 3;
    value = lead & 0x0F;
  } else if (lead >= 0xF0 && lead <= 0xF4) {
    length = 4;
    value = lead & 0x07;
  } else {
    return 0;
  }
  if (i + length > text.size()) return 0;
  for (std::size_t k = 1; k < length; ++k) {
    if ((byte(i + k) & 0xC0) != 0x80) return 0;
    value = (value << 6) | (byte(i + k) & 0x3F);
  }
  if ((length == 3 && (value < 0x800 || (value >= 0xD800 && value <= 0xDFFF))) ||
      (length == 4 && (value < 0x10000 || value > 0x10FFFF))) {
    return 0;
  }
  codePoint = value;
  return length;
}

// The length of the valid UTF-8 sequence at `i`, or 0.
inline std::size_t Utf8SequenceLength(std::string_view text, std::size_t i) {
  char32_t ignored = 0;
  return Utf8SequenceAt(text, i, ignored);
}

// Whether any byte is 0x80 or above (text that is not plain ASCII); a word
// at a time.
inline bool HasHighByte(const std::uint8_t* p, std::size_t n) {
  std::size_t i = 0;
  for (; i + 8 <= n; i += 8) {
    std::uint64_t w;
    std::memcpy(&w, p + i, 8);
    if (w & 0x8080808080808080ull) return true;
  }
  for (; i < n; ++i) {
    if (p[i] & 0x80) return true;
  }
  return false;
}
inline bool HasHighByte(std::string_view s) {
  return HasHighByte(reinterpret_cast<const std::uint8_t*>(s.data()), s.size());
}

// The length of the longest prefix of at most `limit` bytes that does not
// split a UTF-8 character.
inline std::size_t Utf8Prefix(std::string_view s, std::size_t limit) {
  if (s.size() <= limit) return s.size();
  std::size_t n = limit;
  while (n > 0 && (static_cast<unsigned char>(s[n]) & 0xC0) == 0x80) --n;
  return n;
}

}  // namespace codebook::data
