// The error a dataset file raises when it cannot be opened or its dictionary
// cannot be read. The message names the file and what is wrong with it.
#pragma once

#include <stdexcept>
#include <string>

namespace codebook::data {

class FileError : public std::runtime_error {
 public:
  FileError(const std::string& file, const std::string& problem)
      : std::runtime_error(file + ": " + problem), file_(file), problem_(problem) {}

  const std::string& File() const { return file_; }
  const std::string& Problem() const { return problem_; }

 private:
  std::string file_;
  std::string problem_;
};

}  // namespace codebook::data
