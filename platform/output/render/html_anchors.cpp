#include "platform/output/render/html_anchors.h"

#include <cstdio>

namespace codebook::output {
namespace {

bool Kept(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' || c == '.';
}

std::string Lower(std::string_view text) {
  std::string lower(text);
  for (char& c : lower) c = static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
  return lower;
}

}  // namespace

std::string AnchorNames::Make(std::string_view prefix, std::string_view name) {
  std::string anchor(prefix);
  char hex[4];
  for (const char c : name) {
    if (Kept(c)) {
      anchor += c;
    } else {
      std::snprintf(hex, sizeof hex, "-%02X", static_cast<unsigned>(static_cast<unsigned char>(c)));
      anchor += hex;
    }
  }
  std::string unique = anchor;
  for (int n = 2; !used_.insert(Lower(unique)).second; ++n) unique = anchor + "-" + std::to_string(n);
  return unique;
}

std::string AnchorNames::ForTable(std::string_view subtype, std::string_view title) {
  if (subtype == "Variable Information") {
    if (!title.empty() && title.front() == '$') return Make("set-", title.substr(1));
    return Make("var-", title);
  }
  if (subtype == "Overview") return Make("overview", "");
  if (subtype == "FileInformation") return Make("file-information", "");
  return Make("table-", title);
}

}  // namespace codebook::output
