// Inflating one block of a zlib data section. Every failure names the block
// (counted from 1) and says what is wrong with it, whichever inflater ran.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>

#include "platform/data/sav/byte_source.h"
#include "platform/data/sav/zlib_layout.h"

namespace codebook::data::sav {

// Room for a block's bytes, kept from block to block (fresh pages cost more
// than inflating into them) and not cleared, since every byte is written.
class BlockBuffer {
 public:
  std::uint8_t* Reserve(std::size_t n) {
    n = std::max<std::size_t>(n, 1);
    if (n > capacity_) {
      bytes_.reset();
      bytes_ = std::make_unique_for_overwrite<std::uint8_t[]>(n);
      capacity_ = n;
    }
    return bytes_.get();
  }
  const std::uint8_t* Data() const { return bytes_.get(); }

 private:
  std::unique_ptr<std::uint8_t[]> bytes_;
  std::size_t capacity_ = 0;
};

// A block inflated in pieces with zlib, as the output room allows, so that
// a block of any size needs only bounded memory. Not for concurrent use.
class ZlibBlockStream {
 public:
  ZlibBlockStream();
  ~ZlibBlockStream();
  ZlibBlockStream(const ZlibBlockStream&) = delete;
  ZlibBlockStream& operator=(const ZlibBlockStream&) = delete;

  // Starts on block `index` (from 0) of `source`, which must outlive the use.
  void Start(const ByteSource& source, const ZlibBlock& block, std::size_t index);
  // Fills `out` (not empty) with the block's next bytes; returns their count,
  // 0 once the block has ended exactly as declared. Throws CorruptData, only
  // in a call that delivers no bytes, so nothing inflated before the damage
  // is lost; FileError when the file cannot be read.
  std::size_t Read(std::span<std::uint8_t> out);

 private:
  struct State;
  std::unique_ptr<State> s_;
};

// Inflates whole blocks into memory: the fast inflater where it was built
// in, zlib otherwise, and zlib again to say what is wrong with a block the
// fast one rejects. Not for concurrent use; one per thread.
class BlockInflater {
 public:
  BlockInflater();
  ~BlockInflater();
  BlockInflater(const BlockInflater&) = delete;
  BlockInflater& operator=(const BlockInflater&) = delete;

  // Inflates block `index` into out[0, block.uncompressedSize). Returns only
  // when it inflated to exactly that; otherwise throws as ZlibBlockStream.
  void Inflate(const ByteSource& source, const ZlibBlock& block, std::size_t index, std::uint8_t* out);

 private:
  struct State;
  std::unique_ptr<State> s_;
};

}  // namespace codebook::data::sav
