#include "platform/export/dictionary_csv.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

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

// A value or label inside a list field: the list's separators are escaped.
std::string ListItem(std::string_view text) {
  std::string out;
  for (const char c : text) {
    if (c == '\\' || c == ';' || c == '=') out += '\\';
    out += c;
  }
  return out;
}

std::string Optional(const std::optional<double>& value) { return value ? NumberText(*value) : std::string(); }

std::string MissingDefinition(const data::MissingValues& missing) {
  std::string text;
  const auto add = [&](const std::string& item) { text += (text.empty() ? "" : "; ") + item; };
  for (const double value : missing.Discrete()) add(ListItem(NumberText(value)));
  for (const std::string& value : missing.StringValues()) add(ListItem(value));
  if (const auto& range = missing.GetRange()) {
    add((std::isfinite(range->low) ? NumberText(range->low) : std::string("LO")) + " thru " +
        (std::isfinite(range->high) ? NumberText(range->high) : std::string("HI")));
  }
  return text;
}

std::string ValueLabels(const data::Variable& variable) {
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

// Valid and missing counts as the table shows them: a scale variable's "N"
// rows, else the sums of its counted categories; the pass's tally when the
// table shows neither.
std::pair<std::string, std::string> Counts(const ItemFacts& item, const ValueTally* tally, int index) {
  if (item.valid || item.missing) return {Optional(item.valid), Optional(item.missing)};
  aggregate::CompensatedSum valid;
  aggregate::CompensatedSum missing;
  bool counted = false;
  for (const CategoryFact& category : item.categories) {
    if (!category.count || category.labeledOnly) continue;
    counted = true;
    (category.missing ? missing : valid).Add(*category.count);
  }
  if (counted) return {NumberText(valid.Value()), NumberText(missing.Value())};
  // A tally of no case (no pass was made) knows no count.
  if (tally != nullptr && tally->Cases() > 0) {
    return {NumberText(tally->Of(index).validWeight.Value()), NumberText(tally->Of(index).missingWeight.Value())};
  }
  return {};
}

}  // namespace

void WriteDictionaryCsv(const ExportInput& input, std::ostream& out) {
  const data::Dataset& dataset = *input.dataset;
  // One column per custom attribute name, in the order first met.
  std::vector<std::string> attributeNames;
  for (int i = 0; i < dataset.ColumnCount(); ++i) {
    const DatasourceAttributes& attributes = dataset.GetVariable(i)->GetAttributes();
    for (std::size_t a = 0; a < attributes.Size(); ++a) {
      const std::string& name = attributes.Name(a);
      if (name.empty() || name[0] == '$') continue;
      if (std::find(attributeNames.begin(), attributeNames.end(), name) == attributeNames.end()) {
        attributeNames.push_back(name);
      }
    }
  }

  std::string row;
  for (const char* column : {"position", "name", "label", "type", "width", "format", "measure", "role",
                             "missing_values", "value_labels", "valid", "missing", "mean", "std_dev",
                             "percentile_25", "median", "percentile_75", "values"}) {
    Field(row, column);
  }
  for (const std::string& name : attributeNames) Field(row, "attribute:" + name);
  out << row << "\r\n";

  for (const ItemFacts& item : input.items) {
    if (item.IsSet()) continue;
    const int index = dataset.FindVarIndex(item.name.c_str(), 0);
    if (index < 0) continue;
    const data::Variable& variable = *dataset.GetDictionary().GetVariable(index);
    row.clear();
    Field(row, std::to_string(index + 1));
    Field(row, variable.GetName());
    Field(row, variable.Label() ? *variable.Label() : std::string());
    Field(row, variable.IsNumeric() ? "numeric" : "string");
    Field(row, std::to_string(variable.IsNumeric() ? 0 : variable.DeclaredWidth()));
    Field(row, item.formatText);
    Field(row, MeasureName(variable.GetMeasurementLevel()));
    Field(row, RoleName(variable.GetRole()));
    Field(row, MissingDefinition(variable.Missing()));
    Field(row, ValueLabels(variable));
    const auto [valid, missing] = Counts(item, input.tally, index);
    Field(row, valid);
    Field(row, missing);
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
    Field(row, input.hidden.count(index) != 0 ? HiddenValuesText(input.tally, index) : std::string());
    const DatasourceAttributes& attributes = variable.GetAttributes();
    for (const std::string& name : attributeNames) {
      std::string values;
      for (std::size_t a = 0; a < attributes.Size(); ++a) {
        if (attributes.Name(a) != name) continue;
        for (const std::string& value : attributes.Values(a)) values += (values.empty() ? "" : "; ") + ListItem(value);
      }
      Field(row, values);
    }
    out << row << "\r\n";
  }
}

}  // namespace codebook::exporting
