#include "platform/output/format/table_number.h"

#include "platform/data/format_traits.h"
#include "platform/output/format/value_format.h"

namespace codebook::output {

namespace {

constexpr int kCellWidth = 40;
constexpr int kMaxDecimals = 16;

// A string or invalid format on a statistic: the reader's substitute F8.2.
VELA_Format Usable(const VELA_Format& format) {
  const data::FormatTraits* traits = data::FindFormatTraits(format.TypeEx());
  if (!traits || traits->IsString()) return VELA_Format(VELA_Format::F, 8, 2);
  return format;
}

VELA_Format MoreDecimals(const VELA_Format& format) {
  int decimals = format.Decimals() + 2;
  if (decimals > kMaxDecimals) decimals = kMaxDecimals;
  switch (format.TypeEx()) {
    case VELA_Format::COMMA: case VELA_Format::DOT: case VELA_Format::DOLLAR:
    case VELA_Format::PCT: case VELA_Format::E: case VELA_Format::F:
      return VELA_Format(static_cast<VELA_Format::FormatType>(format.TypeEx()), kCellWidth, decimals);
    default:
      return VELA_Format(VELA_Format::F, kCellWidth, decimals);
  }
}

}  // namespace

VELA_Format DisplayFormat(const BpFormatSpec& numberFormat) {
  switch (numberFormat.kind()) {
    case BpFormatSpec::kCount:
      return VELA_Format(VELA_Format::F, kCellWidth, 0);
    case BpFormatSpec::kPercent:
      return VELA_Format(VELA_Format::PCT, kCellWidth, 1);
    case BpFormatSpec::kCoefficient:
      return VELA_Format(VELA_Format::F, kCellWidth, 3);
    case BpFormatSpec::kMean: {
      const VELA_Format format = Usable(numberFormat.variableFormat());
      const unsigned int type = format.TypeEx();
      if (IsDateFormat(type) || IsDateTimeFormat(type) || IsDurationFormat(type)) return format;
      return MoreDecimals(format);
    }
    case BpFormatSpec::kStdDev: {
      const VELA_Format format = Usable(numberFormat.variableFormat());
      const unsigned int type = format.TypeEx();
      if (IsDurationFormat(type)) return format;
      if (IsDateFormat(type) || IsDateTimeFormat(type)) return VELA_Format(VELA_Format::DTIME, 11, 0);
      return MoreDecimals(format);
    }
  }
  return VELA_Format(VELA_Format::F, kCellWidth, 2);
}

std::string FormatTableNumber(double value, const BpFormatSpec& numberFormat) {
  return FormatNumber(value, DisplayFormat(numberFormat), FieldMode::kCell);
}

}  // namespace codebook::output
