#include "platform/output/render/text_width.h"

#include <utf8proc.h>

namespace codebook::output {

namespace {

// Decodes one character at `pos`; returns its byte length (1 for an invalid
// byte) and its columns.
std::size_t NextChar(std::string_view text, std::size_t pos, int& columns) {
  const auto byte = static_cast<unsigned char>(text[pos]);
  if (byte < 0x80) {
    columns = byte < 0x20 || byte == 0x7f ? 0 : 1;
    return 1;
  }
  utf8proc_int32_t codepoint = 0;
  const utf8proc_ssize_t length = utf8proc_iterate(reinterpret_cast<const utf8proc_uint8_t*>(text.data() + pos),
                                                   static_cast<utf8proc_ssize_t>(text.size() - pos), &codepoint);
  if (length <= 0) {
    columns = 1;
    return 1;
  }
  columns = utf8proc_charwidth(codepoint);
  if (columns < 0) columns = 0;
  return static_cast<std::size_t>(length);
}

}  // namespace

int DisplayWidth(std::string_view text) {
  int total = 0;
  std::size_t pos = 0;
  while (pos < text.size()) {
    // Plain ASCII runs are the common case.
    const auto byte = static_cast<unsigned char>(text[pos]);
    if (byte >= 0x20 && byte < 0x7f) {
      ++total;
      ++pos;
      continue;
    }
    int columns = 0;
    pos += NextChar(text, pos, columns);
    total += columns;
  }
  return total;
}

std::vector<std::string> WrapText(std::string_view text, int width) {
  std::vector<std::string> lines;
  if (width < 1) width = 1;
  if (DisplayWidth(text) <= width) {
    lines.emplace_back(text);
    return lines;
  }
  std::string line;
  int lineWidth = 0;
  std::size_t pos = 0;
  while (pos < text.size()) {
    // The next word and the blanks before it.
    std::size_t blanksEnd = pos;
    while (blanksEnd < text.size() && text[blanksEnd] == ' ') ++blanksEnd;
    std::size_t wordEnd = blanksEnd;
    while (wordEnd < text.size() && text[wordEnd] != ' ') ++wordEnd;
    const std::string_view blanks = text.substr(pos, blanksEnd - pos);
    std::string_view word = text.substr(blanksEnd, wordEnd - blanksEnd);
    const int blanksWidth = static_cast<int>(blanks.size());
    const int wordWidth = DisplayWidth(word);
    if (lineWidth + blanksWidth + wordWidth <= width) {
      line.append(blanks);
      line.append(word);
      lineWidth += blanksWidth + wordWidth;
    } else if (wordWidth <= width && lineWidth > 0) {
      lines.push_back(std::move(line));
      line.assign(word);
      lineWidth = wordWidth;
    } else {
      // A word wider than a line: fill the line, then break inside the word.
      if (lineWidth > 0 && lineWidth + blanksWidth < width) {
        line.append(blanks);
        lineWidth += blanksWidth;
      } else if (lineWidth > 0) {
        lines.push_back(std::move(line));
        line.clear();
        lineWidth = 0;
      }
      std::size_t at = 0;
      while (at < word.size()) {
        int columns = 0;
        const std::size_t length = NextChar(word, at, columns);
        if (lineWidth + columns > width && lineWidth > 0) {
          lines.push_back(std::move(line));
          line.clear();
          lineWidth = 0;
        }
        line.append(word.substr(at, length));
        lineWidth += columns;
        at += length;
      }
    }
    pos = wordEnd;
  }
  lines.push_back(std::move(line));
  return lines;
}

}  // namespace codebook::output
