#include "platform/data/sas/xpt_layout.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "platform/data/byte_cursor.h"
#include "platform/data/sav/file_error.h"

namespace codebook::data::sas {
namespace {

constexpr std::size_t kRecord = 80;
constexpr std::string_view kHeader = "HEADER RECORD*******";

std::string Trimmed(std::string_view text) {
  while (!text.empty() && (text.back() == ' ' || text.back() == '\0')) text.remove_suffix(1);
  return std::string(text);
}

// A header record: "HEADER RECORD*******" + an 8-byte kind + " HEADER
// RECORD!!!!!!!" + 30 bytes of its own.
bool IsHeader(std::string_view record, std::string_view kind) {
  return record.size() >= 48 && record.substr(0, 20) == kHeader && record.substr(20, kind.size()) == kind &&
         record.substr(28, 20) == "HEADER RECORD!!!!!!!";
}

// The digits that follow the header's fixed text (leading zeros or blanks
// allowed).
std::uint64_t HeaderNumber(std::string_view record, std::size_t from, std::size_t to) {
  std::uint64_t n = 0;
  for (std::size_t i = from; i < to && i < record.size(); ++i) {
    const char c = record[i];
    if (c == ' ') {
      if (n != 0) break;
      continue;
    }
    if (c < '0' || c > '9') break;
    if (n > (1ull << 40)) break;
    n = n * 10 + static_cast<std::uint64_t>(c - '0');
  }
  return n;
}

class Records {
 public:
  explicit Records(const sav::ByteSource& source) : source_(source) {}
  // The record at `at`, or an error naming what was expected there.
  std::string At(std::uint64_t at, const char* what) const {
    std::string record(kRecord, '\0');
    if (source_.ReadAt(at, std::span<std::uint8_t>(reinterpret_cast<std::uint8_t*>(record.data()), kRecord)) != kRecord) {
      throw FileError(source_.Name(), std::string("the file ends before ") + what);
    }
    return record;
  }
  std::vector<std::uint8_t> Bytes(std::uint64_t at, std::uint64_t n, const char* what) const {
    if (at > source_.Size() || n > source_.Size() - at) throw FileError(source_.Name(), std::string("the file ends inside ") + what);
    std::vector<std::uint8_t> bytes(n);
    source_.ReadAt(at, bytes);
    return bytes;
  }

