#include "platform/aggregate/hot_arena.h"

#include <cstdint>
#include <mutex>
#include <new>

namespace codebook::aggregate {
namespace {

constexpr std::size_t kChunkBytes = 256 * 1024;
constexpr std::size_t kAlign = 16;

// Each object is preceded by the chunk it came from (null for an object too
// large for a chunk, which has its own allocation).
struct Chunk {
  std::size_t used = 0;
  std::size_t live = 0;
};
struct alignas(kAlign) Header {
  Chunk* chunk;
};

constexpr std::size_t kChunkHeader = (sizeof(Chunk) + kAlign - 1) / kAlign * kAlign;

std::mutex mutex;
Chunk* current = nullptr;

std::size_t Rounded(std::size_t bytes) { return (bytes + kAlign - 1) / kAlign * kAlign; }

}  // namespace

void* AllocateHot(std::size_t bytes) {
  const std::size_t need = sizeof(Header) + Rounded(bytes);
  if (need > kChunkBytes - kChunkHeader) {
    auto* header = static_cast<Header*>(::operator new(need, std::align_val_t{kAlign}));
    header->chunk = nullptr;
    return header + 1;
  }
  std::lock_guard lock(mutex);
  if (current == nullptr || current->used + need > kChunkBytes) {
    void* memory = ::operator new(kChunkBytes, std::align_val_t{kAlign});
    Chunk* fresh = new (memory) Chunk{kChunkHeader, 0};
    // The previous chunk goes once its last object does (it has some: an
    // empty chunk is freed as soon as it empties).
    current = fresh;
  }
  auto* header = reinterpret_cast<Header*>(reinterpret_cast<std::uint8_t*>(current) + current->used);
  current->used += need;
  ++current->live;
  header->chunk = current;
  return header + 1;
}

void ReleaseHot(void* p) noexcept {
  if (p == nullptr) return;
  Header* header = static_cast<Header*>(p) - 1;
  Chunk* chunk = header->chunk;
  if (chunk == nullptr) {
    ::operator delete(header, std::align_val_t{kAlign});
    return;
  }
  std::lock_guard lock(mutex);
  if (--chunk->live == 0) {
    // An empty chunk goes at once, the current one too: nothing may outlive
    // the last table (the library holding `current` can be unloaded).
    if (chunk == current) current = nullptr;
    ::operator delete(chunk, std::align_val_t{kAlign});
  }
}

}  // namespace codebook::aggregate
