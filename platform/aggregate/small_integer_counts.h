// Weights of the integers 0 to 255: the codes of most categorical variables
// (and of many scale ones) are counted without hashing. The codes 0 to 15,
// which cover most coding schemes, are counted in place by index, so a
// table's hot state stays two cache lines even with very many tables; a
// 256-entry table indexed by the code is allocated for the first larger one.
#pragma once

#include <array>
#include <cstdint>
#include <memory>

namespace codebook::aggregate {

class SmallIntegerCounts {
 public:
  static constexpr int kLimit = 256;
  static constexpr int kDense = 16;

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
    const auto i = static_cast<std::size_t>(k);
    if (k < kDense) return ((seen_ >> k) & 1u) != 0 ? &dense_[i] : nullptr;
    if (!wide_) return nullptr;
    return wide_->state[i] != kUnseen ? &wide_->weights[i] : nullptr;
  }

  // Adds k, which Find did not know, with weight zero; returns its slot.
  double& Insert(int k, bool missing) {
    ++count_;
    const auto i = static_cast<std::size_t>(k);
    if (k < kDense) {
      seen_ = static_cast<std::uint16_t>(seen_ | (1u << k));
      if (missing) missing_ = static_cast<std::uint16_t>(missing_ | (1u << k));
      dense_[i] = 0.0;
      return dense_[i];
    }
    if (!wide_) wide_ = std::make_unique<Wide>();
    wide_->state[i] = missing ? kMissing : kValid;
    wide_->weights[i] = 0.0;
    return wide_->weights[i];
  }

  int count() const { return count_; }

  // f(value, weight, missing) for every value seen, ascending.
  template <typename F>
  void ForEach(F&& f) const {
    for (int k = 0; k < kDense; ++k) {
      if (((seen_ >> k) & 1u) != 0) f(static_cast<double>(k), dense_[static_cast<std::size_t>(k)], ((missing_ >> k) & 1u) != 0);
    }
    if (!wide_) return;
    for (std::size_t k = kDense; k < kLimit; ++k) {
      if (wide_->state[k] != kUnseen) f(static_cast<double>(k), wide_->weights[k], wide_->state[k] == kMissing);
    }
  }

  void Clear() {
    wide_.reset();
    seen_ = 0;
    missing_ = 0;
    count_ = 0;
  }

 private:
  enum : std::uint8_t { kUnseen = 0, kValid = 1, kMissing = 2 };
  struct Wide {
    std::array<double, kLimit> weights{};
    std::array<std::uint8_t, kLimit> state{};
  };

  std::array<double, kDense> dense_{};
  std::uint16_t seen_ = 0;     // bit k: code k has been seen
  std::uint16_t missing_ = 0;  // bit k: code k is user-missing
  int count_ = 0;
  std::unique_ptr<Wide> wide_;  // codes kDense..kLimit-1
};

}  // namespace codebook::aggregate
