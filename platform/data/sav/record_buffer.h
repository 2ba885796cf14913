// Builds records in the file's byte order before they go to the sink.
#pragma once

#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>
#include <vector>

#include "platform/data/sav/endian.h"

namespace codebook::data::sav {

class RecordBuffer {
 public:
  explicit RecordBuffer(bool bigEndian) : bigEndian_(bigEndian) {}

  void I32(std::int32_t v) {
    std::uint8_t b[4];
    Store32(b, static_cast<std::uint32_t>(v), bigEndian_);
    Bytes(b, 4);
  }
  void I64(std::int64_t v) { U64(static_cast<std::uint64_t>(v)); }
  void U64(std::uint64_t v) {
    std::uint8_t b[8];
    Store64(b, v, bigEndian_);
    Bytes(b, 8);
  }
  void F64(double v) {
    std::uint64_t bits;
    std::memcpy(&bits, &v, 8);
    U64(bits);
  }
  void Bytes(const void* p, std::size_t n) {
    const auto* b = static_cast<const std::uint8_t*>(p);
    data_.insert(data_.end(), b, b + n);
  }
  void Text(std::string_view s) { Bytes(s.data(), s.size()); }
  // `s` cut or blank-padded to exactly n bytes.
  void Fixed(std::string_view s, std::size_t n, char pad = ' ') {
    const std::size_t take = s.size() < n ? s.size() : n;
    Bytes(s.data(), take);
    data_.insert(data_.end(), n - take, static_cast<std::uint8_t>(pad));
  }
  void Zeros(std::size_t n) { data_.insert(data_.end(), n, 0); }

  std::span<const std::uint8_t> Data() const { return data_; }
  std::size_t Size() const { return data_.size(); }
  void Clear() { data_.clear(); }

 private:
  bool bigEndian_;
  std::vector<std::uint8_t> data_;
};

}  // namespace codebook::data::sav
