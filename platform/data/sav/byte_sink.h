// Where the writer puts its bytes: a file or memory. Header fields that are
// known only at the end (case count, zlib offsets) are patched in place.
#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace codebook::data::sav {

class ByteSink {
 public:
  virtual ~ByteSink() = default;
  virtual void Write(std::span<const std::uint8_t> bytes) = 0;
  virtual std::uint64_t Offset() const = 0;
  virtual void Patch(std::uint64_t offset, std::span<const std::uint8_t> bytes) = 0;
  virtual void Close() {}
};

class VectorSink final : public ByteSink {
 public:
  void Write(std::span<const std::uint8_t> bytes) override;
  std::uint64_t Offset() const override { return bytes_.size(); }
  void Patch(std::uint64_t offset, std::span<const std::uint8_t> bytes) override;
  std::vector<std::uint8_t> Take() { return std::move(bytes_); }

 private:
  std::vector<std::uint8_t> bytes_;
};

class FileSink final : public ByteSink {
 public:
  explicit FileSink(const std::string& path);  // throws FileError
  ~FileSink() override;
  FileSink(const FileSink&) = delete;
  FileSink& operator=(const FileSink&) = delete;

  void Write(std::span<const std::uint8_t> bytes) override;
  std::uint64_t Offset() const override { return offset_; }
  void Patch(std::uint64_t offset, std::span<const std::uint8_t> bytes) override;
  void Close() override;  // throws FileError when the data could not be written

 private:
  [[noreturn]] void Fail() const;

  std::string path_;
  std::FILE* file_ = nullptr;
  std::uint64_t offset_ = 0;
  std::vector<char> buffer_;
};

}  // namespace codebook::data::sav
