// The Bp handles of a pivot table: thin wrappers over bp::TableNode.
#include "host/output/bp_pivot_table.h"

#include "platform/output/document/table_model.h"

namespace {

bool Valid(const bp::NodeRef& ref) {
  return ref.table && ref.node >= 0 && ref.node < ref.table->NodeCount();
}

// A text made without content (none is) shows nothing.
const BpCellText::Content& ContentOf(const BpCellText& text) {
  static const BpCellText::Content kEmpty;
  return text.content() ? *text.content() : kEmpty;
}

}  // namespace

BpGroup::~BpGroup() = default;

BpGroup BpGroup::Group(const BpCellText& label, bool showLabel, Sort /*sort*/) {
  // Categories keep the order they are added in, whatever the sort asks: the
  // procedure adds them already ordered.
  bp::NodeRef ref{ref_.table, -1};
  if (Valid(ref_)) ref.node = ref_.table->AddChild(ref_.node, bp::NodeKind::kGroup, ContentOf(label), showLabel);
  return BpGroup(std::move(ref));
}

BpCategory BpGroup::Category(const BpCellText& label) {
  bp::NodeRef ref{ref_.table, -1};
  if (Valid(ref_)) ref.node = ref_.table->AddChild(ref_.node, bp::NodeKind::kCategory, ContentOf(label), true);
  return BpCategory(std::move(ref));
}

void BpDimension::Position(Place place, int position, bool showTitle, bool showCategoryLabels) {
  if (Valid(ref_)) ref_.table->Position(ref_.node, place, position, showTitle, showCategoryLabels);
}

void BpCategory::Cell(const BpCellText& value) {
  if (Valid(ref_) && value.content()) ref_.table->SetCell(ref_.node, *value.content());
}

void BpPivotTable::MinDataColumnWidth(int width) {
  if (table_) table_->minDataColumnWidth = width;
}

BpDimension BpPivotTable::Dimension(const BpCellText& title, Sort /*sort*/) {
  bp::NodeRef ref{table_, -1};
  if (table_) ref.node = table_->AddDimension(ContentOf(title));
  return BpDimension(std::move(ref));
}
