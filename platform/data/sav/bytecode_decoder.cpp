#include "platform/data/sav/bytecode_decoder.h"

#include <bit>
#include <cstring>

#include "platform/data/sav/endian.h"

namespace codebook::data::sav {
namespace {
constexpr std::uint8_t kPadding = 0;
constexpr std::uint8_t kEnd = 252;
constexpr std::uint8_t kRaw = 253;
constexpr std::uint64_t kSysmisBits = 0xFFEFFFFFFFFFFFFFull;

// True when one of the eight bytes is zero.
constexpr bool HasZeroByte(std::uint64_t x) {
  return ((x - 0x0101010101010101ull) & ~x & 0x8080808080808080ull) != 0;
}
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
  std::size_t done = 0;
  while (done < slots && !ended_) {
    // Fast path: a whole group and all the raw blocks it could call for are
    // in the window, and the output has room for eight slots.
    if (groupPos_ == 8 && slots - done >= 8 && input_.Ensure(72)) {
      const std::uint8_t* p = input_.Data();
      std::uint64_t group;
      std::memcpy(&group, p, 8);
      if (!HasZeroByte(group) && !HasZeroByte(group ^ 0xFCFCFCFCFCFCFCFCull)) {
        // No padding and no end: every instruction makes a slot. Choosing
        // the source without a branch keeps mixed groups of codes and raw
        // blocks from mispredicting.
        const std::uint8_t* raw = p + 8;
        std::uint8_t* o = out + done * 8;
        for (int k = 0; k < 8; ++k) {
          const std::uint8_t code = p[k];
          const bool isRaw = code == kRaw;
          const auto* source = isRaw ? raw : reinterpret_cast<const std::uint8_t*>(&values_[code]);
          std::memcpy(o + 8 * k, source, 8);
          raw += isRaw ? 8 : 0;
        }
        input_.Consume(static_cast<std::size_t>(raw - p));
        done += 8;
        continue;
      }
      const std::uint8_t* raw = p + 8;
      std::uint8_t* o = out + done * 8;
      for (int k = 0; k < 8; ++k) {
        const std::uint8_t code = p[k];
        if (code == kRaw) {
          std::memcpy(o, raw, 8);
          raw += 8;
          o += 8;
        } else if (code == kPadding) {
          continue;
        } else if (code == kEnd) {
          ended_ = true;
          break;
        } else {
          std::memcpy(o, &values_[code], 8);
          o += 8;
        }
      }
      input_.Consume(static_cast<std::size_t>(raw - p));
      done = static_cast<std::size_t>(o - out) / 8;
      continue;
    }
    done += DecodeOne(out + done * 8);
  }
  return done;
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
