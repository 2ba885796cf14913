// Unicode case folding of UTF-8 text, the key under which names are looked up.
#pragma once

#include <string>
#include <string_view>

namespace codebook::data {

// The text with every character case-folded (full folding: "ß" becomes "ss").
// Bytes that are not valid UTF-8 are kept as they are, so folding never fails
// and two different invalid texts never fold to the same key by accident.
std::string FoldCase(std::string_view text);

// True when every byte is 7-bit ASCII (the fast path of the comparisons).
bool IsAscii(std::string_view text);

}  // namespace codebook::data
