#include "platform/export/export_input.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace codebook::exporting {

std::string ListItem(std::string_view text) {
  std::string out;
  for (const char c : text) {
    if (c == '\\' || c == ';' || c == '=') out += '\\';
    out += c;
  }
  return out;
}

std::string MissingValuesText(const data::MissingValues& missing) {
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

ItemCounts CountsOf(const ItemFacts& item, const ValueTally* tally, int index) {
  if (item.valid || item.missing) return {item.valid, item.missing};
  aggregate::CompensatedSum valid;
  aggregate::CompensatedSum missing;
  bool counted = false;
  for (const CategoryFact& category : item.categories) {
    if (!category.count || category.labeledOnly) continue;
    counted = true;
    (category.missing ? missing : valid).Add(*category.count);
  }
  if (counted) return {valid.Value(), missing.Value()};
  // A tally of no case (no pass was made) knows no count, nor one of a
  // pass that stopped early.
  if (tally != nullptr && tally->Cases() > 0 && !tally->Partial() && tally->Tallied(index)) {
    return {tally->Of(index).validWeight.Value(), tally->Of(index).missingWeight.Value()};
  }
  return {};
}

std::vector<CategoryFact> ExportedCategories(const ItemFacts& item, const data::Variable& variable) {
  std::vector<CategoryFact> categories = item.categories;
  bool counted = false;
  for (const CategoryFact& category : item.categories) {
    counted = counted || (category.count.has_value() && !category.labeledOnly);
  }
  const auto& labels = variable.ValueLabels();
  if (!labels) return categories;
  for (std::size_t i = 0; i < labels->Size(); ++i) {
    CategoryFact category;
    if (labels->IsString()) {
      std::string value(labels->StringValue(i));
      while (!value.empty() && value.back() == ' ') value.pop_back();
      category.value = value;
    } else {
      category.value = labels->NumericValue(i);
    }
    const bool shown = std::any_of(item.categories.begin(), item.categories.end(),
                                   [&](const CategoryFact& met) { return met.value == category.value; });
    if (shown) continue;
    category.label = labels->Label(i);
    category.missing = labels->IsString() ? variable.Missing().IsMissing(std::get<std::string>(category.value))
                                          : variable.Missing().IsMissing(std::get<double>(category.value));
    if (counted) {
      category.count = 0.0;
      category.percent = 0.0;
    }
    categories.push_back(std::move(category));
  }
  return categories;
}

std::optional<std::int64_t> UnweightedCount(const ValueTally* tally, int index, const CategoryFact& category) {
  if (tally == nullptr || !tally->CountsValues() || category.systemMissing) return std::nullopt;
  const VariableTally& of = tally->Of(index);
  if (const auto* number = std::get_if<double>(&category.value)) {
    const auto found = of.numberCounts.find(*number);
    return found == of.numberCounts.end() ? 0 : found->second;
  }
  if (const auto* text = std::get_if<std::string>(&category.value)) {
    const auto found = of.stringCounts.find(*text);
    return found == of.stringCounts.end() ? 0 : found->second;
  }
  return std::nullopt;
}

std::string HiddenValuesText(const ValueTally* tally, int index) {
  if (tally == nullptr || !tally->CountsValues() || !tally->Tallied(index)) {
    return "values hidden";
  }
  const VariableTally& of = tally->Of(index);
  return "values hidden; " + std::string(of.tooManyValues ? "about " : tally->Partial() ? "at least " : "") +
         std::to_string(of.DistinctValues()) + " distinct values";
}

const char* LayoutName(data::FileCompression compression) {
  switch (compression) {
    case data::FileCompression::kNone: return "dataset file, uncompressed";
    case data::FileCompression::kBytecode: return "dataset file, byte-code compressed";
    case data::FileCompression::kZlib: return "dataset file, zlib compressed";
  }
  return "dataset file";
}

const char* MeasureName(int level) {
  switch (level) {
    case 1: return "nominal";
    case 2: return "ordinal";
    case 3: return "scale";
    default: return "unknown";
  }
}

const char* RoleName(int role) {
  switch (role) {
    case 1: return "target";
    case 2: return "both";
    case 3: return "none";
    case 4: return "partition";
    case 5: return "split";
    default: return "input";
  }
}

}  // namespace codebook::exporting
