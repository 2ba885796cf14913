// A table as renderers walk it: the visible rows in order (group headers
// and categories, with their depth), the visible columns, and each row's
// cell lines. Built in linear time from bp::TableNode; one view can be
// built again and again for table after table, reusing its memory.
//
// Visibility: a column is shown when at least one cell is set in it; a
// group when it holds at least one category (at any depth); a category row
// always, even without cells (the row label itself, a data value say, can
// be the information); a table when it has at least one row.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/output/document/table_model.h"

namespace codebook::output {

struct ViewCell {
  int column = 0;  // index into TableView::columns; 0 in a one-dimensional table
  const ContentView* content = nullptr;
};

struct ViewEntry {
  int node = -1;
  int depth = 0;       // number of shown groups above it
  bool group = false;  // a group header rather than a category row
  std::uint32_t cellBegin = 0;  // cells of a category row: [cellBegin, cellEnd)
  std::uint32_t cellEnd = 0;    // lines of one cell are adjacent, in order set
};

class TableView {
 public:
  TableView() = default;
  explicit TableView(const bp::TableNode& table) { Build(table); }
  TableView(const TableView&) = delete;
  TableView& operator=(const TableView&) = delete;

  // Makes this the view of `table`. What earlier views returned is gone.
  void Build(const bp::TableNode& table);

  const bp::TableNode& table() const { return *table_; }
  bool Visible() const { return rowCount_ > 0; }
  // No column dimension: each row has one value, in column 0.
  bool OneDimensional() const { return oneDimensional_; }
  // Labels of the shown columns; empty in a one-dimensional table.
  const std::vector<const ContentView*>& columns() const { return columns_; }
  // Columns of cell values: columns().size(), or 1 when one-dimensional.
  int ValueColumnCount() const { return oneDimensional_ ? 1 : static_cast<int>(columns_.size()); }
  const std::vector<ViewEntry>& entries() const { return entries_; }
  const std::vector<ViewCell>& cells() const { return cells_; }
  const ContentView* Label(int node) const;
  // The title of the row dimension ("Attributes"), or null.
  const ContentView* RowDimensionTitle() const;
  std::string_view Title() const;
  int MaxDepth() const { return maxDepth_; }

 private:
  const ContentView* ContentOf(bp::ContentRef ref) const;

  const bp::TableNode* table_ = nullptr;
  const bp::TableData* data_ = nullptr;
  bp::TableData decoded_;
  std::vector<ContentView> own_;
  bool oneDimensional_ = true;
  int rowCount_ = 0;
  int maxDepth_ = 0;
  std::vector<const ContentView*> columns_;
  std::vector<ViewEntry> entries_;
  std::vector<ViewCell> cells_;
  // Scratch of Build, kept for the next table.
  std::vector<int> firstChild_;
  std::vector<int> nextSibling_;
  std::vector<int> columnIndex_;
  std::vector<int> rowOrder_;
  std::vector<char> holdsCategory_;
  std::vector<int> stack_;
  struct Keyed {
    int row;
    int column;
    const ContentView* content;
  };
  std::vector<Keyed> keyed_;
};

// A cell's text lines: the lines of its contents, each split at '\n'.
// Calls `line(text)` for each.
template <typename LineFn>
void ForEachCellLine(const TableView& view, std::uint32_t begin, std::uint32_t end, int column,
                     LineFn&& line) {
  for (std::uint32_t i = begin; i < end; ++i) {
    const ViewCell& cell = view.cells()[i];
    if (cell.column != column) continue;
    const std::string_view text = cell.content->text;
    std::size_t start = 0;
    for (;;) {
      const std::size_t stop = text.find('\n', start);
      if (stop == std::string_view::npos) {
        // A trailing line feed ends the last line rather than opening one.
        if (start < text.size() || start == 0) line(text.substr(start));
        break;
      }
      line(text.substr(start, stop - start));
      start = stop + 1;
    }
  }
}

// The text of a cell: its lines joined by line feeds, without doubling the
// line feed that ends a line already.
std::string JoinedCellText(const TableView& view, std::uint32_t begin, std::uint32_t end, int column);

}  // namespace codebook::output
