// Terminal columns of UTF-8 text, and word wrapping by columns.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace codebook::output {

// Columns the text takes on a terminal: wide East Asian characters count 2,
// combining marks 0; a byte that is not valid UTF-8 counts 1.
int DisplayWidth(std::string_view text);

// Splits the text into lines of at most `width` columns, at blanks where it
// can, inside a word only when the word alone is wider. Never splits a
// character. A text that fits comes back as one line; empty text as one
// empty line.
std::vector<std::string> WrapText(std::string_view text, int width);

}  // namespace codebook::output
