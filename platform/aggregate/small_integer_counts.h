// Weights of the integers 0 to 255: the codes of most categorical variables
// (and of many scale ones) are counted without hashing. A few distinct codes
// live inline (a byte key scan), so a table's hot state stays a cache line
// or two even when there are very many tables; past that a 256-entry table
// indexed by the code is allocated.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>

namespace codebook::aggregate {

class SmallIntegerCounts {
 public:
  static constexpr int kLimit = 256;
  static constexpr int kInline = 8;

  // The index of x when x is an integer in [0, kLimit) (-0 included), else
  // -1. NaN fails the first comparison.
  static int IndexOf(double x) {
    if (x >= 0.0 && x < kLimit) {
      const int k = static_cast<int>(x);
      if (static_cast<double>(k) == x) return k;
    }
    return -1;
  }

  // The weight slot of k, or null when k has not been seen.
  double* Find(int k) {
    if (wide_) {
      const auto i = static_cast<std::size_t>(k);
      return wide_->state[i] != kUnseen ? &wide_->weights[i] : nullptr;
    }
    for (int i = 0; i < inlineCount_; ++i) {
      if (keys_[static_cast<std::size_t>(i)] == k) return &weights_[static_cast<std::size_t>(i)];
    }
    return nullptr;
  }

  // Adds k, which Find did not know, with weight zero; returns its slot.
  double& Insert(int k, bool missing) {
    ++count_;
    if (!wide_ && inlineCount_ == kInline) Widen();
    if (wide_) {
      const auto i = static_cast<std::size_t>(k);
      wide_->state[i] = missing ? kMissing : kValid;
      return wide_->weights[i];
    }
    const auto i = static_cast<std::size_t>(inlineCount_++);
    keys_[i] = static_cast<std::uint8_t>(k);
    weights_[i] = 0.0;
    if (missing) missingBits_ = static_cast<std::uint8_t>(missingBits_ | (1u << i));
    return weights_[i];
  }

  int count() const { return count_; }

  // f(value, weight, missing) for every value seen, ascending.
  template <typename F>
  void ForEach(F&& f) const {
    if (count_ == 0) return;
    if (wide_) {
      for (std::size_t k = 0; k < kLimit; ++k) {
        if (wide_->state[k] != kUnseen) f(static_cast<double>(k), wide_->weights[k], wide_->state[k] == kMissing);
      }
      return;
    }
    std::array<int, kInline> order{};
    for (int i = 0; i < inlineCount_; ++i) order[static_cast<std::size_t>(i)] = i;
    // Insertion sort of at most kInline entries (std::sort here draws a
    // false array-bounds warning in the sanitizer build).
    for (int n = 1; n < inlineCount_; ++n) {
      const int v = order[static_cast<std::size_t>(n)];
      int m = n;
      for (; m > 0 && keys_[static_cast<std::size_t>(order[static_cast<std::size_t>(m - 1)])] >
                          keys_[static_cast<std::size_t>(v)];
           --m) {
        order[static_cast<std::size_t>(m)] = order[static_cast<std::size_t>(m - 1)];
      }
      order[static_cast<std::size_t>(m)] = v;
    }
    for (int n = 0; n < inlineCount_; ++n) {
      const auto i = static_cast<std::size_t>(order[static_cast<std::size_t>(n)]);
      f(static_cast<double>(keys_[i]), weights_[i], ((missingBits_ >> i) & 1u) != 0);
    }
  }

  void Clear() {
    wide_.reset();
    inlineCount_ = 0;
    missingBits_ = 0;
    count_ = 0;
  }

 private:
  enum : std::uint8_t { kUnseen = 0, kValid = 1, kMissing = 2 };
  struct Wide {
    std::array<double, kLimit> weights{};
    std::array<std::uint8_t, kLimit> state{};
  };

  void Widen() {
    wide_ = std::make_unique<Wide>();
    for (int n = 0; n < inlineCount_; ++n) {
      const auto i = static_cast<std::size_t>(n);
      const std::size_t k = keys_[i];
      wide_->weights[k] = weights_[i];
      wide_->state[k] = ((missingBits_ >> i) & 1u) != 0 ? kMissing : kValid;
    }
  }

  std::array<double, kInline> weights_{};
  std::array<std::uint8_t, kInline> keys_{};
  std::uint8_t inlineCount_ = 0;
  std::uint8_t missingBits_ = 0;  // bit i: inline entry i is user-missing
  int count_ = 0;
  std::unique_ptr<Wide> wide_;
};

}  // namespace codebook::aggregate
