// The data dictionary as a spreadsheet (CSV, RFC 4180, UTF-8): a header
// row, then one row per variable in the CODEBOOK command's order with its
// dictionary, its counts and statistics, and one column per custom
// attribute name found in the file.
#pragma once

#include <ostream>

#include "platform/export/codebook_model.h"

namespace codebook::exporting {

void WriteDictionaryCsv(const ExportInput& input, std::ostream& out);
void WriteDictionaryCsv(const CodebookModel& model, std::ostream& out);

}  // namespace codebook::exporting