 private:
  const sav::ByteSource& source_;
};

std::uint64_t RoundUp(std::uint64_t n) { return (n + kRecord - 1) / kRecord * kRecord; }

void ReadNamestrs(const Records& records, std::uint64_t at, std::size_t count, std::size_t size, XptLayout& layout,
                  const sav::ByteSource& source) {
  const auto bytes = records.Bytes(at, static_cast<std::uint64_t>(count) * size, "the variable descriptors");
  layout.variables.resize(count);
  for (std::size_t i = 0; i < count; ++i) {
    ByteCursor c(std::span<const std::uint8_t>(bytes).subspan(i * size, size), true, "a variable descriptor");
    XptVariable& v = layout.variables[i];
    const std::uint16_t type = c.U16();
    c.Skip(2);
    v.length = c.U16();
    c.Skip(2);
    v.name = Trimmed(c.Text(8));
    v.label = Trimmed(c.Text(40));
    v.format = Trimmed(c.Text(8));
    v.formatWidth = c.U16();
    v.formatDecimals = c.U16();
    c.Skip(2 + 2 + 8 + 2 + 2);  // justification, filler, the input format
    v.position = c.U32();
    if (layout.version == 8 && size >= 122) {
      const std::string longName = Trimmed(c.Text(32));
      if (!longName.empty()) v.name = longName;
      c.Skip(2);  // the long label's length; the label record holds it
    }
    v.isString = type == 2;
    const bool fits = v.isString ? v.length >= 1 : v.length >= 2 && v.length <= 8;
    if ((type != 1 && type != 2) || !fits) {
      throw FileError(source.Name(), "variable " + std::to_string(i + 1) + " has an invalid type " + std::to_string(type) +
                                         " or length " + std::to_string(v.length));
    }
    layout.rowBytes = std::max<std::uint64_t>(layout.rowBytes, static_cast<std::uint64_t>(v.position) + v.length);
  }
}

// Version 8's label records: LABELV8 (number, name length, label length,
// name, label) and LABELV9 (with the format's and input format's texts).
std::uint64_t ReadLabels(const Records& records, std::uint64_t at, const std::string& header, XptLayout& layout,
                         const sav::ByteSource& source) {
  const bool withFormats = IsHeader(header, "LABELV9 ");
  const std::uint64_t count = HeaderNumber(header, 48, 80);
  std::uint64_t offset = at;
  for (std::uint64_t k = 0; k < count; ++k) {
    const auto head = records.Bytes(offset, withFormats ? 10 : 6, "the long labels");
    ByteCursor h(head, true, "a long label");
    const std::size_t number = h.U16();
    const std::size_t nameLength = h.U16();
    const std::size_t formatLength = withFormats ? h.U16() : 0;
    const std::size_t informatLength = withFormats ? h.U16() : 0;
    const std::size_t labelLength = h.U16();
    offset += head.size();
    const auto body = records.Bytes(offset, nameLength + formatLength + informatLength + labelLength, "the long labels");
    ByteCursor b(body, true, "a long label");
    b.Skip(nameLength);
    const std::string format = Trimmed(b.Text(formatLength));
    b.Skip(informatLength);
    const std::string label = std::string(b.Text(labelLength));
    offset += body.size();
    if (number < 1 || number > layout.variables.size()) {
      throw FileError(source.Name(), "a long label names variable " + std::to_string(number) + ", which is not there");
    }
    XptVariable& v = layout.variables[number - 1];
    v.label = label;
    if (!format.empty()) {
      v.format = format;
      v.formatWidth = 0;
      v.formatDecimals = 0;
    }
  }
  return RoundUp(offset);
}

// Where the rows end: at the next member's header, or the end of the file.
std::uint64_t DataEnd(const sav::ByteSource& source, std::uint64_t begin, bool& moreMembers) {
  constexpr std::size_t kChunk = 1 << 20;  // a multiple of the record
  std::vector<std::uint8_t> buffer;
  for (std::uint64_t at = begin; at < source.Size(); at += kChunk - kChunk % kRecord) {
    buffer.resize(static_cast<std::size_t>(std::min<std::uint64_t>(kChunk - kChunk % kRecord, source.Size() - at)));
    source.ReadAt(at, buffer);
    for (std::size_t r = 0; r + 48 <= buffer.size(); r += kRecord) {
      const std::string_view record(reinterpret_cast<const char*>(buffer.data() + r), std::min(kRecord, buffer.size() - r));
      if (IsHeader(record, "MEMBER  ") || IsHeader(record, "MEMBV8  ")) {
        moreMembers = true;
        return at + r;
      }
    }
  }
  return source.Size();
}

// The rows in [begin, end): whole rows, less those wholly in the padding of
// the last record (blanks). Records are whole and padding is blank in a
// file that is not cut short; anything else is damage the count would hide.
std::uint64_t CountRows(const sav::ByteSource& source, std::uint64_t begin, std::uint64_t end, std::uint64_t rowBytes) {
  const std::uint64_t length = end - begin;
  if (length % kRecord != 0) {
    throw FileError(source.Name(), "the file is cut short: its last record has " + std::to_string(length % kRecord) +
                                       " of 80 bytes");
  }
  if (rowBytes == 0) return 0;
  std::uint64_t rows = length / rowBytes;
  const auto blank = [](const std::vector<std::uint8_t>& bytes) {
    return std::all_of(bytes.begin(), bytes.end(), [](std::uint8_t b) { return b == ' '; });
  };
  std::vector<std::uint8_t> tail(static_cast<std::size_t>(length - rows * rowBytes));
  source.ReadAt(begin + rows * rowBytes, tail);
  if (!blank(tail)) throw FileError(source.Name(), "the file ends inside a case");
  std::vector<std::uint8_t> row(static_cast<std::size_t>(std::min<std::uint64_t>(rowBytes, kRecord)));
  while (rows > 0 && (rows - 1) * rowBytes + kRecord > length && rowBytes < kRecord) {
    source.ReadAt(begin + (rows - 1) * rowBytes, row);
    if (!blank(row)) break;
    --rows;
  }
  return rows;
}

}  // namespace

XptLayout ReadXptLayout(const sav::ByteSource& source, sav::Warnings& warnings) {
  const Records records(source);
  XptLayout layout;
  const std::string library = records.At(0, "the library header");
  if (IsHeader(library, "LIBV8   ")) {
    layout.version = 8;
  } else if (!IsHeader(library, "LIBRARY ")) {
    throw FileError(source.Name(), "not a SAS transport file of version 5 or 8");
  }
  const bool v8 = layout.version == 8;
  layout.created = Trimmed(records.At(kRecord, "the library header").substr(64, 16));
  const std::string member = records.At(3 * kRecord, "the member header");
  if (!IsHeader(member, v8 ? "MEMBV8  " : "MEMBER  ")) throw FileError(source.Name(), "the member header is missing");
  const std::size_t namestrSize = static_cast<std::size_t>(HeaderNumber(member, 74, 78));
  if (namestrSize != 140 && namestrSize != 136) {
    throw FileError(source.Name(), "variable descriptors of " + std::to_string(namestrSize) +
                                       " bytes (140 or 136 expected)");
  }
  if (!IsHeader(records.At(4 * kRecord, "the descriptor header"), v8 ? "DSCPTV8 " : "DSCRPTR ")) {
    throw FileError(source.Name(), "the descriptor header is missing");
  }
  layout.datasetName = Trimmed(records.At(5 * kRecord, "the data set's name").substr(8, v8 ? 32 : 8));
  layout.datasetLabel = Trimmed(records.At(6 * kRecord, "the data set's label").substr(32, 40));
  const std::string namestrs = records.At(7 * kRecord, "the variable descriptors");
  if (!IsHeader(namestrs, v8 ? "NAMSTV8 " : "NAMESTR ")) throw FileError(source.Name(), "the namestr header is missing");
  const std::uint64_t count = HeaderNumber(namestrs, 48, 58);
  if (count * namestrSize > source.Size()) {
    throw FileError(source.Name(), "the header declares " + std::to_string(count) + " variables, more than the file holds");
  }
  ReadNamestrs(records, 8 * kRecord, static_cast<std::size_t>(count), namestrSize, layout, source);
  std::uint64_t at = RoundUp(8 * kRecord + count * namestrSize);
  std::string header = records.At(at, "the observation header");
  while (v8 && (IsHeader(header, "LABELV8 ") || IsHeader(header, "LABELV9 "))) {
    at = ReadLabels(records, at + kRecord, header, layout, source);
    header = records.At(at, "the observation header");
  }
  if (!IsHeader(header, v8 ? "OBSV8   " : "OBS     ")) throw FileError(source.Name(), "the observation header is missing");
  layout.dataOffset = at + kRecord;
  const std::uint64_t end = DataEnd(source, layout.dataOffset, layout.moreMembers);
  layout.cases = CountRows(source, layout.dataOffset, end, layout.rowBytes);
  if (layout.moreMembers) warnings.Add("members", "the file holds more than one data set; the first is read");
  return layout;
}

}  // namespace codebook::data::sas
