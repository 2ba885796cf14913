// The host's view of a value-label set (host/data/value_labels.h).
#include "host/data/value_labels.h"

#include "platform/data/value_label_set.h"

VELA_ValueLabelMap::VELA_ValueLabelMap(const VELA_VLImplPointer& labels) : labels_(labels) {}

std::size_t VELA_ValueLabelMap::Size() const {
  return labels_.get() ? labels_.get()->Size() : 0;
}

const char* VELA_ValueLabelMap::GetLabel(const OBS* value) const {
  if (labels_.get() == nullptr) return nullptr;
  const std::string* label = labels_.get()->Find(value);
  return label ? label->c_str() : nullptr;
}

const char* VELA_ValueLabelMap::GetLabel(const std::string& value) const {
  if (labels_.get() == nullptr) return nullptr;
  const std::string* label = labels_.get()->FindText(value);
  return label ? label->c_str() : nullptr;
}

void VELA_ValueLabelMap::Reset() { next_ = 0; }

int VELA_ValueLabelMap::GetNextPair(const OBS*& value, const char*& label) {
  const ValueLabelSetImpl* set = labels_.get();
  if (set == nullptr || next_ >= set->Size()) return 0;
  value = set->ValueCells(next_);
  label = set->Label(next_).c_str();
  ++next_;
  return 1;
}
