// Character encodings of dataset files and conversion of their text to and
// from UTF-8 (through the C library's iconv).
#pragma once

#include <memory>
#include <string>
#include <string_view>

namespace codebook::data::sav {

// The converter's name for an encoding named in a file (case-insensitive,
// with the usual aliases), or "" when the encoding is unknown here.
std::string ResolveEncodingName(std::string_view name);
// The encoding a character code (code page number) stands for, or "" when the
// code is unknown or says nothing (2 and 3 are written whatever the text is).
std::string EncodingForCodePage(int code);
// The code page number to write for an encoding, or 0 when there is none.
int CodePageForEncoding(std::string_view name);
bool IsUtf8Encoding(std::string_view name);
// The usual spelling of an encoding name ("UTF-8", "windows-1252"); names
// without one are returned as given.
std::string CanonicalEncodingName(std::string_view name);

// True when `bytes` are valid UTF-8; `multibyte` is set when a sequence of
// two or more bytes occurs.
bool IsValidUtf8(std::string_view bytes, bool* multibyte = nullptr);
// Replaces invalid UTF-8 with U+FFFD (a cut trailing sequence is dropped).
std::string SanitizeUtf8(std::string_view bytes, bool* damaged = nullptr);

class IconvConverter;  // one conversion between UTF-8 and another encoding

// Decodes text of one encoding to UTF-8. Invalid bytes become U+FFFD, a
// multi-byte character cut off at the end of a field is dropped; `damaged`
// reports either. Not thread-safe (one per reader or stream).
class TextDecoder {
 public:
  // `encoding` must be resolvable (see ResolveEncodingName).
  explicit TextDecoder(const std::string& encoding);
  ~TextDecoder();
  TextDecoder(TextDecoder&&) noexcept;
  TextDecoder& operator=(TextDecoder&&) noexcept;

  bool IsUtf8() const { return utf8_; }
  std::string Decode(std::string_view bytes, bool* damaged = nullptr) const;
  // Appends the decoded text to `out`.
  void DecodeAppend(std::string_view bytes, std::string& out, bool* damaged = nullptr) const;

 private:
  bool utf8_ = true;
  std::unique_ptr<IconvConverter> iconv_;
};

// Encodes UTF-8 text into an encoding for the writer; characters the
// encoding lacks become '?'.
class TextEncoder {
 public:
  explicit TextEncoder(const std::string& encoding);
  ~TextEncoder();
  TextEncoder(TextEncoder&&) noexcept;
  TextEncoder& operator=(TextEncoder&&) noexcept;

  bool IsUtf8() const { return utf8_; }
  std::string Encode(std::string_view utf8) const;

 private:
  bool utf8_ = true;
  std::unique_ptr<IconvConverter> iconv_;
};

}  // namespace codebook::data::sav
