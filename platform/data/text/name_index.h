// Positions found by name in constant time, for dictionaries of a hundred
// thousand variables: an open-addressing table of positions, the names
// themselves kept by the owner. One probe usually touches one cache line;
// a node-based map cost an allocation per name and a pointer chase per
// lookup.
#pragma once

#include <cstdint>
#include <functional>
#include <string_view>
#include <vector>

namespace codebook::data {

class NameIndex {
 public:
  // `keyOf(position)` gives the name a position was inserted under.
  template <typename KeyOf>
  int Find(std::string_view name, KeyOf keyOf) const {
    if (slots_.empty()) return -1;
    const std::uint32_t hash = Hash(name);
    for (std::size_t at = hash & mask_;; at = (at + 1) & mask_) {
      const Slot& slot = slots_[at];
      if (slot.position < 0) return -1;
      if (slot.hash == hash && keyOf(slot.position) == name) return slot.position;
    }
  }

  // Adds `position` under `name`, which must not be there yet (Find first).
  void Insert(std::string_view name, int position) {
    if ((size_ + 1) * 4 > slots_.size() * 3) Grow();
    Place(Slot{Hash(name), position});
    ++size_;
  }

  // Takes out the position inserted under `name`, if any.
  template <typename KeyOf>
  void Erase(std::string_view name, KeyOf keyOf) {
    if (slots_.empty()) return;
    const std::uint32_t hash = Hash(name);
    std::size_t at = hash & mask_;
    for (;; at = (at + 1) & mask_) {
      if (slots_[at].position < 0) return;
      if (slots_[at].hash == hash && keyOf(slots_[at].position) == name) break;
    }
    // Moves later entries of the run back into the hole, so that no probe
    // stops short of them.
    for (std::size_t next = (at + 1) & mask_; slots_[next].position >= 0; next = (next + 1) & mask_) {
      const std::size_t home = slots_[next].hash & mask_;
      const bool between = at <= next ? (home > at && home <= next) : (home > at || home <= next);
      if (between) continue;
      slots_[at] = slots_[next];
      at = next;
    }
    slots_[at] = Slot{};
    --size_;
  }

  void Reserve(std::size_t count) {
    while (count * 4 > slots_.size() * 3) Grow();
  }
  std::size_t Size() const { return size_; }

 private:
  struct Slot {
    std::uint32_t hash = 0;
    int position = -1;
  };

  static std::uint32_t Hash(std::string_view name) {
    const std::size_t full = std::hash<std::string_view>()(name);
    return static_cast<std::uint32_t>(full ^ (full >> 32));
  }

  void Place(Slot slot) {
    std::size_t at = slot.hash & mask_;
    while (slots_[at].position >= 0) at = (at + 1) & mask_;
    slots_[at] = slot;
  }

  void Grow() {
    std::vector<Slot> old = std::move(slots_);
    slots_.assign(old.empty() ? 16 : old.size() * 2, Slot{});
    mask_ = slots_.size() - 1;
    for (const Slot& slot : old) {
      if (slot.position >= 0) Place(slot);
    }
  }

  std::vector<Slot> slots_;
  std::size_t mask_ = 0;
  std::size_t size_ = 0;
};

}  // namespace codebook::data
