// The data dictionary's rows, one per variable of a CODEBOOK run in its
// order: what the dictionary CSV and the workbook both write, each in its
// own form (text there, typed cells here), so that they never differ.
#pragma once

#include <array>
#include <functional>
#include <string>
#include <vector>

#include "platform/export/export_input.h"

namespace codebook::exporting {

// The columns, in order; `attribute:NAME` columns follow, one per custom
// attribute name.
inline constexpr std::array<const char*, 18> kDictionaryColumns = {
    "position",       "name",   "label",  "type",    "width",         "format",
    "measure",        "role",   "missing_values", "value_labels", "valid", "missing",
    "mean",           "std_dev", "percentile_25", "median",  "percentile_75", "values"};

struct DictionaryRow {
  int index = -1;  // the variable's position from 0
  const data::Variable* variable = nullptr;
  const ItemFacts* item = nullptr;  // its table's facts (format, statistics)
  std::string label;
  std::string missingValues;  // MissingValuesText
  std::string valueLabels;    // "1=Yes; 2=No", list items escaped
  ItemCounts counts;
  std::string values;  // for a variable whose values are hidden: what is said instead
  std::vector<std::string> attributes;  // by the attribute names, several values joined by "; "
};

// The custom attribute names of the dataset's variables, in the order first
// met (the names that begin with '$' are the file's own, and left out).
std::vector<std::string> DictionaryAttributeNames(const data::Dataset& dataset);

// "1=Yes; 2=No": the variable's value labels in their order.
std::string ValueLabelsText(const data::Variable& variable);

// Calls `each` with the row of every variable among the input's items (sets
// and items the dataset lacks are skipped).
void ForEachDictionaryRow(const ExportInput& input, const std::vector<std::string>& attributeNames,
                          const std::function<void(const DictionaryRow&)>& each);

}  // namespace codebook::exporting
