// The arenas of the pass's hot objects give their memory back: a chunk
// when the last object carved from it goes, an object too large for a
// chunk at once. Measured by the allocator's own count of bytes in use.
#include <gtest/gtest.h>
#include <malloc.h>

#include <cstddef>

#include "platform/aggregate/hot_arena.h"

namespace codebook::aggregate {
namespace {

std::size_t BytesInUse() {
  const struct mallinfo2 info = mallinfo2();
  return info.uordblks + info.hblkhd;
}

TEST(HotArena, ReleasedObjectsGiveTheirMemoryBack) {
  for (const std::size_t bytes : {std::size_t{64}, std::size_t{200000}, std::size_t{1} << 20}) {
    const std::size_t before = BytesInUse();
    for (int round = 0; round < 50; ++round) {
      void* objects[3] = {AllocateHot(bytes, HotArena::kTables), AllocateHot(bytes, HotArena::kDimensions),
                          AllocateHot(bytes, HotArena::kStates)};
      for (void* object : objects) ReleaseHot(object);
    }
    ReleaseHot(nullptr);
    // 50 rounds of lost chunks would be 37 MB and more; a little slack for the
    // allocator's own bookkeeping.
    EXPECT_LT(BytesInUse(), before + (std::size_t{1} << 20)) << bytes;
  }
}

}  // namespace
}  // namespace codebook::aggregate
