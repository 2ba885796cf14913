#include "platform/output/render/text_box.h"

#include <algorithm>

#include "platform/output/render/text_width.h"

namespace codebook::output {

void AppendRule(std::string& out, const std::vector<int>& widths, const BoxChars& box, std::string_view left,
                std::string_view middle, std::string_view right) {
  out += left;
  for (std::size_t c = 0; c < widths.size(); ++c) {
    if (c > 0) out += middle;
    for (int i = 0; i < widths[c] + 2; ++i) out += box.horizontal;
  }
  out += right;
  out += '\n';
}

void AppendWrapped(std::string& out, std::string_view text, int width, int indent, std::string_view mark) {
  if (width <= 0 || DisplayWidth(text) <= width) {
    out += text;
    out += '\n';
    return;
  }
  bool first = true;
  for (const std::string& line : WrapText(text, std::max(1, width - indent), mark)) {
    if (!first) out.append(static_cast<std::size_t>(indent), ' ');
    out += line;
    out += '\n';
    first = false;
  }
}

}  // namespace codebook::output
