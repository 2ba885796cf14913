// Matching of typed words against declared keywords.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace codebook::syntax {

// ASCII case-insensitive equality (keywords are ASCII).
bool EqualsIgnoreCase(std::string_view a, std::string_view b);

// The text with ASCII letters in upper case; other bytes unchanged.
std::string ToUpperAscii(std::string_view text);

// The shortest prefix of a keyword that may stand for it.
inline constexpr std::size_t kMinimumPrefix = 3;

struct KeywordMatch {
  enum Result { kNone, kFound, kAmbiguous } result = kNone;
  std::size_t index = 0;              // of the keyword found
  std::vector<std::size_t> candidates;  // when ambiguous
};

// The keyword the word names: an exact match (ignoring case) wins; otherwise
// a prefix of at least kMinimumPrefix letters that begins exactly one keyword.
KeywordMatch MatchKeyword(std::string_view word, const std::vector<std::string_view>& keywords);

}  // namespace codebook::syntax
