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

// The same, with places to break a long run of characters without a blank
// (a long variable name, a label of one word): after a '_', '-' or '/' that
// ends at least three characters, and after every fourteen characters
// otherwise. A table's column can then be as narrow as a screen needs
// without any ordinary word being cut.
inline void AppendHtmlWrappable(std::string& out, std::string_view text) {
  constexpr int kLongestRun = 14;
  int run = 0;  // characters since a blank or a place to break
  std::size_t start = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    if ((byte & 0xC0) == 0x80) continue;  // inside a character
    const char c = text[i];
    if (c == ' ' || c == '\t' || c == '\n') {
      run = 0;
      continue;
    }
    ++run;
    // The character ends at the next one's start.
    std::size_t end = i + 1;
    while (end < text.size() && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) ++end;
    const bool mark = c == '_' || c == '-' || c == '/';
    if ((mark && run >= 3) || run >= kLongestRun) {
      if (end < text.size() && text[end] != ' ') {
        AppendHtmlEscaped(out, text.substr(start, end - start));
        out += "<wbr>";
        start = end;
      }
      run = 0;
    }
  }
  AppendHtmlEscaped(out, text.substr(start));
}

}  // namespace codebook::output
