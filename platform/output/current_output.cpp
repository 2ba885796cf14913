#include "platform/output/current_output.h"

namespace codebook::output {

namespace {

// Per thread: a run is one thread's, and two runs on two threads do not
// meet. The fallback is the thread's own too.
struct Slot {
  std::shared_ptr<Document> current;
  std::shared_ptr<Document> fallback = std::make_shared<Document>();
};

Slot& TheSlot() {
  thread_local Slot slot;
  return slot;
}

}  // namespace

void SetCurrentDocument(std::shared_ptr<Document> document) {
  Slot& slot = TheSlot();
  slot.current = std::move(document);
}

std::shared_ptr<Document> CurrentDocument() {
  Slot& slot = TheSlot();
  return slot.current ? slot.current : slot.fallback;
}

std::shared_ptr<Document> DefaultDocument() {
  Slot& slot = TheSlot();
  return slot.fallback;
}

ScopedCurrentDocument::ScopedCurrentDocument(std::shared_ptr<Document> document) {
  Slot& slot = TheSlot();
  previous_ = std::move(slot.current);
  slot.current = std::move(document);
}

ScopedCurrentDocument::~ScopedCurrentDocument() {
  Slot& slot = TheSlot();
  slot.current = std::move(previous_);
}

}  // namespace codebook::output
