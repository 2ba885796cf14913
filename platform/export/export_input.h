// Everything an export writes from: the dataset's dictionary, what its file
// says of itself, and the tables and tally of one CODEBOOK pass.
#pragma once

#include <set>
#include <string>
#include <vector>

#include "platform/data/dataset.h"
#include "platform/data/read_dataset.h"
#include "platform/export/item_facts.h"
#include "platform/export/value_tally.h"

namespace codebook::exporting {

struct ExportInput {
  const data::Dataset* dataset = nullptr;
  data::FileInfo fileInfo;
  std::string fileName;          // the file as the user named it
  std::vector<ItemFacts> items;  // the command's items, in its order
  int weightIndex = -1;          // -1: unweighted
  const ValueTally* tally = nullptr;
  std::set<int> hidden;  // variables whose values are not to be shown
  std::string software = "codebook";
  std::string version;
  std::string date;  // of production, YYYY-MM-DD
};

// What is said of a variable whose values are hidden: how many distinct
// values it has, when the tally knows.
std::string HiddenValuesText(const ValueTally* tally, int index);

// A number as short as it can be written and read back unchanged; an
// extended missing code as ".a".
std::string NumberText(double value);

// The measurement level's name ("nominal", "ordinal", "scale", "unknown")
// and the role's ("input", "target", ...).
const char* MeasureName(int level);
const char* RoleName(int role);

}  // namespace codebook::exporting
