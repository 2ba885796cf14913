// A print or write format: type code, width and decimals. The type codes are
// the host's numbering (MTIME and YMDHMS are 85 and 86; 40 is G).
#pragma once

#include <cstdint>

class VELA_Format {
 public:
  enum FormatType : std::uint8_t {
    kNone = 0,
    A = 1, AHEX = 2, COMMA = 3, DOLLAR = 4, F = 5, IB = 6, PIBHEX = 7, P = 8,
    PIB = 9, PK = 10, RB = 11, RBHEX = 12, Z = 15, N = 16, E = 17, DATE = 20,
    TIME = 21, DATETIME = 22, ADATE = 23, JDATE = 24, DTIME = 25, WKDAY = 26,
    MONTH = 27, MOYR = 28, QYR = 29, WKYR = 30, PCT = 31, DOT = 32, CCA = 33,
    CCB = 34, CCC = 35, CCD = 36, CCE = 37, EDATE = 38, SDATE = 39, G = 40,
    MTIME = 85, YMDHMS = 86,
  };

  constexpr VELA_Format() = default;
  // The type is set first: the width setter's limit depends on it.
  constexpr VELA_Format(FormatType type, int width, int decimals) {
    Type(type);
    Width(static_cast<unsigned short>(width));
    Decimals(static_cast<unsigned char>(decimals));
  }

  constexpr void Type(FormatType type) { type_ = type; }
  // Numeric formats are at most 40 columns wide; strings keep their width.
  constexpr void Width(unsigned short width) {
    width_ = (width > 40 && !IsString()) ? 40 : width;
  }
  constexpr void Decimals(unsigned char decimals) { decimals_ = decimals; }

  constexpr unsigned short Width() const { return width_; }
  constexpr unsigned char Decimals() const { return decimals_; }
  constexpr unsigned int TypeEx() const { return type_; }
  constexpr bool IsString() const { return type_ == A || type_ == AHEX; }

  constexpr bool operator==(const VELA_Format&) const = default;

 private:
  std::uint16_t width_ = 0;
  FormatType type_ = kNone;
  std::uint8_t decimals_ = 0;
};
