// Where the program's output goes: standard output, or a file that is
// written whole or not at all, never over the data it was made from.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace codebook::cli {

class OutputTarget {
 public:
  // Standard output.
  OutputTarget() = default;
  // A file ("-" is standard output). Prepare() before writing.
  explicit OutputTarget(std::string path);
  ~OutputTarget();
  OutputTarget(const OutputTarget&) = delete;
  OutputTarget& operator=(const OutputTarget&) = delete;

  bool IsStandardOutput() const { return path_.empty(); }
  const std::string& Path() const { return path_; }

  // Refuses a target that is one of `inputs` (the same file, also through
  // links), then opens the temporary file the output goes to. A regular
  // file (or a symlink to one, which is followed) gets a temporary beside it;
  // a device or FIFO is written in place at Commit(). A target that is the
  // file standard output goes to becomes standard output.
  bool Prepare(const std::vector<std::string>& inputs, std::string& error);
  // Checks `inputs` again (the files the run opened) and opens a device or
  // FIFO, once the run is known to have succeeded: what is written after
  // this goes there at once instead of being held until Commit().
  bool Open(const std::vector<std::string>& inputs, std::string& error);
  // Appends output. Standard output, and a device or FIFO once opened, are
  // written at once.
  bool Write(std::string_view bytes, std::string& error);
  // Checks `inputs` again, then makes the output final. Without Commit() the
  // target stays as it was.
  bool Commit(const std::vector<std::string>& inputs, std::string& error);

 private:
  bool Refuse(const std::vector<std::string>& inputs, std::string& error) const;
  std::string Failure(const std::string& what) const;

  std::string path_;       // as given; empty: standard output
  std::string resolved_;   // the file a symlink chain ends at
  std::string temporary_;  // the temporary file, while one exists
  int slot_ = -1;          // its cleanup slot
  int fd_ = -1;            // the temporary file's descriptor
  bool inPlace_ = false;   // a device or FIFO: written once opened
  int placeFd_ = -1;       // its descriptor, once opened
  bool ownsPlaceFd_ = false;
  std::string pending_;    // what it receives when opened
};

// Writes all bytes to a descriptor, going on after interrupted or partial
// writes; false with errno set on failure.
bool WriteAll(int fd, std::string_view bytes);

}  // namespace codebook::cli
