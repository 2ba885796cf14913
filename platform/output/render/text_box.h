// What the text renderer's layouts share: the characters of a box, its
// rules, and text wrapped outside boxes.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace codebook::output {

struct BoxChars {
  std::string_view horizontal;
  std::string_view vertical;
  std::string_view topLeft;
  std::string_view topRight;
  std::string_view bottomLeft;
  std::string_view bottomRight;
  std::string_view teeLeft;   // ├
  std::string_view teeRight;  // ┤
  std::string_view teeDown;   // ┬
  std::string_view teeUp;     // ┴
  std::string_view cross;     // ┼
};

inline constexpr BoxChars kUnicodeBox{"─", "│", "┌", "┐", "└", "┘", "├", "┤", "┬", "┴", "┼"};
inline constexpr BoxChars kAsciiBox{"-", "|", "+", "+", "+", "+", "+", "+", "+", "+", "+"};

// A rule across columns of these widths: `left`, the columns joined by
// `middle`, `right`.
void AppendRule(std::string& out, const std::vector<int>& widths, const BoxChars& box, std::string_view left,
                std::string_view middle, std::string_view right);

// Text outside the boxes (titles, headings, messages, alerts): lines of at
// most `width` columns (0: as they are), continuation lines after `indent`
// blanks; a word wider than a line is split with `mark`.
void AppendWrapped(std::string& out, std::string_view text, int width, int indent, std::string_view mark);

}  // namespace codebook::output
