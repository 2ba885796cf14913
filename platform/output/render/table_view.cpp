#include "platform/output/render/table_view.h"

#include <algorithm>

#include "platform/output/document/fixed_texts.h"

namespace codebook::output {

void TableView::Build(const bp::TableNode& table) {
  table_ = &table;
  data_ = &table.Read(decoded_);
  const bp::TableData& data = *data_;
  oneDimensional_ = true;
  rowCount_ = 0;
  maxDepth_ = 0;
  columns_.clear();
  entries_.clear();
  cells_.clear();

  own_.resize(data.contents.size());
  for (std::size_t i = 0; i < data.contents.size(); ++i) {
    const bp::OwnContent& content = data.contents[i];
    ContentView& view = own_[i];
    view.text = data.Text(content);
    view.number = content.number;
    switch (content.valueKind) {
      case bp::OwnContent::Value::kNone: view.dataValue = std::monostate(); break;
      case bp::OwnContent::Value::kNumber: view.dataValue = content.value; break;
      case bp::OwnContent::Value::kString: view.dataValue = data.Raw(content); break;
    }
    view.kind = content.kind;
    view.procedureText = content.procedureText;
    view.numeric = content.numeric;
  }

  const std::size_t nodeCount = data.nodes.size();
  const int rowDimension = data.RowDimension();
  const int columnDimension = data.ColumnDimension();
  oneDimensional_ = columnDimension < 0;
  if (rowDimension < 0) return;

  // Children in the order they were added: a backward sweep puts each node
  // in front of its later siblings.
  firstChild_.assign(nodeCount, -1);
  nextSibling_.assign(nodeCount, -1);
  for (std::size_t i = nodeCount; i-- > 0;) {
    const int parent = data.nodes[i].parent;
    if (parent < 0 || static_cast<std::size_t>(parent) >= i) continue;
    nextSibling_[i] = firstChild_[static_cast<std::size_t>(parent)];
    firstChild_[static_cast<std::size_t>(parent)] = static_cast<int>(i);
  }

  // Columns: leaves of the column dimension that hold a cell, in order.
  columnIndex_.assign(nodeCount, -1);
  if (!oneDimensional_) {
    // -2 marks a column node that holds a cell.
    for (const bp::CellEntry& cell : data.cells) {
      if (cell.column >= 0 && cell.row >= 0) columnIndex_[static_cast<std::size_t>(cell.column)] = -2;
    }
    stack_.assign(1, data.dimensions[static_cast<std::size_t>(columnDimension)].root);
    while (!stack_.empty()) {
      const int node = stack_.back();
      stack_.pop_back();
      const bp::Node& n = data.nodes[static_cast<std::size_t>(node)];
      if (n.kind == bp::NodeKind::kCategory) {
        if (columnIndex_[static_cast<std::size_t>(node)] == -2) {
          columnIndex_[static_cast<std::size_t>(node)] = static_cast<int>(columns_.size());
          columns_.push_back(ContentOf(n.label));
        }
        continue;
      }
      const std::size_t mark = stack_.size();
      for (int child = firstChild_[static_cast<std::size_t>(node)]; child >= 0;
           child = nextSibling_[static_cast<std::size_t>(child)]) {
        stack_.push_back(child);
      }
      std::reverse(stack_.begin() + static_cast<std::ptrdiff_t>(mark), stack_.end());
    }
    // Column nodes outside the column dimension's walk never show.
    for (int& index : columnIndex_) {
      if (index == -2) index = -1;
    }
  }

  // Groups that hold a category somewhere below (children come after their
  // parents, so one backward sweep settles every group).
  holdsCategory_.assign(nodeCount, 0);
  for (std::size_t i = nodeCount; i-- > 0;) {
    const bp::Node& n = data.nodes[i];
    if (n.kind == bp::NodeKind::kCategory) holdsCategory_[i] = 1;
    if (holdsCategory_[i] && n.parent >= 0) holdsCategory_[static_cast<std::size_t>(n.parent)] = 1;
  }

  // Rows, depth first. The stack holds node and depth pairs.
  entries_.reserve(nodeCount);
  rowOrder_.assign(nodeCount, -1);
  stack_.clear();
  stack_.push_back(data.dimensions[static_cast<std::size_t>(rowDimension)].root);
  stack_.push_back(-1);
  while (!stack_.empty()) {
    const int depth = stack_.back();
    stack_.pop_back();
    const int node = stack_.back();
    stack_.pop_back();
    const bp::Node& n = data.nodes[static_cast<std::size_t>(node)];
    if (!holdsCategory_[static_cast<std::size_t>(node)]) continue;
    int childDepth = depth < 0 ? 0 : depth;
    if (n.kind == bp::NodeKind::kCategory) {
      rowOrder_[static_cast<std::size_t>(node)] = static_cast<int>(entries_.size());
      entries_.push_back(ViewEntry{node, depth, false, 0, 0});
      maxDepth_ = std::max(maxDepth_, depth);
      ++rowCount_;
      continue;
    }
    if (n.kind == bp::NodeKind::kGroup) {
      if (n.showLabel) {
        entries_.push_back(ViewEntry{node, depth, true, 0, 0});
        childDepth = depth + 1;
      } else {
        childDepth = depth;
      }
    }
    // Pushed last child first, so that the first comes off the stack first.
    const std::size_t mark = stack_.size();
    for (int child = firstChild_[static_cast<std::size_t>(node)]; child >= 0;
         child = nextSibling_[static_cast<std::size_t>(child)]) {
      stack_.push_back(child);
      stack_.push_back(childDepth);
    }
    // Reverse the pairs, not the numbers.
    for (std::size_t a = mark, b = stack_.size(); a + 2 < b; a += 2, b -= 2) {
      std::swap(stack_[a], stack_[b - 2]);
      std::swap(stack_[a + 1], stack_[b - 1]);
    }
  }

  // Cells of shown rows and columns, grouped by row, then column, keeping the
  // order in which lines of one cell were set.
  keyed_.clear();
  keyed_.reserve(data.cells.size());
  for (const bp::CellEntry& cell : data.cells) {
    if (cell.row < 0 || static_cast<std::size_t>(cell.row) >= nodeCount ||
        rowOrder_[static_cast<std::size_t>(cell.row)] < 0) {
      continue;
    }
    int column = 0;
    if (oneDimensional_) {
      if (cell.column >= 0) continue;
    } else {
      if (cell.column < 0 || columnIndex_[static_cast<std::size_t>(cell.column)] < 0) continue;
      column = columnIndex_[static_cast<std::size_t>(cell.column)];
    }
    keyed_.push_back(Keyed{rowOrder_[static_cast<std::size_t>(cell.row)], column, ContentOf(cell.content)});
  }
  const auto before = [](const Keyed& a, const Keyed& b) {
    return a.row != b.row ? a.row < b.row : a.column < b.column;
  };
  // Cells usually arrive in row and column order already.
  if (!std::is_sorted(keyed_.begin(), keyed_.end(), before)) std::stable_sort(keyed_.begin(), keyed_.end(), before);
  cells_.reserve(keyed_.size());
  std::size_t k = 0;
  for (std::size_t e = 0; e < entries_.size(); ++e) {
    ViewEntry& entry = entries_[e];
    entry.cellBegin = static_cast<std::uint32_t>(cells_.size());
    while (k < keyed_.size() && keyed_[k].row == static_cast<int>(e)) {
      cells_.push_back(ViewCell{keyed_[k].column, keyed_[k].content});
      ++k;
    }
    entry.cellEnd = static_cast<std::uint32_t>(cells_.size());
  }
}

const ContentView* TableView::ContentOf(bp::ContentRef ref) const {
  if (ref == bp::kNoContent) return nullptr;
  if (bp::IsFixed(ref)) return &bp::FixedTextView(bp::RefIndex(ref));
  const std::uint32_t index = bp::RefIndex(ref);
  return index < own_.size() ? &own_[index] : nullptr;
}

const ContentView* TableView::Label(int node) const {
  if (data_ == nullptr || node < 0 || node >= static_cast<int>(data_->nodes.size())) return nullptr;
  return ContentOf(data_->nodes[static_cast<std::size_t>(node)].label);
}

const ContentView* TableView::RowDimensionTitle() const {
  if (data_ == nullptr) return nullptr;
  const int dimension = data_->RowDimension();
  if (dimension < 0) return nullptr;
  const bp::DimensionInfo& info = data_->dimensions[static_cast<std::size_t>(dimension)];
  return info.showTitle ? Label(info.root) : nullptr;
}

std::string_view TableView::Title() const {
  if (data_ == nullptr) return {};
  const ContentView* title = ContentOf(data_->title);
  return title != nullptr ? title->text : std::string_view();
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

}  // namespace codebook::output
