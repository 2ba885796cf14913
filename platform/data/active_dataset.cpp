#include "platform/data/active_dataset.h"

#include <mutex>

namespace codebook::data {

namespace {

struct Slot {
  std::mutex mutex;
  std::shared_ptr<const ProcedureDataSource::Selection> selection;
};

Slot& TheSlot() {
  static Slot slot;
  return slot;
}

}  // namespace

void SetActiveSelection(std::shared_ptr<const ProcedureDataSource::Selection> selection) {
  Slot& slot = TheSlot();
  const std::lock_guard lock(slot.mutex);
  slot.selection = std::move(selection);
}

std::shared_ptr<const ProcedureDataSource::Selection> ActiveSelection() {
  Slot& slot = TheSlot();
  const std::lock_guard lock(slot.mutex);
  return slot.selection;
}

}  // namespace codebook::data
