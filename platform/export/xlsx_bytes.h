// The workbook export as bytes, for outputs held in memory until a run's
// status is known. The workbook library writes only to files, so the
// workbook is made in a temporary file, read back and removed.
#pragma once

#include <ctime>
#include <functional>
#include <string>

#include "platform/export/codebook_model.h"

namespace codebook::exporting {

// Told the temporary file's path when it is made (`exists` true) and again
// when it is gone, so that a program can remove it if a signal ends the
// process in between.
using TemporaryFileWatch = std::function<void(const std::string& path, bool exists)>;

// False, with `error` set, when the workbook could not be made or read.
bool XlsxBytes(const CodebookModel& model, std::string& bytes, std::string& error, std::time_t created = 0,
               const TemporaryFileWatch& watch = {});

}  // namespace codebook::exporting
