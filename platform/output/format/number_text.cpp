#include "platform/output/format/number_text.h"

#include <charconv>
#include <cstdlib>

namespace codebook::output {

namespace {

constexpr int kSignificant = 15;

}  // namespace

void AppendNumberText(std::string& out, double value) {
  if (value == 0) {
    out += '0';
    return;
  }
  // The shortest digits that read back as this double (at most 17), and
  // the power of ten of the first: value = d.ddd x 10^exponent.
  char scientific[32];
  const auto [end, failure] = std::to_chars(scientific, scientific + sizeof scientific, value < 0 ? -value : value,
                                            std::chars_format::scientific);
  if (failure != std::errc()) return;
  char digits[24];
  int count = 0;
  const char* p = scientific;
  for (; p < end && *p != 'e'; ++p) {
    if (*p != '.') digits[count++] = *p;
  }
  int exponent = 0;
  if (p < end) std::from_chars(p + (p[1] == '+' ? 2 : 1), end, exponent);
  // Rounded half away from zero to 15 digits, as the tables round.
  if (count > kSignificant) {
    const bool up = digits[kSignificant] >= '5';
    count = kSignificant;
    for (int i = count - 1; up && i >= 0; --i) {
      if (digits[i] != '9') {
        ++digits[i];
        break;
      }
      digits[i] = '0';
      if (i == 0) {  // 9.99...9 became 10: one digit more before the point
        digits[0] = '1';
        ++exponent;
      }
    }
  }
  while (count > 1 && digits[count - 1] == '0') --count;

  if (value < 0) out += '-';
  if (exponent >= -5 && exponent < 15) {
    if (exponent < 0) {
      out += "0.";
      out.append(static_cast<std::size_t>(-exponent - 1), '0');
      out.append(digits, static_cast<std::size_t>(count));
      return;
    }
    const int whole = exponent + 1;
    for (int i = 0; i < whole; ++i) out += i < count ? digits[i] : '0';
    if (count > whole) {
      out += '.';
      out.append(digits + whole, static_cast<std::size_t>(count - whole));
    }
    return;
  }
  out += digits[0];
  if (count > 1) {
    out += '.';
    out.append(digits + 1, static_cast<std::size_t>(count - 1));
  }
  out += exponent < 0 ? "e-" : "e+";
  const int magnitude = exponent < 0 ? -exponent : exponent;
  if (magnitude < 10) out += '0';
  out += std::to_string(magnitude);
}

std::string NumberText(double value) {
  std::string out;
  AppendNumberText(out, value);
  return out;
}

}  // namespace codebook::output
