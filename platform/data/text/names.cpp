// Validation of variable names (host/data/text.h).
#include <utf8proc.h>

#include <array>
#include <cstring>
#include <string_view>

#include "host/data/text.h"
#include "platform/data/text/fold_case.h"

namespace {

// Reasons a name is refused; ValidateVELAName returns them (0 = valid).
enum NameProblem {
  kValid = 0,
  kEmpty = 1,
  kTooLong = 2,
  kBadFirstCharacter = 3,
  kBadCharacter = 4,
  kEndsInPeriod = 5,
  kReservedWord = 6,
  kInvalidUtf8 = 7,
};

constexpr std::size_t kMaxNameBytes = 64;

constexpr std::array<std::string_view, 13> kReservedWords = {
    "all", "and", "by", "eq", "ge", "gt", "le", "lt", "ne", "not", "or", "to", "with"};

bool IsLetter(utf8proc_int32_t cp) {
  if (cp < 0x80) return (cp >= 'A' && cp <= 'Z') || (cp >= 'a' && cp <= 'z');
  switch (utf8proc_category(cp)) {
    case UTF8PROC_CATEGORY_LU:
    case UTF8PROC_CATEGORY_LL:
    case UTF8PROC_CATEGORY_LT:
    case UTF8PROC_CATEGORY_LM:
    case UTF8PROC_CATEGORY_LO:
      return true;
    default:
      return false;
  }
}

// Letters and digits of any script may follow the first character; marks
// too, since many scripts cannot write a word without combining marks.
bool IsNameContinuation(utf8proc_int32_t cp) {
  if (cp < 0x80) {
    return IsLetter(cp) || (cp >= '0' && cp <= '9') || cp == '.' || cp == '_' || cp == '$' ||
           cp == '#' || cp == '@';
  }
  if (IsLetter(cp)) return true;
  switch (utf8proc_category(cp)) {
    case UTF8PROC_CATEGORY_ND:
    case UTF8PROC_CATEGORY_MN:
    case UTF8PROC_CATEGORY_MC:
      return true;
    default:
      return false;
  }
}

}  // namespace

int ValidateVELAName(const char* name) {
  if (name == nullptr || *name == '\0') return kEmpty;
  const std::size_t length = strnlen(name, kMaxNameBytes + 1);
  if (length > kMaxNameBytes) return kTooLong;
  const std::string_view text(name, length);

  const auto* p = reinterpret_cast<const utf8proc_uint8_t*>(text.data());
  std::size_t rest = text.size();
  bool first = true;
  while (rest > 0) {
    utf8proc_int32_t cp = -1;
    const utf8proc_ssize_t used = utf8proc_iterate(p, static_cast<utf8proc_ssize_t>(rest), &cp);
    if (used <= 0 || cp < 0) return kInvalidUtf8;
    if (first) {
      if (!IsLetter(cp) && cp != '@' && cp != '#' && cp != '$') return kBadFirstCharacter;
      first = false;
    } else if (!IsNameContinuation(cp)) {
      return kBadCharacter;
    }
    p += used;
    rest -= static_cast<std::size_t>(used);
  }
  if (text.back() == '.') return kEndsInPeriod;
  if (text.size() <= 4) {
    const std::string folded = codebook::data::FoldCase(text);
    for (const std::string_view word : kReservedWords) {
      if (folded == word) return kReservedWord;
    }
  }
  return kValid;
}
