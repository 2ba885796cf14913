// Reading a run of a file's bytes held in memory, field by field, in the
// file's byte order, never past its end: every read checks what is left and
// throws TruncatedInput, which the reader turns into its FileError.
#pragma once

#include <cstdint>
#include <cstring>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>

#include "platform/data/sav/endian.h"
#include "platform/data/sav/file_error.h"

namespace codebook::data {

class TruncatedInput : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

class ByteCursor {
 public:
  // `what` names the bytes in messages ("the header", "value-label table x").
  ByteCursor(std::span<const std::uint8_t> bytes, bool bigEndian, std::string what)
      : bytes_(bytes), bigEndian_(bigEndian), what_(std::move(what)) {}

  std::size_t Position() const { return at_; }
  std::size_t Size() const { return bytes_.size(); }
  std::size_t Remaining() const { return bytes_.size() - at_; }
  bool AtEnd() const { return at_ == bytes_.size(); }
  bool BigEndian() const { return bigEndian_; }

  void Seek(std::size_t position) {
    if (position > bytes_.size()) Short(position - at_);
    at_ = position;
  }
  void Skip(std::size_t n) { Need(n), at_ += n; }

  std::uint8_t U8() { return Need(1), bytes_[at_++]; }
  std::uint16_t U16() {
    Need(2);
    std::uint16_t v = static_cast<std::uint16_t>(bigEndian_ ? (bytes_[at_] << 8) | bytes_[at_ + 1]
                                                            : bytes_[at_] | (bytes_[at_ + 1] << 8));
    at_ += 2;
    return v;
  }
  std::uint32_t U32() {
    Need(4);
    const std::uint32_t v = sav::Load32(bytes_.data() + at_, bigEndian_);
    at_ += 4;
    return v;
  }
  std::uint64_t U64() {
    Need(8);
    const std::uint64_t v = sav::Load64(bytes_.data() + at_, bigEndian_);
    at_ += 8;
    return v;
  }
  // An unsigned number of 1 to 8 bytes.
  std::uint64_t Unsigned(std::size_t n) {
    Need(n);
    std::uint64_t v = 0;
    for (std::size_t i = 0; i < n; ++i) {
      const std::uint64_t byte = bytes_[at_ + (bigEndian_ ? i : n - 1 - i)];
      v = (v << 8) | byte;
    }
    at_ += n;
    return v;
  }
  std::span<const std::uint8_t> Bytes(std::size_t n) {
    Need(n);
    const auto out = bytes_.subspan(at_, n);
    at_ += n;
    return out;
  }
  std::string_view Text(std::size_t n) {
    const auto b = Bytes(n);
    return std::string_view(reinterpret_cast<const char*>(b.data()), b.size());
  }
  // True, and past them, when the next bytes are `literal`.
  bool Consume(std::string_view literal) {
    if (Remaining() < literal.size() || std::memcmp(bytes_.data() + at_, literal.data(), literal.size()) != 0) {
      return false;
    }
    at_ += literal.size();
    return true;
  }
  bool LooksAt(std::string_view literal) const {
    return Remaining() >= literal.size() && std::memcmp(bytes_.data() + at_, literal.data(), literal.size()) == 0;
  }

  const std::string& What() const { return what_; }

 private:
  void Need(std::size_t n) const {
    if (n > Remaining()) Short(n);
  }
  [[noreturn]] void Short(std::size_t n) const {
    throw TruncatedInput(what_ + " ends after " + std::to_string(bytes_.size()) + " bytes, where " +
                         std::to_string(n) + " more were expected at byte " + std::to_string(at_));
  }

  std::span<const std::uint8_t> bytes_;
  bool bigEndian_;
  std::string what_;
  std::size_t at_ = 0;
};

// Runs a reader, whose errors then name the file and the format: its own
// FileErrors, and a field that ran past the bytes read.
template <typename Read>
auto NamingTheFormat(const std::string& file, const char* format, Read read) -> decltype(read()) {
  try {
    return read();
  } catch (const TruncatedInput& e) {
    throw FileError(file, std::string(format) + ": " + e.what());
  } catch (const FileError& e) {
    throw FileError(file, std::string(format) + ": " + e.Problem());
  }
}

// The text of a fixed field up to its first NUL.
inline std::string_view UpToNul(std::string_view field) {
  const std::size_t nul = field.find('\0');
  return nul == std::string_view::npos ? field : field.substr(0, nul);
}

}  // namespace codebook::data
