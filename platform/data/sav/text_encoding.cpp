#include "platform/data/sav/text_encoding.h"

#include <iconv.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <stdexcept>
#include <string>

namespace codebook::data::sav {
namespace {

std::string Upper(std::string_view s) {
  std::string out(s);
  for (char& c : out) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  }
  return out;
}

bool CanConvert(const std::string& name) {
  iconv_t cd = ::iconv_open("UTF-8", name.c_str());
  if (cd == reinterpret_cast<iconv_t>(-1)) return false;
  ::iconv_close(cd);
  return true;
}

constexpr char kReplacement[] = "\xEF\xBF\xBD";

// Length of the valid UTF-8 sequence at s[i], 0 when invalid, -1 when the
// sequence is cut off by the end of the text.
int Utf8SequenceLength(std::string_view s, std::size_t i) {
  const auto b = static_cast<unsigned char>(s[i]);
  if (b < 0x80) return 1;
  int len;
  std::uint32_t cp;
  if (b >= 0xC2 && b <= 0xDF) { len = 2; cp = b & 0x1F; }
  else if (b >= 0xE0 && b <= 0xEF) { len = 3; cp = b & 0x0F; }
  else if (b >= 0xF0 && b <= 0xF4) { len = 4; cp = b & 0x07; }
  else return 0;
  for (int k = 1; k < len; ++k) {
    if (i + static_cast<std::size_t>(k) >= s.size()) return -1;
    const auto c = static_cast<unsigned char>(s[i + static_cast<std::size_t>(k)]);
    if ((c & 0xC0) != 0x80) return 0;
    cp = (cp << 6) | (c & 0x3F);
  }
  if ((len == 3 && cp < 0x800) || (len == 4 && (cp < 0x10000 || cp > 0x10FFFF)) ||
      (cp >= 0xD800 && cp <= 0xDFFF)) {
    return 0;
  }
  return len;
}

}  // namespace

std::string ResolveEncodingName(std::string_view name) {
  std::string n = Upper(name);
  while (!n.empty() && (n.back() == ' ' || n.back() == '\0')) n.pop_back();
  if (n.empty()) return "";
  if (n == "UTF-8" || n == "UTF8" || n == "CP65001") return "UTF-8";
  if (n.rfind("CP2859", 0) == 0 && n.size() == 7 && n[6] >= '1' && n[6] <= '9') {
    n = std::string("ISO-8859-") + n[6];
  } else if (n == "CP28603") {
    n = "ISO-8859-13";
  } else if (n == "CP28605") {
    n = "ISO-8859-15";
  } else if (n == "WINDOWS-874") {
    n = "CP874";
  } else if (n == "CP20127") {
    n = "ASCII";
  } else if (n == "CP51949") {
    n = "EUC-KR";
  }
  return CanConvert(n) ? n : std::string();
}

std::string EncodingForCodePage(int code) {
  switch (code) {
    case 4: case 932: return "windows-31j";
    case 819: case 28591: return "ISO-8859-1";
    case 874: case 9066: return "windows-874";
    case 936: return "GBK";
    case 949: return "windows-949";
    case 950: return "Big5";
    case 20127: return "US-ASCII";
    case 28603: return "ISO-8859-13";
    case 28605: return "ISO-8859-15";
    case 51949: return "EUC-KR";
    case 65001: return "UTF-8";
    default: break;
  }
  if (code >= 1250 && code <= 1258) return "windows-" + std::to_string(code);
  if (code >= 28592 && code <= 28599) return "ISO-8859-" + std::to_string(code - 28590);
  if (code == 437 || code == 850 || code == 852 || code == 855 || code == 857 || code == 860 ||
      code == 861 || code == 862 || code == 863 || code == 865 || code == 866 || code == 869) {
    return "CP" + std::to_string(code);
  }
  return "";
}

int CodePageForEncoding(std::string_view name) {
  std::string n = Upper(name);
  if (n == "UTF-8" || n == "UTF8") return 65001;
  if (n.rfind("WINDOWS-125", 0) == 0 && n.size() == 12) return 1250 + (n[11] - '0');
  if (n.rfind("CP125", 0) == 0 && n.size() == 6) return 1250 + (n[5] - '0');
  if (n == "ISO-8859-1") return 28591;
  if (n == "ISO-8859-15") return 28605;
  if (n == "US-ASCII" || n == "ASCII") return 20127;
  if (n == "BIG5") return 950;
  if (n == "GBK") return 936;
  if (n == "WINDOWS-31J" || n == "SHIFT_JIS" || n == "CP932") return 932;
  if (n == "EUC-KR") return 51949;
  return 0;
}

std::string CanonicalEncodingName(std::string_view name) {
  const std::string n = Upper(name);
  if (n == "UTF-8" || n == "UTF8" || n == "CP65001") return "UTF-8";
  if ((n.rfind("WINDOWS-", 0) == 0 && n.size() == 12) || (n.rfind("CP125", 0) == 0 && n.size() == 6)) {
    const std::string digits = n.substr(n.size() - 4);
    if (digits.rfind("125", 0) == 0 && digits[3] >= '0' && digits[3] <= '8') return "windows-" + digits;
  }
  if (n.rfind("ISO-8859-", 0) == 0) return n;
  if (n == "ASCII" || n == "US-ASCII" || n == "ANSI_X3.4-1968") return "US-ASCII";
  return std::string(name);
}

bool IsUtf8Encoding(std::string_view name) {
  std::string n = Upper(name);
  return n == "UTF-8" || n == "UTF8" || n == "CP65001";
}

