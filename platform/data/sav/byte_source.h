// Random-access bytes of a dataset file. The dictionary reader and every case
// stream share one source; each read names its offset, so streams never
// disturb one another.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace codebook::data::sav {

class ByteSource {
 public:
  explicit ByteSource(std::string name) : name_(std::move(name)) {}
  virtual ~ByteSource() = default;
  ByteSource(const ByteSource&) = delete;
  ByteSource& operator=(const ByteSource&) = delete;

  virtual std::uint64_t Size() const = 0;
  // Reads up to out.size() bytes at `offset`; fewer only at the end of the data.
  virtual std::size_t ReadAt(std::uint64_t offset, std::span<std::uint8_t> out) const = 0;

  // The name used in messages: the path as the user gave it.
  const std::string& Name() const { return name_; }

 private:
  std::string name_;
};

// Opens a file, called `name` in messages (empty: its path); throws
// FileError when it cannot be opened.
std::shared_ptr<const ByteSource> OpenFileSource(const std::string& path, const std::string& name = {});
// Bytes held in memory (tests, the fuzzer).
std::shared_ptr<const ByteSource> MemorySource(std::vector<std::uint8_t> bytes, std::string name);

}  // namespace codebook::data::sav
