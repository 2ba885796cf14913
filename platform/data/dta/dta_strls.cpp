#include "platform/data/dta/dta_strls.h"

#include <algorithm>
#include <cstring>

#include "platform/data/byte_cursor.h"
#include "platform/data/sav/file_error.h"

namespace codebook::data::dta {
namespace {

constexpr std::size_t kWindow = 1 << 20;

bool Before(const StrLIndex::Entry& a, const StrLIndex::Entry& b) {
  return a.v != b.v ? a.v < b.v : a.o < b.o;
}

// Reads the section's bytes a window at a time, so that a walk over many
// small records makes few reads, and one over a few huge ones skips them.
class Window {
 public:
  Window(const sav::ByteSource& source, std::uint64_t begin, std::uint64_t end)
      : source_(source), at_(begin), end_(end) {}

  std::uint64_t Offset() const { return at_; }
  std::uint64_t Left() const { return end_ - at_; }
  // The next n bytes (n small), or an empty span when fewer are left.
  std::span<const std::uint8_t> Peek(std::size_t n) {
    if (Left() < n) return {};
    if (at_ < bufferStart_ || at_ + n > bufferStart_ + buffer_.size()) {
      buffer_.resize(static_cast<std::size_t>(std::min<std::uint64_t>(kWindow, Left())));
      source_.ReadAt(at_, buffer_);
      bufferStart_ = at_;
    }
    return std::span<const std::uint8_t>(buffer_).subspan(static_cast<std::size_t>(at_ - bufferStart_), n);
  }
  void Skip(std::uint64_t n) { at_ += n; }

 private:
  const sav::ByteSource& source_;
  std::uint64_t at_;
  std::uint64_t end_;
  std::vector<std::uint8_t> buffer_;
  std::uint64_t bufferStart_ = 0;
};

}  // namespace

StrLIndex StrLIndex::Build(const sav::ByteSource& source, const DtaLayout& layout) {
  StrLIndex index;
  if (layout.strlsEnd <= layout.strlsBegin) return index;
  const std::size_t oBytes = layout.release >= 118 ? 8 : 4;
  const std::size_t headBytes = 3 + 4 + oBytes + 1 + 4;
  Window window(source, layout.strlsBegin, layout.strlsEnd);
  bool sorted = true;
  while (window.Left() > 0) {
    const auto head = window.Peek(headBytes);
    if (head.empty() || std::memcmp(head.data(), "GSO", 3) != 0) {
      throw FileError(source.Name(), "a malformed strL record at byte " + std::to_string(window.Offset()));
    }
    ByteCursor c(head, layout.bigEndian, "a strL record");
    c.Skip(3);
    Entry e;
    e.v = c.U32();
    e.o = c.Unsigned(oBytes);
    const std::uint8_t type = c.U8();
    const std::uint64_t length = c.U32();
    window.Skip(headBytes);
    if ((type != 129 && type != 130) || length > window.Left()) {
      throw FileError(source.Name(), "a malformed strL record at byte " + std::to_string(window.Offset() - headBytes));
    }
    // A text's length counts its closing NUL, which is no part of it.
    e.length = static_cast<std::uint32_t>(type == 130 && length > 0 ? length - 1 : length);
    e.offset = window.Offset();
    window.Skip(length);
    if (!index.entries_.empty() && !Before(index.entries_.back(), e)) sorted = false;
    index.entries_.push_back(e);
  }
  if (!sorted) std::stable_sort(index.entries_.begin(), index.entries_.end(), Before);
  return index;
}

const StrLIndex::Entry* StrLIndex::Find(std::uint32_t v, std::uint64_t o) const {
  Entry key;
  key.v = v;
  key.o = o;
  const auto it = std::lower_bound(entries_.begin(), entries_.end(), key, Before);
  return it != entries_.end() && it->v == v && it->o == o ? &*it : nullptr;
}

std::uint32_t StrLIndex::LongestOf(std::uint32_t v) const {
  Entry key;
  key.v = v;
  std::uint32_t longest = 0;
  for (auto it = std::lower_bound(entries_.begin(), entries_.end(), key, Before); it != entries_.end() && it->v == v;
       ++it) {
    longest = std::max(longest, it->length);
  }
  return longest;
}

StrLRef DecodeStrLRef(const std::uint8_t* cell, int release, bool bigEndian) {
  const std::size_t vBytes = release >= 119 ? 3 : (release >= 118 ? 2 : 4);
  ByteCursor c(std::span<const std::uint8_t>(cell, 8), bigEndian, "a strL cell");
  StrLRef ref;
  ref.v = static_cast<std::uint32_t>(c.Unsigned(vBytes));
  ref.o = c.Unsigned(8 - vBytes);
  return ref;
}

StrLRef DecodeStrLRefAsNumber(const std::uint8_t* cell, int release) {
  const unsigned vBits = release >= 119 ? 24 : 16;
  std::uint64_t number = 0;
  for (int i = 0; i < 8; ++i) number = (number << 8) | cell[i];
  StrLRef ref;
  ref.v = static_cast<std::uint32_t>(number & ((std::uint64_t{1} << vBits) - 1));
  ref.o = number >> vBits;
  return ref;
}

}  // namespace codebook::data::dta
