// Storage for what the procedure's loop touches on every case of every
// table: the table (its count of cases taken) and its dimension (the
// category count). The loop visits its tables in the order they were made,
// once per case; when these objects sit side by side in that order, one
// kind per arena, the visit is a forward sweep through memory that the
// processor prefetches, instead of a chain of misses scattered over the
// heap. With tens of thousands of tables that is most of a pass.
#pragma once

#include <cstddef>

namespace codebook::aggregate {

// Tables and dimensions are what the procedure's loop touches on every case;
// the states are what the pass counts into at the edges of batches.
enum class HotArena { kTables, kDimensions, kStates };

// Memory for one object, carved in order from large chunks of its arena; a
// chunk goes back to the system when everything carved from it has been
// released.
void* AllocateHot(std::size_t bytes, HotArena arena);
void ReleaseHot(void* p) noexcept;

// Gives a class the storage above: `struct T : HotStorage<A> { ... };`.
template <HotArena A>
struct HotStorage {
  static void* operator new(std::size_t bytes) { return AllocateHot(bytes, A); }
  static void operator delete(void* p) noexcept { ReleaseHot(p); }
};

}  // namespace codebook::aggregate
