// Releases 104 to 115: a 10-byte header (release, byte order, file type,
// the number of variables in 2 bytes and of cases in 4), the data label and
// time stamp, then one fixed-size field per variable in each of the type,
// name, sort, format, value-label name and label lists, the expansion fields
// (characteristics), the rows, and the value-label tables to the end of the
// file. Fields grew over the releases; the sizes are in FieldSizes.
#include <string>

#include "platform/data/byte_cursor.h"
#include "platform/data/dta/dta_layout.h"
#include "platform/data/sav/file_error.h"

namespace codebook::data::dta::detail {
namespace {

struct FieldSizes {
  std::size_t dataLabel, timestamp, name, format, labelName, variableLabel, expansionLength;
};

FieldSizes SizesOf(int release) {
  FieldSizes s{};
  s.dataLabel = release >= 108 ? 81 : 32;
  s.timestamp = release >= 105 ? 18 : 0;
  s.name = release >= 110 ? 33 : 9;
  s.format = release >= 114 ? 49 : (release >= 105 ? 12 : 7);
  s.labelName = release >= 110 ? 33 : 9;
  s.variableLabel = release >= 108 ? 81 : 32;
  s.expansionLength = release >= 105 ? (release >= 110 ? 4 : 2) : 0;
  return s;
}

std::string Field(ByteCursor& cursor, std::size_t size) { return std::string(UpToNul(cursor.Text(size))); }

// Type codes: letters up to release 110, 251..255 from 111; strings are
// their width (111 and later) or 0x7F plus their width (before).
bool DecodeType(int release, std::uint8_t code, RawVariable& v) {
  const auto numeric = [&v](Storage storage, std::uint32_t bytes) {
    v.storage = storage;
    v.bytes = bytes;
    return true;
  };
  if (release >= 111) {
    switch (code) {
      case 251: return numeric(Storage::kByte, 1);
      case 252: return numeric(Storage::kInt, 2);
      case 253: return numeric(Storage::kLong, 4);
      case 254: return numeric(Storage::kFloat, 4);
      case 255: return numeric(Storage::kDouble, 8);
      default: break;
    }
    if (code < 1 || code > 244) return false;
    v.storage = Storage::kString;
    v.bytes = code;
    return true;
  }
  switch (code) {
    case 'b': return numeric(Storage::kByte, 1);
    case 'i': return numeric(Storage::kInt, 2);
    case 'l': return numeric(Storage::kLong, 4);
    case 'f': return numeric(Storage::kFloat, 4);
    case 'd': return numeric(Storage::kDouble, 8);
    default: break;
  }
  if (code <= 0x7F) return false;
  v.storage = Storage::kString;
  v.bytes = code - 0x7Fu;
  return true;
}

// The expansion fields: (type, length, contents) until a field of type 0
// and length 0. Type 1 is a characteristic: variable name, its name, text.
std::uint64_t ReadExpansionFields(const sav::ByteSource& source, std::uint64_t at, const FieldSizes& sizes,
                                  DtaLayout& layout, sav::Warnings& warnings) {
  const std::uint64_t size = source.Size();
  for (;;) {
    std::uint8_t head[5] = {};
    const std::size_t headBytes = 1 + sizes.expansionLength;
    if (source.ReadAt(at, std::span<std::uint8_t>(head, headBytes)) != headBytes) {
      throw FileError(source.Name(), "the file ends inside the characteristics");
    }
    ByteCursor cursor(std::span<const std::uint8_t>(head, headBytes), layout.bigEndian, "an expansion field");
    const std::uint8_t type = cursor.U8();
    const std::uint64_t length = cursor.Unsigned(sizes.expansionLength);
    at += headBytes;
    if (type == 0 && length == 0) return at;
    if (length > size - at) {
      throw FileError(source.Name(), "an expansion field of " + std::to_string(length) +
                                         " bytes passes the end of the file");
    }
    if (type == 1 && length >= 2 * sizes.name) {
      std::vector<std::uint8_t> bytes(length);
      source.ReadAt(at, bytes);
      ByteCursor field(bytes, layout.bigEndian, "a characteristic");
      RawCharacteristic c;
      c.variable = Field(field, sizes.name);
      c.name = Field(field, sizes.name);
      c.contents = std::string(UpToNul(field.Text(field.Remaining())));
      layout.characteristics.push_back(std::move(c));
    } else if (type == 1) {
      warnings.Add("characteristics", "a characteristic too short to hold its names is ignored");
    }
    at += length;
  }
}

}  // namespace

DtaLayout ReadBinaryLayout(const sav::ByteSource& source, sav::Warnings& warnings) {
  const std::uint64_t fileSize = source.Size();
  std::uint8_t first[10] = {};
  if (source.ReadAt(0, first) != sizeof first) throw FileError(source.Name(), "the file ends inside the header");
  DtaLayout layout;
  layout.release = first[0];
  layout.bigEndian = first[1] == 1;
  const FieldSizes sizes = SizesOf(layout.release);
  ByteCursor counts(std::span<const std::uint8_t>(first + 4, 6), layout.bigEndian, "the header");
  const std::uint64_t variables = counts.U16();
  layout.cases = counts.U32();

  // Everything up to the expansion fields has a size known from here on.
  const std::uint64_t perVariable = 1 + sizes.name + 2 + sizes.format + sizes.labelName + sizes.variableLabel;
  const std::uint64_t descriptorBytes = 10 + sizes.dataLabel + sizes.timestamp + variables * perVariable + 2;
  if (descriptorBytes > fileSize) {
    throw FileError(source.Name(), "the file ends inside the descriptors of its " + std::to_string(variables) +
                                       " variables");
  }
  std::vector<std::uint8_t> bytes(descriptorBytes);
  source.ReadAt(0, bytes);
  ByteCursor cursor(bytes, layout.bigEndian, "the descriptors");
  cursor.Skip(10);
  layout.dataLabel = Field(cursor, sizes.dataLabel);
  layout.timestamp = Field(cursor, sizes.timestamp);
  layout.variables.resize(variables);
  for (std::size_t i = 0; i < variables; ++i) {
    const std::uint8_t code = cursor.U8();
    if (!DecodeType(layout.release, code, layout.variables[i])) {
      throw FileError(source.Name(), "variable " + std::to_string(i + 1) + " has the unknown storage type " +
                                         std::to_string(code));
    }
  }
  for (auto& v : layout.variables) v.name = Field(cursor, sizes.name);
  cursor.Skip(2 * (variables + 1));  // the sort order
  for (auto& v : layout.variables) v.format = Field(cursor, sizes.format);
  for (auto& v : layout.variables) v.labelSet = Field(cursor, sizes.labelName);
  for (auto& v : layout.variables) v.label = Field(cursor, sizes.variableLabel);

  std::uint64_t at = cursor.Position();
  if (layout.release >= 105) at = ReadExpansionFields(source, at, sizes, layout, warnings);
  for (const auto& v : layout.variables) layout.rowBytes += v.bytes;
  layout.dataOffset = at;
  if (layout.rowBytes != 0 && layout.cases > (fileSize - at) / layout.rowBytes) {
    throw FileError(source.Name(), "the file ends inside the data: it holds " +
                                       std::to_string((fileSize - at) / layout.rowBytes) + " of the " +
                                       std::to_string(layout.cases) + " cases it declares");
  }
  layout.labelsBegin = at + (layout.rowBytes == 0 ? 0 : layout.cases * layout.rowBytes);
  layout.labelsEnd = fileSize;
  return layout;
}

}  // namespace codebook::data::dta::detail
