#include "platform/data/sav/byte_sink.h"

#include <cerrno>
#include <cstring>

#include "platform/data/sav/file_error.h"

namespace codebook::data::sav {

void VectorSink::Write(std::span<const std::uint8_t> bytes) {
  bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
}

void VectorSink::Patch(std::uint64_t offset, std::span<const std::uint8_t> bytes) {
  std::memcpy(bytes_.data() + offset, bytes.data(), bytes.size());
}

FileSink::FileSink(const std::string& path) : path_(path), buffer_(1 << 20) {
  file_ = std::fopen(path.c_str(), "wb");
  if (!file_) throw FileError(path, std::string("cannot create: ") + std::strerror(errno));
  std::setvbuf(file_, buffer_.data(), _IOFBF, buffer_.size());
}

FileSink::~FileSink() {
  if (file_) std::fclose(file_);
}

void FileSink::Fail() const {
  throw FileError(path_, std::string("cannot write: ") + std::strerror(errno));
}

void FileSink::Write(std::span<const std::uint8_t> bytes) {
  if (bytes.empty()) return;
  if (std::fwrite(bytes.data(), 1, bytes.size(), file_) != bytes.size()) Fail();
  offset_ += bytes.size();
}

void FileSink::Patch(std::uint64_t offset, std::span<const std::uint8_t> bytes) {
  if (fseeko(file_, static_cast<off_t>(offset), SEEK_SET) != 0) Fail();
  if (std::fwrite(bytes.data(), 1, bytes.size(), file_) != bytes.size()) Fail();
  if (fseeko(file_, static_cast<off_t>(offset_), SEEK_SET) != 0) Fail();
}

void FileSink::Close() {
  if (!file_) return;
  const bool ok = std::fflush(file_) == 0;
  const bool closed = std::fclose(file_) == 0;
  file_ = nullptr;
  if (!ok || !closed) Fail();
}

}  // namespace codebook::data::sav
