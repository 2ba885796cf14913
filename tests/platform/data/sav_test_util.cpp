#include "tests/platform/data/sav_test_util.h"

namespace codebook::data::test {

std::string FormatText(const VELA_Format& format) {
  static const char* const kNames[] = {
      "none", "A", "AHEX", "COMMA", "DOLLAR", "F", "IB", "PIBHEX", "P", "PIB", "PK", "RB",
      "RBHEX", "?13", "?14", "Z", "N", "E", "?18", "?19", "DATE", "TIME", "DATETIME", "ADATE",
      "JDATE", "DTIME", "WKDAY", "MONTH", "MOYR", "QYR", "WKYR", "PCT", "DOT", "CCA", "CCB",
      "CCC", "CCD", "CCE", "EDATE", "SDATE", "G"};
  const unsigned code = format.TypeEx();
  std::string name;
  if (code == 85) name = "MTIME";
  else if (code == 86) name = "YMDHMS";
  else if (code < sizeof kNames / sizeof kNames[0]) name = kNames[code];
  else name = "?" + std::to_string(code);
  name += std::to_string(format.Width());
  if (format.Decimals() != 0) name += "." + std::to_string(format.Decimals());
  return name;
}

}  // namespace codebook::data::test
