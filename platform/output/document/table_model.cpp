#include "platform/output/document/table_model.h"

#include <cmath>
#include <cstring>

#include "host/output/bp_pivot_table.h"
#include "platform/output/document/fixed_texts.h"
#include "platform/output/document/table_codec.h"

namespace codebook::output {

ContentView ViewOf(const CellContent& content) {
  ContentView view;
  view.text = content.text;
  view.number = content.number;
  if (const double* number = std::get_if<double>(&content.dataValue)) {
    view.dataValue = *number;
  } else if (const std::string* text = std::get_if<std::string>(&content.dataValue)) {
    view.dataValue = std::string_view(*text);
  }
  view.kind = content.kind;
  view.procedureText = content.procedureText;
  view.numeric = content.numeric;
  return view;
}

}  // namespace codebook::output

namespace bp {

void TableData::Clear() {
  nodes.clear();
  dimensions.clear();
  cells.clear();
  contents.clear();
  chars.clear();
  title = kNoContent;
  currentRow = -1;
}

int TableData::RowDimension() const {
  const int count = static_cast<int>(dimensions.size());
  for (int d = 0; d < count; ++d) {
    if (dimensions[static_cast<std::size_t>(d)].place == BpDimension::kRows) return d;
  }
  for (int d = 0; d < count; ++d) {
    if (dimensions[static_cast<std::size_t>(d)].place < 0) return d;
  }
  return -1;
}

int TableData::ColumnDimension() const {
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

std::string_view TableData::TextOf(ContentRef ref) const {
  if (ref == kNoContent) return {};
  if (IsFixed(ref)) return FixedTextView(RefIndex(ref)).text;
  const std::uint32_t index = RefIndex(ref);
  return index < contents.size() ? Text(contents[index]) : std::string_view();
}

ContentRef TableData::Store(const BpCellText::Content& content) {
  if (content.fixedId >= 0) return static_cast<ContentRef>(content.fixedId) * 2 + 1;
  OwnContent own;
  own.textOffset = static_cast<std::uint32_t>(chars.size());
  own.textLength = static_cast<std::uint32_t>(content.text.size());
  chars += content.text;
  own.number = content.number;
  if (const double* number = std::get_if<double>(&content.dataValue)) {
    own.valueKind = OwnContent::Value::kNumber;
    own.value = *number;
  } else if (const std::string* raw = std::get_if<std::string>(&content.dataValue)) {
    own.valueKind = OwnContent::Value::kString;
    if (*raw == content.text) {
      own.rawOffset = own.textOffset;
      own.rawLength = own.textLength;
    } else {
      own.rawOffset = static_cast<std::uint32_t>(chars.size());
      own.rawLength = static_cast<std::uint32_t>(raw->size());
      chars += *raw;
    }
  }
  own.kind = content.kind;
  own.procedureText = content.procedureText;
  own.numeric = content.numeric;
  contents.push_back(own);
  return static_cast<ContentRef>(contents.size() - 1) * 2;
}

namespace {

// The buffers of the table sealed last, for the next table to fill: tables
// are made one after another, of much the same size.
thread_local std::unique_ptr<TableData> spareData;

std::unique_ptr<TableData> NewData() {
  if (spareData) return std::move(spareData);
  return std::make_unique<TableData>();
}

void KeepAsSpare(std::unique_ptr<TableData> data) {
  // An exceptional table's buffers are not worth keeping.
  constexpr std::size_t kMaxKept = 1 << 16;
  if (data->nodes.capacity() > kMaxKept || data->cells.capacity() > kMaxKept || data->chars.capacity() > 16 * kMaxKept) {
    return;
  }
  data->Clear();
  spareData = std::move(data);
}

}  // namespace

TableNode::TableNode() : open_(NewData()) {}
TableNode::~TableNode() = default;

TableNode::TableNode(const TableNode& other)
    : subtype(other.subtype),
      command(other.command),
      showTitle(other.showTitle),
      minDataColumnWidth(other.minDataColumnWidth),
      sealedSize_(other.sealedSize_),
      nodeCount_(other.nodeCount_) {
  if (other.open_) open_ = std::make_unique<TableData>(*other.open_);
  if (other.sealed_) {
    sealed_ = std::make_unique<std::uint8_t[]>(sealedSize_);
    std::memcpy(sealed_.get(), other.sealed_.get(), sealedSize_);
  }
}

TableNode& TableNode::operator=(const TableNode& other) {
  if (this != &other) {
    TableNode copy(other);
    subtype = copy.subtype;
    command = copy.command;
    showTitle = copy.showTitle;
    minDataColumnWidth = copy.minDataColumnWidth;
    open_ = std::move(copy.open_);
    sealed_ = std::move(copy.sealed_);
    sealedSize_ = copy.sealedSize_;
    nodeCount_ = copy.nodeCount_;
  }
  return *this;
}

TableData& TableNode::Open() {
  if (!open_) {
    auto data = std::make_unique<TableData>();
    DecodeTable(std::span<const std::uint8_t>(sealed_.get(), sealedSize_), *data);
    open_ = std::move(data);
    sealed_.reset();
    sealedSize_ = 0;
  }
  return *open_;
}

const TableData& TableNode::Read(TableData& scratch) const {
  if (open_) return *open_;
  DecodeTable(std::span<const std::uint8_t>(sealed_.get(), sealedSize_), scratch);
  return scratch;
}

void TableNode::Seal() {
  if (!open_) return;
  // One encoding buffer, reused: tables are sealed one after another.
  thread_local std::string buffer;
  buffer.clear();
  EncodeTable(*open_, buffer);
  sealed_ = std::make_unique_for_overwrite<std::uint8_t[]>(buffer.size());
  std::memcpy(sealed_.get(), buffer.data(), buffer.size());
  sealedSize_ = static_cast<std::uint32_t>(buffer.size());
  KeepAsSpare(std::move(open_));
}

void TableNode::Assign(TableData data) {
  sealed_.reset();
  sealedSize_ = 0;
  nodeCount_ = static_cast<std::int32_t>(data.nodes.size());
  open_ = std::make_unique<TableData>(std::move(data));
}

void TableNode::SetTitle(const BpCellText::Content& title) {
  TableData& data = Open();
  data.title = data.Store(title);
}

int TableNode::AddDimension(const BpCellText::Content& title) {
  TableData& data = Open();
  const int node = static_cast<int>(data.nodes.size());
  Node root;
  root.label = data.Store(title);
  root.kind = NodeKind::kDimension;
  root.dimension = static_cast<int>(data.dimensions.size());
  data.nodes.push_back(root);
  DimensionInfo info;
  info.root = node;
  data.dimensions.push_back(info);
  nodeCount_ = static_cast<std::int32_t>(data.nodes.size());
  return node;
}

int TableNode::AddChild(int parent, NodeKind kind, const BpCellText::Content& label, bool showLabel) {
  if (parent < 0 || parent >= nodeCount_) return -1;
  TableData& data = Open();
  const Node& up = data.nodes[static_cast<std::size_t>(parent)];
  if (up.kind == NodeKind::kCategory) return -1;
  Node child;
  child.label = data.Store(label);
  child.parent = parent;
  child.kind = kind;
  child.showLabel = showLabel;
  child.dimension = up.dimension;
  const int node = static_cast<int>(data.nodes.size());
  data.nodes.push_back(child);
  nodeCount_ = static_cast<std::int32_t>(data.nodes.size());
  if (kind == NodeKind::kCategory && child.dimension == data.RowDimension()) data.currentRow = node;
  return node;
}

bool TableNode::Position(int node, int place, int position, bool showTitle, bool showCategoryLabels) {
  if (node < 0 || node >= nodeCount_) return false;
  TableData& data = Open();
  const int dimension = data.nodes[static_cast<std::size_t>(node)].dimension;
  if (dimension < 0 || dimension >= static_cast<int>(data.dimensions.size())) return false;
  DimensionInfo& info = data.dimensions[static_cast<std::size_t>(dimension)];
  info.place = place;
  info.position = position;
  info.showTitle = showTitle;
  info.showCategoryLabels = showCategoryLabels;
  return true;
}

void TableNode::SetCell(int category, const BpCellText::Content& content) {
  if (category < 0 || category >= nodeCount_) return;
  TableData& data = Open();
  const int dimension = data.nodes[static_cast<std::size_t>(category)].dimension;
  if (dimension == data.RowDimension()) {
    // A row's own value: what a one-dimensional table shows.
    data.cells.push_back(CellEntry{category, -1, data.Store(content)});
  } else if (data.currentRow >= 0) {
    data.cells.push_back(CellEntry{data.currentRow, category, data.Store(content)});
  }
  // A column cell before any row has nowhere to go and is dropped.
}

}  // namespace bp
