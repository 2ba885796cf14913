// A dataset given as "-": read from standard input. The reader needs random
// access, so a pipe is first copied to a temporary file, which goes away as
// soon as the reader holds it open, and on every other way out.
#pragma once

#include <string>

namespace codebook::cli {

class StandardInput {
 public:
  StandardInput() = default;
  ~StandardInput();
  StandardInput(const StandardInput&) = delete;
  StandardInput& operator=(const StandardInput&) = delete;

  // A path the reader can open for standard input's data; empty, with
  // `error` set, when there are none to read.
  std::string Path(std::string& error);
  // The reader has opened the file: a temporary copy is removed now.
  void Opened();

 private:
  std::string temporary_;
  int slot_ = -1;
};

}  // namespace codebook::cli
