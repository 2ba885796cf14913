#include "platform/data/active_dataset.h"

namespace codebook::data {

namespace {

// Per thread: a run is one thread's, and two runs on two threads do not meet.
std::shared_ptr<const ProcedureDataSource::Selection>& Slot() {
  thread_local std::shared_ptr<const ProcedureDataSource::Selection> selection;
  return selection;
}

}  // namespace

void SetActiveSelection(std::shared_ptr<const ProcedureDataSource::Selection> selection) {
  Slot() = std::move(selection);
}

std::shared_ptr<const ProcedureDataSource::Selection> ActiveSelection() { return Slot(); }

}  // namespace codebook::data
