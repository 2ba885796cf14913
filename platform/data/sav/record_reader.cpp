#include "platform/data/sav/record_reader.h"

#include <algorithm>
#include <cstring>

#include "platform/data/sav/endian.h"
#include "platform/data/sav/file_error.h"

namespace codebook::data::sav {
namespace {
constexpr std::size_t kBufferSize = 64 * 1024;
}

RecordReader::RecordReader(const ByteSource& source, std::uint64_t start)
    : source_(source), size_(source.Size()), offset_(std::min(start, source.Size())),
      buffer_(kBufferSize) {}

void RecordReader::Fail(const std::string& problem) const { FailAt(offset_, problem); }

void RecordReader::FailAt(std::uint64_t offset, const std::string& problem) const {
  throw FileError(source_.Name(), problem + " at offset " + std::to_string(offset));
}

void RecordReader::Fill() {
  bufferStart_ = offset_;
  bufferLen_ = source_.ReadAt(offset_, buffer_);
}

void RecordReader::Read(void* dst, std::uint64_t n, const char* what) {
  if (n > Remaining()) Fail(std::string("file ends inside ") + what);
  auto* out = static_cast<std::uint8_t*>(dst);
  while (n > 0) {
    if (offset_ < bufferStart_ || offset_ >= bufferStart_ + bufferLen_) {
      Fill();
      if (bufferLen_ == 0) Fail(std::string("file ends inside ") + what);
    }
    std::size_t at = static_cast<std::size_t>(offset_ - bufferStart_);
    std::size_t take = static_cast<std::size_t>(std::min<std::uint64_t>(n, bufferLen_ - at));
    std::memcpy(out, buffer_.data() + at, take);
    out += take;
    offset_ += take;
    n -= take;
  }
}

std::string RecordReader::ReadString(std::uint64_t n, const char* what) {
  if (n > Remaining()) Fail(std::string("file ends inside ") + what);
  std::string s(static_cast<std::size_t>(n), '\0');
  Read(s.data(), n, what);
  return s;
}

std::vector<std::uint8_t> RecordReader::ReadBytes(std::uint64_t n, const char* what) {
  if (n > Remaining()) Fail(std::string("file ends inside ") + what);
  std::vector<std::uint8_t> v(static_cast<std::size_t>(n));
  Read(v.data(), n, what);
  return v;
}

void RecordReader::Skip(std::uint64_t n, const char* what) {
  if (n > Remaining()) Fail(std::string("file ends inside ") + what);
  offset_ += n;
}

std::int32_t RecordReader::I32(const char* what) {
  std::uint8_t b[4];
  Read(b, 4, what);
  return static_cast<std::int32_t>(Load32(b, bigEndian_));
}

std::int64_t RecordReader::I64(const char* what) {
  return static_cast<std::int64_t>(U64Bits(what));
}

std::uint64_t RecordReader::U64Bits(const char* what) {
  std::uint8_t b[8];
  Read(b, 8, what);
  return Load64(b, bigEndian_);
}

}  // namespace codebook::data::sav
