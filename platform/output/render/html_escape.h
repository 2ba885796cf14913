// Text made safe inside HTML and SVG elements and attribute values.
#pragma once

#include <string>
#include <string_view>

namespace codebook::output {

inline void AppendHtmlEscaped(std::string& out, std::string_view text) {
  for (const char c : text) {
    switch (c) {
      case '&': out += "&amp;"; break;
      case '<': out += "&lt;"; break;
      case '>': out += "&gt;"; break;
      case '"': out += "&quot;"; break;
      case '\'': out += "&#39;"; break;
      default: out.push_back(c);
    }
  }
}

}  // namespace codebook::output
