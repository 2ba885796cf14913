// A pivot table as a data frame: one row per category row of the table,
// indexed by the path of its row groups down to its own label, one column
// per shown column, each cell its text and, for a number, its unrounded
// value. What the packages turn into their data frames.
#pragma once

#include <cstddef>
#include <limits>
#include <string>
#include <vector>

#include "platform/output/document/document.h"

namespace codebook::api {

struct FrameCell {
  std::string text;
  double number = std::numeric_limits<double>::quiet_NaN();  // NaN: not a number cell
  bool IsNumber() const { return number == number; }
};

struct TableFrame {
  std::string title;
  std::string subtype;  // "Variable Information", "Overview", ...
  // The labels of the shown columns; a table without a column dimension
  // has one, "Value".
  std::vector<std::string> columns;
  // Per row, its groups' labels then its own, padded with "" to `levels`.
  std::vector<std::vector<std::string>> index;
  std::vector<std::vector<FrameCell>> cells;  // per row, per column
  std::size_t levels = 1;
};

TableFrame FrameOf(const bp::TableNode& table);

// The frames of the shown tables among items [first, end).
std::vector<TableFrame> FramesOf(const output::Document& document, std::size_t first, std::size_t end);

}  // namespace codebook::api
