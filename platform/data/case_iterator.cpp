// ProcDSIterator (host/data/case_iterator.h): walks its source's batches one
// case at a time; nothing is copied or allocated per case.
#include "platform/data/case_source.h"

// The abstract classes' vtables and type information live in this library,
// which the procedure module links.
VELA_InputCaseIterator::~VELA_InputCaseIterator() = default;

ProcDSIterator::ProcDSIterator(std::unique_ptr<Source> source) : source_(std::move(source)) {}

ProcDSIterator::~ProcDSIterator() = default;

int ProcDSIterator::NextCase() {
  if (!source_ || !source_->Next()) {
    weight_ = 1.0;
    splitGroupEnd_ = false;
    return 0;
  }
  weight_ = source_->Weight();
  splitGroupEnd_ = source_->SplitGroupEnd();
  return 1;
}

const OBS* ProcDSIterator::CurrentCase() const { return source_ ? source_->Row() : nullptr; }

int ProcDSIterator::CellOffset(int varIndex) const {
  return source_ ? source_->CellOffset(varIndex) : -1;
}

const VELA_Variable* ProcDSIterator::GetVariable(int varIndex) const {
  return source_ ? source_->GetVariable(varIndex) : nullptr;
}
