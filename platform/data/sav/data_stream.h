// Byte streams of the case-data section: the file's bytes after the
// dictionary, or the inflated zlib blocks. Streams read in large pieces and
// hold bounded buffers, whatever the size of the file.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/data/sav/byte_source.h"

namespace codebook::data::sav {

// Damaged case data. The case stream adds the file name and case number.
class CorruptData : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

class DataByteStream {
 public:
  virtual ~DataByteStream() = default;
  // Fills as much of `out` as the data allows; returns the byte count, less
  // than out.size() only at the end of the data or just before damaged data,
  // so that the bytes before the damage are not lost: the next call then
  // throws CorruptData.
  virtual std::size_t Read(std::span<std::uint8_t> out) = 0;
};

// The bytes [begin, end) of a source.
std::unique_ptr<DataByteStream> MakeRangeStream(std::shared_ptr<const ByteSource> source,
                                                std::uint64_t begin, std::uint64_t end);

// A window over a stream that keeps a run of bytes contiguous, so that the
// byte-code decoder can see an instruction group and its raw blocks at once.
class InputWindow {
 public:
  InputWindow(std::unique_ptr<DataByteStream> stream, std::size_t capacity);

  const std::uint8_t* Data() const { return buffer_.data() + begin_; }
  std::size_t Available() const { return end_ - begin_; }
  void Consume(std::size_t n) { begin_ += n; }
  // Makes at least n bytes available if the stream still has them. Damaged
  // data end the window as if the stream had ended; Error() then says why,
  // so that the cases decoded before the damage can still be delivered.
  bool Ensure(std::size_t n) {
    return Available() >= n || Refill(n);
  }
  const std::string& Error() const { return error_; }

 private:
  bool Refill(std::size_t n);

  std::unique_ptr<DataByteStream> stream_;
  std::vector<std::uint8_t> buffer_;
  std::size_t begin_ = 0;
  std::size_t end_ = 0;
  bool exhausted_ = false;
  std::string error_;
};

}  // namespace codebook::data::sav
