#include "platform/export/dictionary_rows.h"

#include <algorithm>

namespace codebook::exporting {

std::vector<std::string> DictionaryAttributeNames(const data::Dataset& dataset) {
  std::vector<std::string> names;
  for (int i = 0; i < dataset.ColumnCount(); ++i) {
    const DatasourceAttributes& attributes = dataset.GetVariable(i)->GetAttributes();
    for (std::size_t a = 0; a < attributes.Size(); ++a) {
      const std::string& name = attributes.Name(a);
      if (name.empty() || name[0] == '$') continue;
      if (std::find(names.begin(), names.end(), name) == names.end()) names.push_back(name);
    }
  }
  return names;
}

std::string ValueLabelsText(const data::Variable& variable) {
  std::string text;
  const auto& labels = variable.ValueLabels();
  if (!labels) return text;
  for (std::size_t i = 0; i < labels->Size(); ++i) {
    std::string value;
    if (labels->IsString()) {
      value = std::string(labels->StringValue(i));
      while (!value.empty() && value.back() == ' ') value.pop_back();
    } else {
      value = NumberText(labels->NumericValue(i));
    }
    text += (text.empty() ? "" : "; ") + ListItem(value) + "=" + ListItem(labels->Label(i));
  }
  return text;
}

void ForEachDictionaryRow(const ExportInput& input, const std::vector<std::string>& attributeNames,
                          const std::function<void(const DictionaryRow&)>& each) {
  const data::Dataset& dataset = *input.dataset;
  DictionaryRow row;
  for (const ItemFacts& item : input.items) {
    if (item.IsSet()) continue;
    const int index = dataset.FindVarIndex(item.name.c_str(), 0);
    if (index < 0) continue;
    const data::Variable& variable = *dataset.GetDictionary().GetVariable(index);
    row.index = index;
    row.variable = &variable;
    row.item = &item;
    row.label = variable.Label() ? *variable.Label() : std::string();
    row.missingValues = MissingValuesText(variable.Missing());
    row.valueLabels = ValueLabelsText(variable);
    row.counts = CountsOf(item, input.tally, index);
    row.values = input.hidden.count(index) != 0 ? HiddenValuesText(input.tally, index) : std::string();
    row.attributes.assign(attributeNames.size(), std::string());
    const DatasourceAttributes& attributes = variable.GetAttributes();
    for (std::size_t n = 0; n < attributeNames.size(); ++n) {
      for (std::size_t a = 0; a < attributes.Size(); ++a) {
        if (attributes.Name(a) != attributeNames[n]) continue;
        for (const std::string& value : attributes.Values(a)) {
          row.attributes[n] += (row.attributes[n].empty() ? "" : "; ") + ListItem(value);
        }
      }
    }
    each(row);
  }
}

}  // namespace codebook::exporting
