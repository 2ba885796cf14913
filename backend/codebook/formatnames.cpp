#include <cstdio>
#include <string>

#include "cbkoutput.h"

std::string GetFormatName(const VELA_Format& format) {
  // Codes 13, 14, 18, 19 and 41 to 84 are unnamed on purpose.
  switch (format.TypeEx()) {
    case 1: { static const std::string name = "A"; return name; }
    case 2: { static const std::string name = "AHEX"; return name; }
    case 3: { static const std::string name = "COMMA"; return name; }
    case 4: { static const std::string name = "DOLLAR"; return name; }
    case 5: { static const std::string name = "F"; return name; }
    case 6: { static const std::string name = "IB"; return name; }
    case 7: { static const std::string name = "PIBHEX"; return name; }
    case 8: { static const std::string name = "P"; return name; }
    case 9: { static const std::string name = "PIB"; return name; }
    case 10: { static const std::string name = "PK"; return name; }
    case 11: { static const std::string name = "RB"; return name; }
    case 12: { static const std::string name = "RBHEX"; return name; }
    case 15: { static const std::string name = "Z"; return name; }
    case 16: { static const std::string name = "N"; return name; }
    case 17: { static const std::string name = "E"; return name; }
    case 20: { static const std::string name = "DATE"; return name; }
    case 21: { static const std::string name = "TIME"; return name; }
    case 22: { static const std::string name = "DATETIME"; return name; }
    case 23: { static const std::string name = "ADATE"; return name; }
    case 24: { static const std::string name = "JDATE"; return name; }
    case 25: { static const std::string name = "DTIME"; return name; }
    case 26: { static const std::string name = "WKDAY"; return name; }
    case 27: { static const std::string name = "MONTH"; return name; }
    case 28: { static const std::string name = "MOYR"; return name; }
    case 29: { static const std::string name = "QYR"; return name; }
    case 30: { static const std::string name = "WKYR"; return name; }
    case 31: { static const std::string name = "PCT"; return name; }
    case 32: { static const std::string name = "DOT"; return name; }
    case 33: { static const std::string name = "CCA"; return name; }
    case 34: { static const std::string name = "CCB"; return name; }
    case 35: { static const std::string name = "CCC"; return name; }
    case 36: { static const std::string name = "CCD"; return name; }
    case 37: { static const std::string name = "CCE"; return name; }
    case 38: { static const std::string name = "EDATE"; return name; }
    case 39: { static const std::string name = "SDATE"; return name; }
    case 40: { static const std::string name = "G"; return name; }
    case 85: { static const std::string name = "MTIME"; return name; }
    case 86: { static const std::string name = "YMDHMS"; return name; }
    default: { static const std::string name = "badFormat"; return name; }
  }
}

std::string GetFormatDescriptor(const VELA_Format& format) {
  const std::string name = GetFormatName(format);
  const int width = format.Width();
  const int decimals = format.Decimals();
  // The longest text, "badFormat" with five width and three decimal digits,
  // has 18 characters.
  char buffer[24];
  if (decimals != 0) {
    std::snprintf(buffer, sizeof buffer, "%s%d.%d", name.c_str(), width, decimals);
  } else {
    std::snprintf(buffer, sizeof buffer, "%s%d", name.c_str(), width);
  }
  return buffer;
}
