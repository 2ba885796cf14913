// What heads a dataset file's part of the output: its name (never the
// folder it was read from, unless the command asked for its location), its
// label and documents, its cases, variables and weight, and the weighted
// total of the cases the pass counted.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "platform/data/dataset.h"
#include "platform/export/value_tally.h"
#include "platform/output/document/document.h"

namespace codebook::report {

struct FileFacts {
  const data::Dataset* dataset = nullptr;
  std::string shownName;  // the file as the user named it, or "standard input"
  int weightIndex = -1;   // -1: unweighted
  const exporting::ValueTally* tally = nullptr;  // of the pass, if one was taken
  std::int64_t expectedCases = -1;               // the cases a whole pass delivers; -1 unknown
};

// The summary of the file a CODEBOOK command made items [first, end) of;
// its File Information table, if it made one, is the summary's too.
output::FileSummary SummarizeFile(const output::Document& document, std::size_t first, std::size_t end,
                                  const FileFacts& facts);

// A path's last component: "survey.sav" of "/home/x/survey.sav".
std::string FileNameOf(const std::string& path);

}  // namespace codebook::report
