// The host's data error: a case stream throws it when the data of a dataset
// are damaged (a file that ends inside a case, a corrupt compressed block).
// It carries the file name and the 1-based case number when they are known.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

namespace codebook::data {

class DataError : public std::runtime_error {
 public:
  // caseNumber 0 means unknown; an empty file name is left out of the text.
  DataError(std::string fileName, std::int64_t caseNumber, std::string detail);

  const std::string& FileName() const { return fileName_; }
  std::int64_t CaseNumber() const { return caseNumber_; }
  const std::string& Detail() const { return detail_; }

  // The same error with a file name or case number filled in, for callers
  // that learn the context as the error travels up.
  DataError WithContext(const std::string& fileName, std::int64_t caseNumber) const;

 private:
  std::string fileName_;
  std::int64_t caseNumber_;
  std::string detail_;
};

}  // namespace codebook::data
