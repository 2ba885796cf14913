// ProcedureDataSource (host/data/data_source.h): forwards to the selection's
// dataset; with no active dataset it is empty and in a fatal state.
#include "platform/data/active_dataset.h"
#include "platform/data/case_source.h"
#include "platform/data/selection.h"

namespace {

const DatasourceAttributes kNoAttributes;
const std::vector<VariableSetImpl> kNoSets;
const std::vector<DSDocument> kNoDocuments;

}  // namespace

VELA_DataSource::~VELA_DataSource() = default;

ProcedureDataSource::ProcedureDataSource() : selection_(codebook::data::ActiveSelection()) {}

ProcedureDataSource::ProcedureDataSource(std::shared_ptr<const Selection> selection)
    : selection_(std::move(selection)) {}

ProcedureDataSource::~ProcedureDataSource() = default;

bool ProcedureDataSource::FatalError() const { return !selection_ || selection_->Fatal(); }

int ProcedureDataSource::GetWeightVarIndex() const {
  return selection_ && selection_->GetDataset() ? selection_->WeightIndex() : -1;
}

const VELA_DataSource* ProcedureDataSource::Parent() const {
  return selection_ ? selection_->GetDataset().get() : nullptr;
}

int ProcedureDataSource::ColumnCount() const {
  const auto* ds = Parent();
  return ds ? ds->ColumnCount() : 0;
}

const VELA_Variable* ProcedureDataSource::GetVariable(int index) const {
  const auto* ds = Parent();
  return ds ? ds->GetVariable(index) : nullptr;
}

int ProcedureDataSource::FindVarIndex(const char* name, int start) const {
  const auto* ds = Parent();
  return ds ? ds->FindVarIndex(name, start) : -1;
}

const char* ProcedureDataSource::GetLabel() const {
  const auto* ds = Parent();
  return ds ? ds->GetLabel() : nullptr;
}

const char* ProcedureDataSource::GetFileSpec() const {
  const auto* ds = Parent();
  return ds ? ds->GetFileSpec() : nullptr;
}

const DatasourceAttributes& ProcedureDataSource::GetAttributes() const {
  const auto* ds = Parent();
  return ds ? ds->GetAttributes() : kNoAttributes;
}

const std::vector<VariableSetImpl>& ProcedureDataSource::GetMRSets() const {
  const auto* ds = Parent();
  return ds ? ds->GetMRSets() : kNoSets;
}

const std::vector<DSDocument>& ProcedureDataSource::GetDocumentList() const {
  const auto* ds = Parent();
  return ds ? ds->GetDocumentList() : kNoDocuments;
}

std::int64_t ProcedureDataSource::GetCaseCount() const {
  return selection_ ? selection_->CaseCount() : -1;
}

VELA_InputCaseIterator* ProcedureDataSource::CreateCaseIterator(bool /*writable*/) const {
  // The caller owns the iterator, as the host interface says.
  if (!selection_) return std::make_unique<ProcDSIterator>(nullptr).release();
  return selection_->CreateIterator().release();
}
