#include "platform/data/sav/bytecode_decoder.h"

#include <bit>
#include <cstring>

#include "platform/data/sav/endian.h"

namespace codebook::data::sav {
namespace {
constexpr std::uint64_t kSysmisBits = 0xFFEFFFFFFFFFFFFFull;
}  // namespace

BytecodeDecoder::BytecodeDecoder(InputWindow& input, double bias, bool bigEndian) : input_(input) {
  std::uint8_t buf[8];
  for (int code = 0; code < 256; ++code) {
    std::uint64_t bits = 0;
    if (code >= 1 && code <= 251) {
      bits = std::bit_cast<std::uint64_t>(static_cast<double>(code) - bias);
    } else if (code == 255) {
      bits = kSysmisBits;
    }
    Store64(buf, bits, bigEndian);
    std::memcpy(&values_[code], buf, 8);
  }
  std::memset(&values_[254], ' ', 8);
}

std::size_t BytecodeDecoder::Decode(std::uint8_t* out, std::size_t slots) {
  std::size_t n = 0;
  return DecodeEach(slots, [&](std::uint64_t v) { std::memcpy(out + 8 * n++, &v, 8); });
}

std::size_t BytecodeDecoder::DecodeOne(std::uint8_t* out) {
  if (groupPos_ == 8) {
    if (!input_.Ensure(8)) {
      leftover_ = input_.Available();
      input_.Consume(leftover_);
      ended_ = true;
      return 0;
    }
    std::memcpy(group_, input_.Data(), 8);
    input_.Consume(8);
    groupPos_ = 0;
  }
  const std::uint8_t code = group_[groupPos_++];
  if (code == kRaw) {
    if (!input_.Ensure(8)) {
      missingRaw_ = true;
      input_.Consume(input_.Available());
      ended_ = true;
      return 0;
    }
    std::memcpy(out, input_.Data(), 8);
    input_.Consume(8);
    return 1;
  }
  if (code == kPadding) return 0;
  if (code == kEnd) {
    ended_ = true;
    return 0;
  }
  std::memcpy(out, &values_[code], 8);
  return 1;
}

}  // namespace codebook::data::sav
