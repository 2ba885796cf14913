// Decoder of byte-code compressed case data: a stream of 8-byte instruction
// groups, each followed by the raw 8-byte blocks its 253 instructions call
// for. The stream is not aligned to cases, so the decoder keeps its place in
// a group across calls and fills any number of slots per call.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "platform/data/sav/data_stream.h"

namespace codebook::data::sav {

class BytecodeDecoder {
 public:
  // `bias` is the header's compression bias; `bigEndian` the file's order
  // (numbers made from instructions 1..251 and 255 are written in it, so
  // that every slot can be converted the same way afterwards).
  BytecodeDecoder(InputWindow& input, double bias, bool bigEndian);

  // Decodes up to `slots` 8-byte slots into `out`; fewer only at the end of
  // the data.
  std::size_t Decode(std::uint8_t* out, std::size_t slots);
  // The same, each slot's 8 bytes (as stored in memory) handed to `put` in
  // order instead: a caller that writes each slot somewhere else (a column
  // of its own) needs no buffer between.
  template <typename Put>
  std::size_t DecodeEach(std::size_t slots, Put&& put);

  // After the end: true when a 253 instruction had no raw block left.
  bool MissingRawBlock() const { return missingRaw_; }
  // After the end: bytes that did not form a whole instruction group.
  std::size_t LeftoverBytes() const { return leftover_; }

 private:
  // One instruction, reading a new group when needed; returns the slots
  // produced (0 or 1).
  std::size_t DecodeOne(std::uint8_t* out);

  static constexpr std::uint8_t kPadding = 0;
  static constexpr std::uint8_t kEnd = 252;
  static constexpr std::uint8_t kRaw = 253;
  // True when one of the eight bytes is zero.
  static constexpr bool HasZeroByte(std::uint64_t x) {
    return ((x - 0x0101010101010101ull) & ~x & 0x8080808080808080ull) != 0;
  }

  InputWindow& input_;
  std::uint64_t values_[256];  // slot content per instruction (1..251, 254, 255)
  std::uint8_t group_[8] = {};
  int groupPos_ = 8;  // next instruction in group_; 8 = a new group is needed
  bool ended_ = false;
  bool missingRaw_ = false;
  std::size_t leftover_ = 0;
};

template <typename Put>
std::size_t BytecodeDecoder::DecodeEach(std::size_t slots, Put&& put) {
  std::size_t done = 0;
  while (done < slots && !ended_) {
    // Fast path: a whole group and all the raw blocks it could call for are
    // in the window, and the caller wants eight slots more.
    if (groupPos_ == 8 && slots - done >= 8 && input_.Ensure(72)) {
      const std::uint8_t* p = input_.Data();
      std::uint64_t group;
      std::memcpy(&group, p, 8);
      const std::uint8_t* raw = p + 8;
      if (!HasZeroByte(group) && !HasZeroByte(group ^ 0xFCFCFCFCFCFCFCFCull)) {
        // No padding and no end: every instruction makes a slot. Choosing
        // the source without a branch keeps mixed groups of codes and raw
        // blocks from mispredicting.
        for (int k = 0; k < 8; ++k) {
          const std::uint8_t code = p[k];
          const bool isRaw = code == kRaw;
          std::uint64_t v;
          std::memcpy(&v, isRaw ? raw : reinterpret_cast<const std::uint8_t*>(&values_[code]), 8);
          put(v);
          raw += isRaw ? 8 : 0;
        }
        input_.Consume(static_cast<std::size_t>(raw - p));
        done += 8;
        continue;
      }
      for (int k = 0; k < 8; ++k) {
        const std::uint8_t code = p[k];
        if (code == kRaw) {
          std::uint64_t v;
          std::memcpy(&v, raw, 8);
          put(v);
          raw += 8;
          ++done;
        } else if (code == kPadding) {
          continue;
        } else if (code == kEnd) {
          ended_ = true;
          break;
        } else {
          put(values_[code]);
          ++done;
        }
      }
      input_.Consume(static_cast<std::size_t>(raw - p));
      continue;
    }
    std::uint64_t v;
    if (DecodeOne(reinterpret_cast<std::uint8_t*>(&v)) == 1) {
      put(v);
      ++done;
    }
  }
  return done;
}

}  // namespace codebook::data::sav
