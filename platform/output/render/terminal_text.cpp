#include "platform/output/render/terminal_text.h"

#include <cstdint>
#include <cstdio>

#include "platform/data/text/utf8.h"

namespace codebook::output {
namespace {

bool IsControl(char32_t c) { return (c < 0x20 && c != '\n') || (c >= 0x7F && c <= 0x9F); }

}  // namespace

bool NeedsTerminalEscape(std::string_view text) {
  // Printable ASCII, the common case, needs no decoding.
  std::size_t start = 0;
  while (start < text.size()) {
    const auto byte = static_cast<unsigned char>(text[start]);
    if ((byte < 0x20 && byte != '\n') || byte >= 0x7F) break;
    ++start;
  }
  for (std::size_t i = start; i < text.size();) {
    char32_t c = 0;
    const std::size_t length = data::Utf8SequenceAt(text, i, c);
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
    const std::size_t length = data::Utf8SequenceAt(text, i, c);
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
