// From release 105 a table is its length, its name and three bytes of
// padding, then the table proper: the number of labels n, the length of the
// text area, n offsets into it, n values, the NUL-terminated texts. From
// 117 each table is wrapped in <lbl></lbl> and the list in
// <value_labels></value_labels>. Release 104 stores n, the name, n 2-byte
// values and n texts of 8 bytes.
#include "platform/data/dta/dta_value_labels.h"

#include <algorithm>

#include "platform/data/byte_cursor.h"
#include "platform/data/sav/file_error.h"

namespace codebook::data::dta {
namespace {

std::size_t NameSize(const DtaLayout& layout) {
  if (layout.release >= 118) return 129;
  return layout.release >= 110 ? 33 : 9;
}

std::vector<std::uint8_t> ReadBytes(const sav::ByteSource& source, std::uint64_t at, std::uint64_t n) {
  if (at > source.Size() || n > source.Size() - at) {
    throw FileError(source.Name(), "the file ends inside the value labels");
  }
  std::vector<std::uint8_t> bytes(n);
  source.ReadAt(at, bytes);
  return bytes;
}

// The table proper, after its name.
RawLabelTable ParseTable(std::string name, std::span<const std::uint8_t> bytes, bool bigEndian,
                         sav::Warnings& warnings) {
  RawLabelTable table;
  table.name = std::move(name);
  ByteCursor c(bytes, bigEndian, "value-label table " + table.name);
  const std::uint64_t n = c.U32();
  const std::uint64_t textBytes = c.U32();
  if (n > c.Remaining() / 8 || textBytes > c.Remaining() - 8 * n) {
    warnings.Add("value labels", "value-label table " + table.name + " claims " + std::to_string(n) +
                                     " labels, more than it holds; the table is ignored");
    return table;
  }
  std::vector<std::uint32_t> offsets(n);
  for (auto& offset : offsets) offset = c.U32();
  table.labels.resize(n);
  for (auto& label : table.labels) label.value = static_cast<std::int32_t>(c.U32());
  const std::string_view text = c.Text(textBytes);
  std::size_t kept = 0;
  for (std::size_t i = 0; i < n; ++i) {
    if (offsets[i] >= text.size()) {
      warnings.Add("value labels", "value-label table " + table.name + ": the text of the label of " +
                                       std::to_string(table.labels[i].value) + " lies outside the table; dropped");
      continue;
    }
    table.labels[kept].value = table.labels[i].value;
    table.labels[kept].text = std::string(UpToNul(text.substr(offsets[i])));
    ++kept;
  }
  table.labels.resize(kept);
  return table;
}

// Release 104's tables, to the end of the file.
std::vector<RawLabelTable> ReadOldTables(const sav::ByteSource& source, const DtaLayout& layout,
                                         sav::Warnings& warnings) {
  std::vector<RawLabelTable> tables;
  std::uint64_t at = layout.labelsBegin;
  while (layout.labelsEnd - at >= 12) {
    const auto head = ReadBytes(source, at, 12);
    ByteCursor h(head, layout.bigEndian, "a value-label table");
    const std::uint64_t n = h.U16();
    RawLabelTable table;
    table.name = std::string(UpToNul(h.Text(9)));
    at += 12;
    const auto body = ReadBytes(source, at, 10 * n);
    ByteCursor b(body, layout.bigEndian, "value-label table " + table.name);
    table.labels.resize(n);
    for (auto& label : table.labels) label.value = static_cast<std::int16_t>(b.U16());
    for (auto& label : table.labels) label.text = std::string(UpToNul(b.Text(8)));
    at += 10 * n;
    tables.push_back(std::move(table));
  }
  if (at != layout.labelsEnd) warnings.Add("value labels", "the file ends with bytes that are no value-label table");
  return tables;
}

}  // namespace

std::vector<RawLabelTable> ReadValueLabelTables(const sav::ByteSource& source, const DtaLayout& layout,
                                                sav::Warnings& warnings) {
  if (layout.release < 105) return ReadOldTables(source, layout, warnings);
  const bool tagged = layout.release >= 117;
  const std::size_t nameSize = NameSize(layout);
  const std::size_t headSize = (tagged ? 5 : 0) + 4 + nameSize + 3;
  std::vector<RawLabelTable> tables;
  std::uint64_t at = layout.labelsBegin;
  for (;;) {
    if (tagged) {
      const auto end = ReadBytes(source, at, std::min<std::uint64_t>(27, source.Size() - std::min(source.Size(), at)));
      ByteCursor c(end, false, "the value labels");
      if (c.Consume("</value_labels>")) {
        // The closing tag of the file is the last sign that it is whole.
        if (!c.Consume("</stata_dta>")) throw FileError(source.Name(), "the file ends before </stata_dta>");
        break;
      }
    } else if (layout.labelsEnd - at < headSize) {
      // Before 117 the tables run to the end of the file; a few stray bytes
      // after the last are no table.
      if (at != layout.labelsEnd) warnings.Add("value labels", "the file ends with bytes that are no value-label table");
      break;
    }
    const auto head = ReadBytes(source, at, headSize);
    ByteCursor h(head, layout.bigEndian, "the value labels");
    if (tagged && !h.Consume("<lbl>")) {
      throw FileError(source.Name(), "expected <lbl> or </value_labels> at byte " + std::to_string(at));
    }
    const std::uint64_t length = h.U32();
    std::string name(UpToNul(h.Text(nameSize)));
    at += headSize;
    const auto body = ReadBytes(source, at, length + (tagged ? 6 : 0));
    const auto table = std::span<const std::uint8_t>(body).first(length);
    if (tagged && !ByteCursor(std::span<const std::uint8_t>(body).subspan(length), false, "").Consume("</lbl>")) {
      throw FileError(source.Name(), "value-label table " + name + " does not end where its length says");
    }
    tables.push_back(ParseTable(std::move(name), table, layout.bigEndian, warnings));
    at += body.size();
  }
  return tables;
}

}  // namespace codebook::data::dta
