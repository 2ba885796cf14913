#include "platform/data/sav/zlib_layout.h"

#include <string>

#include "platform/data/sav/file_error.h"
#include "platform/data/sav/record_reader.h"

namespace codebook::data::sav {

ZlibLayout ReadZlibLayout(const ByteSource& source, std::uint64_t headerOffset, bool bigEndian,
                          double bias, Warnings& warnings) {
  const std::uint64_t fileSize = source.Size();
  RecordReader in(source, headerOffset);
  in.SetBigEndian(bigEndian);
  ZlibLayout z;
  z.headerOffset = headerOffset;
  const std::int64_t zheader = in.I64("the zlib header");
  const std::int64_t ztrailer = in.I64("the zlib header");
  const std::int64_t zlen = in.I64("the zlib header");
  if (zheader < 0 || static_cast<std::uint64_t>(zheader) != headerOffset) {
    in.FailAt(headerOffset, "corrupt zlib header: it does not give its own offset");
  }
  if (ztrailer < 0 || static_cast<std::uint64_t>(ztrailer) < headerOffset + 24 ||
      static_cast<std::uint64_t>(ztrailer) > fileSize) {
    in.FailAt(headerOffset, "corrupt zlib header: the trailer offset " + std::to_string(ztrailer) +
                                " lies outside the file");
  }
  z.trailerOffset = static_cast<std::uint64_t>(ztrailer);
  if (zlen < 24 || zlen % 24 != 0 || static_cast<std::uint64_t>(zlen) > fileSize - z.trailerOffset) {
    in.FailAt(headerOffset, "corrupt zlib header: invalid trailer length " + std::to_string(zlen));
  }
  z.trailerLength = static_cast<std::uint64_t>(zlen);
  if (z.trailerOffset + z.trailerLength != fileSize) {
    warnings.Add("zlib", "the zlib trailer does not end at the end of the file");
  }

  RecordReader t(source, z.trailerOffset);
  t.SetBigEndian(bigEndian);
  const std::int64_t intBias = t.I64("the zlib trailer");
  const std::int64_t zero = t.I64("the zlib trailer");
  z.blockSize = t.I32("the zlib trailer");
  const std::int32_t nBlocks = t.I32("the zlib trailer");
  if (static_cast<double>(intBias) != -bias) {
    t.FailAt(z.trailerOffset, "corrupt zlib trailer: bias " + std::to_string(intBias) +
                                  " does not match the header");
  }
  if (zero != 0) warnings.Add("zlib", "the zlib trailer's reserved field is not 0");
  if (z.blockSize != kZlibBlockSize) {
    warnings.Add("zlib", "unusual zlib block size " + std::to_string(z.blockSize));
  }
  if (z.blockSize <= 0) t.FailAt(z.trailerOffset, "corrupt zlib trailer: invalid block size");
  if (nBlocks < 0 || static_cast<std::uint64_t>(nBlocks) != (z.trailerLength - 24) / 24) {
    t.FailAt(z.trailerOffset, "corrupt zlib trailer: block count " + std::to_string(nBlocks) +
                                  " does not match the trailer length");
  }
  std::uint64_t expectUncompressed = headerOffset;
  std::uint64_t expectCompressed = headerOffset + 24;
  z.blocks.reserve(static_cast<std::size_t>(nBlocks));
  for (std::int32_t i = 0; i < nBlocks; ++i) {
    const std::uint64_t at = t.Offset();
    ZlibBlock b;
    const std::int64_t uofs = t.I64("the zlib trailer");
    const std::int64_t cofs = t.I64("the zlib trailer");
    const std::int32_t usize = t.I32("the zlib trailer");
    const std::int32_t csize = t.I32("the zlib trailer");
    const std::string which = "zlib block " + std::to_string(i + 1);
    if (uofs < 0 || static_cast<std::uint64_t>(uofs) != expectUncompressed ||
        cofs < 0 || static_cast<std::uint64_t>(cofs) != expectCompressed) {
      t.FailAt(at, "corrupt zlib trailer: " + which + " is not where the previous block ends");
    }
    if (usize < 0 || csize < 0 || usize > z.blockSize) {
      t.FailAt(at, "corrupt zlib trailer: " + which + " has an invalid size");
    }
    if (i + 1 < nBlocks && usize != z.blockSize) {
      warnings.Add("zlib", which + " is smaller than the block size");
    }
    // Deflate cannot expand data by more than about 1/7 plus a few bytes.
    if (static_cast<std::uint64_t>(csize) >
        static_cast<std::uint64_t>(usize) + static_cast<std::uint64_t>(usize) / 7 + 11) {
      t.FailAt(at, "corrupt zlib trailer: " + which + " is larger than any compression makes it");
    }
    b.uncompressedOffset = static_cast<std::uint64_t>(uofs);
    b.compressedOffset = static_cast<std::uint64_t>(cofs);
    b.uncompressedSize = static_cast<std::uint32_t>(usize);
    b.compressedSize = static_cast<std::uint32_t>(csize);
    expectUncompressed += b.uncompressedSize;
    expectCompressed += b.compressedSize;
    z.blocks.push_back(b);
  }
  if (expectCompressed != z.trailerOffset) {
    t.FailAt(z.trailerOffset, "corrupt zlib trailer: the blocks do not end where the trailer begins");
  }
  return z;
}

}  // namespace codebook::data::sav
