// The pivot-table model behind the Bp handles (host/output/bp_pivot_table.h).
// Dimensions, groups and categories are nodes of one array, linked to their
// parent and siblings in call order; cells are appended as they are set.
// Visibility (empty groups, columns and tables) is decided when rendering.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/output/document/cell_content.h"

namespace bp {

enum class NodeKind : std::uint8_t { kDimension, kGroup, kCategory };

struct Node {
  std::shared_ptr<const BpCellText::Content> label;
  int parent = -1;
  int firstChild = -1;
  int lastChild = -1;
  int nextSibling = -1;
  int dimension = -1;
  NodeKind kind = NodeKind::kCategory;
  bool showLabel = true;
};

struct DimensionInfo {
  int root = -1;
  int place = -1;  // BpDimension::Place; -1 until positioned
  int position = 0;
  bool showTitle = true;
  bool showCategoryLabels = true;
};

// One line of a cell. `column` is -1 for the single value of a row of a
// one-dimensional table.
struct CellEntry {
  int row = -1;
  int column = -1;
  std::shared_ptr<const BpCellText::Content> content;
};

struct TableNode {
  std::shared_ptr<const BpCellText::Content> title;
  std::string subtype;
  std::string command;  // the procedure that made the table
  bool showTitle = true;
  int minDataColumnWidth = 0;

  std::vector<Node> nodes;
  std::vector<DimensionInfo> dimensions;
  std::vector<CellEntry> cells;
  int currentRow = -1;

  int AddDimension(std::shared_ptr<const BpCellText::Content> title);
  int AddChild(int parent, NodeKind kind, std::shared_ptr<const BpCellText::Content> label,
               bool showLabel);
  // The dimension shown down the side: the first placed in rows, else the
  // first not placed elsewhere. -1 when there is none.
  int RowDimension() const;
  // The dimension across the top: the first placed in columns, else the
  // first other one not placed in rows. -1 for a one-dimensional table.
  // Further dimensions (layers) are not shown.
  int ColumnDimension() const;
  // Applies the cell rules to a Cell call on this category.
  void SetCell(int category, std::shared_ptr<const BpCellText::Content> content);
};

}  // namespace bp
