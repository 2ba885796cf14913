// A stream that writes into an OutputTarget as it fills, so that rendered
// output is never held whole in memory on its way out.
#pragma once

#include <array>
#include <streambuf>
#include <string>
#include <string_view>

#include "cli/output_target.h"

namespace codebook::cli {

class TargetStreamBuffer final : public std::streambuf {
 public:
  explicit TargetStreamBuffer(OutputTarget& target);
  ~TargetStreamBuffer() override = default;
  TargetStreamBuffer(const TargetStreamBuffer&) = delete;
  TargetStreamBuffer& operator=(const TargetStreamBuffer&) = delete;

  // Text written before the first byte of output, and only if there is one
  // (a separator between parts, none after an empty part).
  void SetPrefix(std::string_view prefix) { prefix_ = prefix; }
  // Writes what is held; false (with the error) once any write failed.
  bool Finish(std::string& error);
  // Whether any output byte reached the buffer.
  bool WroteAny() const { return wroteAny_; }

 protected:
  int_type overflow(int_type c) override;
  std::streamsize xsputn(const char* data, std::streamsize count) override;
  int sync() override;

 private:
  bool Drain();

  OutputTarget& target_;
  std::array<char, 1 << 16> buffer_{};
  std::string prefix_;
  std::string error_;
  bool failed_ = false;
  bool wroteAny_ = false;
};

}  // namespace codebook::cli
