// The measurement level of a variable whose file stores none (.dta,
// .sas7bdat, .xpt), set when the file is read: a string, or a number with a
// label on a value that is not missing, is nominal (a code: its values are
// counted); any other number is scale (its statistics are shown). Labels on
// missing values alone (".a Don't know" on an income) leave a number scale.
// The command's level specifiers ([N], [S], [O]) still decide for a run.
#pragma once

namespace codebook::data {

class Variable;

// VELA_Variable::kNominal or kScale.
int DefaultMeasurementLevel(const Variable& variable);

}  // namespace codebook::data
