#include "platform/output/document/table_model.h"

#include "host/output/bp_pivot_table.h"

namespace bp {

int TableNode::AddDimension(std::shared_ptr<const BpCellText::Content> title) {
  const int node = static_cast<int>(nodes.size());
  Node root;
  root.label = std::move(title);
  root.kind = NodeKind::kDimension;
  root.dimension = static_cast<int>(dimensions.size());
  nodes.push_back(std::move(root));
  DimensionInfo info;
  info.root = node;
  dimensions.push_back(info);
  return node;
}

int TableNode::AddChild(int parent, NodeKind kind, std::shared_ptr<const BpCellText::Content> label,
                        bool showLabel) {
  if (parent < 0 || parent >= static_cast<int>(nodes.size()) ||
      nodes[static_cast<std::size_t>(parent)].kind == NodeKind::kCategory) {
    return -1;
  }
  const int node = static_cast<int>(nodes.size());
  Node child;
  child.label = std::move(label);
  child.parent = parent;
  child.kind = kind;
  child.showLabel = showLabel;
  child.dimension = nodes[static_cast<std::size_t>(parent)].dimension;
  nodes.push_back(std::move(child));
  Node& up = nodes[static_cast<std::size_t>(parent)];
  if (up.lastChild < 0) {
    up.firstChild = node;
  } else {
    nodes[static_cast<std::size_t>(up.lastChild)].nextSibling = node;
  }
  up.lastChild = node;
  if (kind == NodeKind::kCategory && nodes[static_cast<std::size_t>(node)].dimension == RowDimension()) {
    currentRow = node;
  }
  return node;
}

int TableNode::RowDimension() const {
  const int count = static_cast<int>(dimensions.size());
  for (int d = 0; d < count; ++d) {
    if (dimensions[static_cast<std::size_t>(d)].place == BpDimension::kRows) return d;
  }
  for (int d = 0; d < count; ++d) {
    if (dimensions[static_cast<std::size_t>(d)].place < 0) return d;
  }
  return -1;
}

int TableNode::ColumnDimension() const {
  const int count = static_cast<int>(dimensions.size());
  const int rows = RowDimension();
  for (int d = 0; d < count; ++d) {
    if (d != rows && dimensions[static_cast<std::size_t>(d)].place == BpDimension::kColumns) return d;
  }
  for (int d = 0; d < count; ++d) {
    if (d != rows && dimensions[static_cast<std::size_t>(d)].place < 0) return d;
  }
  return -1;
}

void TableNode::SetCell(int category, std::shared_ptr<const BpCellText::Content> content) {
  if (category < 0 || category >= static_cast<int>(nodes.size()) || !content) return;
  const int dimension = nodes[static_cast<std::size_t>(category)].dimension;
  if (dimension == RowDimension()) {
    // A row's own value: what a one-dimensional table shows.
    cells.push_back(CellEntry{category, -1, std::move(content)});
  } else if (currentRow >= 0) {
    cells.push_back(CellEntry{currentRow, category, std::move(content)});
  }
  // A column cell before any row has nowhere to go and is dropped.
}

}  // namespace bp
