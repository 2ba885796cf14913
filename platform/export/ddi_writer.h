// The DDI-Codebook 2.5 document of one dataset: the study and file
// descriptions, one `var` per variable in the CODEBOOK command's order with
// its categories, statistics and notes, and a `varGrp` per
// multiple-response set. Valid against the 2.5 schema.
#pragma once

#include <ostream>

#include "platform/export/codebook_model.h"

namespace codebook::exporting {

void WriteDdi(const ExportInput& input, std::ostream& out);
void WriteDdi(const CodebookModel& model, std::ostream& out);

}  // namespace codebook::exporting
