// Display of the numbers of a table (BpNumber) by their BpFormatSpec.
//
// Count: no decimals (counts of fractional weights rounded half away from
// zero). Percent: one decimal and "%". Coefficient: three decimals.
// Mean: the variable's print format with two more decimals (F8.2 -> 4),
// except: date, date-time and duration formats keep the variable's own
// format; WKDAY, MONTH and the binary, hexadecimal, N, Z and custom-currency
// formats become F. StdDev: like Mean, except that a date or date-time
// variable's deviation is a duration shown as DTIME ("d hh:mm:ss"), and a
// duration variable's in its own format. An invalid or missing print format
// counts as F8.2.
#pragma once

#include <string>

#include "host/data/vela_format.h"
#include "host/output/bp_format_spec.h"

namespace codebook::output {

VELA_Format DisplayFormat(const BpFormatSpec& numberFormat);
// The cell text of a number in this number format.
std::string FormatTableNumber(double value, const BpFormatSpec& numberFormat);

}  // namespace codebook::output
