#include "platform/output/render/pdf/safe_text.h"

#include <cstdio>

#include "platform/data/text/utf8.h"

namespace codebook::output::pdf {

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
    const std::size_t length = data::Utf8SequenceLength(text, i);
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
