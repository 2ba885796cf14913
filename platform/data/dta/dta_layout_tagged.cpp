// Releases 117 to 119: the parts in tags, in a fixed order. 118 widened the
// case count to 8 bytes and the names, formats and labels for UTF-8 text;
// 119 widened the variable count and the sort list to 4 bytes. The map of
// section offsets is only a shortcut: the sections are read in order and
// each is checked by its tags, and the map is trusted only where it points
// at the tag it names.
#include <algorithm>
#include <string>

#include "platform/data/byte_cursor.h"
#include "platform/data/dta/dta_layout.h"
#include "platform/data/sav/file_error.h"

namespace codebook::data::dta::detail {
namespace {

struct FieldSizes {
  std::size_t variableCount, caseCount, labelLength, sortEntry, name, format, variableLabel;
};

FieldSizes SizesOf(int release) {
  const bool wide = release >= 118;
  return FieldSizes{release >= 119 ? 4u : 2u, wide ? 8u : 4u, wide ? 2u : 1u, release >= 119 ? 4u : 2u,
                    wide ? 129u : 33u, wide ? 57u : 49u, wide ? 321u : 81u};
}

std::string Field(ByteCursor& cursor, std::size_t size) { return std::string(UpToNul(cursor.Text(size))); }

// Reads [at, at + n) of the file, checked against its size first.
std::vector<std::uint8_t> ReadRange(const sav::ByteSource& source, std::uint64_t at, std::uint64_t n,
                                    const char* what) {
  if (at > source.Size() || n > source.Size() - at) {
    throw FileError(source.Name(), std::string("the file ends inside ") + what);
  }
  std::vector<std::uint8_t> bytes(n);
  source.ReadAt(at, bytes);
  return bytes;
}

void Expect(ByteCursor& cursor, std::string_view tag, const sav::ByteSource& source) {
  if (!cursor.Consume(tag)) {
    if (cursor.Remaining() < tag.size() && cursor.Position() + tag.size() > source.Size()) {
      throw FileError(source.Name(), "the file ends inside " + cursor.What());
    }
    throw FileError(source.Name(), "expected " + std::string(tag) + " at byte " + std::to_string(cursor.Position()) +
                                       " of " + cursor.What());
  }
}

Storage StorageOf(std::uint16_t code, RawVariable& v) {
  switch (code) {
    case 65530: v.bytes = 1; return Storage::kByte;
    case 65529: v.bytes = 2; return Storage::kInt;
    case 65528: v.bytes = 4; return Storage::kLong;
    case 65527: v.bytes = 4; return Storage::kFloat;
    case 65526: v.bytes = 8; return Storage::kDouble;
    case 32768: v.bytes = 8; return Storage::kStrL;
    default: break;
  }
  v.bytes = code;
  return Storage::kString;
}

// The header up to <map>: release, byte order, counts, label, time stamp.
// Returns where the map begins.
std::uint64_t ReadHeader(const sav::ByteSource& source, DtaLayout& layout, FieldSizes& sizes) {
  // The longest header: tags, 8-byte counts, a label of 65535 bytes.
  const std::uint64_t want = std::min<std::uint64_t>(source.Size(), 65535 + 512);
  std::vector<std::uint8_t> bytes(want);
  source.ReadAt(0, bytes);
  ByteCursor c(bytes, false, "the header");
  Expect(c, "<stata_dta><header><release>", source);
  const std::string_view release = c.Text(3);
  if (release != "117" && release != "118" && release != "119") {
    throw FileError(source.Name(), "Stata .dta release " + std::string(release) +
                                       " is not read (releases 104 to 119 are)");
  }
  layout.release = std::stoi(std::string(release));
  sizes = SizesOf(layout.release);
  Expect(c, "</release><byteorder>", source);
  const std::string_view order = c.Text(3);
  if (order != "MSF" && order != "LSF") throw FileError(source.Name(), "unknown byte order " + std::string(order));
  layout.bigEndian = order == "MSF";
  ByteCursor h(bytes, layout.bigEndian, "the header");
  h.Seek(c.Position());
  Expect(h, "</byteorder><K>", source);
  const std::uint64_t variables = h.Unsigned(sizes.variableCount);
  Expect(h, "</K><N>", source);
  layout.cases = h.Unsigned(sizes.caseCount);
  Expect(h, "</N><label>", source);
  layout.dataLabel = std::string(h.Text(h.Unsigned(sizes.labelLength)));
  Expect(h, "</label><timestamp>", source);
  layout.timestamp = std::string(h.Text(h.U8()));
  Expect(h, "</timestamp></header>", source);
  if (variables > source.Size()) {
    throw FileError(source.Name(), "the header declares " + std::to_string(variables) +
                                       " variables, more than the file can describe");
  }
  layout.variables.resize(variables);
  return h.Position();
}

// Characteristics: <ch>, a 4-byte length, the variable's and the
// characteristic's names, the text; until </characteristics>.
std::uint64_t ReadCharacteristics(const sav::ByteSource& source, std::uint64_t at, const FieldSizes& sizes,
                                  DtaLayout& layout, sav::Warnings& warnings) {
  const auto tag = ReadRange(source, at, 17, "the characteristics");
  ByteCursor c(tag, layout.bigEndian, "the characteristics");
  Expect(c, "<characteristics>", source);
  at += 17;
  for (;;) {
    const std::uint64_t left = source.Size() - std::min(source.Size(), at);
    const auto head = ReadRange(source, at, std::min<std::uint64_t>(left, 18), "the characteristics");
    ByteCursor h(head, layout.bigEndian, "the characteristics");
    if (h.Consume("</characteristics>")) return at + 18;
    Expect(h, "<ch>", source);
    const std::uint64_t length = h.U32();
    at += 8;
    const auto body = ReadRange(source, at, length + 5, "a characteristic");
    ByteCursor b(body, layout.bigEndian, "a characteristic");
    if (length >= 2 * sizes.name) {
      RawCharacteristic ch;
      ch.variable = Field(b, sizes.name);
      ch.name = Field(b, sizes.name);
      ch.contents = std::string(UpToNul(b.Text(length - 2 * sizes.name)));
      layout.characteristics.push_back(std::move(ch));
    } else {
      warnings.Add("characteristics", "a characteristic too short to hold its names is ignored");
      b.Skip(length);
    }
    Expect(b, "</ch>", source);
    at += length + 5;
  }
}

// The offset of <value_labels>: the map's when it points there, else found
// by walking the strLs (GSO, v, o, type, length, contents) to </strls>.
std::uint64_t FindValueLabels(const sav::ByteSource& source, std::uint64_t strls, std::uint64_t mapped,
                              const DtaLayout& layout) {
  const auto at = [&](std::uint64_t offset, std::string_view tag) {
    if (offset > source.Size() || source.Size() - offset < tag.size()) return false;
    std::string bytes(tag.size(), '\0');
    source.ReadAt(offset, std::span<std::uint8_t>(reinterpret_cast<std::uint8_t*>(bytes.data()), bytes.size()));
    return bytes == tag;
  };
  if (mapped > strls && at(mapped, "<value_labels>") && at(mapped - 8, "</strls>")) return mapped;
  const std::size_t oBytes = layout.release >= 118 ? 8 : 4;
  std::uint64_t offset = strls;
  for (;;) {
    if (at(offset, "</strls>")) return offset + 8;
    const auto head = ReadRange(source, offset, 3 + 4 + oBytes + 1 + 4, "the strLs");
    ByteCursor h(head, layout.bigEndian, "the strLs");
    Expect(h, "GSO", source);
    h.Skip(4 + oBytes + 1);
    const std::uint64_t length = h.U32();
    offset += head.size();
    if (length > source.Size() - offset) throw FileError(source.Name(), "the file ends inside a strL");
    offset += length;
  }
}

}  // namespace

DtaLayout ReadTaggedLayout(const sav::ByteSource& source, sav::Warnings& warnings) {
  DtaLayout layout;
  FieldSizes sizes{};
  std::uint64_t at = ReadHeader(source, layout, sizes);
  const std::uint64_t k = layout.variables.size();

  const std::uint64_t descriptorBytes = 5 + 14 * 8 + 6 + 16 + k * 2 + 17 + 10 + k * sizes.name + 11 + 10 +
                                        (k + 1) * sizes.sortEntry + 11 + 9 + k * sizes.format + 10 + 19 +
                                        k * sizes.name + 20 + 17 + k * sizes.variableLabel + 18;
  const auto bytes = ReadRange(source, at, descriptorBytes, "the variable descriptors");
  ByteCursor c(bytes, layout.bigEndian, "the variable descriptors");
  Expect(c, "<map>", source);
  std::uint64_t map[14];
  for (auto& entry : map) entry = c.U64();
  Expect(c, "</map><variable_types>", source);
  for (std::size_t i = 0; i < k; ++i) {
    RawVariable& v = layout.variables[i];
    const std::uint16_t code = c.U16();
    v.storage = StorageOf(code, v);
    if (v.storage == Storage::kString && (code < 1 || code > 2045)) {
      throw FileError(source.Name(), "variable " + std::to_string(i + 1) + " has the unknown storage type " +
                                         std::to_string(code));
    }
  }
  Expect(c, "</variable_types><varnames>", source);
  for (auto& v : layout.variables) v.name = Field(c, sizes.name);
  Expect(c, "</varnames><sortlist>", source);
  c.Skip((k + 1) * sizes.sortEntry);
  Expect(c, "</sortlist><formats>", source);
  for (auto& v : layout.variables) v.format = Field(c, sizes.format);
  Expect(c, "</formats><value_label_names>", source);
  for (auto& v : layout.variables) v.labelSet = Field(c, sizes.name);
  Expect(c, "</value_label_names><variable_labels>", source);
  for (auto& v : layout.variables) v.label = Field(c, sizes.variableLabel);
  Expect(c, "</variable_labels>", source);
  at += c.Position();

  at = ReadCharacteristics(source, at, sizes, layout, warnings);
  const auto dataTag = ReadRange(source, at, 6, "the data");
  ByteCursor d(dataTag, layout.bigEndian, "the data");
  Expect(d, "<data>", source);
  layout.dataOffset = at + 6;
  for (const auto& v : layout.variables) layout.rowBytes += v.bytes;
  const std::uint64_t left = source.Size() - layout.dataOffset;
  if (layout.rowBytes != 0 && layout.cases > left / layout.rowBytes) {
    throw FileError(source.Name(), "the file ends inside the data: it holds " +
                                       std::to_string(left / layout.rowBytes) + " of the " +
                                       std::to_string(layout.cases) + " cases it declares");
  }
  const std::uint64_t dataEnd = layout.dataOffset + (layout.rowBytes == 0 ? 0 : layout.cases * layout.rowBytes);
  const auto strlsTag = ReadRange(source, dataEnd, 14, "the end of the data");
  ByteCursor s(strlsTag, layout.bigEndian, "the end of the data");
  Expect(s, "</data><strls>", source);
  layout.strlsBegin = dataEnd + 14;
  const std::uint64_t labels = FindValueLabels(source, layout.strlsBegin, map[11], layout);
  layout.strlsEnd = labels - 8;
  // The tables run to </value_labels>, which their reader looks for.
  layout.labelsBegin = labels + 14;
  layout.labelsEnd = source.Size();
  return layout;
}

}  // namespace codebook::data::dta::detail
