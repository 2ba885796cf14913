// The output context of a procedure run: opens tables in the current
// document and supplies the number formats of its cells.
#include "host/output/bp_procedure.h"

#include "host/data/data_source.h"
#include "platform/output/current_output.h"
#include "platform/output/document/fixed_texts.h"
#include "platform/output/document/table_model.h"

namespace {

BpFormatSpec VariableFormat(BpFormatSpec::Kind kind, int varIndex) {
  // The active dataset as the procedure sees it; no dataset or a bad index
  // leaves the format empty, which displays as F8.2.
  ProcedureDataSource source;
  const VELA_Variable* variable = source.GetVariable(varIndex);
  if (variable == nullptr) return BpFormatSpec(kind, VELA_Format());
  VELA_Format::FormatType type = VELA_Format::kNone;
  int width = 0;
  int decimals = 0;
  variable->GetFormatEx(type, width, decimals);
  return BpFormatSpec(kind, VELA_Format(type, width < 0 ? 0 : width, decimals < 0 ? 0 : decimals));
}

// The table a procedure is making. A procedure makes its tables one after
// another, so the one made before is finished when the next is opened, or
// when the procedure ends: it is then sealed into its compact form. (A
// handle kept to it can still change it; it is unpacked again then.)
thread_local std::weak_ptr<bp::TableNode> tableBeingMade;

void SealTableBeingMade() {
  if (const std::shared_ptr<bp::TableNode> table = tableBeingMade.lock()) table->Seal();
  tableBeingMade.reset();
}

}  // namespace

BpHeading::~BpHeading() = default;

BpPivotTable BpHeading::PivotTable(const BpCellText& title, const BpCellText& subtype, bool showTitle) {
  SealTableBeingMade();
  auto table = std::make_shared<bp::TableNode>();
  if (title.content()) table->SetTitle(*title.content());
  if (subtype.content()) table->subtype = bp::SharedName(subtype.content()->text);
  table->command = bp::SharedName(procedureName_);
  table->showTitle = showTitle;
  tableBeingMade = table;
  codebook::output::CurrentDocument()->Append(table);
  return BpPivotTable(std::move(table));
}

BpProcedure::BpProcedure(std::string name, int /*flags*/) { procedureName_ = std::move(name); }
BpProcedure::~BpProcedure() { SealTableBeingMade(); }

BpFormatSpec BpProcedure::Count() const { return BpFormatSpec(BpFormatSpec::kCount, VELA_Format()); }
BpFormatSpec BpProcedure::Percent() const { return BpFormatSpec(BpFormatSpec::kPercent, VELA_Format()); }
BpFormatSpec BpProcedure::Coefficient() const {
  return BpFormatSpec(BpFormatSpec::kCoefficient, VELA_Format());
}
BpFormatSpec BpProcedure::Mean(int varIndex) const { return VariableFormat(BpFormatSpec::kMean, varIndex); }
BpFormatSpec BpProcedure::StdDev(int varIndex) const {
  return VariableFormat(BpFormatSpec::kStdDev, varIndex);
}
