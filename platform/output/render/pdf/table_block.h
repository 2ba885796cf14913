// A table laid out for a page: column widths fitted to the width it is
// given (long texts wrapped), and the height of each row, so that the page
// flow can place it whole or split it between rows.
#pragma once

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "platform/output/render/pdf/canvas.h"
#include "platform/output/render/table_view.h"

namespace codebook::output::pdf {

class TableBlock {
 public:
  // Row labels that link somewhere (an overview's names to their
  // sections), by label text.
  using Links = std::unordered_map<std::string_view, std::string>;

  TableBlock(TextEngine& text, const TableView& view, double maxWidth, const Links* links = nullptr);

  // Whether every column kept a readable width in `maxWidth`.
  bool Fits() const { return fits_; }
  double Width() const { return width_; }
  double HeaderHeight() const { return headerHeight_; }
  std::size_t Rows() const { return rowHeights_.size(); }
  double RowHeight(std::size_t row) const { return rowHeights_[row]; }
  double Height() const;

  void DrawHeader(Canvas& canvas, double x, double y) const;
  void DrawRow(Canvas& canvas, std::size_t row, double x, double y) const;

 private:
  std::string CellText(const ViewEntry& entry, int column) const;
  bool Numeric(const ViewEntry& entry, int column) const;
  double Indent(const ViewEntry& entry) const;
  void FitColumns(const std::vector<double>& natural, double maxWidth);

  TextEngine& text_;
  const TableView& view_;
  const Links* links_;
  bool fits_ = true;
  double width_ = 0;
  double headerHeight_ = 0;
  std::vector<double> columnWidths_;  // the row labels' column first
  std::vector<double> rowHeights_;    // one per view entry
};

}  // namespace codebook::output::pdf
