#include "platform/output/render/pdf/safe_text.h"

#include <cstdio>

namespace codebook::output::pdf {
namespace {

// The length of the well-formed UTF-8 sequence at `text[i]`, or 0.
std::size_t SequenceLength(std::string_view text, std::size_t i) {
  const auto at = [&](std::size_t k) { return static_cast<unsigned char>(text[k]); };
  const unsigned char lead = at(i);
  std::size_t length = 0;
  unsigned char low = 0x80;
  unsigned char high = 0xBF;
  if (lead >= 0xC2 && lead <= 0xDF) {
    length = 2;
  } else if (lead >= 0xE0 && lead <= 0xEF) {
    length = 3;
    if (lead == 0xE0) low = 0xA0;
    if (lead == 0xED) high = 0x9F;  // no surrogates
  } else if (lead >= 0xF0 && lead <= 0xF4) {
    length = 4;
    if (lead == 0xF0) low = 0x90;
    if (lead == 0xF4) high = 0x8F;  // nothing past U+10FFFF
  } else {
    return 0;
  }
  if (i + length > text.size()) return 0;
  if (at(i + 1) < low || at(i + 1) > high) return 0;
  for (std::size_t k = 2; k < length; ++k) {
    if (at(i + k) < 0x80 || at(i + k) > 0xBF) return 0;
  }
  return length;
}

}  // namespace

std::string SafeText(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  char escape[8];
  for (std::size_t i = 0; i < text.size();) {
    const auto byte = static_cast<unsigned char>(text[i]);
    if (byte < 0x80) {
      if (byte == '\n') {
        out.push_back('\n');
      } else if (byte == '\r') {
        if (i + 1 >= text.size() || text[i + 1] != '\n') out.push_back('\n');
      } else if (byte == '\t') {
        out.push_back(' ');
      } else if (byte < 0x20 || byte == 0x7F) {
        std::snprintf(escape, sizeof escape, "\\x%02X", static_cast<unsigned>(byte));
        out += escape;
      } else {
        out.push_back(static_cast<char>(byte));
      }
      ++i;
      continue;
    }
    const std::size_t length = SequenceLength(text, i);
    if (length == 0) {
      out += "\xEF\xBF\xBD";
      ++i;
      continue;
    }
    const auto second = static_cast<unsigned char>(text[i + 1]);
    if (byte == 0xC2 && second <= 0x9F) {
      std::snprintf(escape, sizeof escape, "\\u%04X", static_cast<unsigned>(second));
      out += escape;
    } else {
      out.append(text.substr(i, length));
    }
    i += length;
  }
  return out;
}

}  // namespace codebook::output::pdf
