#include "platform/aggregate/hash.h"

#include <cstring>

namespace codebook::aggregate {

std::uint64_t HashLongBytes(std::string_view bytes) {
  std::uint64_t h = 0x9e3779b97f4a7c15ULL ^ bytes.size();
  const char* p = bytes.data();
  std::size_t n = bytes.size();
  while (n >= 8) {
    std::uint64_t word;
    std::memcpy(&word, p, 8);
    h = MixBits(h ^ word) + 0x9e3779b97f4a7c15ULL;
    p += 8;
    n -= 8;
  }
  if (n > 0) {
    std::uint64_t word = 0;
    std::memcpy(&word, p, n);
    h = MixBits(h ^ word ^ (static_cast<std::uint64_t>(n) << 56));
  }
  return MixBits(h);
}

}  // namespace codebook::aggregate
