// Decoder of byte-code compressed case data: a stream of 8-byte instruction
// groups, each followed by the raw 8-byte blocks its 253 instructions call
// for. The stream is not aligned to cases, so the decoder keeps its place in
// a group across calls and fills any number of slots per call.
#pragma once

#include <cstddef>
#include <cstdint>

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

  // After the end: true when a 253 instruction had no raw block left.
  bool MissingRawBlock() const { return missingRaw_; }
  // After the end: bytes that did not form a whole instruction group.
  std::size_t LeftoverBytes() const { return leftover_; }

 private:
  // One instruction, reading a new group when needed; returns the slots
  // produced (0 or 1).
  std::size_t DecodeOne(std::uint8_t* out);

  InputWindow& input_;
  std::uint64_t values_[256];  // slot content per instruction (1..251, 254, 255)
  std::uint8_t group_[8] = {};
  int groupPos_ = 8;  // next instruction in group_; 8 = a new group is needed
  bool ended_ = false;
  bool missingRaw_ = false;
  std::size_t leftover_ = 0;
};

}  // namespace codebook::data::sav
