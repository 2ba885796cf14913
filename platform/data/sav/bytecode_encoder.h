// Byte-code compression of case data and the zlib block writer. Numbers that
// are whole and within the bias's range become one instruction byte, blank
// string slots become 254, everything else is a 253 with a raw block.
#pragma once

#include <cstdint>
#include <vector>

#include "platform/data/sav/byte_sink.h"
#include "platform/data/sav/zlib_layout.h"

namespace codebook::data::sav {

// Collects bytes in large pieces before handing them on.
class StreamOut {
 public:
  virtual ~StreamOut() = default;
  virtual void Write(const std::uint8_t* p, std::size_t n) = 0;
};

class SinkOut final : public StreamOut {
 public:
  explicit SinkOut(ByteSink& sink) : sink_(sink) {}
  void Write(const std::uint8_t* p, std::size_t n) override { sink_.Write(std::span(p, n)); }

 private:
  ByteSink& sink_;
};

// Cuts the byte-code stream into zlib blocks of `blockSize` uncompressed
// bytes and writes them; Finish() returns the block descriptors.
class ZlibBlockWriter final : public StreamOut {
 public:
  ZlibBlockWriter(ByteSink& sink, std::uint64_t headerOffset, std::int32_t blockSize, int level);
  void Write(const std::uint8_t* p, std::size_t n) override;
  std::vector<ZlibBlock> Finish();

 private:
  void FlushBlock();

  ByteSink& sink_;
  std::int32_t blockSize_;
  int level_;
  std::vector<std::uint8_t> pending_;
  std::vector<std::uint8_t> compressed_;
  std::vector<ZlibBlock> blocks_;
  std::uint64_t uncompressedOffset_;
};

class BytecodeEncoder {
 public:
  BytecodeEncoder(StreamOut& out, double bias, bool bigEndian);
  ~BytecodeEncoder();

  void Number(double value);
  void StringSlot(const std::uint8_t* bytes);
  // Ends the data with instruction 252 and writes what is pending.
  void Finish();

 private:
  void Code(std::uint8_t code);
  void FlushGroup();

  StreamOut& out_;
  double bias_;
  bool bigEndian_;
  std::uint8_t group_[8] = {};
  int codes_ = 0;
  std::uint8_t raw_[64] = {};
  int raws_ = 0;
  std::vector<std::uint8_t> buffer_;
};

}  // namespace codebook::data::sav
