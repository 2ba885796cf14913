// Storage for what a pass touches on every case of every table. A pass
// visits its tables in the order they were made, once per case; when their
// states sit side by side in that order, the visit is a forward sweep
// through memory that the processor prefetches, instead of a chain of
// misses scattered over the heap. With tens of thousands of tables that is
// most of the cost of a pass.
#pragma once

#include <cstddef>

namespace codebook::aggregate {

// Memory for one object, carved in order from large chunks; a chunk goes
// back to the system when everything carved from it has been released.
// lineAligned: the object starts on a cache line (64 bytes), so that its
// first fields share one line however the objects before it fell.
void* AllocateHot(std::size_t bytes, bool lineAligned = false);
void ReleaseHot(void* p) noexcept;

// Gives a class the storage above: `struct T : HotStorage { ... };`.
struct HotStorage {
  static void* operator new(std::size_t bytes) { return AllocateHot(bytes); }
  static void operator delete(void* p) noexcept { ReleaseHot(p); }
};

}  // namespace codebook::aggregate
