// Distinct values with summed weights for data where almost every value is
// new (continuous measurements): values are appended to a buffer, and the
// buffer is sorted and merged into one sorted array when full. Every access
// is sequential, where a hash map would miss the cache on every case, and
// the array costs 16 bytes per distinct value with no empty slots.
#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "platform/aggregate/numeric_weight_map.h"

namespace codebook::aggregate {

class SortedRuns {
 public:
  using Entry = NumericEntry<NoExtra>;

  // Starts from entries already sorted by value and distinct.
  explicit SortedRuns(std::span<const Entry> sorted);

  // `weight` carries the sign convention of the caller (negative for a
  // user-missing value); equal values must always come with the same sign.
  void Add(double value, double weight) {
    pending_.push_back({value, weight, {}});
    if (pending_.size() == kBuffer) Merge();
  }

  // Every entry, sorted and distinct.
  std::span<Entry> Sorted() {
    Merge();
    return sorted_;
  }
  std::size_t size() const { return sorted_.size() + pending_.size(); }  // upper bound before merging

 private:
  static constexpr std::size_t kBuffer = 1 << 16;
  void Merge();

  std::vector<Entry> sorted_;
  std::vector<Entry> pending_;
};

}  // namespace codebook::aggregate
