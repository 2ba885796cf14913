// The storage of per-case state: objects must never overlap, whatever the
// order in which they come and go, and large objects must work too.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

#include "platform/aggregate/hot_arena.h"

namespace codebook::aggregate {
namespace {

struct Block {
  std::uint8_t* p;
  std::size_t size;
  std::uint8_t fill;
};

void Check(const Block& b) {
  for (std::size_t i = 0; i < b.size; ++i) ASSERT_EQ(b.p[i], b.fill) << "overwritten at " << i;
}

TEST(HotArena, ObjectsKeepTheirBytesAcrossInterleavedAllocationAndRelease) {
  std::mt19937 rng(9);
  std::vector<Block> live;
  for (int round = 0; round < 20000; ++round) {
    if (!live.empty() && rng() % 3 == 0) {
      const std::size_t i = rng() % live.size();
      Check(live[i]);
      ReleaseHot(live[i].p);
      live[i] = live.back();
      live.pop_back();
      continue;
    }
    // Mostly small states, now and then one larger than a chunk; some on a
    // cache line, like tables.
    const std::size_t size = rng() % 500 == 0 ? 300000 + rng() % 1000 : 1 + rng() % 700;
    const bool lineAligned = rng() % 4 == 0;
    auto* p = static_cast<std::uint8_t*>(AllocateHot(size, lineAligned));
    ASSERT_EQ(reinterpret_cast<std::uintptr_t>(p) % (lineAligned ? 64 : 16), 0u);
    const auto fill = static_cast<std::uint8_t>(rng());
    std::memset(p, fill, size);
    live.push_back({p, size, fill});
  }
  for (const Block& b : live) {
    Check(b);
    ReleaseHot(b.p);
  }
  ReleaseHot(nullptr);  // like delete of a null pointer
}

TEST(HotArena, ObjectsMadeInOrderLieInOrder) {
  // The point of the storage: a sweep over objects made one after another
  // goes forward through memory.
  std::vector<void*> objects;
  for (int i = 0; i < 100; ++i) objects.push_back(AllocateHot(48));
  int forward = 0;
  for (std::size_t i = 1; i < objects.size(); ++i) {
    if (objects[i] > objects[i - 1]) ++forward;
  }
  EXPECT_GE(forward, 98);  // at most one step back, into a fresh chunk
  for (void* p : objects) ReleaseHot(p);
}

}  // namespace
}  // namespace codebook::aggregate
