// User-missing values of one variable: for numbers up to three discrete values
// and/or a closed range whose ends may be open (LO / HI); for strings up to
// three discrete values, compared without trailing blanks. System-missing is
// never user-missing.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace codebook::data {

class MissingValues {
 public:
  static constexpr std::size_t kMaxDiscrete = 3;

  struct Range {
    double low;   // -infinity stands for LO
    double high;  // +infinity stands for HI
  };

  // No missing values.
  MissingValues() = default;

  // Numeric missing values. Throws std::invalid_argument for more than three
  // discrete values, a range with low > high or with a NaN bound.
  static MissingValues Numeric(std::vector<double> discrete, std::optional<Range> range = {});
  // String missing values (trailing blanks are dropped). Throws
  // std::invalid_argument for more than three values.
  static MissingValues Strings(std::vector<std::string> discrete);

  bool Empty() const { return discrete_.empty() && !range_ && strings_.empty(); }
  bool IsStringKind() const { return !strings_.empty(); }

  const std::vector<double>& Discrete() const { return discrete_; }
  const std::optional<Range>& GetRange() const { return range_; }
  const std::vector<std::string>& StringValues() const { return strings_; }

  // Whether a number is user-missing: equal to a discrete value or inside the
  // range, bounds included. kSysmis and NaN are not.
  bool IsMissing(double value) const;
  // Whether a string value (trailing blanks ignored) is user-missing.
  bool IsMissing(std::string_view value) const;

  friend bool operator==(const MissingValues&, const MissingValues&) = default;

 private:
  std::vector<double> discrete_;
  std::optional<Range> range_;
  std::vector<std::string> strings_;
};

// The text without its trailing blanks.
std::string_view TrimTrailingBlanks(std::string_view text);

}  // namespace codebook::data
