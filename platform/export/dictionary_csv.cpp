#include "platform/export/dictionary_csv.h"

#include <string>
#include <vector>

#include "platform/export/codebook_model.h"

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
  WriteDictionaryCsv(MakeCodebookModel(input), out);
}

void WriteDictionaryCsv(const CodebookModel& model, std::ostream& out) {
  std::string row;
  for (const char* column : kDictionaryColumns) Field(row, column);
  for (const std::string& name : model.attributeNames) Field(row, "attribute:" + name);
  out << row << "\r\n";

  for (const ModelVariable& variable : model.variables) {
    row.clear();
    Field(row, std::to_string(variable.index + 1));
    Field(row, variable.name);
    Field(row, variable.label.value_or(std::string()));
    Field(row, variable.numeric ? "numeric" : "string");
    Field(row, std::to_string(variable.width));
    Field(row, variable.format);
    Field(row, variable.measure);
    Field(row, variable.role);
    Field(row, variable.missingValues);
    Field(row, variable.valueLabels);
    Field(row, Optional(variable.valid));
    Field(row, Optional(variable.missing));
    // The statistics of dates and times in ISO 8601, which people and
    // programs read; as seconds since 1582 they would mean nothing.
    const TimeKind kind = TimeKindOf(variable.printFormat);
    const int decimals = variable.printFormat.Decimals();
    const auto statistic = [&](const std::optional<double>& value) {
      return value ? IsoText(*value, kind, decimals) : std::string();
    };
    Field(row, statistic(variable.mean));
    Field(row, variable.stdDev ? IsoSpanText(*variable.stdDev, kind, decimals) : std::string());
    Field(row, statistic(variable.p25));
    Field(row, statistic(variable.median));
    Field(row, statistic(variable.p75));
    Field(row, variable.values);
    for (const std::string& name : model.attributeNames) Field(row, AttributeText(variable, name));
    out << row << "\r\n";
  }
}

}  // namespace codebook::exporting
