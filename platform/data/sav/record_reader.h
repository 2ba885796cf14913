// Sequential, bounds-checked reading of the dictionary records. Every read
// checks the bytes left in the file first, so no count or length from the
// file can cause an out-of-range read or an allocation the file cannot back.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/data/sav/byte_source.h"

namespace codebook::data::sav {

class RecordReader {
 public:
  RecordReader(const ByteSource& source, std::uint64_t start);

  std::uint64_t Offset() const { return offset_; }
  std::uint64_t Remaining() const { return size_ - offset_; }
  void SetBigEndian(bool bigEndian) { bigEndian_ = bigEndian; }
  bool BigEndian() const { return bigEndian_; }

  // Each read throws FileError "file ends inside <what> at offset X" when the
  // file has too few bytes left.
  void Read(void* dst, std::uint64_t n, const char* what);
  std::string ReadString(std::uint64_t n, const char* what);
  std::vector<std::uint8_t> ReadBytes(std::uint64_t n, const char* what);
  void Skip(std::uint64_t n, const char* what);
  std::int32_t I32(const char* what);
  std::int64_t I64(const char* what);
  std::uint64_t U64Bits(const char* what);

  [[noreturn]] void Fail(const std::string& problem) const;
  [[noreturn]] void FailAt(std::uint64_t offset, const std::string& problem) const;

 private:
  void Fill();

  const ByteSource& source_;
  std::uint64_t size_;
  std::uint64_t offset_;
  bool bigEndian_ = false;
  std::vector<std::uint8_t> buffer_;
  std::uint64_t bufferStart_ = 0;  // file offset of buffer_[0]
  std::size_t bufferLen_ = 0;
};

}  // namespace codebook::data::sav
