// How the slots of a stored case become the cells of a host case: where each
// numeric value and each piece of each string comes from, and how the data
// section is laid out. Built once per file by the dictionary decoder.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/data/sav/raw_dictionary.h"
#include "platform/data/sav/zlib_layout.h"

namespace codebook::data::sav {

struct CasePlan {
  std::string fileName;
  Compression compression = Compression::kNone;
  bool bigEndian = false;
  double bias = 100.0;
  std::uint64_t dataOffset = 0;
  ZlibLayout zlib;

  std::size_t slotsPerCase = 0;
  std::size_t cellsPerCase = 0;
  std::int64_t declaredCases = -1;  // -1 unknown
  std::uint64_t declaredSysmisBits = 0xFFEFFFFFFFFFFFFFull;

  struct Numeric {
    std::uint32_t slot;
    std::uint32_t cell;
  };
  struct Piece {
    std::uint32_t sourceByte;  // within the case's slots
    std::uint32_t length;
  };
  struct String {
    std::uint32_t cellByte;    // first byte of its cells
    std::uint32_t cellBytes;   // bytes its cells hold
    std::uint32_t width;       // declared width
    std::uint32_t firstPiece;
    std::uint32_t pieceCount;
  };
  std::vector<Numeric> numerics;
  std::vector<String> strings;
  std::vector<Piece> pieces;

  std::string encoding;  // converter name
  bool utf8 = true;
  // Slots and cells coincide (UTF-8 text, no very long strings): cases are
  // fixed up in place instead of copied.
  bool identity = true;
};

}  // namespace codebook::data::sav
