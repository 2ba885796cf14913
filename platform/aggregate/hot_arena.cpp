#include "platform/aggregate/hot_arena.h"

#include <cstdint>
#include <mutex>
#include <new>

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/asan_interface.h>
#endif

namespace codebook::aggregate {
namespace {

constexpr std::size_t kChunkBytes = 256 * 1024;
constexpr std::size_t kAlign = 16;
constexpr std::size_t kChunkAlign = 64;  // a cache line

// Each object is preceded by the chunk it came from (null for an object too
// large for a chunk, which has its own allocation).
struct Chunk {
  std::size_t used = 0;
  std::size_t live = 0;
};
struct alignas(kAlign) Header {
  Chunk* chunk;
  std::size_t bytes;  // of the object, for the address sanitizer
};

// Under the address sanitizer a released object is marked unusable until its
// chunk goes, so a use after release is caught as it would be on the heap.
#if defined(__SANITIZE_ADDRESS__)
void MarkReleased(void* p, std::size_t bytes) { __asan_poison_memory_region(p, bytes); }
#else
void MarkReleased(void*, std::size_t) {}
#endif

constexpr std::size_t kChunkHeader = (sizeof(Chunk) + kAlign - 1) / kAlign * kAlign;

std::mutex mutex;
Chunk* current[3] = {nullptr, nullptr, nullptr};  // per arena

std::size_t Rounded(std::size_t bytes) { return (bytes + kAlign - 1) / kAlign * kAlign; }

}  // namespace

void* AllocateHot(std::size_t bytes, HotArena arena) {
  const std::size_t need = sizeof(Header) + Rounded(bytes);
  if (need > kChunkBytes - kChunkHeader) {
    auto* header = static_cast<Header*>(::operator new(need, std::align_val_t{kChunkAlign}));
    header->chunk = nullptr;
    header->bytes = bytes;
    return header + 1;
  }
  std::lock_guard lock(mutex);
  Chunk*& chunk = current[static_cast<int>(arena)];
  if (chunk == nullptr || chunk->used + need > kChunkBytes) {
    // The previous chunk goes once its last object does (it has some: an
    // empty chunk is freed as soon as it empties).
    void* memory = ::operator new(kChunkBytes, std::align_val_t{kChunkAlign});
    chunk = new (memory) Chunk{kChunkHeader, 0};
  }
  auto* header = reinterpret_cast<Header*>(reinterpret_cast<std::uint8_t*>(chunk) + chunk->used);
  chunk->used += need;
  ++chunk->live;
  header->chunk = chunk;
  header->bytes = bytes;
  return header + 1;
}

void ReleaseHot(void* p) noexcept {
  if (p == nullptr) return;
  Header* header = static_cast<Header*>(p) - 1;
  Chunk* chunk = header->chunk;
  if (chunk == nullptr) {
    ::operator delete(header, std::align_val_t{kChunkAlign});
    return;
  }
  MarkReleased(p, header->bytes);
  std::lock_guard lock(mutex);
  if (--chunk->live == 0) {
    // An empty chunk goes at once, the current one too: nothing may outlive
    // the last table (the library holding `current` can be unloaded).
    for (Chunk*& c : current) {
      if (c == chunk) c = nullptr;
    }
    ::operator delete(chunk, std::align_val_t{kChunkAlign});
  }
}

}  // namespace codebook::aggregate
