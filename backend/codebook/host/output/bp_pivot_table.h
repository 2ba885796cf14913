// Pivot tables of the output document. These are handles into the document:
// copies address the same table, dimension, group or category.
#pragma once

#include <memory>
#include <string>

#include "host/host_api.h"
#include "host/output/bp_cell_text.h"
#include "host/output/bp_format_spec.h"

class BpCategory;

namespace bp {
struct TableNode;  // the platform's table model
struct NodeRef {
  std::shared_ptr<TableNode> table;
  int node = -1;
};
}  // namespace bp

class HOST_API BpGroup {
 public:
  enum Sort { kSortNone = 0, kSortAscending = 1, kSortAsGiven = 2 };

  explicit BpGroup(bp::NodeRef ref) : ref_(std::move(ref)) {}
  virtual ~BpGroup();

  // A labelled group of categories under this group.
  BpGroup Group(const BpCellText& label, bool showLabel, Sort sort);
  BpGroup Group(const BpCellText& label, bool showLabel, int sort) {
    return Group(label, showLabel, static_cast<Sort>(sort));
  }
  // A leaf category, in call order. A row category becomes the current row.
  BpCategory Category(const BpCellText& label);

  const bp::NodeRef& ref() const { return ref_; }

 protected:
  bp::NodeRef ref_;
};

class HOST_API BpDimension : public BpGroup {
 public:
  enum Place { kRows = 0, kColumns = 1, kLayers = 2 };

  explicit BpDimension(bp::NodeRef ref) : BpGroup(std::move(ref)) {}
  void Position(Place place, int position, bool showTitle, bool showCategoryLabels);
  void Position(int place, int position, bool showTitle, bool showCategoryLabels) {
    Position(static_cast<Place>(place), position, showTitle, showCategoryLabels);
  }
};

class HOST_API BpCategory {
 public:
  explicit BpCategory(bp::NodeRef ref) : ref_(std::move(ref)) {}
  // Sets the cell this category addresses: on a column category, the cell at
  // the current row; in a one-dimensional table, the row's value. A second
  // Cell on the same place adds a line under the first.
  void Cell(const BpCellText& value);

 private:
  bp::NodeRef ref_;
};

class HOST_API BpPivotTable {
 public:
  enum Sort { kSortNone = 0, kSortAscending = 1, kSortAsGiven = 2 };

  explicit BpPivotTable(std::shared_ptr<bp::TableNode> table) : table_(std::move(table)) {}

  void MinDataColumnWidth(int width);
  BpDimension Dimension(const BpCellText& title, Sort sort);
  BpDimension Dimension(const BpCellText& title, int sort) {
    return Dimension(title, static_cast<Sort>(sort));
  }

 private:
  std::shared_ptr<bp::TableNode> table_;
};
