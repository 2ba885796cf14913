// An allocator whose vectors grow without writing zeros into the new
// elements: for buffers that are always written before they are read, the
// zero fill would be one more pass over memory (and, for a fresh buffer,
// the pass that first touches every page).
#pragma once

#include <memory>
#include <new>
#include <type_traits>
#include <utility>

namespace codebook::aggregate {

template <typename T>
struct UninitializedAllocator : std::allocator<T> {
  template <typename U>
  struct rebind {
    using other = UninitializedAllocator<U>;
  };
  UninitializedAllocator() = default;
  template <typename U>
  UninitializedAllocator(const UninitializedAllocator<U>& other) noexcept : std::allocator<T>(other) {}

  // `resize` value-initialises (zeroes) new elements; this default-
  // initialises them instead, which for a trivial type writes nothing.
  template <typename U>
  void construct(U* p) noexcept(std::is_nothrow_default_constructible_v<U>) {
    ::new (static_cast<void*>(p)) U;
  }
  template <typename U, typename... Args>
  void construct(U* p, Args&&... args) {
    ::new (static_cast<void*>(p)) U(std::forward<Args>(args)...);
  }
};

}  // namespace codebook::aggregate
