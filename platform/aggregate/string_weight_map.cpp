#include "platform/aggregate/string_weight_map.h"

#include <algorithm>
#include <cstring>

#include "platform/aggregate/cell_values.h"
#include "platform/aggregate/hash.h"

namespace codebook::aggregate {

namespace {
constexpr std::size_t kInitialCapacity = 16;
}

// No slots until the first key, as with the numeric maps.
StringWeightMap::StringWeightMap() = default;

void StringWeightMap::Insert(Entry& slot, std::uint64_t hash, std::string_view key) {
  slot.used = true;
  slot.hash = hash;
  slot.offset = arena_.size();
  slot.length = static_cast<std::uint32_t>(key.size());
  arena_.insert(arena_.end(), key.begin(), key.end());
  ++size_;
}

void StringWeightMap::Grow() {
  std::vector<Entry> old(std::max(kInitialCapacity, slots_.size() + slots_.size() / 2));
  old.swap(slots_);
  for (const Entry& e : old) {
    if (!e.used) continue;
    std::size_t i = ReduceRange(e.hash, slots_.size());
    while (slots_[i].used) {
      if (++i == slots_.size()) i = 0;
    }
    slots_[i] = e;
  }
}

std::vector<const StringWeightMap::Entry*> StringWeightMap::SortedEntries() const {
  std::vector<const Entry*> out;
  out.reserve(size_);
  for (const Entry& e : slots_) {
    if (e.used) out.push_back(&e);
  }
  // Without trailing blanks, whether or not the keys carry them: a blank
  // sorts above the control characters. string_view compares like memcmp:
  // unsigned bytes, shorter prefix first.
  std::sort(out.begin(), out.end(), [this](const Entry* a, const Entry* b) {
    return TrimmedString(Key(*a).data(), Key(*a).size()) < TrimmedString(Key(*b).data(), Key(*b).size());
  });
  return out;
}

}  // namespace codebook::aggregate
