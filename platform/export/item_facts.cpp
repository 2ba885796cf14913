#include "platform/export/item_facts.h"

#include <cmath>

#include "host/data/obs.h"
#include "platform/output/render/table_view.h"

namespace codebook::exporting {
namespace {

// A number the table shows; a system-missing result (shown as ".") is none.
std::optional<double> NumberOf(const output::ContentView* cell) {
  if (cell == nullptr || std::isnan(cell->number) || cell->number == kSysmis) return std::nullopt;
  return cell->number;
}

// The raw value of a row's data value, kept.
std::variant<std::monostate, double, std::string> ValueOf(const output::ContentView& label) {
  if (const double* number = std::get_if<double>(&label.dataValue)) return *number;
  if (const std::string_view* text = std::get_if<std::string_view>(&label.dataValue)) return std::string(*text);
  return std::monostate();
}

void ReadTable(const output::TableView& view, ItemFacts& facts) {
  // Cleared field by field, so that the lists keep their memory for the next.
  facts.name.assign(view.Title());
  facts.categories.clear();
  facts.valid = facts.missing = facts.mean = facts.stdDev = std::nullopt;
  facts.p25 = facts.p50 = facts.p75 = std::nullopt;
  facts.formatText.clear();
  facts.scale = false;
  int valueColumn = view.OneDimensional() ? 0 : -1;
  int countColumn = -1;
  int percentColumn = -1;
  for (std::size_t c = 0; c < view.columns().size(); ++c) {
    const std::string_view text = view.columns()[c]->text;
    if (text == "Value") valueColumn = static_cast<int>(c);
    if (text == "Count") countColumn = static_cast<int>(c);
    if (text == "Percent") percentColumn = static_cast<int>(c);
  }
  std::string_view group;
  for (const output::ViewEntry& entry : view.entries()) {
    const output::ContentView* label = view.Label(entry.node);
    if (entry.group) {
      if (entry.depth == 0) group = label != nullptr ? label->text : std::string_view();
      facts.scale = facts.scale || group == "N" || group == "Central Tendency and Dispersion";
      continue;
    }
    const output::ContentView* value = nullptr;
    const output::ContentView* count = nullptr;
    const output::ContentView* percent = nullptr;
    for (std::uint32_t i = entry.cellBegin; i < entry.cellEnd; ++i) {
      const output::ViewCell& cell = view.cells()[i];
      if (cell.column == valueColumn && value == nullptr) value = cell.content;
      if (cell.column == countColumn && count == nullptr) count = cell.content;
      if (cell.column == percentColumn && percent == nullptr) percent = cell.content;
    }
    const std::string_view rowText = label != nullptr ? label->text : std::string_view();
    if (group == "Standard Attributes") {
      if (rowText == "Format" && value != nullptr) facts.formatText = value->text;
    } else if (group == "N") {
      if (rowText == "Valid") facts.valid = NumberOf(value);
      if (rowText == "Missing") facts.missing = NumberOf(value);
    } else if (group == "Central Tendency and Dispersion") {
      if (rowText == "Mean") facts.mean = NumberOf(value);
      if (rowText == "Standard Deviation") facts.stdDev = NumberOf(value);
      if (rowText == "Percentile 25") facts.p25 = NumberOf(value);
      if (rowText == "Percentile 50") facts.p50 = NumberOf(value);
      if (rowText == "Percentile 75") facts.p75 = NumberOf(value);
    } else if (group == "Valid Values" || group == "Missing Values" || group == "Labeled Values" ||
               group == "Multiple Response Categories") {
      CategoryFact category;
      category.valueText = rowText;
      if (label != nullptr) category.value = ValueOf(*label);
      if (value != nullptr) category.label = value->text;
      category.count = NumberOf(count);
      category.percent = NumberOf(percent);
      category.missing = group == "Missing Values";
      category.systemMissing = category.missing && label != nullptr && label->procedureText && rowText == "System";
      category.labeledOnly = group == "Labeled Values";
      facts.categories.push_back(std::move(category));
    }
  }
}

}  // namespace

std::vector<ItemFacts> ReadItemFacts(const output::Document& document, std::size_t first, std::size_t end) {
  std::vector<ItemFacts> items;
  ForEachItemFacts(document, first, end, [&](const ItemFacts& facts, std::size_t) { items.push_back(facts); });
  return items;
}

void ForEachItemFacts(const output::Document& document, std::size_t first, std::size_t end,
                      const std::function<void(const ItemFacts&, std::size_t)>& each) {
  const auto& all = document.Items();
  output::TableView view;
  ItemFacts facts;
  for (std::size_t i = first; i < end && i < all.size(); ++i) {
    const auto* table = std::get_if<output::Document::Table>(&all[i]);
    if (table == nullptr || (*table)->subtype != "Variable Information") continue;
    view.Build(**table);
    ReadTable(view, facts);
    each(facts, i);
  }
}

}  // namespace codebook::exporting
