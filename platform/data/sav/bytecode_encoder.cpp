#include "platform/data/sav/bytecode_encoder.h"

#include <zlib.h>

#include <bit>
#include <cmath>
#include <cstring>
#include <stdexcept>

#include "host/data/obs.h"
#include "platform/data/sav/endian.h"

namespace codebook::data::sav {

ZlibBlockWriter::ZlibBlockWriter(ByteSink& sink, std::uint64_t headerOffset, std::int32_t blockSize,
                                 int level)
    : sink_(sink), blockSize_(blockSize), level_(level), uncompressedOffset_(headerOffset) {
  if (blockSize_ <= 0) throw std::invalid_argument("the zlib block size must be positive");
  pending_.reserve(static_cast<std::size_t>(blockSize_));
}

void ZlibBlockWriter::Write(const std::uint8_t* p, std::size_t n) {
  while (n > 0) {
    const std::size_t room = static_cast<std::size_t>(blockSize_) - pending_.size();
    const std::size_t take = n < room ? n : room;
    pending_.insert(pending_.end(), p, p + take);
    p += take;
    n -= take;
    if (pending_.size() == static_cast<std::size_t>(blockSize_)) FlushBlock();
  }
}

void ZlibBlockWriter::FlushBlock() {
  if (pending_.empty()) return;
  uLongf size = compressBound(static_cast<uLong>(pending_.size()));
  compressed_.resize(size);
  if (compress2(compressed_.data(), &size, pending_.data(), static_cast<uLong>(pending_.size()), level_) != Z_OK) {
    throw std::runtime_error("zlib compression failed");
  }
  ZlibBlock b;
  b.uncompressedOffset = uncompressedOffset_;
  b.compressedOffset = sink_.Offset();
  b.uncompressedSize = static_cast<std::uint32_t>(pending_.size());
  b.compressedSize = static_cast<std::uint32_t>(size);
  sink_.Write(std::span<const std::uint8_t>(compressed_.data(), size));
  uncompressedOffset_ += pending_.size();
  blocks_.push_back(b);
  pending_.clear();
}

std::vector<ZlibBlock> ZlibBlockWriter::Finish() {
  FlushBlock();
  return std::move(blocks_);
}

BytecodeEncoder::BytecodeEncoder(StreamOut& out, double bias, bool bigEndian)
    : out_(out), bias_(bias), bigEndian_(bigEndian) {
  buffer_.reserve(256 * 1024);
}

BytecodeEncoder::~BytecodeEncoder() = default;

void BytecodeEncoder::Code(std::uint8_t code) {
  group_[codes_++] = code;
  if (codes_ == 8) FlushGroup();
}

void BytecodeEncoder::FlushGroup() {
  buffer_.insert(buffer_.end(), group_, group_ + 8);
  buffer_.insert(buffer_.end(), raw_, raw_ + raws_ * 8);
  codes_ = 0;
  raws_ = 0;
  if (buffer_.size() >= 256 * 1024 - 72) {
    out_.Write(buffer_.data(), buffer_.size());
    buffer_.clear();
  }
}

void BytecodeEncoder::Number(double value) {
  if (std::bit_cast<std::uint64_t>(value) == std::bit_cast<std::uint64_t>(kSysmis)) {
    Code(255);
    return;
  }
  const double code = value + bias_;
  if (code >= 1 && code <= 251 && std::floor(value) == value && !(value == 0 && std::signbit(value))) {
    Code(static_cast<std::uint8_t>(code));
    return;
  }
  Store64(raw_ + raws_ * 8, std::bit_cast<std::uint64_t>(value), bigEndian_);
  ++raws_;
  Code(253);
}

void BytecodeEncoder::StringSlot(const std::uint8_t* bytes) {
  static const std::uint8_t kBlanks[8] = {' ', ' ', ' ', ' ', ' ', ' ', ' ', ' '};
  if (std::memcmp(bytes, kBlanks, 8) == 0) {
    Code(254);
    return;
  }
  std::memcpy(raw_ + raws_ * 8, bytes, 8);
  ++raws_;
  Code(253);
}

void BytecodeEncoder::Finish() {
  group_[codes_++] = 252;
  while (codes_ < 8) group_[codes_++] = 0;
  FlushGroup();
  if (!buffer_.empty()) out_.Write(buffer_.data(), buffer_.size());
  buffer_.clear();
}

}  // namespace codebook::data::sav
