#include "platform/data/sav/raw_dictionary.h"

#include <cstring>
#include <set>

#include "platform/data/dataset_formats.h"
#include "platform/data/sav/endian.h"
#include "platform/data/sav/file_error.h"
#include "platform/data/sav/record_reader.h"

namespace codebook::data::sav {
namespace {

constexpr std::uint64_t kHeaderSize = 176;
// Labels beyond this are skipped, not stored: no real label is this long.
constexpr std::uint64_t kMaxStoredLabel = 64 * 1024;

bool IsKnownSubtype(std::int32_t subtype) {
  switch (subtype) {
    case 3: case 4: case 5: case 7: case 10: case 11: case 13: case 14: case 16:
    case 17: case 18: case 19: case 20: case 21: case 22:
      return true;
    default:
      return false;
  }
}

bool IsIgnoredSubtype(std::int32_t subtype) {
  return subtype == 6 || subtype == 8 || subtype == 12 || subtype == 24;
}

RawHeader ReadHeader(const ByteSource& source, Warnings& warnings) {
  const std::uint64_t size = source.Size();
  std::uint8_t h[kHeaderSize] = {};
  std::size_t got = source.ReadAt(0, std::span<std::uint8_t>(h, std::min<std::uint64_t>(size, kHeaderSize)));
  if (got == 0) throw FileError(source.Name(), "not a dataset file (the file is empty)");
  if (got >= 17 && std::memcmp(h + 8, "ENCRYPTED", 9) == 0) {
    throw FileError(source.Name(), "encrypted dataset files are not supported");
  }
  static const std::uint8_t kEbcdic[4] = {0x5B, 0xC6, 0xD3, 0xF2};
  if (got >= 4 && std::memcmp(h, kEbcdic, 4) == 0) {
    throw FileError(source.Name(), "EBCDIC dataset files are not supported");
  }
  if (got < 4 || (std::memcmp(h, "$FL2", 4) != 0 && std::memcmp(h, "$FL3", 4) != 0)) {
    throw FileError(source.Name(), NotADatasetFileText());
  }
  if (got < kHeaderSize) {
    throw FileError(source.Name(), "truncated file: the file header needs 176 bytes, the file has " +
                                       std::to_string(got));
  }
  RawHeader header;
  std::uint32_t le = Load32(h + 64, false);
  std::uint32_t be = Load32(h + 64, true);
  if (le == 2 || le == 3) {
    header.bigEndian = false;
  } else if (be == 2 || be == 3) {
    header.bigEndian = true;
  } else {
    throw FileError(source.Name(), "not a dataset file (bad layout code at offset 64)");
  }
  const bool bigEndian = header.bigEndian;
  header.layoutCode = static_cast<std::int32_t>(Load32(h + 64, bigEndian));
  header.nominalCaseSize = static_cast<std::int32_t>(Load32(h + 68, bigEndian));
  std::int32_t compression = static_cast<std::int32_t>(Load32(h + 72, bigEndian));
  const bool zmagic = h[3] == '3';
  if (compression < 0 || compression > 2) {
    throw FileError(source.Name(), "unknown compression code " + std::to_string(compression) +
                                       " at offset 72");
  }
  if ((compression == 2) != zmagic) {
    throw FileError(source.Name(), "compression code " + std::to_string(compression) +
                                       " does not match the file signature");
  }
  header.compression = static_cast<Compression>(compression);
  header.weightIndex = static_cast<std::int32_t>(Load32(h + 76, bigEndian));
  header.caseCount = static_cast<std::int32_t>(Load32(h + 80, bigEndian));
  header.bias = LoadDouble(h + 84, bigEndian);
  if (header.bias != 100.0 && header.bias != 0.0) {
    warnings.Add("bias", "unusual compression bias " + std::to_string(header.bias));
  }
  header.product.assign(reinterpret_cast<const char*>(h + 4), 60);
  header.date.assign(reinterpret_cast<const char*>(h + 92), 9);
  header.time.assign(reinterpret_cast<const char*>(h + 101), 8);
  header.fileLabel.assign(reinterpret_cast<const char*>(h + 109), 64);
  return header;
}

void ReadVariable(RecordReader& in, RawDictionary& dict) {
  RawVariable v;
  v.offset = in.Offset() - 4;
  v.type = in.I32("a variable record");
  std::int32_t hasLabel = in.I32("a variable record");
  v.missingCode = in.I32("a variable record");
  v.print = static_cast<std::uint32_t>(in.I32("a variable record"));
  v.write = static_cast<std::uint32_t>(in.I32("a variable record"));
  v.name = in.ReadString(8, "a variable record");
  if (v.type < -1 || v.type > 255) {
    in.FailAt(v.offset, "invalid variable type " + std::to_string(v.type) + " in a variable record");
  }
  if (hasLabel != 0 && hasLabel != 1) {
    in.FailAt(v.offset, "invalid label flag " + std::to_string(hasLabel) + " in a variable record");
  }
  const std::int32_t m = v.missingCode;
  if (!(m == 0 || m == 1 || m == 2 || m == 3 || m == -2 || m == -3)) {
    in.FailAt(v.offset, "invalid missing-value code " + std::to_string(m) + " in a variable record");
  }
  if (hasLabel == 1) {
    v.hasLabel = true;
    std::int32_t len = in.I32("a variable label");
    if (len < 0) in.FailAt(v.offset, "negative variable label length in a variable record");
    std::uint64_t padded = (static_cast<std::uint64_t>(len) + 3) / 4 * 4;
    if (padded > in.Remaining()) in.Fail("file ends inside a variable label");
    std::uint64_t keep = std::min<std::uint64_t>(static_cast<std::uint64_t>(len), kMaxStoredLabel);
    v.label = in.ReadString(keep, "a variable label");
    in.Skip(padded - keep, "a variable label");
  }
  int n = m < 0 ? -m : m;
  for (int i = 0; i < n; ++i) {
    Raw8 value;
    in.Read(value.data(), 8, "missing values");
    v.missing.push_back(value);
  }
  dict.variables.push_back(std::move(v));
}

void ReadValueLabels(RecordReader& in, RawDictionary& dict, Warnings& warnings) {
  RawValueLabels vl;
  vl.offset = in.Offset() - 4;
  std::int32_t n = in.I32("a value-label record");
  if (n < 0) in.FailAt(vl.offset, "invalid value-label count " + std::to_string(n));
  if (static_cast<std::uint64_t>(n) * 16 > in.Remaining()) {
    in.FailAt(vl.offset, "file ends inside a value-label record (it claims " + std::to_string(n) +
                             " labels)");
  }
  vl.labels.reserve(static_cast<std::size_t>(n));
  for (std::int32_t i = 0; i < n; ++i) {
    Raw8 value;
    in.Read(value.data(), 8, "a value-label record");
    std::uint8_t len = 0;
    in.Read(&len, 1, "a value-label record");
    std::uint64_t padded = (1u + len + 7u) / 8 * 8 - 1;
    std::string label = in.ReadString(padded, "a value-label record");
    label.resize(len);
    vl.labels.emplace_back(value, std::move(label));
  }
  const std::uint64_t at4 = in.Offset();
  std::int32_t type = in.I32("a value-label record");
  if (type != 4) {
    in.FailAt(at4, "value-label record not followed by its variable list (record type " +
                       std::to_string(type) + ")");
  }
  std::int32_t nvars = in.I32("a value-label variable record");
  if (nvars < 0 || static_cast<std::uint64_t>(nvars) * 4 > in.Remaining()) {
    in.FailAt(at4, "invalid variable count " + std::to_string(nvars) + " in a value-label variable record");
  }
  vl.indexes.resize(static_cast<std::size_t>(nvars));
  for (auto& index : vl.indexes) index = in.I32("a value-label variable record");
  if (nvars < 1 || static_cast<std::size_t>(nvars) > dict.variables.size()) {
    warnings.Add("value labels", "value-label record at offset " + std::to_string(vl.offset) +
                                     " names " + std::to_string(nvars) +
                                     " variables; its labels are ignored");
    return;
  }
  dict.valueLabels.push_back(std::move(vl));
}

void ReadDocuments(RecordReader& in, RawDictionary& dict, Warnings& warnings) {
  const std::uint64_t at = in.Offset() - 4;
  std::int32_t n = in.I32("a document record");
  if (n < 0 || static_cast<std::uint64_t>(n) * 80 > in.Remaining()) {
    in.FailAt(at, "document record claims " + std::to_string(n) +
                      " lines, more than the file holds");
  }
  if (dict.hasDocumentRecord) {
    warnings.Add("documents", "more than one document record; their lines are appended");
  }
  dict.hasDocumentRecord = true;
  for (std::int32_t i = 0; i < n; ++i) dict.documentLines.push_back(in.ReadString(80, "a document record"));
}

void ReadExtension(RecordReader& in, RawDictionary& dict, Warnings& warnings,
                   std::set<std::int32_t>& seen) {
  RawExtension ext;
  ext.offset = in.Offset() - 4;
  ext.subtype = in.I32("an extension record");
  ext.size = in.I32("an extension record");
  ext.count = in.I32("an extension record");
  if (ext.size < 0 || ext.count < 0) {
    in.FailAt(ext.offset, "extension record with negative size or count");
  }
  const std::uint64_t bytes = static_cast<std::uint64_t>(ext.size) * static_cast<std::uint64_t>(ext.count);
  if (bytes > in.Remaining()) {
    in.FailAt(ext.offset, "extension record (subtype " + std::to_string(ext.subtype) + ") of " +
                              std::to_string(bytes) + " bytes exceeds the file size");
  }
  if (!IsKnownSubtype(ext.subtype)) {
    if (!IsIgnoredSubtype(ext.subtype) && seen.insert(ext.subtype).second) {
      warnings.Add("extension", "unknown extension record subtype " + std::to_string(ext.subtype) +
                                    " skipped");
    }
    in.Skip(bytes, "an extension record");
    return;
  }
  ext.data = in.ReadBytes(bytes, "an extension record");
  dict.extensions.push_back(std::move(ext));
}

}  // namespace

const RawExtension* RawDictionary::Find(std::int32_t subtype) const {
  for (const auto& ext : extensions) {
    if (ext.subtype == subtype) return &ext;
  }
  return nullptr;
}

RawDictionary ReadRawDictionary(const ByteSource& source, Warnings& warnings) {
  RawDictionary dict;
  dict.header = ReadHeader(source, warnings);
  RecordReader in(source, kHeaderSize);
  in.SetBigEndian(dict.header.bigEndian);
  std::set<std::int32_t> unknownSubtypes;
  std::int64_t pendingContinuations = 0;
  for (;;) {
    const std::uint64_t at = in.Offset();
    if (in.Remaining() < 4) in.Fail("file ends inside the dictionary (no end-of-dictionary record)");
    std::int32_t type = in.I32("the dictionary");
    switch (type) {
      case 2: {
        ReadVariable(in, dict);
        std::int32_t width = dict.variables.back().type;
        if (width == -1) {
          if (pendingContinuations == 0) {
            in.FailAt(at, "string continuation record without a string variable before it");
          }
          --pendingContinuations;
        } else {
          if (pendingContinuations > 0) {
            warnings.Add("continuation", "string variable at offset " +
                                             std::to_string(dict.variables[dict.variables.size() - 2].offset) +
                                             " lacks continuation records; its width decides its data");
          }
          pendingContinuations = width > 0 ? (width + 7) / 8 - 1 : 0;
        }
        break;
      }
      case 3:
        ReadValueLabels(in, dict, warnings);
        break;
      case 4:
        in.FailAt(at, "value-label variable record without a value-label record before it");
      case 6:
        ReadDocuments(in, dict, warnings);
        break;
      case 7:
        ReadExtension(in, dict, warnings, unknownSubtypes);
        break;
      case 999:
        in.I32("the end-of-dictionary record");
        dict.dataOffset = in.Offset();
        return dict;
      default:
        in.FailAt(at, "unknown record type " + std::to_string(type));
    }
  }
}

}  // namespace codebook::data::sav
