// The document record (type 6): 80-byte lines, one after the other. Each
// document ends with a date-stamp line "(Entered dd Mmm yyyy)", which is
// what splits the lines into documents.
#include <string>

#include "platform/data/sav/dictionary_decoder/stages.h"

namespace codebook::data::sav::decode {

std::vector<DSDocument> DecodeDocuments(DecodeContext& c) {
  std::vector<std::string> lines;
  lines.reserve(c.raw.documentLines.size());
  for (const auto& line : c.raw.documentLines) lines.push_back(c.DecodeTrimmed(line));
  auto isStamp = [](std::string_view s) {
    while (!s.empty() && s.front() == ' ') s.remove_prefix(1);
    return s.rfind("(Entered ", 0) == 0 && !s.empty() && s.back() == ')';
  };
  std::vector<DSDocument> docs;
  std::vector<std::string> current;
  for (auto& line : lines) {
    const bool stamp = isStamp(line);
    current.push_back(std::move(line));
    if (stamp) {
      docs.emplace_back(std::move(current));
      current.clear();
    }
  }
  if (!current.empty()) docs.emplace_back(std::move(current));
  return docs;
}

}  // namespace codebook::data::sav::decode
