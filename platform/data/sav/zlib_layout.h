// The zlib-compressed data section: header record, blocks and trailer
// (all offsets and sizes checked against the file before any block is read).
#pragma once

#include <cstdint>
#include <vector>

#include "platform/data/sav/byte_source.h"
#include "platform/data/sav/warnings.h"

namespace codebook::data::sav {

inline constexpr std::int32_t kZlibBlockSize = 0x3FF000;

struct ZlibBlock {
  std::uint64_t uncompressedOffset = 0;
  std::uint64_t compressedOffset = 0;
  std::uint32_t uncompressedSize = 0;
  std::uint32_t compressedSize = 0;
};

struct ZlibLayout {
  std::uint64_t headerOffset = 0;
  std::uint64_t trailerOffset = 0;
  std::uint64_t trailerLength = 0;
  std::int32_t blockSize = kZlibBlockSize;
  std::vector<ZlibBlock> blocks;
};

// Reads and checks the zlib header at `headerOffset` and the trailer. Throws
// FileError when the layout cannot be trusted.
ZlibLayout ReadZlibLayout(const ByteSource& source, std::uint64_t headerOffset, bool bigEndian,
                          double bias, Warnings& warnings);

}  // namespace codebook::data::sav
