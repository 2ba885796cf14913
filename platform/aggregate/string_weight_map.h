// Distinct strings (without trailing blanks) with their summed weights.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

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
  Entry& FindOrInsert(std::string_view key, bool& inserted);
  const Entry* Find(std::string_view key) const;
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
  std::size_t Probe(std::uint64_t hash, std::string_view key) const;
  void Grow();

  std::vector<Entry> slots_;
  std::vector<char> arena_;
  std::size_t size_ = 0;
};

}  // namespace codebook::aggregate