bool IsValidUtf8(std::string_view bytes, bool* multibyte) {
  bool multi = false;
  for (std::size_t i = 0; i < bytes.size();) {
    int len = Utf8SequenceLength(bytes, i);
    if (len <= 0) return false;
    if (len > 1) multi = true;
    i += static_cast<std::size_t>(len);
  }
  if (multibyte) *multibyte = multi;
  return true;
}

std::string SanitizeUtf8(std::string_view bytes, bool* damaged) {
  std::string out;
  out.reserve(bytes.size());
  for (std::size_t i = 0; i < bytes.size();) {
    int len = Utf8SequenceLength(bytes, i);
    if (len > 0) {
      out.append(bytes.substr(i, static_cast<std::size_t>(len)));
      i += static_cast<std::size_t>(len);
      continue;
    }
    if (damaged) *damaged = true;
    if (len < 0) break;  // a character cut off by the field's end
    out += kReplacement;
    ++i;
  }
  return out;
}

// An iconv descriptor and the conversion loop that decoding and encoding
// share; they differ only in what stands for bytes that cannot be converted.
class IconvConverter {
 public:
  // `encoding` is the side other than UTF-8, named in the error.
  IconvConverter(const std::string& to, const std::string& from, const std::string& encoding)
      : cd_(::iconv_open(to.c_str(), from.c_str())) {
    if (cd_ == reinterpret_cast<iconv_t>(-1)) throw std::runtime_error("unknown encoding " + encoding);
  }
  ~IconvConverter() { ::iconv_close(cd_); }
  IconvConverter(const IconvConverter&) = delete;
  IconvConverter& operator=(const IconvConverter&) = delete;

  // Appends the conversion of `in` to `out`. At bytes that cannot be
  // converted, `onInvalid(rest)` appends what stands for them and returns how
  // many bytes to skip (at least one). Returns false when `in` ends inside a
  // character, which is dropped.
  template <typename OnInvalid>
  bool Convert(std::string_view in, std::string& out, OnInvalid onInvalid) const {
    ::iconv(cd_, nullptr, nullptr, nullptr, nullptr);
    char* p = const_cast<char*>(in.data());
    std::size_t left = in.size();
    char buf[1024];
    while (left > 0) {
      char* o = buf;
      std::size_t oLeft = sizeof buf;
      const std::size_t r = ::iconv(cd_, &p, &left, &o, &oLeft);
      out.append(buf, static_cast<std::size_t>(o - buf));
      if (r != static_cast<std::size_t>(-1) || errno == E2BIG) continue;
      if (errno == EINVAL) return false;
      const std::size_t skip = std::min(left, std::max<std::size_t>(1, onInvalid(std::string_view(p, left))));
      p += skip;
      left -= skip;
      ::iconv(cd_, nullptr, nullptr, nullptr, nullptr);
    }
    return true;
  }

 private:
  iconv_t cd_;
};

TextDecoder::TextDecoder(const std::string& encoding) {
  std::string resolved = ResolveEncodingName(encoding);
  if (resolved.empty()) resolved = encoding;
  utf8_ = resolved == "UTF-8";
  if (!utf8_) iconv_ = std::make_unique<IconvConverter>("UTF-8", resolved, resolved);
}
TextDecoder::~TextDecoder() = default;
TextDecoder::TextDecoder(TextDecoder&&) noexcept = default;
TextDecoder& TextDecoder::operator=(TextDecoder&&) noexcept = default;

std::string TextDecoder::Decode(std::string_view bytes, bool* damaged) const {
  std::string out;
  DecodeAppend(bytes, out, damaged);
  return out;
}

void TextDecoder::DecodeAppend(std::string_view bytes, std::string& out, bool* damaged) const {
  bool ascii = true;
  for (char c : bytes) {
    if (static_cast<unsigned char>(c) >= 0x80) { ascii = false; break; }
  }
  if (ascii) {
    out.append(bytes);
    return;
  }
  if (utf8_) {
    out += SanitizeUtf8(bytes, damaged);
    return;
  }
  const bool whole = iconv_->Convert(bytes, out, [&](std::string_view) {
    if (damaged) *damaged = true;
    out += kReplacement;  // one byte at a time
    return std::size_t{1};
  });
  if (!whole && damaged) *damaged = true;  // cut off at the end of the field
}

TextEncoder::TextEncoder(const std::string& encoding) {
  std::string resolved = ResolveEncodingName(encoding);
  if (resolved.empty()) throw std::runtime_error("unknown encoding " + encoding);
  utf8_ = resolved == "UTF-8";
  if (!utf8_) iconv_ = std::make_unique<IconvConverter>(resolved, "UTF-8", resolved);
}
TextEncoder::~TextEncoder() = default;
TextEncoder::TextEncoder(TextEncoder&&) noexcept = default;
TextEncoder& TextEncoder::operator=(TextEncoder&&) noexcept = default;

std::string TextEncoder::Encode(std::string_view utf8) const {
  if (utf8_) return std::string(utf8);
  std::string out;
  iconv_->Convert(utf8, out, [&](std::string_view rest) {
    // A character the target lacks (or invalid input): skip the whole
    // UTF-8 sequence and write '?'.
    out += '?';
    std::size_t skip = 1;
    while (skip < rest.size() && (static_cast<unsigned char>(rest[skip]) & 0xC0) == 0x80) ++skip;
    return skip;
  });
  return out;
}

}  // namespace codebook::data::sav
