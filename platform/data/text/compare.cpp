// Case-insensitive comparison of UTF-8 text (host/data/text.h).
#include <cstring>
#include <string_view>

#include "host/data/text.h"
#include "platform/data/text/fold_case.h"

namespace {

using codebook::data::FoldCase;
using codebook::data::IsAscii;

unsigned char AsciiLower(unsigned char c) {
  return (c >= 'A' && c <= 'Z') ? static_cast<unsigned char>(c - 'A' + 'a') : c;
}

int Sign(int v) { return (v > 0) - (v < 0); }

// Byte-wise comparison of folded texts; the shorter text is less when it is a
// prefix of the other.
int CompareBytes(std::string_view a, std::string_view b) {
  const int c = a.compare(b);  // char_traits<char> compares as unsigned char
  return Sign(c);
}

int CompareFolded(std::string_view a, std::string_view b) {
  if (IsAscii(a) && IsAscii(b)) {
    // Fast path: no allocation for the common case of ASCII names.
    const std::size_t n = a.size() < b.size() ? a.size() : b.size();
    for (std::size_t i = 0; i < n; ++i) {
      const unsigned char x = AsciiLower(static_cast<unsigned char>(a[i]));
      const unsigned char y = AsciiLower(static_cast<unsigned char>(b[i]));
      if (x != y) return x < y ? -1 : 1;
    }
    return a.size() == b.size() ? 0 : (a.size() < b.size() ? -1 : 1);
  }
  return CompareBytes(FoldCase(a), FoldCase(b));
}

std::string_view Prefix(const char* s, std::size_t n) {
  if (s == nullptr) return {};
  // strnlen: the text may not be terminated within n bytes.
  return std::string_view(s, strnlen(s, n));
}

}  // namespace

int VELAMBstricmp_A(const char* a, const char* b) {
  return CompareFolded(a ? std::string_view(a) : std::string_view(),
                       b ? std::string_view(b) : std::string_view());
}

int VELAMBstrnicmp_A(const char* a, const char* b, std::size_t n) {
  // A character cut by the limit is incomplete UTF-8 and compares byte-wise.
  return CompareFolded(Prefix(a, n), Prefix(b, n));
}

void VELAMBCopyToFixed_A(char* dest, std::size_t destLength, const char* src,
                         std::size_t srcLength) {
  if (dest == nullptr || src == nullptr) return;
  std::size_t n = destLength < srcLength ? destLength : srcLength;
  if (n < srcLength) {
    // Back up to the start of the character that the field would cut, so the
    // field never ends in a partial UTF-8 sequence.
    while (n > 0 && (static_cast<unsigned char>(src[n]) & 0xC0) == 0x80) --n;
  }
  std::memcpy(dest, src, n);
}
