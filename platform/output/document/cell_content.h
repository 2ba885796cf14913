// What a cell, a category or a title shows: the platform's side of
// BpCellText. Immutable once made; tables share it or keep a copy of it.
#pragma once

#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
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
  // The number of a fixed text shared by every table (fixed_texts.h); -1
  // for a content of its own.
  std::int32_t fixedId = -1;
};

namespace codebook::output {

using CellContent = BpCellText::Content;

// A content as a table holds it, for reading: its texts point into the
// table (or into the shared fixed texts) and live as long as what was read.
struct ContentView {
  std::string_view text;
  double number = std::numeric_limits<double>::quiet_NaN();
  std::variant<std::monostate, double, std::string_view> dataValue;
  CellContent::Kind kind = CellContent::Kind::kText;
  bool procedureText = false;
  bool numeric = false;
};

// The view of a content that outlives it.
ContentView ViewOf(const CellContent& content);

}  // namespace codebook::output
