// Weights of the integers 0 to 255 kept by index: the codes of most
// categorical variables (and of many scale ones) are counted without
// hashing, so the case loop neither probes nor mispredicts for them.
#pragma once

#include <array>
#include <cstdint>

namespace codebook::aggregate {

class SmallIntegerCounts {
 public:
  static constexpr int kLimit = 256;

  // The index of x when x is an integer in [0, kLimit) (-0 included), else
  // -1. NaN fails the first comparison.
  static int IndexOf(double x) {
    if (x >= 0.0 && x < kLimit) {
      const int k = static_cast<int>(x);
      if (static_cast<double>(k) == x) return k;
    }
    return -1;
  }

  bool seen(int k) const { return state_[static_cast<std::size_t>(k)] != kUnseen; }
  bool missing(int k) const { return state_[static_cast<std::size_t>(k)] == kMissing; }
  void MarkSeen(int k, bool missing) {
    state_[static_cast<std::size_t>(k)] = missing ? kMissing : kValid;
    ++count_;
  }
  double& weight(int k) { return weights_[static_cast<std::size_t>(k)]; }
  int count() const { return count_; }

  // f(value, weight, missing) for every value seen, ascending.
  template <typename F>
  void ForEach(F&& f) const {
    if (count_ == 0) return;
    for (int k = 0; k < kLimit; ++k) {
      if (seen(k)) f(static_cast<double>(k), weights_[static_cast<std::size_t>(k)], missing(k));
    }
  }

  void Clear() {
    weights_.fill(0.0);
    state_.fill(kUnseen);
    count_ = 0;
  }

 private:
  enum : std::uint8_t { kUnseen = 0, kValid = 1, kMissing = 2 };
  std::array<double, kLimit> weights_{};
  std::array<std::uint8_t, kLimit> state_{};
  int count_ = 0;
};

}  // namespace codebook::aggregate
