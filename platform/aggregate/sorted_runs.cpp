#include "platform/aggregate/sorted_runs.h"

#include <algorithm>

namespace codebook::aggregate {

namespace {

// Sums the weights of equal neighbours; returns the new length.
std::size_t CombineEqual(std::vector<NumericEntry<NoExtra>>& entries) {
  std::size_t out = 0;
  for (std::size_t i = 0; i < entries.size(); ++i) {
    if (out > 0 && entries[out - 1].value == entries[i].value) {
      entries[out - 1].weight += entries[i].weight;
    } else {
      entries[out++] = entries[i];
    }
  }
  return out;
}

}  // namespace

SortedRuns::SortedRuns(std::span<const Entry> sorted) : sorted_(sorted.begin(), sorted.end()) {
  pending_.reserve(kBuffer);
}

void SortedRuns::Merge() {
  if (pending_.empty()) return;
  std::sort(pending_.begin(), pending_.end(), [](const Entry& a, const Entry& b) { return a.value < b.value; });
  pending_.resize(CombineEqual(pending_));

  // Merge from the back into the grown array, so no second array is needed;
  // growth by a quarter keeps the reallocation's peak small.
  const std::size_t old = sorted_.size();
  const std::size_t total = old + pending_.size();
  if (total > sorted_.capacity()) sorted_.reserve(std::max(total, sorted_.capacity() + sorted_.capacity() / 4));
  sorted_.resize(total);
  std::size_t i = old;
  std::size_t j = pending_.size();
  std::size_t k = total;
  while (j > 0) {
    if (i > 0 && sorted_[i - 1].value > pending_[j - 1].value) {
      sorted_[--k] = sorted_[--i];
    } else {
      sorted_[--k] = pending_[--j];
    }
  }
  pending_.clear();
  // A value met before and again in this run now sits twice, side by side.
  sorted_.resize(CombineEqual(sorted_));
}

}  // namespace codebook::aggregate
