// The long strings (strL) of releases 117 to 119. A strL cell of a row holds
// a reference (v, o), a variable and a case number, to a GSO record of the
// strls section: "GSO", v, o, a type (129 binary, 130 text ending in a NUL),
// a length and the contents. (0, 0) is the empty string. Several cells may
// refer to one record, so the records are found through an index sorted by
// (v, o), made by one walk over their headers when the file is opened; the
// contents are read when a pass needs them.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/data/dta/dta_layout.h"
#include "platform/data/sav/byte_source.h"

namespace codebook::data::dta {

class StrLIndex {
 public:
  struct Entry {
    std::uint64_t o = 0;
    std::uint32_t v = 0;
    std::uint32_t length = 0;  // of the contents, without a text's closing NUL
    std::uint64_t offset = 0;  // of the contents in the file
  };

  StrLIndex() = default;
  // Walks the GSO records of [layout.strlsBegin, layout.strlsEnd). Throws
  // FileError when one is malformed or passes the end of the section.
  static StrLIndex Build(const sav::ByteSource& source, const DtaLayout& layout);

  const Entry* Find(std::uint32_t v, std::uint64_t o) const;
  bool Empty() const { return entries_.empty(); }
  std::size_t Size() const { return entries_.size(); }
  // The longest contents of the records of variable v (1-based).
  std::uint32_t LongestOf(std::uint32_t v) const;

 private:
  std::vector<Entry> entries_;  // sorted by (v, o)
};

// A cell's reference, as the release and byte order store it: release 117
// v and o in 4 bytes each; 118 v in 2 and o in 6; 119 v in 3 and o in 5.
struct StrLRef {
  std::uint32_t v = 0;
  std::uint64_t o = 0;
};
StrLRef DecodeStrLRef(const std::uint8_t* cell, int release, bool bigEndian);
// The other reading of a big-endian 118/119 cell (the 8 bytes as one
// number, v in its low bytes), tried when the first finds no record.
StrLRef DecodeStrLRefAsNumber(const std::uint8_t* cell, int release);

}  // namespace codebook::data::dta
