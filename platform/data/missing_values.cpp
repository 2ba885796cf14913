#include "platform/data/missing_values.h"

#include <cmath>
#include <stdexcept>

#include "host/data/obs.h"
#include "platform/data/extended_missing.h"

namespace codebook::data {

std::string_view TrimTrailingBlanks(std::string_view text) {
  std::size_t n = text.size();
  while (n > 0 && text[n - 1] == ' ') --n;
  return text.substr(0, n);
}

MissingValues MissingValues::Numeric(std::vector<double> discrete, std::optional<Range> range) {
  if (discrete.size() > kMaxDiscrete) {
    throw std::invalid_argument("a variable has at most three discrete missing values");
  }
  if (range) {
    if (std::isnan(range->low) || std::isnan(range->high)) {
      throw std::invalid_argument("a missing-value range bound is not a number");
    }
    if (range->low > range->high) {
      throw std::invalid_argument("a missing-value range has its low end above its high end");
    }
  }
  MissingValues m;
  m.discrete_ = std::move(discrete);
  m.range_ = range;
  return m;
}

MissingValues MissingValues::Strings(std::vector<std::string> discrete) {
  if (discrete.size() > kMaxDiscrete) {
    throw std::invalid_argument("a variable has at most three discrete missing values");
  }
  MissingValues m;
  for (auto& s : discrete) {
    s.resize(TrimTrailingBlanks(s).size());
  }
  m.strings_ = std::move(discrete);
  return m;
}

MissingValues MissingValues::WithExtendedCodes() const {
  if (!strings_.empty()) throw std::invalid_argument("extended missing codes are numbers");
  MissingValues m = *this;
  m.extendedCodes_ = true;
  return m;
}

bool MissingValues::IsMissing(double value) const {
  if (value == kSysmis || std::isnan(value)) return false;
  if (extendedCodes_ && IsExtendedMissing(value)) return true;
  for (const double d : discrete_) {
    if (value == d) return true;
  }
  return range_ && value >= range_->low && value <= range_->high;
}

bool MissingValues::IsMissing(std::string_view value) const {
  if (strings_.empty()) return false;
  const std::string_view trimmed = TrimTrailingBlanks(value);
  for (const auto& s : strings_) {
    if (trimmed == s) return true;
  }
  return false;
}

}  // namespace codebook::data
