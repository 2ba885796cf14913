// Distinct strings with their summed weights. Keys are compared byte for
// byte; callers decide whether they carry trailing blanks (a variable's
// values all have its width and keep them, saving the trim on every case).
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "platform/aggregate/hash.h"

namespace codebook::aggregate {

// Open addressing over small fixed-size slots; the bytes of the keys live
// in one arena, so a table of a few hundred distinct strings makes a few
// allocations in all, and none per case.
class StringWeightMap {
 public:
  struct Entry {
    std::uint64_t hash = 0;
    std::uint64_t offset = 0;  // of the key's bytes in the arena
    std::uint32_t length = 0;
    bool used = false;
    bool missing = false;     // user-missing: decided once, when the key is new
    std::int32_t member = -1; // free for the dimension's own bookkeeping
    double weight = 0.0;
  };

  StringWeightMap();

  std::size_t size() const { return size_; }

  // The entry of `key`, created with zero weight when new.
  Entry& FindOrInsert(std::string_view key, bool& inserted) {
    // Half empty: categorical tables are small, and short probes matter more.
    if ((size_ + 1) * 2 > slots_.size()) Grow();
    const std::uint64_t hash = HashBytes(key);
    Entry& slot = slots_[Probe(hash, key)];
    inserted = !slot.used;
    if (inserted) Insert(slot, hash, key);
    return slot;
  }
  const Entry* Find(std::string_view key) const {
    if (slots_.empty()) return nullptr;
    const Entry& slot = slots_[Probe(HashBytes(key), key)];
    return slot.used ? &slot : nullptr;
  }
  Entry* Find(std::string_view key) {
    return const_cast<Entry*>(static_cast<const StringWeightMap*>(this)->Find(key));
  }
  std::string_view Key(const Entry& e) const {
    return {arena_.data() + e.offset, e.length};
  }

  template <typename F>
  void ForEach(F&& f) const {
    for (const Entry& e : slots_) {
      if (e.used) f(e);
    }
  }

  // The used entries in ascending byte-wise order of their keys.
  std::vector<const Entry*> SortedEntries() const;

 private:
  std::size_t Probe(std::uint64_t hash, std::string_view key) const {
    std::size_t i = ReduceRange(hash, slots_.size());
    while (true) {
      const Entry& slot = slots_[i];
      if (!slot.used) return i;
      if (slot.hash == hash && slot.length == key.size() &&
          EqualBytes(arena_.data() + slot.offset, key.data(), key.size())) {
        return i;
      }
      if (++i == slots_.size()) i = 0;
    }
  }
  void Insert(Entry& slot, std::uint64_t hash, std::string_view key);
  void Grow();

  std::vector<Entry> slots_;
  std::vector<char> arena_;
  std::size_t size_ = 0;
};

}  // namespace codebook::aggregate
