// The parts of a .dta file as stored, before any of it is given meaning:
// header, variable descriptors, characteristics, and where the data, the
// long strings (strL) and the value-label tables lie. Texts are the file's
// bytes, not yet decoded.
//
// Releases 104 to 115 are a binary header followed by fixed-size fields;
// releases 117 to 119 wrap the same parts, some of them wider, in tags
// (<stata_dta><header>...). Both are read into this one form.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/data/sav/byte_source.h"
#include "platform/data/sav/warnings.h"

namespace codebook::data::dta {

enum class Storage : std::uint8_t { kByte, kInt, kLong, kFloat, kDouble, kString, kStrL };

struct RawVariable {
  Storage storage = Storage::kDouble;
  std::uint32_t bytes = 8;  // in a stored row: 1, 2, 4, 8, the string's width, 8 for strL
  std::string name;
  std::string format;       // e.g. "%9.2f", "%td", "%-20s"
  std::string labelSet;     // the name of its value-label table, or empty
  std::string label;
};

struct RawCharacteristic {
  std::string variable;  // "_dta" for the dataset's own
  std::string name;      // e.g. "note1"
  std::string contents;
};

struct DtaLayout {
  int release = 0;
  bool bigEndian = false;
  std::uint64_t cases = 0;
  std::string dataLabel;
  std::string timestamp;
  std::vector<RawVariable> variables;
  std::vector<RawCharacteristic> characteristics;
  std::uint64_t rowBytes = 0;
  std::uint64_t dataOffset = 0;
  // The strL section's contents [strlsBegin, strlsEnd), empty before 117.
  std::uint64_t strlsBegin = 0;
  std::uint64_t strlsEnd = 0;
  // The value-label tables [labelsBegin, labelsEnd).
  std::uint64_t labelsBegin = 0;
  std::uint64_t labelsEnd = 0;

  // Extended missing values .a-.z exist from release 113.
  bool ExtendedMissing() const { return release >= 113; }
  // Texts are UTF-8 from release 118.
  bool Utf8() const { return release >= 118; }
};

// Reads the layout of a .dta file of any release read here. Throws FileError
// for a release not read, a truncated file or descriptors that contradict
// the file (sizes past its end, unknown storage types).
DtaLayout ReadDtaLayout(const sav::ByteSource& source, sav::Warnings& warnings);

namespace detail {
DtaLayout ReadBinaryLayout(const sav::ByteSource& source, sav::Warnings& warnings);
DtaLayout ReadTaggedLayout(const sav::ByteSource& source, sav::Warnings& warnings);
}  // namespace detail

// The name of a release's storage type, as messages name it.
std::string StorageName(Storage storage, std::uint32_t bytes);

}  // namespace codebook::data::dta
