#include "platform/aggregate/sorted_runs.h"

#include <algorithm>
#include <cstdint>

namespace codebook::aggregate {

namespace {

using Entry = SortedRuns::Entry;

// Sums the weights of equal neighbours; returns the new length.
std::size_t CombineEqual(std::vector<Entry>& entries) {
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

// `first ? a : b`, by masking: compilers turn that conditional into a jump,
// which a merge of random data mispredicts on every other value.
const Entry* SelectWithoutJump(bool first, const Entry* a, const Entry* b) {
  const std::uintptr_t mask = std::uintptr_t{0} - static_cast<std::uintptr_t>(first);
  return reinterpret_cast<const Entry*>((reinterpret_cast<std::uintptr_t>(a) & mask) |
                                        (reinterpret_cast<std::uintptr_t>(b) & ~mask));
}

}  // namespace

SortedRuns::SortedRuns(std::span<const Entry> sorted) {
  if (!sorted.empty()) runs_.emplace_back(sorted.begin(), sorted.end());
  pending_.reserve(kBuffer);
}

std::span<Entry> SortedRuns::Sorted() {
  Seal();
  while (runs_.size() > 1) MergeLastTwo();
  if (runs_.empty()) return {};
  return runs_.front();
}

void SortedRuns::Seal() {
  if (pending_.empty()) return;
  SortByValue(pending_, scratch_);
  pending_.resize(CombineEqual(pending_));
  if (!runs_.empty() && !runs_.back().empty() && runs_.back().back().value < pending_.front().value) {
    // Values in order (times, running numbers) extend the last run, which
    // grows like any vector: each value is copied about twice in all rather
    // than once per merge level.
    runs_.back().insert(runs_.back().end(), pending_.begin(), pending_.end());
    pending_.clear();
    return;
  }
  runs_.push_back(std::move(pending_));
  pending_ = std::vector<Entry>();
  pending_.reserve(kBuffer);
  // Like a binary counter: a run is merged into its elder while the elder is
  // no larger, so there are few runs and each value moves few times.
  while (runs_.size() > 1 && runs_[runs_.size() - 2].size() <= runs_.back().size()) MergeLastTwo();
}

void SortedRuns::MergeLastTwo() {
  std::vector<Entry> b = std::move(runs_.back());
  runs_.pop_back();
  std::vector<Entry>& a = runs_.back();
  if (b.empty()) return;
  if (a.empty() || a.back().value < b.front().value) {
    a.insert(a.end(), b.begin(), b.end());  // ordered data: the runs just follow each other
    return;
  }
  // Without branches on the comparison: for continuous data it goes either
  // way at random, and a mispredicted branch per value would cost more than
  // the move. Equal values (rare there) take both weights.
  std::vector<Entry> merged;
  merged.reserve(a.size() + b.size());
  std::size_t i = 0;
  std::size_t j = 0;
  while (i < a.size() && j < b.size()) {
    const Entry& x = a[i];
    const Entry& y = b[j];
    const bool takeX = !(y.value < x.value);
    const bool takeY = !(x.value < y.value);
    merged.push_back(*SelectWithoutJump(takeX, &x, &y));
    if (takeX && takeY) [[unlikely]] merged.back().weight += y.weight;
    i += takeX;
    j += takeY;
  }
  merged.insert(merged.end(), a.begin() + static_cast<std::ptrdiff_t>(i), a.end());
  merged.insert(merged.end(), b.begin() + static_cast<std::ptrdiff_t>(j), b.end());
  a = std::move(merged);
}

}  // namespace codebook::aggregate
