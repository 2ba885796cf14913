// What the stages of the dictionary decoder share: the raw records, the
// text decoder once the encoding is known, and the variables as they take
// shape. The variables are kept in a form of their own until the last stage,
// because records refer to them three ways (by record position before very
// long strings are merged, by short name, by final name) and each stage may
// still change the width, the formats or the name.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "host/data/vela_format.h"
#include "platform/data/missing_values.h"
#include "platform/data/sav/byte_source.h"
#include "platform/data/sav/raw_dictionary.h"
#include "platform/data/sav/read_dataset.h"
#include "platform/data/sav/text_encoding.h"
#include "platform/data/sav/text_records.h"
#include "platform/data/sav/warnings.h"
#include "platform/data/text/name_index.h"

namespace codebook::data::sav::decode {

inline constexpr std::uint64_t kSysmisBits = 0xFFEFFFFFFFFFFFFFull;
inline constexpr std::uint64_t kHighestBits = 0x7FEFFFFFFFFFFFFFull;
inline constexpr std::uint64_t kOldLowestBits = 0xFFEFFFFFFFFFFFFEull;

// Fixed-size text fields are padded with blanks, or with NULs by some writers.
std::string_view TrimRight(std::string_view s);

inline Bytes AsBytes(const RawExtension& ext) { return Bytes(ext.data.data(), ext.data.size()); }

// Where a variable's bytes lie in a stored case: one segment, or one per
// 255-byte piece of a very long string.
struct Segment {
  std::uint32_t slotStart;
  std::uint32_t dataBytes;
};

struct VarInfo {
  int record = 0;
  int width = 0;
  std::string shortName;
  std::string shortFolded;
  std::vector<Segment> segments;
  bool removed = false;  // a later segment of a very long string
  std::optional<std::string> label;
  VELA_Format print;
  VELA_Format write;
  int measure = 0;
  int displayWidth = -1;
  int alignment = -1;
  std::vector<double> missingNumbers;
  std::optional<MissingValues::Range> missingRange;
  std::vector<std::string> missingStrings;
  std::vector<std::pair<Raw8, std::string>> shortLabels;  // raw, type 3/4
  std::vector<std::pair<std::string, std::string>> longLabels;  // decoded
  std::string name;
  std::string nameFolded;
  std::vector<RawAttribute> attributes;
};

class DecodeContext {
 public:
  DecodeContext(const RawDictionary& raw, const ByteSource& source, const ReadOptions& options,
                Warnings& warnings)
      : raw(raw), source(source), options(options), warnings(warnings), bigEndian(raw.header.bigEndian) {}

  // Text of the file in UTF-8; a warning names the encoding when bytes
  // were not valid in it. Only once the encoding stage has run.
  std::string Decode(std::string_view bytes);
  std::string DecodeTrimmed(std::string_view bytes) { return Decode(TrimRight(bytes)); }

  // The one extension record of a subtype, or null when it is absent, when
  // its element size (and count, when given) is not the one the subtype
  // has, or after the first of duplicates (with a warning each).
  const RawExtension* Single(std::int32_t subtype, std::int32_t size, std::int32_t count = -1);

  double Number(const Raw8& bytes) const;
  std::uint64_t Bits(const Raw8& bytes) const;

  // Positions of variables by folded short name and by folded final name,
  // or -1. The short-name index exists once very long strings are merged,
  // the final-name index once names are assigned.
  int FindShort(std::string_view folded) const;
  int FindName(std::string_view folded) const;
  VarInfo* FindByName(const std::string& decodedName);
  // The long string variable a long-string record names, or null after a
  // warning (`kind`) that its `what` ("value labels") are ignored.
  VarInfo* FindLongString(const std::string& decodedName, const char* kind, const char* what);

  const RawDictionary& raw;
  const ByteSource& source;
  const ReadOptions& options;
  Warnings& warnings;
  const bool bigEndian;

  // From the machine records.
  std::int32_t versionMajor = 0;
  std::int32_t characterCode = 0;
  std::uint64_t declaredSysmis = kSysmisBits;
  std::uint64_t declaredHighest = kHighestBits;
  std::uint64_t declaredLowest = kSysmisBits;

  // The encoding: the converter's name, the name users see, the decoder.
  std::string converter;
  std::string encodingName;
  std::optional<TextDecoder> decoder;

  std::vector<VarInfo> vars;
  std::vector<int> recordToVar;  // variable record -> position in vars, -1 continuation
  std::uint64_t slots = 0;       // 8-byte slots per stored case
  int weightVar = -1;
  bool hasVeryLong = false;
  NameIndex byShort;
  NameIndex byName;
};

}  // namespace codebook::data::sav::decode
