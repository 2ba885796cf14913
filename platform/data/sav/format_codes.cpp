#include "platform/data/sav/format_codes.h"

#include <algorithm>

namespace codebook::data::sav {
namespace {

struct Rule {
  int minWidth;
  int maxDecimalsOffset;  // max decimals = width - offset; <0: no decimals allowed; 99: up to 16
};

// Min width and maximum decimals per host code (0 where the code is unused).
bool RuleFor(int code, Rule& rule) {
  switch (code) {
    case 1: rule = {1, -1}; return true;      // A
    case 2: rule = {2, -1}; return true;      // AHEX
    case 3: case 5: case 32: rule = {1, 1}; return true;   // COMMA F DOT
    case 4: case 31: rule = {2, 2}; return true;           // DOLLAR PCT
    case 6: case 8: case 9: case 10: rule = {1, 99}; return true;  // IB P PIB PK
    case 7: rule = {2, -1}; return true;      // PIBHEX
    case 11: rule = {2, 99}; return true;     // RB
    case 12: rule = {4, -1}; return true;     // RBHEX
    case 15: case 16: rule = {1, 0}; return true;  // Z N
    case 17: rule = {6, 7}; return true;      // E
    case 20: rule = {9, -1}; return true;     // DATE
    case 21: rule = {5, 9}; return true;      // TIME
    case 22: rule = {17, 21}; return true;    // DATETIME
    case 23: rule = {8, -1}; return true;     // ADATE
    case 24: rule = {5, -1}; return true;     // JDATE
    case 25: rule = {8, 12}; return true;     // DTIME
    case 26: rule = {2, -1}; return true;     // WKDAY
    case 27: rule = {3, -1}; return true;     // MONTH
    case 28: case 29: rule = {6, -1}; return true;  // MOYR QYR
    case 30: rule = {8, -1}; return true;     // WKYR
    case 33: case 34: case 35: case 36: case 37: rule = {2, 1}; return true;  // CCA..CCE
    case 38: case 39: rule = {8, -1}; return true;  // EDATE SDATE
    case 85: rule = {5, 6}; return true;      // MTIME
    case 86: rule = {16, 20}; return true;    // YMDHMS
    default: return false;
  }
}

}  // namespace

std::optional<VELA_Format> UnpackFormat(std::uint32_t packed, int width) {
  int code = static_cast<int>(packed >> 16);
  const int w = static_cast<int>((packed >> 8) & 0xFF);
  const int d = static_cast<int>(packed & 0xFF);
  if (code == 40) code = 85;
  else if (code == 41) code = 86;
  Rule rule{};
  if (!RuleFor(code, rule)) return std::nullopt;
  const bool stringFormat = code == 1 || code == 2;
  if (stringFormat != (width > 0)) return std::nullopt;
  if (w < rule.minWidth || d > 16) return std::nullopt;
  if (rule.maxDecimalsOffset < 0 && d != 0) return std::nullopt;
  if (rule.maxDecimalsOffset != 99 && rule.maxDecimalsOffset >= 0 && d > std::max(0, w - rule.maxDecimalsOffset)) {
    return std::nullopt;
  }
  if (!stringFormat && w > 40) return std::nullopt;
  return VELA_Format(static_cast<VELA_Format::FormatType>(code), w, d);
}

VELA_Format DefaultFormat(int width) {
  if (width > 0) return VELA_Format(VELA_Format::A, width, 0);
  return VELA_Format(VELA_Format::F, 8, 2);
}

std::uint32_t PackFormat(const VELA_Format& format, bool hostTimeCodes) {
  std::uint32_t code = format.TypeEx();
  if (!hostTimeCodes) {
    if (code == 85) code = 40;
    else if (code == 86) code = 41;
  }
  const std::uint32_t width = std::min<std::uint32_t>(format.Width(), 255);
  return code << 16 | width << 8 | format.Decimals();
}

}  // namespace codebook::data::sav
