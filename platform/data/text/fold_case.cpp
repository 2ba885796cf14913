#include "platform/data/text/fold_case.h"

#include <utf8proc.h>

#include <array>
#include <cstdint>

namespace codebook::data {

bool IsAscii(std::string_view text) {
  for (const char c : text) {
    if (static_cast<unsigned char>(c) >= 0x80) return false;
  }
  return true;
}

namespace {

char AsciiLower(char c) { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c; }

void AppendCodepoint(utf8proc_int32_t codepoint, std::string& out) {
  std::array<utf8proc_uint8_t, 4> bytes{};
  const auto len = utf8proc_encode_char(codepoint, bytes.data());
  out.append(reinterpret_cast<const char*>(bytes.data()), static_cast<std::size_t>(len));
}

// Appends the case folding of one code point.
void AppendFolded(utf8proc_int32_t codepoint, std::string& out) {
  // Full case folding yields at most three code points; the buffer leaves room.
  std::array<utf8proc_int32_t, 8> folded{};
  int boundClass = 0;
  const utf8proc_ssize_t n = utf8proc_decompose_char(
      codepoint, folded.data(), static_cast<utf8proc_ssize_t>(folded.size()), UTF8PROC_CASEFOLD,
      &boundClass);
  if (n <= 0 || n > static_cast<utf8proc_ssize_t>(folded.size())) {
    AppendCodepoint(codepoint, out);  // unfoldable: keep the character
    return;
  }
  for (utf8proc_ssize_t i = 0; i < n; ++i) AppendCodepoint(folded[static_cast<std::size_t>(i)], out);
}

}  // namespace

std::string FoldCase(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  if (IsAscii(text)) {
    for (const char c : text) out.push_back(AsciiLower(c));
    return out;
  }
  const auto* p = reinterpret_cast<const utf8proc_uint8_t*>(text.data());
  std::size_t rest = text.size();
  while (rest > 0) {
    if (*p < 0x80) {
      out.push_back(AsciiLower(static_cast<char>(*p)));
      ++p;
      --rest;
      continue;
    }
    utf8proc_int32_t codepoint = -1;
    const utf8proc_ssize_t used =
        utf8proc_iterate(p, static_cast<utf8proc_ssize_t>(rest), &codepoint);
    if (used <= 0 || codepoint < 0) {
      out.push_back(static_cast<char>(*p));  // invalid byte: kept as is
      ++p;
      --rest;
      continue;
    }
    AppendFolded(codepoint, out);
    p += used;
    rest -= static_cast<std::size_t>(used);
  }
  return out;
}

}  // namespace codebook::data
