// Everything an export writes from: the dataset's dictionary, what its file
// says of itself, and the tables and tally of one CODEBOOK pass.
#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "platform/data/dataset.h"
#include "platform/data/read_dataset.h"
#include "platform/export/export_number.h"
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

// A value or label inside a list field ("1=Yes; 2=No"): the list's
// separators `\`, `;` and `=` are escaped with a backslash.
std::string ListItem(std::string_view text);

// The missing-value definition as the dictionary writes it: the discrete
// values, then the range ("LOW thru HIGH", LO and HI for open ends), joined
// by "; ".
std::string MissingValuesText(const data::MissingValues& missing);

// An item's valid and missing cases as its table shows them: a scale
// variable's "N" rows, else the sums of its counted categories; when the
// table counts neither, what the pass's tally counted of variable `index`
// (none when the tally saw no case or only a part of them).
struct ItemCounts {
  std::optional<double> valid;
  std::optional<double> missing;
};
ItemCounts CountsOf(const ItemFacts& item, const ValueTally* tally, int index);

// The categories an export lists for a variable: those its table shows,
// then the labelled values it does not show, with a count (and percent) of 0
// when the table counted its values.
std::vector<CategoryFact> ExportedCategories(const ItemFacts& item, const data::Variable& variable);

// A category's count over every case as if unweighted, when the tally
// counted the values of variable `index` (none for the system-missing row).
std::optional<std::int64_t> UnweightedCount(const ValueTally* tally, int index, const CategoryFact& category);

// How the file lays out its data, in words ("dataset file, zlib compressed").
const char* LayoutName(data::FileCompression compression);

// The measurement level's name ("nominal", "ordinal", "scale", "unknown")
// and the role's ("input", "target", ...).
const char* MeasureName(int level);
const char* RoleName(int role);

}  // namespace codebook::exporting
