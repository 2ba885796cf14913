#include "platform/syntax/name_match.h"

namespace codebook::syntax {
namespace {

char UpperAscii(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }

}  // namespace

std::string ToUpperAscii(std::string_view text) {
  std::string upper(text);
  for (char& c : upper) c = UpperAscii(c);
  return upper;
}

bool EqualsIgnoreCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (UpperAscii(a[i]) != UpperAscii(b[i])) return false;
  }
  return true;
}

KeywordMatch MatchKeyword(std::string_view word, const std::vector<std::string_view>& keywords) {
  KeywordMatch match;
  for (std::size_t i = 0; i < keywords.size(); ++i) {
    if (EqualsIgnoreCase(word, keywords[i])) {
      match.result = KeywordMatch::kFound;
      match.index = i;
      match.candidates.clear();
      return match;
    }
  }
  if (word.size() < kMinimumPrefix) return match;
  for (std::size_t i = 0; i < keywords.size(); ++i) {
    if (word.size() < keywords[i].size() && EqualsIgnoreCase(word, keywords[i].substr(0, word.size())))
      match.candidates.push_back(i);
  }
  if (match.candidates.size() == 1) {
    match.result = KeywordMatch::kFound;
    match.index = match.candidates.front();
    match.candidates.clear();
  } else if (match.candidates.size() > 1) {
    match.result = KeywordMatch::kAmbiguous;
  }
  return match;
}

}  // namespace codebook::syntax
