#include "platform/data/sas/sas7bdat_decompress.h"

#include <cstdio>
#include <cstring>
#include <string>

namespace codebook::data::sas {
namespace {

// The output side, shared by both algorithms: every write is checked
// against the row's end, every copy against its start.
class RowWriter {
 public:
  explicit RowWriter(std::span<std::uint8_t> row) : row_(row) {}

  void Room(std::size_t n, std::size_t at) const {
    if (n > row_.size() - written_) {
      throw DecompressError("a run of " + std::to_string(n) + " bytes at byte " + std::to_string(at) +
                            " goes past the row's end (" + std::to_string(row_.size() - written_) + " bytes left of " +
                            std::to_string(row_.size()) + ")");
    }
  }
  void Literal(std::span<const std::uint8_t> bytes, std::size_t at) {
    Room(bytes.size(), at);
    std::memcpy(row_.data() + written_, bytes.data(), bytes.size());
    written_ += bytes.size();
  }
  void Fill(std::uint8_t value, std::size_t n, std::size_t at) {
    Room(n, at);
    std::memset(row_.data() + written_, value, n);
    written_ += n;
  }
  // Byte by byte: a copy that overlaps its source repeats the pattern.
  void Back(std::size_t distance, std::size_t n, std::size_t at) {
    if (distance > written_) {
      throw DecompressError("a copy at byte " + std::to_string(at) + " reaches " + std::to_string(distance) +
                            " bytes back, before the row's start (" + std::to_string(written_) + " bytes written)");
    }
    Room(n, at);
    for (std::size_t k = 0; k < n; ++k, ++written_) row_[written_] = row_[written_ - distance];
  }
  void Finish() const {
    if (written_ != row_.size()) {
      throw DecompressError("the row decompresses to " + std::to_string(written_) + " bytes, not " +
                            std::to_string(row_.size()));
    }
  }

 private:
  std::span<std::uint8_t> row_;
  std::size_t written_ = 0;
};

class Input {
 public:
  explicit Input(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}
  bool AtEnd() const { return at_ == bytes_.size(); }
  std::size_t At() const { return at_; }
  std::uint8_t Byte(std::size_t command) {
    Need(1, command);
    return bytes_[at_++];
  }
  std::span<const std::uint8_t> Take(std::size_t n, std::size_t command) {
    Need(n, command);
    const auto out = bytes_.subspan(at_, n);
    at_ += n;
    return out;
  }

 private:
  void Need(std::size_t n, std::size_t command) const {
    if (n > bytes_.size() - at_) {
      throw DecompressError("the compressed row ends inside the command at byte " + std::to_string(command) + " (" +
                            std::to_string(n) + " more bytes wanted, " + std::to_string(bytes_.size() - at_) +
                            " left)");
    }
  }
  std::span<const std::uint8_t> bytes_;
  std::size_t at_ = 0;
};

}  // namespace

void DecompressRle(std::span<const std::uint8_t> packed, std::span<std::uint8_t> row) {
  Input in(packed);
  RowWriter out(row);
  while (!in.AtEnd()) {
    const std::size_t at = in.At();
    const std::uint8_t control = in.Byte(at);
    const std::size_t low = control & 0x0F;
    const auto wide = [&](std::size_t plus) { return (low << 8) + in.Byte(at) + plus; };
    switch (control >> 4) {
      case 0x0: out.Literal(in.Take(wide(64), at), at); break;
      case 0x1: out.Literal(in.Take(wide(64 + 4096), at), at); break;
      case 0x2: out.Literal(in.Take(low + 96, at), at); break;
      case 0x4: {
        const std::size_t n = wide(18);
        out.Fill(in.Byte(at), n, at);
        break;
      }
      case 0x5: out.Fill('@', wide(17), at); break;
      case 0x6: out.Fill(' ', wide(17), at); break;
      case 0x7: out.Fill(0, wide(17), at); break;
      case 0x8: out.Literal(in.Take(low + 1, at), at); break;
      case 0x9: out.Literal(in.Take(low + 17, at), at); break;
      case 0xA: out.Literal(in.Take(low + 33, at), at); break;
      case 0xB: out.Literal(in.Take(low + 49, at), at); break;
      case 0xC: out.Fill(in.Byte(at), low + 3, at); break;
      case 0xD: out.Fill('@', low + 2, at); break;
      case 0xE: out.Fill(' ', low + 2, at); break;
      case 0xF: out.Fill(0, low + 2, at); break;
      default: {
        char hex[8];
        std::snprintf(hex, sizeof hex, "0x%02X", control);
        throw DecompressError("the control byte " + std::string(hex) + " at byte " + std::to_string(at) +
                              " is no RLE command");
      }
    }
  }
  out.Finish();
}

void DecompressRdc(std::span<const std::uint8_t> packed, std::span<std::uint8_t> row) {
  Input in(packed);
  RowWriter out(row);
  std::uint16_t control = 0;
  int items = 0;  // left under the control word
  while (!in.AtEnd()) {
    if (items == 0) {
      const std::size_t at = in.At();
      const std::uint8_t high = in.Byte(at);
      control = static_cast<std::uint16_t>((high << 8) | in.Byte(at));
      items = 16;
      // Its last items may be unused: the row may end after a control word.
      if (in.AtEnd()) break;
    }
    const bool command = (control & 0x8000) != 0;
    control = static_cast<std::uint16_t>(control << 1);
    --items;
    const std::size_t at = in.At();
    if (!command) {
      out.Literal(in.Take(1, at), at);
      continue;
    }
    const std::uint8_t first = in.Byte(at);
    const std::size_t kind = first >> 4;
    const std::size_t low = first & 0x0F;
    switch (kind) {
      case 0: out.Fill(in.Byte(at), low + 3, at); break;
      case 1: {
        const std::size_t n = low + (static_cast<std::size_t>(in.Byte(at)) << 4) + 19;
        out.Fill(in.Byte(at), n, at);
        break;
      }
      case 2: {
        const std::size_t distance = low + 3 + (static_cast<std::size_t>(in.Byte(at)) << 4);
        out.Back(distance, static_cast<std::size_t>(in.Byte(at)) + 16, at);
        break;
      }
      default: {
        const std::size_t distance = low + 3 + (static_cast<std::size_t>(in.Byte(at)) << 4);
        out.Back(distance, kind, at);
        break;
      }
    }
  }
  out.Finish();
}

}  // namespace codebook::data::sas
