#include "platform/data/data_error.h"

namespace codebook::data {

namespace {

std::string Compose(const std::string& fileName, std::int64_t caseNumber,
                    const std::string& detail) {
  std::string text;
  if (!fileName.empty()) text = fileName + ": ";
  if (caseNumber > 0) text += "case " + std::to_string(caseNumber) + ": ";
  return text + detail;
}

}  // namespace

DataError::DataError(std::string fileName, std::int64_t caseNumber, std::string detail)
    : std::runtime_error(Compose(fileName, caseNumber, detail)),
      fileName_(std::move(fileName)),
      caseNumber_(caseNumber > 0 ? caseNumber : 0),
      detail_(std::move(detail)) {}

DataError DataError::WithContext(const std::string& fileName, std::int64_t caseNumber) const {
  return DataError(fileName_.empty() ? fileName : fileName_,
                   caseNumber_ > 0 ? caseNumber_ : caseNumber, detail_);
}

}  // namespace codebook::data
