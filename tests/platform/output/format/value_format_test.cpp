// Numeric and string formats, fixed fields and cells (format document 10.5).
#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "host/data/obs.h"
#include "platform/output/format/value_format.h"

namespace codebook::output {
namespace {

struct Case {
  double value;
  VELA_Format::FormatType type;
  int width;
  int decimals;
  const char* fixed;  // fixed field of `width` columns
  const char* cell;   // table cell
};

template <std::size_t N>
void CheckAll(const Case (&cases)[N]) {
  for (const Case& c : cases) {
    const VELA_Format format(c.type, c.width, c.decimals);
    SCOPED_TRACE(std::to_string(c.type) + "." + std::to_string(c.width) + " of " + std::to_string(c.value));
    EXPECT_EQ(FormatNumber(c.value, format, FieldMode::kFixed), c.fixed);
    EXPECT_EQ(FormatNumber(c.value, format, FieldMode::kCell), c.cell);
  }
}

TEST(NumberFormat, FixedFieldsAndCells) {
  using F = VELA_Format;
  const Case cases[] = {
      // Every numeric type shows 2718 with two decimals.
      {2718, F::F, 10, 2, "   2718.00", "2718.00"},
      {2718, F::COMMA, 10, 2, "  2,718.00", "2,718.00"},
      {2718, F::DOT, 10, 2, "  2.718,00", "2.718,00"},
      {2718, F::DOLLAR, 10, 2, " $2,718.00", "$2,718.00"},
      {2718, F::PCT, 10, 2, "  2718.00%", "2718.00%"},
      {2718, F::E, 10, 2, " 2.72E+003", "2.72E+003"},
      {2718, F::N, 10, 2, "0000271800", "0000271800"},
      {2718, F::Z, 10, 2, "0000271800", "0000271800"},
      // Binary input formats and custom currencies display like F.
      {2718, F::IB, 10, 2, "   2718.00", "2718.00"},
      {2718, F::PIB, 10, 2, "   2718.00", "2718.00"},
      {2718, F::P, 10, 2, "   2718.00", "2718.00"},
      {2718, F::PK, 10, 2, "   2718.00", "2718.00"},
      {2718, F::RB, 10, 2, "   2718.00", "2718.00"},
      {2718, F::CCA, 10, 2, "   2718.00", "2718.00"},
      {2718, F::CCE, 10, 2, "   2718.00", "2718.00"},
      {2718, F::PIBHEX, 4, 0, "0A9E", "0A9E"},
      {1.0, F::RBHEX, 16, 0, "3FF0000000000000", "3FF0000000000000"},
      {2.5, F::G, 8, 0, "     2.5", "2.5"},
      // Negatives and signs.
      {-2718, F::F, 10, 2, "  -2718.00", "-2718.00"},
      {-2718, F::COMMA, 10, 0, "    -2,718", "-2,718"},
      {-2718, F::DOLLAR, 10, 0, "   -$2,718", "-$2,718"},
      {-5, F::PCT, 8, 2, "  -5.00%", "-5.00%"},
      {-2718, F::E, 10, 2, "-2.72E+003", "-2.72E+003"},
      {-0.00042, F::E, 10, 2, "-4.20E-004", "-4.20E-004"},
      {0, F::E, 10, 2, " 0.00E+000", "0.00E+000"},
      // N cannot show negatives; Z folds the sign into the last digit.
      {-2718, F::N, 10, 2, "         .", "."},
      {-2718, F::Z, 10, 2, "000027180}", "000027180}"},
      {-2718.01, F::Z, 10, 2, "000027180J", "000027180J"},
      {-2718.09, F::Z, 10, 2, "000027180R", "000027180R"},
      {-1, F::PIBHEX, 4, 0, "   .", "."},
      // A value that rounds to zero loses its sign.
      {-0.001, F::F, 8, 2, "    0.00", "0.00"},
      // Rounds half away from zero on the decimal value.
      {2.675, F::F, 8, 2, "    2.68", "2.68"},  // binary 2.67499999... still rounds up
      {0.125, F::F, 8, 2, "    0.13", "0.13"},
      {-0.125, F::F, 8, 2, "   -0.13", "-0.13"},
      {2.5, F::F, 8, 0, "       3", "3"},
      {-2.5, F::F, 8, 0, "      -3", "-3"},
      {0.5, F::F, 4, 0, "   1", "1"},
      {99.95, F::F, 8, 1, "   100.0", "100.0"},
      {999999.5, F::COMMA, 12, 0, "   1,000,000", "1,000,000"},
      {0.0049, F::F, 6, 2, "  0.00", "0.00"},
      {1e-300, F::F, 6, 2, "  0.00", "0.00"},
      {2718.5, F::E, 9, 0, "  3.E+003", "3.E+003"},
      {2718, F::E, 7, 0, "3.E+003", "3.E+003"},
      {2718, F::E, 6, 0, "3E+003", "3.E+003"},
      // Too wide fixed fields drop decimals then star.
      {12345.678, F::F, 6, 2, " 12346", "12345.68"},
      {12345.678, F::F, 7, 2, "12345.7", "12345.68"},
      {0.25, F::F, 3, 2, ".25", "0.25"},
      {123456, F::F, 4, 0, "****", "123456"},
      {1234567, F::COMMA, 7, 0, "1234567", "1,234,567"},
      {12345678, F::COMMA, 7, 0, "*******", "12,345,678"},
      {271800, F::N, 4, 0, "****", "271800"},
      {65536, F::PIBHEX, 4, 0, "****", "10000"},
      {1e300, F::F, 8, 2, "********", "1.00E+300"},
  };
  CheckAll(cases);
}

TEST(NumberFormat, MissingAndNonFiniteShowAsPeriod) {
  const VELA_Format f82(VELA_Format::F, 8, 2);
  EXPECT_EQ(FormatNumber(kSysmis, f82, FieldMode::kFixed), "       .");
  EXPECT_EQ(FormatNumber(kSysmis, f82, FieldMode::kCell), ".");
  EXPECT_EQ(FormatNumber(kSysmis, VELA_Format(VELA_Format::DATE, 11, 0), FieldMode::kCell), ".");
  EXPECT_EQ(FormatNumber(std::numeric_limits<double>::quiet_NaN(), f82, FieldMode::kCell), ".");
  EXPECT_EQ(FormatNumber(std::numeric_limits<double>::infinity(), f82, FieldMode::kCell), ".");
}

TEST(NumberFormat, InvalidFormatsFallBackToF82) {
  EXPECT_EQ(FormatNumber(3.14159, VELA_Format(), FieldMode::kCell), "3.14");
  EXPECT_EQ(FormatNumber(3.14159, VELA_Format(VELA_Format::A, 8, 0), FieldMode::kFixed), "    3.14");
  VELA_Format unknown;
  unknown.Type(static_cast<VELA_Format::FormatType>(13));
  unknown.Width(5);
  EXPECT_EQ(FormatNumber(1, unknown, FieldMode::kCell), "1.00");
}

TEST(StringFormat, AWithoutTrailingBlanksAndAhexAsHex) {
  const VELA_Format a8(VELA_Format::A, 8, 0);
  EXPECT_EQ(FormatString("Ann     ", a8, FieldMode::kCell), "Ann");
  EXPECT_EQ(FormatString("Ann     ", a8, FieldMode::kFixed), "Ann     ");
  EXPECT_EQ(FormatString("  lead  ", a8, FieldMode::kCell), "  lead");
  EXPECT_EQ(FormatString("        ", a8, FieldMode::kCell), "");
  EXPECT_EQ(FormatString("", a8, FieldMode::kCell), "");
  // Cells may be wider than the declared width; AHEX shows width/2 bytes.
  EXPECT_EQ(FormatString("AB      ", VELA_Format(VELA_Format::AHEX, 8, 0), FieldMode::kCell), "41422020");
  EXPECT_EQ(FormatString("\xC3\xA9t\xC3\xA9", VELA_Format(VELA_Format::AHEX, 40, 0), FieldMode::kCell),
            "C3A974C3A9");
  EXPECT_EQ(FormatString("\xC3\xA9t\xC3\xA9   ", a8, FieldMode::kCell), "\xC3\xA9t\xC3\xA9");
}

}  // namespace
}  // namespace codebook::output
