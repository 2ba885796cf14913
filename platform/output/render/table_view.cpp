#include "platform/output/render/table_view.h"

#include <algorithm>

namespace codebook::output {

namespace {

const std::string kEmpty;

}  // namespace

TableView::TableView(const bp::TableNode& table) : table_(&table) {
  const auto nodeCount = table.nodes.size();
  const int rowDimension = table.RowDimension();
  const int columnDimension = table.ColumnDimension();
  oneDimensional_ = columnDimension < 0;
  if (rowDimension < 0) return;

  // Columns: leaves of the column dimension that hold a cell, in order.
  std::vector<int> columnIndex(nodeCount, -1);
  if (!oneDimensional_) {
    std::vector<char> used(nodeCount, 0);
    for (const bp::CellEntry& cell : table.cells) {
      if (cell.column >= 0 && cell.row >= 0) used[static_cast<std::size_t>(cell.column)] = 1;
    }
    // Nodes are stored parents first and siblings in order, so a depth-first
    // walk of one dimension visits its leaves in the order they were added.
    std::vector<int> stack{table.dimensions[static_cast<std::size_t>(columnDimension)].root};
    while (!stack.empty()) {
      const int node = stack.back();
      stack.pop_back();
      const bp::Node& n = table.nodes[static_cast<std::size_t>(node)];
      if (n.kind == bp::NodeKind::kCategory) {
        if (used[static_cast<std::size_t>(node)]) {
          columnIndex[static_cast<std::size_t>(node)] = static_cast<int>(columns_.size());
          columns_.push_back(n.label.get());
        }
        continue;
      }
      const std::size_t mark = stack.size();
      for (int child = n.firstChild; child >= 0; child = table.nodes[static_cast<std::size_t>(child)].nextSibling) {
        stack.push_back(child);
      }
      std::reverse(stack.begin() + static_cast<std::ptrdiff_t>(mark), stack.end());
    }
  }

  // Groups that hold a category somewhere below (children come after their
  // parents, so one backward sweep settles every group).
  std::vector<char> holdsCategory(nodeCount, 0);
  for (std::size_t i = nodeCount; i-- > 0;) {
    const bp::Node& n = table.nodes[i];
    if (n.kind == bp::NodeKind::kCategory) holdsCategory[i] = 1;
    if (holdsCategory[i] && n.parent >= 0) holdsCategory[static_cast<std::size_t>(n.parent)] = 1;
  }

  // Rows, depth first.
  entries_.reserve(nodeCount);
  std::vector<int> rowOrder(nodeCount, -1);
  struct Frame {
    int node;
    int depth;
  };
  std::vector<Frame> stack{{table.dimensions[static_cast<std::size_t>(rowDimension)].root, -1}};
  while (!stack.empty()) {
    const Frame frame = stack.back();
    stack.pop_back();
    const bp::Node& n = table.nodes[static_cast<std::size_t>(frame.node)];
    if (!holdsCategory[static_cast<std::size_t>(frame.node)]) continue;
    int childDepth = frame.depth < 0 ? 0 : frame.depth;
    if (n.kind == bp::NodeKind::kCategory) {
      rowOrder[static_cast<std::size_t>(frame.node)] = static_cast<int>(entries_.size());
      entries_.push_back(ViewEntry{frame.node, frame.depth, false, 0, 0});
      maxDepth_ = std::max(maxDepth_, frame.depth);
      ++rowCount_;
      continue;
    }
    if (n.kind == bp::NodeKind::kGroup) {
      if (n.showLabel) {
        entries_.push_back(ViewEntry{frame.node, frame.depth, true, 0, 0});
        childDepth = frame.depth + 1;
      } else {
        childDepth = frame.depth;
      }
    }
    const std::size_t mark = stack.size();
    for (int child = n.firstChild; child >= 0; child = table.nodes[static_cast<std::size_t>(child)].nextSibling) {
      stack.push_back(Frame{child, childDepth});
    }
    std::reverse(stack.begin() + static_cast<std::ptrdiff_t>(mark), stack.end());
  }

  // Cells of shown rows and columns, grouped by row, then column, keeping the
  // order in which lines of one cell were set.
  struct Keyed {
    int row;
    int column;
    const CellContent* content;
  };
  std::vector<Keyed> keyed;
  keyed.reserve(table.cells.size());
  for (const bp::CellEntry& cell : table.cells) {
    if (cell.row < 0 || rowOrder[static_cast<std::size_t>(cell.row)] < 0) continue;
    int column = 0;
    if (oneDimensional_) {
      if (cell.column >= 0) continue;
    } else {
      if (cell.column < 0 || columnIndex[static_cast<std::size_t>(cell.column)] < 0) continue;
      column = columnIndex[static_cast<std::size_t>(cell.column)];
    }
    keyed.push_back(Keyed{rowOrder[static_cast<std::size_t>(cell.row)], column, cell.content.get()});
  }
  const auto before = [](const Keyed& a, const Keyed& b) {
    return a.row != b.row ? a.row < b.row : a.column < b.column;
  };
  // Cells usually arrive in row and column order already.
  if (!std::is_sorted(keyed.begin(), keyed.end(), before)) std::stable_sort(keyed.begin(), keyed.end(), before);
  cells_.reserve(keyed.size());
  std::size_t k = 0;
  for (std::size_t e = 0; e < entries_.size(); ++e) {
    ViewEntry& entry = entries_[e];
    entry.cellBegin = static_cast<std::uint32_t>(cells_.size());
    while (k < keyed.size() && keyed[k].row == static_cast<int>(e)) {
      cells_.push_back(ViewCell{keyed[k].column, keyed[k].content});
      ++k;
    }
    entry.cellEnd = static_cast<std::uint32_t>(cells_.size());
  }
}

const CellContent* TableView::Label(int node) const {
  if (node < 0 || node >= static_cast<int>(table_->nodes.size())) return nullptr;
  return table_->nodes[static_cast<std::size_t>(node)].label.get();
}

const CellContent* TableView::RowDimensionTitle() const {
  const int dimension = table_->RowDimension();
  if (dimension < 0) return nullptr;
  const bp::DimensionInfo& info = table_->dimensions[static_cast<std::size_t>(dimension)];
  return info.showTitle ? Label(info.root) : nullptr;
}

std::string JoinedCellText(const TableView& view, std::uint32_t begin, std::uint32_t end, int column) {
  std::string text;
  bool first = true;
  for (std::uint32_t i = begin; i < end; ++i) {
    const ViewCell& cell = view.cells()[i];
    if (cell.column != column) continue;
    if (!first && (text.empty() || text.back() != '\n')) text.push_back('\n');
    text += cell.content->text;
    first = false;
  }
  return text;
}

const std::string& TableView::Title() const { return table_->title ? table_->title->text : kEmpty; }

}  // namespace codebook::output
