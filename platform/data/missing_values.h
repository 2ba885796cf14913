// User-missing values of one variable: for numbers up to three discrete values
// and/or a closed range whose ends may be open (LO / HI); for strings up to
// three discrete values, compared without trailing blanks. System-missing is
// never user-missing. A numeric variable of a file that has extended missing
// values (.a-.z, .A-.Z, ._; platform/data/extended_missing.h) counts every
// such code as missing too.
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
  // The same with every extended missing code counted as missing as well.
  MissingValues WithExtendedCodes() const;

  bool HasExtendedCodes() const { return extendedCodes_; }

  // Empty: nothing at all is user-missing.
  bool Empty() const { return !DeclaresValues() && !extendedCodes_; }
  // Whether there are discrete values or a range (what a file declares).
  bool DeclaresValues() const { return !discrete_.empty() || range_ || !strings_.empty(); }
  bool IsStringKind() const { return !strings_.empty(); }

  const std::vector<double>& Discrete() const { return discrete_; }
  const std::optional<Range>& GetRange() const { return range_; }
  const std::vector<std::string>& StringValues() const { return strings_; }

  // Whether a number is user-missing: equal to a discrete value or inside the
  // range, bounds included, or an extended missing code when they count.
  // kSysmis and NaN are not.
  bool IsMissing(double value) const;
  // Whether a string value (trailing blanks ignored) is user-missing.
  bool IsMissing(std::string_view value) const;

  friend bool operator==(const MissingValues&, const MissingValues&) = default;

 private:
  std::vector<double> discrete_;
  std::optional<Range> range_;
  std::vector<std::string> strings_;
  bool extendedCodes_ = false;
};

// The text without its trailing blanks.
std::string_view TrimTrailingBlanks(std::string_view text);

}  // namespace codebook::data
