#include "platform/output/current_output.h"

#include <mutex>

namespace codebook::output {

namespace {

struct Slot {
  std::mutex mutex;
  std::shared_ptr<Document> current;
  std::shared_ptr<Document> fallback = std::make_shared<Document>();
};

Slot& TheSlot() {
  static Slot slot;
  return slot;
}

}  // namespace

void SetCurrentDocument(std::shared_ptr<Document> document) {
  Slot& slot = TheSlot();
  std::lock_guard<std::mutex> lock(slot.mutex);
  slot.current = std::move(document);
}

std::shared_ptr<Document> CurrentDocument() {
  Slot& slot = TheSlot();
  std::lock_guard<std::mutex> lock(slot.mutex);
  return slot.current ? slot.current : slot.fallback;
}

std::shared_ptr<Document> DefaultDocument() {
  Slot& slot = TheSlot();
  std::lock_guard<std::mutex> lock(slot.mutex);
  return slot.fallback;
}

ScopedCurrentDocument::ScopedCurrentDocument(std::shared_ptr<Document> document) {
  Slot& slot = TheSlot();
  std::lock_guard<std::mutex> lock(slot.mutex);
  previous_ = std::move(slot.current);
  slot.current = std::move(document);
}

ScopedCurrentDocument::~ScopedCurrentDocument() {
  Slot& slot = TheSlot();
  std::lock_guard<std::mutex> lock(slot.mutex);
  slot.current = std::move(previous_);
}

}  // namespace codebook::output
