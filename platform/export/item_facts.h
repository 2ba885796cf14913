// The numbers of the procedure's tables, read back as facts per item: what
// the exports need to say in their own form exactly what the tables say.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "platform/output/document/document.h"

namespace codebook::exporting {

struct CategoryFact {
  std::string valueText;  // as the table shows it
  // The raw value: a number, a string without trailing blanks, or none (the
  // "System" row, or a dichotomy set's member).
  std::variant<std::monostate, double, std::string> value;
  std::string label;      // the "Value" column; empty when none
  std::optional<double> count;
  std::optional<double> percent;
  bool missing = false;     // under "Missing Values"
  bool systemMissing = false;
  bool labeledOnly = false; // under "Labeled Values" (a scale variable's labelled values)
};

struct ItemFacts {
  std::string name;  // the table's title: a variable name or a "$" set name
  std::vector<CategoryFact> categories;
  std::optional<double> valid;    // the "N" group of a scale variable
  std::optional<double> missing;
  std::optional<double> mean;
  std::optional<double> stdDev;
  std::optional<double> p25, p50, p75;
  std::string formatText;  // the "Format" row, when shown
  // The table shows the item as a scale variable (an "N" or a "Central
  // Tendency and Dispersion" group), whatever the dictionary's level: the
  // command may set the level of an item, or the dictionary not know it.
  bool scale = false;
  bool IsSet() const { return !name.empty() && name[0] == '$'; }
};

// The "Variable Information" tables among the document's items
// [first, end), in order.
std::vector<ItemFacts> ReadItemFacts(const output::Document& document, std::size_t first, std::size_t end);

// The same one item at a time, without holding them all: calls
// `each(facts, index)` with each table's facts and its item's index.
void ForEachItemFacts(const output::Document& document, std::size_t first, std::size_t end,
                      const std::function<void(const ItemFacts&, std::size_t)>& each);

}  // namespace codebook::exporting
