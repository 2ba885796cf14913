// Distinct numbers with their summed weights: the state of every numeric
// table, so its size decides the memory of a pass over continuous data.
#pragma once

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cmath>
#include <cstddef>
#include <limits>
#include <span>
#include <utility>
#include <vector>

#include "platform/aggregate/hash.h"

namespace codebook::aggregate {

struct NoExtra {};

// One distinct value. With NoExtra an entry is 16 bytes, so a million
// distinct values take 20-30 MB at the map's load factor.
template <typename Extra>
struct NumericEntry {
  double value;
  double weight;
  [[no_unique_address]] Extra extra;
};

// Open addressing with linear probing over a single array of entries. An
// empty slot holds a NaN value: NaN is never a key, the tables count it as
// system-missing before they get here. The array grows by half when the load
// passes 0.8 (0.5 while the map is small), which keeps the peak during a
// rehash near 2.5x the entries instead of the 3x of doubling.
template <typename Extra = NoExtra>
class NumericWeightMap {
 public:
  using Entry = NumericEntry<Extra>;

  // No slots until the first entry: a pass over a wide file makes a map
  // for every table, most of which never hold a value that is no code.
  NumericWeightMap() = default;

  std::size_t size() const { return size_; }
  std::size_t MemoryBytes() const { return slots_.capacity() * sizeof(Entry); }

  // The entry of `value` (not NaN; +0 and -0 are one key: callers normalise),
  // created with zero weight and a default Extra when new.
  Entry& FindOrInsert(double value, bool& inserted) {
    if (sorted_ || Overloaded(size_ + 1, slots_.size())) Rebuild(GrownCapacity());
    std::size_t i = ReduceRange(HashDouble(value), slots_.size());
    // Keys compare by their bits: one integer comparison instead of a
    // floating-point one with its unordered case, and exact since keys are
    // never NaN and -0 is normalised.
    const auto key = std::bit_cast<std::uint64_t>(value);
    while (true) {
      Entry& slot = slots_[i];
      const auto bits = std::bit_cast<std::uint64_t>(slot.value);
      if (bits == key) {
        inserted = false;
        return slot;
      }
      if (bits == kEmptyBits) {
        slot.value = value;
        slot.weight = 0.0;
        slot.extra = Extra{};
        ++size_;
        inserted = true;
        return slot;
      }
      if (++i == slots_.size()) i = 0;
    }
  }

  // The entry of `value` when the map has it, else null: the lookup of a
  // value met before, inline for callers that count a batch of values.
  [[gnu::always_inline]] Entry* FindExisting(double value) {
    // A NaN is never a key, and its bits could be the empty mark.
    if (sorted_ || std::isnan(value) || slots_.empty()) return nullptr;
    std::size_t i = ReduceRange(HashDouble(value), slots_.size());
    const auto key = std::bit_cast<std::uint64_t>(value);
    while (true) {
      Entry& slot = slots_[i];
      const auto bits = std::bit_cast<std::uint64_t>(slot.value);
      if (bits == key) return &slot;
      if (bits == kEmptyBits) return nullptr;
      if (++i == slots_.size()) i = 0;
    }
  }

  // Where `value` would be looked for first: a caller with many values at
  // hand prefetches it to overlap the cache misses. (The prefetch itself is
  // the caller's: a function made only of a prefetch looks free of effects
  // to the optimiser, and its calls get dropped.)
  const void* SlotAddress(double value) const {
    return sorted_ || slots_.empty() ? nullptr : slots_.data() + ReduceRange(HashDouble(value), slots_.size());
  }

