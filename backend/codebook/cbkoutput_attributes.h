// Rows of custom and reserved attributes, shared by the file and variable
// tables: one row per value, labelled name or name[i], an empty value shown as
// a single blank.
#pragma once

#include <string>
#include <vector>

#include "cbkoutput.h"

// `wanted(name)` selects the attributes; `setValue(row, text)` puts a value
// into the row just added.
template <typename Wanted, typename SetValue>
void AddAttributeRows(BpGroup& group, const DatasourceAttributes& attributes, Wanted wanted,
                      SetValue setValue) {
  for (std::size_t i = 0; i < attributes.Size(); ++i) {
    const std::string& name = attributes.Name(i);
    const std::vector<std::string>& values = attributes.Values(i);
    if (values.empty() || !wanted(name)) continue;
    const int count = static_cast<int>(values.size());
    for (int k = 0; k < count; ++k) {
      std::string label;
      BuildAttrName(name, k, count, label);
      BpCategory row = group.Category(BpString(label, false));
      const std::string& value = values[static_cast<std::size_t>(k)];
      setValue(row, BpString(value.empty() ? std::string(" ") : value, false));
    }
  }
}
