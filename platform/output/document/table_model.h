// The pivot-table model behind the Bp handles (host/output/bp_pivot_table.h).
// Dimensions, groups and categories are nodes of one array in call order; a
// node's children are the later nodes that name it as parent, in the order
// they were added. Cells are appended as they are set. Visibility (empty
// groups, columns and tables) is decided when rendering.
//
// A document can hold a hundred thousand tables, so a table is kept lean: the
// procedure's fixed wording is shared by every table (fixed_texts.h) and
// referred to by number, and once a table is made it is sealed into one
// compact block of bytes (table_codec.h) that readers decode as they go.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/output/document/cell_content.h"

namespace bp {

enum class NodeKind : std::uint8_t { kDimension, kGroup, kCategory };

// What a title, node or cell shows: a shared fixed text (odd: id * 2 + 1) or
// one of the table's own contents (even: index * 2).
using ContentRef = std::uint32_t;
inline constexpr ContentRef kNoContent = 0xFFFFFFFFu;
inline constexpr bool IsFixed(ContentRef ref) { return ref != kNoContent && (ref & 1u) != 0; }
inline constexpr std::uint32_t RefIndex(ContentRef ref) { return ref >> 1; }

struct Node {
  ContentRef label = kNoContent;
  std::int32_t parent = -1;     // -1: the root of a dimension
  std::int32_t dimension = -1;
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
  ContentRef content = kNoContent;
};

// A content the table keeps itself; its texts are ranges of TableData::chars.
struct OwnContent {
  enum class Value : std::uint8_t { kNone, kNumber, kString };
  std::uint32_t textOffset = 0;
  std::uint32_t textLength = 0;
  std::uint32_t rawOffset = 0;  // a string data value's raw text
  std::uint32_t rawLength = 0;
  double number = 0;  // number cells; NaN otherwise
  double value = 0;   // a numeric data value
  BpCellText::Content::Kind kind = BpCellText::Content::Kind::kText;
  Value valueKind = Value::kNone;
  bool procedureText = false;
  bool numeric = false;
};

// A table's nodes, cells and own contents, as it is made and as readers see
// it once decoded.
struct TableData {
  std::vector<Node> nodes;
  std::vector<DimensionInfo> dimensions;
  std::vector<CellEntry> cells;
  std::vector<OwnContent> contents;
  std::string chars;
  ContentRef title = kNoContent;
  int currentRow = -1;

  void Clear();
  // The dimension shown down the side: the first placed in rows, else the
  // first not placed elsewhere. -1 when there is none.
  int RowDimension() const;
  // The dimension across the top: the first placed in columns, else the
  // first other one not placed in rows. -1 for a one-dimensional table.
  // Further dimensions (layers) are not shown.
  int ColumnDimension() const;
  std::string_view Text(const OwnContent& content) const {
    return std::string_view(chars).substr(content.textOffset, content.textLength);
  }
  std::string_view Raw(const OwnContent& content) const {
    return std::string_view(chars).substr(content.rawOffset, content.rawLength);
  }
  // The text shown by a reference ("" for none).
  std::string_view TextOf(ContentRef ref) const;
  // Keeps a content: a fixed text by its number, anything else as the
  // table's own.
  ContentRef Store(const BpCellText::Content& content);
};

class TableNode {
 public:
  TableNode();
  ~TableNode();
  TableNode(const TableNode& other);
  TableNode& operator=(const TableNode& other);

  // Names shared by many tables (subtype, procedure), kept process-wide.
  std::string_view subtype;
  std::string_view command;  // the procedure that made the table
  bool showTitle = true;
  int minDataColumnWidth = 0;

  void SetTitle(const BpCellText::Content& title);
  int AddDimension(const BpCellText::Content& title);
  // -1 when the parent is not a dimension or group of this table.
  int AddChild(int parent, NodeKind kind, const BpCellText::Content& label, bool showLabel);
  // Applies the cell rules to a Cell call on this category.
  void SetCell(int category, const BpCellText::Content& content);
  // Positions the dimension whose root is `node`; false when there is none.
  bool Position(int node, int place, int position, bool showTitle, bool showCategoryLabels);
  int NodeCount() const { return nodeCount_; }

  // The table as it is: its own data while it is made, else decoded into
  // `scratch`. Valid until the table changes or `scratch` is reused.
  const TableData& Read(TableData& scratch) const;
  // Packs the table into its compact form; a later change unpacks it again.
  void Seal();
  bool Sealed() const { return !open_; }
  // Replaces the whole table (what a copy with rows taken out is made of).
  void Assign(TableData data);

 private:
  TableData& Open();

  std::unique_ptr<TableData> open_;         // while being made or changed
  std::unique_ptr<std::uint8_t[]> sealed_;  // else its compact form
  std::uint32_t sealedSize_ = 0;
  std::int32_t nodeCount_ = 0;
};

}  // namespace bp
