#include "platform/export/dictionary_csv.h"

#include <string>
#include <vector>

#include "platform/export/dictionary_rows.h"

namespace codebook::exporting {
namespace {

void Field(std::string& row, std::string_view text) {
  if (!row.empty()) row += ',';
  if (text.find_first_of(",\"\r\n") == std::string_view::npos) {
    row += text;
    return;
  }
  row += '"';
  for (const char c : text) {
    if (c == '"') row += '"';
    row += c;
  }
  row += '"';
}

std::string Optional(const std::optional<double>& value) { return value ? NumberText(*value) : std::string(); }

}  // namespace

void WriteDictionaryCsv(const ExportInput& input, std::ostream& out) {
  const std::vector<std::string> attributeNames = DictionaryAttributeNames(*input.dataset);
  std::string row;
  for (const char* column : kDictionaryColumns) Field(row, column);
  for (const std::string& name : attributeNames) Field(row, "attribute:" + name);
  out << row << "\r\n";

  ForEachDictionaryRow(input, attributeNames, [&](const DictionaryRow& entry) {
    const data::Variable& variable = *entry.variable;
    const ItemFacts& item = *entry.item;
    row.clear();
    Field(row, std::to_string(entry.index + 1));
    Field(row, variable.GetName());
    Field(row, entry.label);
    Field(row, variable.IsNumeric() ? "numeric" : "string");
    Field(row, std::to_string(variable.IsNumeric() ? 0 : variable.DeclaredWidth()));
    Field(row, item.formatText);
    Field(row, MeasureName(variable.GetMeasurementLevel()));
    Field(row, RoleName(variable.GetRole()));
    Field(row, entry.missingValues);
    Field(row, entry.valueLabels);
    Field(row, Optional(entry.counts.valid));
    Field(row, Optional(entry.counts.missing));
    Field(row, Optional(item.mean));
    Field(row, Optional(item.stdDev));
    Field(row, Optional(item.p25));
    Field(row, Optional(item.p50));
    Field(row, Optional(item.p75));
    Field(row, entry.values);
    for (const std::string& value : entry.attributes) Field(row, value);
    out << row << "\r\n";
  });
}

}  // namespace codebook::exporting
