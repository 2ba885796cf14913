// The data dictionary as a workbook (Office Open XML), written with
// libxlsxwriter: sheets "Variables" (the dictionary CSV's columns, one row
// per variable, numbers as numbers and dates as dates), "Values" (one row
// per value an item's table shows or its labels name: value, label, missing,
// count, percent and, when the counts are weighted, the unweighted count),
// "Sets" (the multiple-response sets) and "File" (what the file says of
// itself, its documents and who made the workbook). Each sheet has its
// header row frozen, an autofilter and columns fitted to their texts.
//
// Text from the file is made fit for the workbook's XML the way the other
// exports make it: bytes that are not UTF-8 and control characters become
// visible escapes ("\x1B"); a text past a cell's 32,767 characters is cut
// with an ellipsis. A sheet past the 1,048,576 rows a sheet holds goes on in
// "Values 2" and so on.
#pragma once

#include <ctime>
#include <string>

#include "platform/export/codebook_model.h"

namespace codebook::exporting {

// Writes the workbook into the file at `path` (made or replaced; the
// library writes only to files). False, with `error` set, when it could
// not be written; what is left at `path` is then the caller's to remove.
// `created` is the time the workbook says it was made (0: now): the same
// time gives the same bytes.
bool WriteXlsx(const ExportInput& input, const std::string& path, std::string& error, std::time_t created = 0);
bool WriteXlsx(const CodebookModel& model, const std::string& path, std::string& error, std::time_t created = 0);

}  // namespace codebook::exporting
