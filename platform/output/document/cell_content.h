// What a cell, a category or a title shows: the platform's side of
// BpCellText. Immutable once made; tables share it.
#pragma once

#include <cstdint>
#include <limits>
#include <string>
#include <variant>

#include "host/output/bp_cell_text.h"

struct BpCellText::Content {
  enum class Kind : std::uint8_t { kText, kNumber, kVariable, kDataValue };

  // The text as shown (a cell of several lines joins them with '\n').
  std::string text;
  // Number cells: the unrounded value (NaN otherwise).
  double number = std::numeric_limits<double>::quiet_NaN();
  // Data-value texts: the raw value, a number or a string without its
  // trailing blanks.
  std::variant<std::monostate, double, std::string> dataValue;
  Kind kind = Kind::kText;
  // The procedure's own wording (true) or text from the data (false).
  bool procedureText = false;
  // Shown right-aligned: a number, or a data value shown as a number.
  bool numeric = false;
};

namespace codebook::output {
using CellContent = BpCellText::Content;
}  // namespace codebook::output
