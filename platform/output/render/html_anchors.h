// The HTML report's anchors, made from what they name so that people can
// link to a variable (`#var-q1`) and keep the link from one report to the
// next: ASCII letters, digits, '_' and '.' stay; any other byte ('$', '#',
// '@', a letter of another script) is written as '-' and its two hex
// digits, so that two names never meet in one anchor ('-' is no name's
// character). Anchors equal but for case (a browser may treat them alike;
// two files of one report may both hold `Q1`) are told apart by "-2",
// "-3"... in the order they come.
#pragma once

#include <string>
#include <string_view>
#include <unordered_set>

namespace codebook::output {

class AnchorNames {
 public:
  // The page's own anchors are never given out.
  AnchorNames() : used_{"top", "contents"} {}
  // An anchor not given before: `prefix` (letters and '-') and the name.
  std::string Make(std::string_view prefix, std::string_view name);
  // The anchor of a table: "var-NAME" for a variable, "set-NAME" for a
  // multiple-response set ("$" dropped), "overview", "file-information";
  // "table-TITLE" for any other.
  std::string ForTable(std::string_view subtype, std::string_view title);

 private:
  std::unordered_set<std::string> used_;  // in lower case
};

}  // namespace codebook::output
