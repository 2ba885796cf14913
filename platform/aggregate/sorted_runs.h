// Distinct values with summed weights for data where almost every value is
// new (continuous measurements): values are appended to a small buffer; a
// full buffer is sorted into a run, and runs of similar size are merged, so
// each value is moved a logarithmic number of times. Every access is
// sequential, where a hash map would miss the cache on every case, and the
// runs cost 16 bytes per distinct value with no empty slots.
#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "platform/aggregate/numeric_weight_map.h"
#include "platform/aggregate/radix_sort.h"

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
    if (pending_.size() == kBuffer) Seal();
  }

  // Every entry, sorted and distinct.
  std::span<Entry> Sorted();

 private:
  // Small enough that the buffers of several continuous variables stay in
  // the second-level cache beside everything else a case touches.
  static constexpr std::size_t kBuffer = 1 << 12;
  void Seal();
  void MergeLastTwo();

  std::vector<std::vector<Entry>> runs_;  // sizes shrink from front to back
  std::vector<Entry> pending_;
  std::vector<Entry> scratch_;
};

}  // namespace codebook::aggregate
