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
    // The statistics of dates and times in ISO 8601, which people and
    // programs read; as seconds since 1582 they would mean nothing.
    const VELA_Format format = variable.PrintFormat();
    const TimeKind kind = TimeKindOf(format);
    const auto statistic = [&](const std::optional<double>& value) {
      return value ? IsoText(*value, kind, format.Decimals()) : std::string();
    };
    Field(row, statistic(item.mean));
    Field(row, item.stdDev ? IsoSpanText(*item.stdDev, kind, format.Decimals()) : std::string());
    Field(row, statistic(item.p25));
    Field(row, statistic(item.p50));
    Field(row, statistic(item.p75));
    Field(row, entry.values);
    for (const std::string& value : entry.attributes) Field(row, value);
    out << row << "\r\n";
  });
}

}  // namespace codebook::exporting
