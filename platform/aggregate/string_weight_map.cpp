#include "platform/aggregate/string_weight_map.h"

#include <algorithm>
#include <cstring>

#include "platform/aggregate/hash.h"

namespace codebook::aggregate {

namespace {
constexpr std::size_t kInitialCapacity = 16;
}

StringWeightMap::StringWeightMap() : slots_(kInitialCapacity) {}

std::size_t StringWeightMap::Probe(std::uint64_t hash, std::string_view key) const {
  std::size_t i = ReduceRange(hash, slots_.size());
  while (true) {
    const Entry& slot = slots_[i];
    if (!slot.used) return i;
    if (slot.hash == hash && Key(slot) == key) return i;
    if (++i == slots_.size()) i = 0;
  }
}

StringWeightMap::Entry& StringWeightMap::FindOrInsert(std::string_view key, bool& inserted) {
  // Half empty: categorical tables are small, and short probes matter more.
  if ((size_ + 1) * 2 > slots_.size()) Grow();
  const std::uint64_t hash = HashBytes(key);
  Entry& slot = slots_[Probe(hash, key)];
  inserted = !slot.used;
  if (inserted) {
    slot.used = true;
    slot.hash = hash;
    slot.offset = arena_.size();
    slot.length = static_cast<std::uint32_t>(key.size());
    arena_.insert(arena_.end(), key.begin(), key.end());
    ++size_;
  }
  return slot;
}

const StringWeightMap::Entry* StringWeightMap::Find(std::string_view key) const {
  const Entry& slot = slots_[Probe(HashBytes(key), key)];
  return slot.used ? &slot : nullptr;
}

void StringWeightMap::Grow() {
  std::vector<Entry> old(slots_.size() + slots_.size() / 2);
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
  // string_view compares like memcmp: unsigned bytes, shorter prefix first.
  std::sort(out.begin(), out.end(), [this](const Entry* a, const Entry* b) { return Key(*a) < Key(*b); });
  return out;
}

}  // namespace codebook::aggregate
