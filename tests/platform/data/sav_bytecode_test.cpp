// The byte-code decoder: the worked example of the format, state kept across
// calls and window refills, the encoder's output decoded back, and the ways
// the data can end.
#include <gtest/gtest.h>

#include <bit>
#include <cstring>
#include <random>
#include <vector>

#include "host/data/obs.h"
#include "platform/data/sav/bytecode_decoder.h"
#include "platform/data/sav/bytecode_encoder.h"
#include "platform/data/sav/data_stream.h"
#include "platform/data/sav/endian.h"

namespace codebook::data::sav {
namespace {

using Bytes = std::vector<std::uint8_t>;

InputWindow Window(Bytes bytes, std::size_t capacity = 4096) {
  const auto size = bytes.size();
  return InputWindow(MakeRangeStream(MemorySource(std::move(bytes), "test"), 0, size), capacity);
}

double Number(const std::uint8_t* slot) {
  double d;
  std::memcpy(&d, slot, 8);
  return d;
}

std::string Text(const std::uint8_t* slot) { return std::string(reinterpret_cast<const char*>(slot), 8); }

TEST(BytecodeDecoderTest, DecodesTheWorkedExample) {
  Bytes in = {134, 253, 254, 255, 254, 254, 252, 0, 'O', 's', 'l', 'o', ' ', ' ', ' ', ' '};
  InputWindow window = Window(in);
  BytecodeDecoder decoder(window, 100.0, false);
  std::uint8_t out[8 * 16];
  ASSERT_EQ(decoder.Decode(out, 16), 6u);
  EXPECT_EQ(Number(out), 34.0);
  EXPECT_EQ(Text(out + 8), "Oslo    ");
  EXPECT_EQ(Text(out + 16), "        ");
  EXPECT_EQ(Number(out + 24), kSysmis);
  EXPECT_EQ(Text(out + 32), "        ");
  EXPECT_EQ(Text(out + 40), "        ");
  EXPECT_FALSE(decoder.MissingRawBlock());
  EXPECT_EQ(decoder.Decode(out, 16), 0u);
}

TEST(BytecodeDecoderTest, BiasZeroAndBigEndian) {
  Bytes in = {5, 251, 1, 0, 0, 0, 0, 0};
  InputWindow window = Window(in);
  BytecodeDecoder decoder(window, 0.0, true);
  std::uint8_t out[24];
  ASSERT_EQ(decoder.Decode(out, 3), 3u);
  EXPECT_EQ(std::bit_cast<double>(Load64(out, true)), 5.0);
  EXPECT_EQ(std::bit_cast<double>(Load64(out + 8, true)), 251.0);
  EXPECT_EQ(std::bit_cast<double>(Load64(out + 16, true)), 1.0);
}

TEST(BytecodeDecoderTest, ReportsAMissingRawBlockAndLeftoverBytes) {
  {
    InputWindow window = Window({101, 253, 0, 0, 0, 0, 0, 0, 'a', 'b'});
    BytecodeDecoder decoder(window, 100.0, false);
    std::uint8_t out[16];
    EXPECT_EQ(decoder.Decode(out, 2), 1u);
    EXPECT_TRUE(decoder.MissingRawBlock());
  }
  {
    InputWindow window = Window({101, 102, 0, 0, 0, 0, 0, 0, 1, 2, 3});
    BytecodeDecoder decoder(window, 100.0, false);
    std::uint8_t out[32];
    EXPECT_EQ(decoder.Decode(out, 4), 2u);
    EXPECT_FALSE(decoder.MissingRawBlock());
    EXPECT_EQ(decoder.LeftoverBytes(), 3u);
  }
}

// What the encoder writes the decoder reads back, whatever the sizes of the
// decoding calls and however the window has to refill.
TEST(BytecodeDecoderTest, EncoderOutputDecodesBackInAnyChunking) {
  class VectorOut final : public StreamOut {
   public:
    void Write(const std::uint8_t* p, std::size_t n) override { bytes.insert(bytes.end(), p, p + n); }
    Bytes bytes;
  } out;
  std::mt19937 rng(7);
  std::vector<std::uint64_t> expected;
  {
    BytecodeEncoder encoder(out, 100.0, false);
    for (int i = 0; i < 20000; ++i) {
      switch (rng() % 5) {
        case 0: {
          const double v = static_cast<double>(static_cast<int>(rng() % 300) - 120);  // codes and raw
          encoder.Number(v);
          expected.push_back(std::bit_cast<std::uint64_t>(v));
          break;
        }
        case 1: {
          const double v = (rng() % 1000) / 7.0;
          encoder.Number(v);
          expected.push_back(std::bit_cast<std::uint64_t>(v));
          break;
        }
        case 2:
          encoder.Number(kSysmis);
          expected.push_back(std::bit_cast<std::uint64_t>(kSysmis));
          break;
        case 3: {
          const std::uint8_t blank[8] = {' ', ' ', ' ', ' ', ' ', ' ', ' ', ' '};
          encoder.StringSlot(blank);
          std::uint64_t bits;
          std::memcpy(&bits, blank, 8);
          expected.push_back(bits);
          break;
        }
        default: {
          std::uint8_t s[8];
          for (auto& c : s) c = static_cast<std::uint8_t>('a' + rng() % 26);
          encoder.StringSlot(s);
          std::uint64_t bits;
          std::memcpy(&bits, s, 8);
          expected.push_back(bits);
        }
      }
    }
    const double negZero = -0.0;
    encoder.Number(negZero);  // must survive as -0.0, not become code 100
    expected.push_back(std::bit_cast<std::uint64_t>(negZero));
    encoder.Finish();
  }
  for (std::size_t chunk : {1u, 3u, 8u, 13u, 1000u, 30000u}) {
    InputWindow window = Window(out.bytes, 4096);
    BytecodeDecoder decoder(window, 100.0, false);
    std::vector<std::uint64_t> got(expected.size() + 16);
    std::size_t n = 0;
    for (;;) {
      const std::size_t want = std::min(chunk, got.size() - n);
      const std::size_t k = decoder.Decode(reinterpret_cast<std::uint8_t*>(got.data() + n), want);
      n += k;
      if (k < want) break;
    }
    got.resize(n);
    EXPECT_EQ(got, expected) << "chunk " << chunk;
  }
}

}  // namespace
}  // namespace codebook::data::sav
