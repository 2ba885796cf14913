// The dictionary records of a dataset file in raw form: bytes as stored,
// text not yet decoded. Text can only be decoded once the whole dictionary
// has been read, because the encoding record may come last.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "platform/data/sav/byte_source.h"
#include "platform/data/sav/warnings.h"

namespace codebook::data::sav {

enum class Compression { kNone = 0, kBytecode = 1, kZlib = 2 };

using Raw8 = std::array<std::uint8_t, 8>;

struct RawHeader {
  bool bigEndian = false;
  std::int32_t layoutCode = 2;
  std::int32_t nominalCaseSize = 0;
  Compression compression = Compression::kNone;
  std::int32_t weightIndex = 0;
  std::int32_t caseCount = -1;
  double bias = 100.0;
  std::string product;    // 60 bytes
  std::string date;       // 9 bytes
  std::string time;       // 8 bytes
  std::string fileLabel;  // 64 bytes
};

struct RawVariable {
  std::int32_t type = 0;  // 0 numeric, 1..255 string width, -1 continuation
  bool hasLabel = false;
  std::string label;
  std::int32_t missingCode = 0;
  std::vector<Raw8> missing;
  std::uint32_t print = 0;
  std::uint32_t write = 0;
  std::string name;  // 8 bytes as stored
  std::uint64_t offset = 0;
};

struct RawValueLabels {
  std::vector<std::pair<Raw8, std::string>> labels;
  std::vector<std::int32_t> indexes;  // 1-based dictionary indexes
  std::uint64_t offset = 0;
};

struct RawExtension {
  std::int32_t subtype = 0;
  std::int32_t size = 0;
  std::int32_t count = 0;
  std::vector<std::uint8_t> data;
  std::uint64_t offset = 0;
};

struct RawDictionary {
  RawHeader header;
  std::vector<RawVariable> variables;  // one per variable record
  std::vector<RawValueLabels> valueLabels;
  std::vector<std::string> documentLines;  // 80 bytes each
  bool hasDocumentRecord = false;
  std::vector<RawExtension> extensions;  // known subtypes, in file order
  std::uint64_t dataOffset = 0;          // first byte after the 999 record

  // The first extension record of a subtype, or null.
  const RawExtension* Find(std::int32_t subtype) const;
};

// Reads the header and every record up to and including 999. Throws
// FileError for anything that makes the file unreadable.
RawDictionary ReadRawDictionary(const ByteSource& source, Warnings& warnings);

}  // namespace codebook::data::sav
