#include "platform/output/render/terminal_text.h"

#include <cstdint>
#include <cstdio>

namespace codebook::output {
namespace {

// Length of the valid UTF-8 sequence at `i`, 0 when it is not one. Overlong
// forms, surrogates and code points past U+10FFFF are not valid.
std::size_t SequenceLength(std::string_view text, std::size_t i, char32_t& codePoint) {
  const auto byte = [&](std::size_t k) { return static_cast<std::uint8_t>(text[k]); };
  const std::uint8_t lead = byte(i);
  std::size_t length = 0;
  char32_t value = 0;
  if (lead < 0x80) {
    codePoint = lead;
    return 1;
  }
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

bool IsControl(char32_t c) { return (c < 0x20 && c != '\n') || (c >= 0x7F && c <= 0x9F); }

}  // namespace

bool NeedsTerminalEscape(std::string_view text) {
  for (std::size_t i = 0; i < text.size();) {
    char32_t c = 0;
    const std::size_t length = SequenceLength(text, i, c);
    if (length == 0 || IsControl(c)) return true;
    i += length;
  }
  return false;
}

std::string EscapeForTerminal(std::string_view text) {
  if (!NeedsTerminalEscape(text)) return std::string(text);
  std::string out;
  out.reserve(text.size() + 16);
  char escape[12];
  for (std::size_t i = 0; i < text.size();) {
    char32_t c = 0;
    const std::size_t length = SequenceLength(text, i, c);
    if (length == 0) {
      std::snprintf(escape, sizeof escape, "\\x%02X", static_cast<unsigned>(static_cast<std::uint8_t>(text[i])));
      out += escape;
      ++i;
      continue;
    }
    if (IsControl(c)) {
      std::snprintf(escape, sizeof escape, c < 0x80 ? "\\x%02X" : "\\u%04X", static_cast<unsigned>(c));
      out += escape;
    } else {
      out.append(text.substr(i, length));
    }
    i += length;
  }
  return out;
}

}  // namespace codebook::output
