#include "platform/output/render/text_width.h"

#include <utf8proc.h>

#include <algorithm>

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

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// Punctuation after which a word may break.
bool BreaksAfter(char c) {
  switch (c) {
    case '-': case '/': case '\\': case ',': case ';': case ':': case '.': case '_':
    case ')': case ']': case '}': case '!': case '?': case '|': case '&': case '+': case '=':
      return true;
    default:
      return false;
  }
}

// The next piece of text that no break may split, after the blanks before
// it: a word up to the punctuation a line may break after.
struct Piece {
  std::string_view blanks;
  std::string_view chunk;
};

Piece NextPiece(std::string_view text, std::size_t& pos) {
  Piece piece;
  const std::size_t start = pos;
  while (pos < text.size() && text[pos] == ' ') ++pos;
  piece.blanks = text.substr(start, pos - start);
  const std::size_t wordStart = pos;
  while (pos < text.size() && text[pos] != ' ') {
    const char c = text[pos++];
    // Not at a word's start ("-5", "(a"), not before a blank (it ends the
    // word anyway), not between two digits.
    if (pos - 1 > wordStart && BreaksAfter(c) && pos < text.size() && text[pos] != ' ' &&
        !(IsDigit(text[pos - 2]) && IsDigit(text[pos]))) {
      break;
    }
  }
  piece.chunk = text.substr(wordStart, pos - wordStart);
  return piece;
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

std::vector<std::string> WrapText(std::string_view text, int width, std::string_view mark) {
  std::vector<std::string> lines;
  if (width < 1) width = 1;
  if (DisplayWidth(text) <= width) {
    lines.emplace_back(text);
    return lines;
  }
  const int markWidth = DisplayWidth(mark);
  std::string line;
  int lineWidth = 0;
  const auto newLine = [&] {
    lines.push_back(std::move(line));
    line.clear();
    lineWidth = 0;
  };
  std::size_t pos = 0;
  while (pos < text.size()) {
    const Piece piece = NextPiece(text, pos);
    const int blanksWidth = static_cast<int>(piece.blanks.size());
    const int chunkWidth = DisplayWidth(piece.chunk);
    if (lineWidth + blanksWidth + chunkWidth <= width) {
      line.append(piece.blanks);
      line.append(piece.chunk);
      lineWidth += blanksWidth + chunkWidth;
      continue;
    }
    if (chunkWidth <= width) {
      if (lineWidth > 0) newLine();
      line.assign(piece.chunk);
      lineWidth = chunkWidth;
      continue;
    }
    // A piece wider than a line: it starts a line of its own and is split
    // where the line is full, each part marked. Too narrow a line for a
    // character and the mark takes them without a mark.
    if (lineWidth > 0) newLine();
    const int room = width > markWidth ? width - markWidth : width;
    const std::string_view shown = width > markWidth ? mark : std::string_view();
    std::size_t at = 0;
    int left = chunkWidth;  // columns of the piece not yet placed
    while (at < piece.chunk.size()) {
      int columns = 0;
      const std::size_t length = NextChar(piece.chunk, at, columns);
      // The last part needs no mark, so it may fill the line.
      if (left > width - lineWidth && lineWidth + columns > room && lineWidth > 0) {
        line.append(shown);
        newLine();
        continue;
      }
      line.append(piece.chunk.substr(at, length));
      lineWidth += columns;
      left -= columns;
      at += length;
    }
  }
  lines.push_back(std::move(line));
  return lines;
}

int LongestWord(std::string_view text) {
  int longest = 0;
  std::size_t pos = 0;
  while (pos < text.size()) {
    if (text[pos] == '\n') {
      ++pos;
      continue;
    }
    // A line feed ends a piece as a blank does.
    const std::size_t end = std::min(text.find('\n', pos), text.size());
    std::string_view line = text.substr(pos, end - pos);
    std::size_t at = 0;
    while (at < line.size()) longest = std::max(longest, DisplayWidth(NextPiece(line, at).chunk));
    pos = end;
  }
  return longest;
}

}  // namespace codebook::output
