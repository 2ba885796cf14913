// Row compressors for the .sas7bdat test writer. Deliberately simple and
// written apart from the reader's decompressors, so that a round trip
// checks one against the other: RLE emits literal runs of up to 16 bytes
// and runs of one byte (short and long); RDC emits literal bytes, runs of
// one byte (short and long) and short copies of what came before, found
// by a plain search.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace codebook::data {

std::vector<std::uint8_t> CompressRowRle(std::span<const std::uint8_t> row);
std::vector<std::uint8_t> CompressRowRdc(std::span<const std::uint8_t> row);

}  // namespace codebook::data
