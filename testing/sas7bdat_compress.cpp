#include "testing/sas7bdat_compress.h"

#include <algorithm>

namespace codebook::data {
namespace {

// Equal bytes from `at`, at most `most`.
std::size_t RunAt(std::span<const std::uint8_t> row, std::size_t at, std::size_t most) {
  std::size_t n = 1;
  while (n < most && at + n < row.size() && row[at + n] == row[at]) ++n;
  return n;
}

std::uint8_t Byte(std::size_t v) { return static_cast<std::uint8_t>(v); }

}  // namespace

std::vector<std::uint8_t> CompressRowRle(std::span<const std::uint8_t> row) {
  std::vector<std::uint8_t> out;
  std::size_t literal = 0;
  const auto flush = [&](std::size_t to) {
    while (literal < to) {
      const std::size_t n = std::min<std::size_t>(16, to - literal);
      out.push_back(Byte(0x80 | (n - 1)));
      out.insert(out.end(), row.begin() + static_cast<std::ptrdiff_t>(literal),
                 row.begin() + static_cast<std::ptrdiff_t>(literal + n));
      literal += n;
    }
  };
  std::size_t i = 0;
  while (i < row.size()) {
    const std::size_t run = RunAt(row, i, 18 + 4095);
    if (run < 3) {
      ++i;
      continue;
    }
    flush(i);
    if (run <= 18) {
      out.insert(out.end(), {Byte(0xC0 | (run - 3)), row[i]});
    } else {
      const std::size_t extra = run - 18;
      out.insert(out.end(), {Byte(0x40 | (extra >> 8)), Byte(extra & 0xFF), row[i]});
    }
    i += run;
    literal = i;
  }
  flush(row.size());
  return out;
}

std::vector<std::uint8_t> CompressRowRdc(std::span<const std::uint8_t> row) {
  std::vector<std::uint8_t> out;
  std::size_t control = 0;  // where the current control word is
  int items = 16;           // used of it
  const auto item = [&](bool command, std::initializer_list<std::uint8_t> bytes) {
    if (items == 16) {
      control = out.size();
      out.insert(out.end(), {0, 0});
      items = 0;
    }
    if (command) out[control + (items < 8 ? 0 : 1)] |= Byte(0x80 >> (items % 8));
    ++items;
    out.insert(out.end(), bytes);
  };
  std::size_t i = 0;
  while (i < row.size()) {
    const std::size_t run = RunAt(row, i, 19 + 15 + (255 << 4));
    if (run >= 3) {
      if (run <= 18) {
        item(true, {Byte(run - 3), row[i]});
      } else {
        const std::size_t extra = run - 19;
        item(true, {Byte(0x10 | (extra & 0x0F)), Byte(extra >> 4), row[i]});
      }
      i += run;
      continue;
    }
    // The longest earlier match of 3 to 15 bytes, 3 to 4098 bytes back.
    std::size_t best = 0, distance = 0;
    for (std::size_t d = 3; d <= std::min<std::size_t>(i, 4098); ++d) {
      std::size_t n = 0;
      while (n < 15 && i + n < row.size() && row[i + n] == row[i + n - d]) ++n;
      if (n > best) {
        best = n;
        distance = d;
      }
    }
    if (best >= 3) {
      item(true, {Byte((best << 4) | ((distance - 3) & 0x0F)), Byte((distance - 3) >> 4)});
      i += best;
    } else {
      item(false, {row[i]});
      ++i;
    }
  }
  return out;
}

}  // namespace codebook::data
