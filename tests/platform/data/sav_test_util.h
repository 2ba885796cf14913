// Helpers shared by the reader and writer tests.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "host/data/vela_format.h"
#include "platform/data/dataset.h"
#include "platform/data/sav/zlib_stream.h"

namespace codebook::data::test {

// A format as the fixtures' truth files write it: "F8.2", "A300", "DATE11".
std::string FormatText(const VELA_Format& format);

// `cases` cases of seven fractional numbers and one 8-byte string, none of
// which the byte code compresses: every case takes exactly
// kIncompressibleCaseBytes of byte code, so a byte offset in the data tells
// how many whole cases precede it.
inline constexpr std::size_t kIncompressibleCaseBytes = 72;
std::shared_ptr<Dataset> IncompressibleCases(int cases);
double IncompressibleNumber(int caseIndex, int variable);  // variable 0..6
std::string IncompressibleString(int caseIndex);           // variable 7

// A little-endian zlib file taken apart into its blocks, to be damaged and
// put together again with a consistent header and trailer.
struct ZlibParts {
  struct Block {
    std::vector<std::uint8_t> compressed;
    std::uint32_t declaredSize = 0;  // uncompressed
  };
  std::vector<std::uint8_t> head;  // everything before the zlib header
  double bias = 100;
  std::int32_t blockSize = 0;
  std::vector<Block> blocks;
};
ZlibParts SplitZlibFile(const std::vector<std::uint8_t>& file);
std::vector<std::uint8_t> JoinZlibFile(const ZlibParts& parts);

// The data section of `dataset` written with byte-code compression: what
// the zlib stream of the same dataset must inflate to.
std::vector<std::uint8_t> BytecodeData(const Dataset& dataset);

// Reads the zlib data stream of `file` to its end or its first CorruptData,
// in reads of assorted sizes (1 byte to 64 KiB). With `readableBytes`, reads
// past that offset come back short, as from a file cut while it is read.
struct Inflated {
  std::vector<std::uint8_t> bytes;
  std::string error;  // the CorruptData message, if any
};
Inflated InflateAll(const std::vector<std::uint8_t>& file, const sav::InflateOptions& options,
                    std::uint64_t readableBytes = UINT64_MAX);

}  // namespace codebook::data::test
