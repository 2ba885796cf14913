// Every numeric format, at every width and number of decimals, on values
// that stress the formatters (extremes, denormals, halves, dates far out):
// a fixed field is always exactly its width, and nothing reads out of
// bounds or overflows (run under the sanitizers too).
#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <limits>
#include <string>

#include "host/data/obs.h"
#include "platform/output/format/value_format.h"

namespace codebook::output {
namespace {

constexpr VELA_Format::FormatType kNumericTypes[] = {
    VELA_Format::COMMA, VELA_Format::DOLLAR, VELA_Format::F,     VELA_Format::IB,    VELA_Format::PIBHEX,
    VELA_Format::P,     VELA_Format::PIB,    VELA_Format::PK,    VELA_Format::RB,    VELA_Format::RBHEX,
    VELA_Format::Z,     VELA_Format::N,      VELA_Format::E,     VELA_Format::DATE,  VELA_Format::TIME,
    VELA_Format::DATETIME, VELA_Format::ADATE, VELA_Format::JDATE, VELA_Format::DTIME, VELA_Format::WKDAY,
    VELA_Format::MONTH, VELA_Format::MOYR,   VELA_Format::QYR,   VELA_Format::WKYR,  VELA_Format::PCT,
    VELA_Format::DOT,   VELA_Format::CCA,    VELA_Format::CCB,   VELA_Format::CCC,   VELA_Format::CCD,
    VELA_Format::CCE,   VELA_Format::EDATE,  VELA_Format::SDATE, VELA_Format::G,     VELA_Format::MTIME,
    VELA_Format::YMDHMS};

const double kValues[] = {0.0,
                          -0.0,
                          0.5,
                          -0.5,
                          1.0,
                          2718.281828,
                          -2718.281828,
                          99999.995,
                          1e15,
                          -1e15,
                          9.99e12,
                          -9.99e12,
                          13928544000.0 + 0.999999,
                          DBL_MAX,
                          -DBL_MAX + 1e292,
                          DBL_MIN,
                          std::numeric_limits<double>::denorm_min(),
                          -std::numeric_limits<double>::denorm_min(),
                          18446744073709551615.0,
                          kSysmis,
                          std::numeric_limits<double>::quiet_NaN(),
                          -std::numeric_limits<double>::infinity()};

TEST(FormatSweep, FixedFieldsAreExactlyTheirWidthAndCellsAreNeverEmpty) {
  for (const VELA_Format::FormatType type : kNumericTypes) {
    for (int width = 1; width <= 40; ++width) {
      for (int decimals = 0; decimals <= 16; decimals += (decimals < 3 ? 1 : 5)) {
        const VELA_Format format(type, width, decimals);
        for (const double value : kValues) {
          const std::string fixed = FormatNumber(value, format, FieldMode::kFixed);
          ASSERT_EQ(static_cast<int>(fixed.size()), width)
              << "type " << type << " width " << width << "." << decimals << " value " << value << ": '" << fixed
              << "'";
          const std::string cell = FormatNumber(value, format, FieldMode::kCell);
          ASSERT_FALSE(cell.empty()) << "type " << type << " width " << width << " value " << value;
          ASSERT_NE(cell.front(), ' ') << cell;
        }
      }
    }
  }
}

}  // namespace
}  // namespace codebook::output
