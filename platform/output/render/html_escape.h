// Text made safe inside HTML and SVG elements and attribute values.
#pragma once

#include <cstdio>
#include <string>
#include <string_view>

namespace codebook::output {

// Markup characters become references. Control characters, which an HTML
// document may not hold (a label read in the wrong code page is full of
// them), become the visible escapes the other outputs use: "\x1B" for C0
// controls but tab and line ends, and DEL; "\u0085" for C1 controls.
inline void AppendHtmlEscaped(std::string& out, std::string_view text) {
  char escape[8];
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    const auto byte = static_cast<unsigned char>(c);
    switch (c) {
      case '&': out += "&amp;"; break;
      case '<': out += "&lt;"; break;
      case '>': out += "&gt;"; break;
      case '"': out += "&quot;"; break;
      case '\'': out += "&#39;"; break;
      default:
        if ((byte < 0x20 && c != '\t' && c != '\n' && c != '\r') || byte == 0x7F) {
          std::snprintf(escape, sizeof escape, "\\x%02X", static_cast<unsigned>(byte));
          out += escape;
        } else if (byte == 0xC2 && i + 1 < text.size() && static_cast<unsigned char>(text[i + 1]) >= 0x80 &&
                   static_cast<unsigned char>(text[i + 1]) <= 0x9F) {
          std::snprintf(escape, sizeof escape, "\\u%04X", static_cast<unsigned>(static_cast<unsigned char>(text[++i])));
          out += escape;
        } else {
          out.push_back(c);
        }
    }
  }
}

}  // namespace codebook::output
