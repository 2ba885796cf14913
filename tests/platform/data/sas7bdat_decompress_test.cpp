// The two row decompressions of .sas7bdat files on hand-built bytes: every
// command of each, then input that is cut short, that writes past the row
// or copies from before it, or that leaves the row short.
#include <gtest/gtest.h>

#include <cctype>
#include <string>
#include <vector>

#include "platform/data/sas/sas7bdat_decompress.h"

namespace codebook::data::sas {
namespace {

using Bytes = std::vector<std::uint8_t>;

Bytes Cat(std::initializer_list<Bytes> parts) {
  Bytes out;
  for (const Bytes& p : parts) out.insert(out.end(), p.begin(), p.end());
  return out;
}
Bytes Repeat(std::size_t n, std::uint8_t b) { return Bytes(n, b); }
// n bytes counting up from `from`, so that a misplaced byte shows.
Bytes Count(std::size_t n, std::uint8_t from = 0) {
  Bytes out(n);
  for (std::size_t i = 0; i < n; ++i) out[i] = static_cast<std::uint8_t>(from + i);
  return out;
}
Bytes Text(std::string_view s) { return Bytes(s.begin(), s.end()); }

enum class Algorithm { kRle, kRdc };

struct Case {
  const char* name;
  Algorithm algorithm;
  Bytes packed;
  std::size_t rowLength;
  Bytes expected;       // when no error
  const char* error;    // a piece of the message, or nullptr
};

void PrintTo(const Case& c, std::ostream* os) { *os << c.name; }

class Decompress : public ::testing::TestWithParam<Case> {};

TEST_P(Decompress, Row) {
  const Case& c = GetParam();
  // A guard byte past the row: a write beyond it would change it.
  Bytes buffer(c.rowLength + 1, 0xA5);
  const std::span<std::uint8_t> row(buffer.data(), c.rowLength);
  const auto run = [&] {
    if (c.algorithm == Algorithm::kRle) DecompressRle(c.packed, row);
    else DecompressRdc(c.packed, row);
  };
  if (c.error != nullptr) {
    try {
      run();
      ADD_FAILURE() << "no error";
    } catch (const DecompressError& e) {
      EXPECT_NE(std::string(e.what()).find(c.error), std::string::npos) << e.what();
    }
  } else {
    run();
    EXPECT_EQ(Bytes(row.begin(), row.end()), c.expected);
  }
  EXPECT_EQ(buffer.back(), 0xA5);
}

std::string NameOf(const ::testing::TestParamInfo<Case>& info) {
  std::string name = info.param.name;
  for (char& ch : name) {
    if (!std::isalnum(static_cast<unsigned char>(ch))) ch = '_';
  }
  return name;
}

constexpr Algorithm R = Algorithm::kRle;
constexpr Algorithm D = Algorithm::kRdc;

INSTANTIATE_TEST_SUITE_P(Rle, Decompress, ::testing::Values(
    Case{"copy64", R, Cat({{0x01, 0x02}, Count(64 + 256 + 2)}), 322, Count(322), nullptr},
    Case{"copy4160", R, Cat({{0x10, 0x03}, Count(4163)}), 4163, Count(4163), nullptr},
    Case{"copy96", R, Cat({{0x25}, Count(101)}), 101, Count(101), nullptr},
    Case{"code3", R, {0x30, 0x00}, 4, {}, "0x30 at byte 0 is no RLE command"},
    Case{"byte18", R, {0x41, 0x02, 'x'}, 256 + 2 + 18, Repeat(276, 'x'), nullptr},
    Case{"at17", R, {0x50, 0x01}, 18, Repeat(18, '@'), nullptr},
    Case{"blank17", R, {0x61, 0x00}, 273, Repeat(273, ' '), nullptr},
    Case{"zero17", R, {0x70, 0x03}, 20, Repeat(20, 0), nullptr},
    Case{"copy1", R, {0x82, 'a', 'b', 'c'}, 3, Text("abc"), nullptr},
    Case{"copy17", R, Cat({{0x91}, Count(18)}), 18, Count(18), nullptr},
    Case{"copy33", R, Cat({{0xA2}, Count(35)}), 35, Count(35), nullptr},
    Case{"copy49", R, Cat({{0xB0}, Count(49)}), 49, Count(49), nullptr},
    Case{"byte3", R, {0xC2, 'z'}, 5, Text("zzzzz"), nullptr},
    Case{"at2", R, {0xD1}, 3, Text("@@@"), nullptr},
    Case{"blank2", R, {0xE3}, 5, Text("     "), nullptr},
    Case{"zero2", R, {0xF0}, 2, Repeat(2, 0), nullptr},
    Case{"mixed", R, {0x81, 'h', 'i', 0xE0, 0xC0, 'q', 0x80, '!', 0xF1}, 11,
         Cat({Text("hi  qqq!"), Repeat(3, 0)}), nullptr},
    Case{"empty row", R, {}, 0, {}, nullptr},
    Case{"literal cut short", R, {0x84, 'a', 'b'}, 5, {}, "ends inside the command at byte 0"},
    Case{"count byte missing", R, {0x82, 'a', 'b', 'c', 0x40}, 30, {}, "ends inside the command at byte 4"},
    Case{"fill byte missing", R, {0x40, 0x00}, 18, {}, "ends inside the command at byte 0"},
    Case{"run past the row", R, {0x81, 'a', 'b', 0xE3}, 4, {}, "run of 5 bytes at byte 3 goes past"},
    Case{"literal past the row", R, Cat({{0x90}, Count(17)}), 16, {}, "run of 17 bytes at byte 0"},
    Case{"long run past the row", R, {0x7F, 0xFF}, 100, {}, "run of 4112 bytes"},
    Case{"row left short", R, {0xD0}, 3, {}, "decompresses to 2 bytes, not 3"},
    Case{"nothing for a row", R, {}, 2, {}, "decompresses to 0 bytes, not 2"}), NameOf);

INSTANTIATE_TEST_SUITE_P(Rdc, Decompress, ::testing::Values(
    Case{"literals", D, Cat({{0x00, 0x00}, Text("abc")}), 3, Text("abc"), nullptr},
    Case{"second control word", D, Cat({{0x00, 0x00}, Count(16), {0x00, 0x00}, Count(2, 16)}), 18, Count(18),
         nullptr},
    Case{"ends after a control word", D, Cat({{0x00, 0x00}, Count(16), {0x00, 0x00}}), 16, Count(16), nullptr},
    Case{"short run", D, {0x80, 0x00, 0x02, 'x'}, 5, Text("xxxxx"), nullptr},
    Case{"long run", D, {0x80, 0x00, 0x13, 0x02, 'y'}, 3 + 32 + 19, Repeat(54, 'y'), nullptr},
    Case{"long pattern", D, {0x10, 0x00, 'a', 'b', 'c', 0x20, 0x00, 0x04}, 23, Text("abcabcabcabcabcabcabcab"),
         nullptr},
    Case{"short pattern 3", D, {0x10, 0x00, 'a', 'b', 'c', 0x30, 0x00}, 6, Text("abcabc"), nullptr},
    Case{"short pattern 15", D, {0x10, 0x00, 'x', 'y', 'z', 0xF0, 0x00}, 18, Text("xyzxyzxyzxyzxyzxyz"), nullptr},
    Case{"pattern far back", D, Cat({{0x00, 0x00}, Count(16), {0x08, 0x00}, Count(4, 16), {0x51, 0x01}}), 25,
         Cat({Count(20), Count(5, 0)}), nullptr},
    Case{"command then literal", D, {0x40, 0x00, 'a', 0x01, 'b', 'c'}, 6, Text("abbbbc"), nullptr},
    Case{"empty row", D, {}, 0, {}, nullptr},
    Case{"control word cut short", D, {0x00}, 1, {}, "ends inside the command at byte 0"},
    Case{"run byte missing", D, {0x80, 0x00, 0x13, 0x02}, 60, {}, "ends inside the command at byte 2"},
    Case{"pattern count missing", D, {0x10, 0x00, 'a', 'b', 'c', 0x20, 0x00}, 30, {},
         "ends inside the command at byte 5"},
    Case{"copy before the start", D, {0x40, 0x00, 'a', 0x30, 0x00}, 4, {}, "reaches 3 bytes back"},
    Case{"far copy before the start", D, {0x80, 0x00, 0x3F, 0xFF}, 4, {}, "reaches 4098 bytes back"},
    Case{"run past the row", D, {0x80, 0x00, 0x0F, 'x'}, 5, {}, "run of 18 bytes at byte 2 goes past"},
    Case{"pattern past the row", D, {0x10, 0x00, 'a', 'b', 'c', 0x20, 0x00, 0xFF}, 40, {}, "run of 271 bytes"},
    Case{"row left short", D, {0x00, 0x00, 'a'}, 2, {}, "decompresses to 1 bytes, not 2"}), NameOf);

}  // namespace
}  // namespace codebook::data::sas
