#include "platform/export/item_facts.h"

#include <cmath>

#include "host/data/obs.h"
#include "platform/output/render/table_view.h"

namespace codebook::exporting {
namespace {

// A number the table shows; a system-missing result (shown as ".") is none.
std::optional<double> NumberOf(const output::CellContent* cell) {
  if (cell == nullptr || std::isnan(cell->number) || cell->number == kSysmis) return std::nullopt;
  return cell->number;
}

ItemFacts ReadTable(const output::TableView& view) {
  ItemFacts facts;
  facts.name = view.Title();
  int valueColumn = view.OneDimensional() ? 0 : -1;
  int countColumn = -1;
  int percentColumn = -1;
  for (std::size_t c = 0; c < view.columns().size(); ++c) {
    const std::string& text = view.columns()[c]->text;
    if (text == "Value") valueColumn = static_cast<int>(c);
    if (text == "Count") countColumn = static_cast<int>(c);
    if (text == "Percent") percentColumn = static_cast<int>(c);
  }
  std::string group;
  for (const output::ViewEntry& entry : view.entries()) {
    const output::CellContent* label = view.Label(entry.node);
    if (entry.group) {
      if (entry.depth == 0) group = label != nullptr ? label->text : std::string();
      continue;
    }
    const output::CellContent* value = nullptr;
    const output::CellContent* count = nullptr;
    const output::CellContent* percent = nullptr;
    for (std::uint32_t i = entry.cellBegin; i < entry.cellEnd; ++i) {
      const output::ViewCell& cell = view.cells()[i];
      if (cell.column == valueColumn && value == nullptr) value = cell.content;
      if (cell.column == countColumn && count == nullptr) count = cell.content;
      if (cell.column == percentColumn && percent == nullptr) percent = cell.content;
    }
    const std::string rowText = label != nullptr ? label->text : std::string();
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
      if (label != nullptr) category.value = label->dataValue;
      if (value != nullptr) category.label = value->text;
      category.count = NumberOf(count);
      category.percent = NumberOf(percent);
      category.missing = group == "Missing Values";
      category.systemMissing = category.missing && label != nullptr && label->procedureText && rowText == "System";
      category.labeledOnly = group == "Labeled Values";
      facts.categories.push_back(std::move(category));
    }
  }
  return facts;
}

}  // namespace

std::vector<ItemFacts> ReadItemFacts(const output::Document& document, std::size_t first, std::size_t end) {
  std::vector<ItemFacts> items;
  const auto& all = document.Items();
  for (std::size_t i = first; i < end && i < all.size(); ++i) {
    const auto* table = std::get_if<output::Document::Table>(&all[i]);
    if (table == nullptr || (*table)->subtype != "Variable Information") continue;
    items.push_back(ReadTable(output::TableView(**table)));
  }
  return items;
}

}  // namespace codebook::exporting
