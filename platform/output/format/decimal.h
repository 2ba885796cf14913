// Decimal digits of a double, for display rounding. Values are rounded from
// their shortest round-trip decimal form, so 2.675 rounds like the 2.675 a
// user typed (to 2.68), not like its binary neighbour 2.67499999...
#pragma once

#include <string>

namespace codebook::output {

struct DecimalDigits {
  bool negative = false;
  // Significant digits without leading zeros; empty for zero.
  std::string digits;
  // Digits before the decimal point: value = 0.<digits> x 10^point.
  int point = 0;

  bool IsZero() const;
};

// The shortest decimal form that reads back as the same double. The value
// must be finite.
DecimalDigits ToDecimal(double value);

// Rounds half away from zero to this many digits after the decimal point.
void RoundToDecimals(DecimalDigits& number, int decimals);
// Rounds half away from zero to this many significant digits (at least 1).
void RoundToSignificant(DecimalDigits& number, int significant);

// The integer digits ("0" when there are none) and the first `decimals`
// fraction digits, zero-filled; no sign.
std::string IntegerDigits(const DecimalDigits& number);
std::string FractionDigits(const DecimalDigits& number, int decimals);

}  // namespace codebook::output
