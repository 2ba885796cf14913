// Terminal columns of UTF-8 text, and word wrapping by columns.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace codebook::output {

// Columns the text takes on a terminal: wide East Asian characters count 2,
// combining marks 0; a byte that is not valid UTF-8 counts 1.
int DisplayWidth(std::string_view text);

// What ends each piece of a word split because it alone is wider than its
// line: a character no label would end a piece of a word with.
inline constexpr std::string_view kSplitMark = "\xE2\x86\xB5";  // U+21B5 ↵
inline constexpr std::string_view kAsciiSplitMark = "\\";

// Splits the text into lines of at most `width` columns. A line breaks at
// blanks (dropped there) or after punctuation inside a word ("Self-|
// reported", "a/|b", "name_|part"), never between two digits ("3.14",
// "1,000", "2024-03-05" stay whole); a word is split only when it alone is
// wider than a line, each piece but the last then ending in `mark`. Never
// splits a character. A text that fits comes back as one line; empty text
// as one empty line.
std::vector<std::string> WrapText(std::string_view text, int width, std::string_view mark = kSplitMark);

// The widest part of the text that no line break may split: the narrowest
// a column can be without splitting a word of it.
int LongestWord(std::string_view text);

}  // namespace codebook::output
