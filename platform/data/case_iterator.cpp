// ProcDSIterator (host/data/case_iterator.h): one virtual call into its
// source per case, nothing allocated per case.
#include "platform/data/case_source.h"

ProcDSIterator::ProcDSIterator(std::unique_ptr<Source> source) : source_(std::move(source)) {}

ProcDSIterator::~ProcDSIterator() = default;

int ProcDSIterator::NextCase() {
  Source::CaseRef ref;
  if (!source_ || !source_->Next(ref)) {
    current_ = nullptr;
    weight_ = 1.0;
    splitGroupEnd_ = false;
    return 0;
  }
  current_ = ref.cells;
  weight_ = ref.weight;
  splitGroupEnd_ = ref.splitGroupEnd;
  return 1;
}

int ProcDSIterator::CellOffset(int varIndex) const {
  return source_ ? source_->CellOffset(varIndex) : -1;
}

const VELA_Variable* ProcDSIterator::GetVariable(int varIndex) const {
  return source_ ? source_->GetVariable(varIndex) : nullptr;
}
