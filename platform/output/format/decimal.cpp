#include "platform/output/format/decimal.h"

#include <charconv>
#include <cstdlib>

namespace codebook::output {

bool DecimalDigits::IsZero() const {
  return digits.find_first_not_of('0') == std::string::npos;
}

DecimalDigits ToDecimal(double value) {
  DecimalDigits out;
  if (value == 0) return out;
  out.negative = value < 0;
  char buffer[64];
  auto [end, ec] = std::to_chars(buffer, buffer + sizeof buffer, value < 0 ? -value : value,
                                 std::chars_format::scientific);
  if (ec != std::errc()) return out;
  // Form: d[.ddd]e[+-]xx
  const char* p = buffer;
  for (; p < end && *p != 'e'; ++p) {
    if (*p >= '0' && *p <= '9') out.digits.push_back(*p);
  }
  int exponent = 0;
  if (p < end) exponent = std::atoi(std::string(p + 1, static_cast<const char*>(end)).c_str());
  out.point = exponent + 1;
  while (!out.digits.empty() && out.digits.back() == '0') out.digits.pop_back();
  return out;
}

namespace {

// Keeps the first `keep` digits, rounding half away from zero on the next.
void KeepDigits(DecimalDigits& number, int keep) {
  const int length = static_cast<int>(number.digits.size());
  if (keep >= length) return;
  if (keep < 0) {
    number.digits.clear();
    return;
  }
  const bool up = number.digits[static_cast<std::size_t>(keep)] >= '5';
  number.digits.resize(static_cast<std::size_t>(keep));
  if (!up) return;
  int i = keep - 1;
  for (; i >= 0; --i) {
    char& digit = number.digits[static_cast<std::size_t>(i)];
    if (digit == '9') {
      digit = '0';
    } else {
      ++digit;
      break;
    }
  }
  if (i < 0) {  // carried out of the first digit: 99.5 -> 100
    number.digits.insert(number.digits.begin(), '1');
    ++number.point;
  }
}

}  // namespace

void RoundToDecimals(DecimalDigits& number, int decimals) {
  KeepDigits(number, number.point + decimals);
  if (number.IsZero()) number.digits.clear();
}

void RoundToSignificant(DecimalDigits& number, int significant) {
  KeepDigits(number, significant < 1 ? 1 : significant);
}

std::string IntegerDigits(const DecimalDigits& number) {
  if (number.point <= 0 || number.digits.empty()) return "0";
  std::string out = number.digits.substr(0, static_cast<std::size_t>(number.point));
  out.resize(static_cast<std::size_t>(number.point), '0');
  return out;
}

std::string FractionDigits(const DecimalDigits& number, int decimals) {
  std::string out;
  out.reserve(static_cast<std::size_t>(decimals > 0 ? decimals : 0));
  const int length = static_cast<int>(number.digits.size());
  for (int i = 0; i < decimals; ++i) {
    const int index = number.point + i;
    out.push_back(index >= 0 && index < length ? number.digits[static_cast<std::size_t>(index)] : '0');
  }
  return out;
}

}  // namespace codebook::output
