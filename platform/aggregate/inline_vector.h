// A vector of trivially copyable values whose first N live inside it. A pass
// over a wide file visits tens of thousands of tables at every batch; what
// each visit touches should lie in the table's own object, not in small
// heap blocks of its own scattered over memory.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <type_traits>
#include <vector>

namespace codebook::aggregate {

template <typename T, std::size_t N>
class InlineVector {
  static_assert(std::is_trivially_copyable_v<T>);

 public:
  InlineVector() = default;
  InlineVector(const InlineVector&) = delete;
  InlineVector& operator=(const InlineVector&) = delete;

  std::size_t size() const { return size_; }
  bool empty() const { return size_ == 0; }
  T* data() { return heap_.empty() ? inline_ : heap_.data(); }
  const T* data() const { return heap_.empty() ? inline_ : heap_.data(); }
  T& operator[](std::size_t i) { return data()[i]; }
  const T& operator[](std::size_t i) const { return data()[i]; }
  T* begin() { return data(); }
  T* end() { return data() + size_; }
  const T* begin() const { return data(); }
  const T* end() const { return data() + size_; }

  void clear() { size_ = 0; }
  void push_back(const T& value) {
    Reserve(size_ + 1);
    data()[size_++] = value;
  }
  // n values, those past the old size left as they were.
  void set_size(std::size_t n) {
    Reserve(n);
    size_ = n;
  }
  void resize(std::size_t n, const T& value = T{}) {
    Reserve(n);
    T* p = data();
    for (std::size_t i = size_; i < n; ++i) p[i] = value;
    size_ = n;
  }

 private:
  void Reserve(std::size_t n) {
    if (n <= capacity()) return;
    std::vector<T> grown(std::max(n, capacity() * 2));
    std::memcpy(grown.data(), data(), size_ * sizeof(T));
    heap_.swap(grown);
  }
  std::size_t capacity() const { return heap_.empty() ? N : heap_.size(); }

  T inline_[N] = {};
  std::size_t size_ = 0;
  std::vector<T> heap_;  // all values once there are more than N
};

}  // namespace codebook::aggregate