  const Entry* Find(double value) const {
    // Never a key, and its bits could be the empty mark.
    if (std::isnan(value) || slots_.empty()) return nullptr;
    if (sorted_) {
      auto end = slots_.begin() + static_cast<std::ptrdiff_t>(size_);
      auto it = std::lower_bound(slots_.begin(), end, value,
                                 [](const Entry& e, double v) { return e.value < v; });
      return (it != end && it->value == value) ? &*it : nullptr;
    }
    std::size_t i = ReduceRange(HashDouble(value), slots_.size());
    const auto key = std::bit_cast<std::uint64_t>(value);
    while (true) {
      const Entry& slot = slots_[i];
      const auto bits = std::bit_cast<std::uint64_t>(slot.value);
      if (bits == key) return &slot;
      if (bits == kEmptyBits) return nullptr;
      if (++i == slots_.size()) i = 0;
    }
  }
  Entry* Find(double value) {
    return const_cast<Entry*>(static_cast<const NumericWeightMap*>(this)->Find(value));
  }

  // The entries in ascending order of value, sorted in place: the statistics
  // need the order once at the end of a pass, and sorting the slot array
  // itself costs no memory beyond the map. A later insertion rebuilds the
  // hash index.
  std::span<Entry> Sorted() {
    if (!sorted_) {
      std::size_t j = 0;
      for (std::size_t i = 0; i < slots_.size(); ++i) {
        if (!IsEmpty(slots_[i])) slots_[j++] = slots_[i];
      }
      std::sort(slots_.begin(), slots_.begin() + static_cast<std::ptrdiff_t>(j),
                [](const Entry& a, const Entry& b) { return a.value < b.value; });
      for (std::size_t i = j; i < slots_.size(); ++i) slots_[i].value = kEmpty;
      sorted_ = true;
    }
    return {slots_.data(), size_};
  }

  // Every entry, in no particular order.
  template <typename F>
  void ForEach(F&& f) const {
    const std::size_t n = sorted_ ? size_ : slots_.size();
    for (std::size_t i = 0; i < n; ++i) {
      if (!IsEmpty(slots_[i])) f(slots_[i]);
    }
  }

 private:
  static constexpr std::size_t kInitialCapacity = 16;
  static constexpr double kEmpty = std::numeric_limits<double>::quiet_NaN();
  static constexpr std::uint64_t kEmptyBits = std::bit_cast<std::uint64_t>(kEmpty);

  static bool IsEmpty(const Entry& e) { return std::isnan(e.value); }

  // Small maps stay half empty: short probe sequences keep the case loop's
  // branches predictable, at a cost of a few kilobytes. Large maps (the
  // distinct values of continuous data) fill to 0.8 to save memory.
  static bool Overloaded(std::size_t entries, std::size_t capacity) {
    return capacity < kSparseUpTo ? entries * 2 > capacity : entries * 5 > capacity * 4;
  }
  static constexpr std::size_t kSparseUpTo = 1 << 16;

  std::size_t GrownCapacity() const {
    // A sorted map only needs its index back; a full one grows by half.
    std::size_t capacity = std::max(slots_.size(), kInitialCapacity);
    while (Overloaded(size_ + 1, capacity)) capacity += capacity / 2;
    return capacity;
  }

  void Rebuild(std::size_t capacity) {
    std::vector<Entry> old;
    old.swap(slots_);
    const std::size_t oldUsed = sorted_ ? size_ : old.size();
    slots_.assign(capacity, Entry{kEmpty, 0.0, Extra{}});
    for (std::size_t k = 0; k < oldUsed; ++k) {
      const Entry& e = old[k];
      if (IsEmpty(e)) continue;
      std::size_t i = ReduceRange(HashDouble(e.value), capacity);
      while (!IsEmpty(slots_[i])) {
        if (++i == capacity) i = 0;
      }
      slots_[i] = e;
    }
    sorted_ = false;
  }

  std::vector<Entry> slots_;
  std::size_t size_ = 0;
  // True after Sorted(): the first size_ slots hold the entries in order and
  // there is no hash index.
  bool sorted_ = false;
};

static_assert(sizeof(NumericEntry<NoExtra>) == 16, "scale entries stay 16 bytes");

}  // namespace codebook::aggregate
