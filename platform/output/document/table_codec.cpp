// Layout: counts (nodes, dimensions, cells, contents), the current row and
// the title; then each dimension (root, place, position, flags); each node
// (kind and flags, distance back to its parent, label); each cell (row as a
// step from the previous cell's row, column, content); each own content
// (flags, text, and its number, data value or raw text). Children follow
// their parents and a root's dimension is its order among the roots, so
// neither is stored.
#include "platform/output/document/table_codec.h"

#include <bit>
#include <cmath>
#include <cstring>

namespace bp {
namespace {

using Kind = BpCellText::Content::Kind;

// Writes into room made beforehand (EncodeTable knows the most a table can
// take), without a check per byte.
class Writer {
 public:
  explicit Writer(char* at) : at_(at) {}
  char* At() const { return at_; }
  void Byte(unsigned value) { *at_++ = static_cast<char>(value); }
  void Varint(std::uint64_t value) {
    while (value >= 0x80) {
      *at_++ = static_cast<char>((value & 0x7F) | 0x80);
      value >>= 7;
    }
    *at_++ = static_cast<char>(value);
  }
  void Bytes(std::string_view bytes) {
    std::memcpy(at_, bytes.data(), bytes.size());
    at_ += bytes.size();
  }

 private:
  char* at_;
};

std::uint64_t Zigzag(std::int64_t value) {
  return (static_cast<std::uint64_t>(value) << 1) ^ static_cast<std::uint64_t>(value >> 63);
}

std::int64_t Unzigzag(std::uint64_t value) {
  return static_cast<std::int64_t>(value >> 1) ^ -static_cast<std::int64_t>(value & 1);
}

// Whole numbers (counts, codes, positions) as small integers, the rest as
// their eight bytes; either way the same bits come back.
void PutDouble(Writer& out, double value) {
  constexpr double kLimit = 9007199254740992.0;  // 2^53
  if (value > -kLimit && value < kLimit && value == std::trunc(value) && !(value == 0 && std::signbit(value))) {
    out.Varint(Zigzag(static_cast<std::int64_t>(value)) << 1);
    return;
  }
  out.Varint(1);
  const auto bits = std::bit_cast<std::uint64_t>(value);
  for (int i = 0; i < 8; ++i) out.Byte(static_cast<unsigned>((bits >> (8 * i)) & 0xFF));
}

void PutText(Writer& out, std::string_view text) {
  out.Varint(text.size());
  out.Bytes(text);
}

// Flags of an own content.
constexpr unsigned kProcedureText = 1u << 2;
constexpr unsigned kNumeric = 1u << 3;
constexpr unsigned kHasNumber = 1u << 4;
constexpr unsigned kValueShift = 5;  // two bits: OwnContent::Value
constexpr unsigned kRawIsText = 1u << 7;

class Reader {
 public:
  explicit Reader(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}

  std::uint64_t Varint() {
    std::uint64_t value = 0;
    for (int shift = 0; at_ < bytes_.size() && shift < 64; shift += 7) {
      const std::uint8_t byte = bytes_[at_++];
      value |= static_cast<std::uint64_t>(byte & 0x7F) << shift;
      if ((byte & 0x80) == 0) break;
    }
    return value;
  }
  std::uint8_t Byte() { return at_ < bytes_.size() ? bytes_[at_++] : 0; }
  double Double() {
    const std::uint64_t head = Varint();
    if ((head & 1) == 0) return static_cast<double>(Unzigzag(head >> 1));
    std::uint64_t bits = 0;
    for (int i = 0; i < 8; ++i) bits |= static_cast<std::uint64_t>(Byte()) << (8 * i);
    return std::bit_cast<double>(bits);
  }
  // Appends a stored text to `chars`; returns its offset and length.
  void Text(std::string& chars, std::uint32_t& offset, std::uint32_t& length) {
    const std::uint64_t size = Varint();
    const std::size_t take = size < bytes_.size() - at_ ? static_cast<std::size_t>(size) : bytes_.size() - at_;
    offset = static_cast<std::uint32_t>(chars.size());
    length = static_cast<std::uint32_t>(take);
    chars.append(reinterpret_cast<const char*>(bytes_.data() + at_), take);
    at_ += take;
  }

 private:
  std::span<const std::uint8_t> bytes_;
  std::size_t at_ = 0;
};

}  // namespace

void EncodeTable(const TableData& data, std::string& out) {
  // The most each part can take: ten bytes a number, nine a double and its
  // mark, and every text byte once.
  const std::size_t start = out.size();
  const std::size_t most = 60 + 31 * data.dimensions.size() + 21 * data.nodes.size() + 30 * data.cells.size() +
                           50 * data.contents.size() + data.chars.size();
  out.resize(start + most);
  Writer put(out.data() + start);
  put.Varint(data.nodes.size());
  put.Varint(data.dimensions.size());
  put.Varint(data.cells.size());
  put.Varint(data.contents.size());
  put.Varint(static_cast<std::uint64_t>(data.currentRow + 1));
  put.Varint(static_cast<std::uint64_t>(data.title) + 1);
  for (const DimensionInfo& dimension : data.dimensions) {
    put.Varint(static_cast<std::uint64_t>(dimension.root + 1));
    put.Varint(Zigzag(dimension.place));
    put.Varint(Zigzag(dimension.position));
    put.Byte((dimension.showTitle ? 1u : 0u) | (dimension.showCategoryLabels ? 2u : 0u));
  }
  for (std::size_t i = 0; i < data.nodes.size(); ++i) {
    const Node& node = data.nodes[i];
    put.Byte(static_cast<unsigned>(node.kind) | (node.showLabel ? 4u : 0u));
    put.Varint(node.parent < 0 ? 0 : i - static_cast<std::size_t>(node.parent));
    put.Varint(static_cast<std::uint64_t>(node.label) + 1);
  }
  int row = 0;
  for (const CellEntry& cell : data.cells) {
    put.Varint(Zigzag(static_cast<std::int64_t>(cell.row) - row));
    row = cell.row;
    put.Varint(static_cast<std::uint64_t>(cell.column + 1));
    put.Varint(static_cast<std::uint64_t>(cell.content) + 1);
  }
  for (const OwnContent& content : data.contents) {
    const std::string_view text = data.Text(content);
    const bool hasNumber = !std::isnan(content.number);
    const bool rawIsText = content.valueKind == OwnContent::Value::kString && data.Raw(content) == text;
    unsigned flags = static_cast<unsigned>(content.kind);
    if (content.procedureText) flags |= kProcedureText;
    if (content.numeric) flags |= kNumeric;
    if (hasNumber) flags |= kHasNumber;
    flags |= static_cast<unsigned>(content.valueKind) << kValueShift;
    if (rawIsText) flags |= kRawIsText;
    put.Byte(flags);
    PutText(put, text);
    if (hasNumber) PutDouble(put, content.number);
    if (content.valueKind == OwnContent::Value::kNumber) PutDouble(put, content.value);
    if (content.valueKind == OwnContent::Value::kString && !rawIsText) PutText(put, data.Raw(content));
  }
  out.resize(static_cast<std::size_t>(put.At() - out.data()));
}

void DecodeTable(std::span<const std::uint8_t> bytes, TableData& out) {
  out.Clear();
  Reader in(bytes);
  const std::size_t nodes = in.Varint();
  const std::size_t dimensions = in.Varint();
  const std::size_t cells = in.Varint();
  const std::size_t contents = in.Varint();
  out.currentRow = static_cast<int>(in.Varint()) - 1;
  out.title = static_cast<ContentRef>(in.Varint() - 1);
  out.dimensions.resize(dimensions);
  for (DimensionInfo& dimension : out.dimensions) {
    dimension.root = static_cast<int>(in.Varint()) - 1;
    dimension.place = static_cast<int>(Unzigzag(in.Varint()));
    dimension.position = static_cast<int>(Unzigzag(in.Varint()));
    const std::uint8_t flags = in.Byte();
    dimension.showTitle = (flags & 1) != 0;
    dimension.showCategoryLabels = (flags & 2) != 0;
  }
  out.nodes.resize(nodes);
  int roots = 0;
  for (std::size_t i = 0; i < nodes; ++i) {
    Node& node = out.nodes[i];
    const std::uint8_t flags = in.Byte();
    node.kind = static_cast<NodeKind>(flags & 3);
    node.showLabel = (flags & 4) != 0;
    const std::uint64_t back = in.Varint();
    node.parent = back == 0 ? -1 : static_cast<int>(i - back);
    node.label = static_cast<ContentRef>(in.Varint() - 1);
    node.dimension = node.parent < 0 ? roots++ : out.nodes[static_cast<std::size_t>(node.parent)].dimension;
  }
  out.cells.resize(cells);
  int row = 0;
  for (CellEntry& cell : out.cells) {
    row = static_cast<int>(row + Unzigzag(in.Varint()));
    cell.row = row;
    cell.column = static_cast<int>(in.Varint()) - 1;
    cell.content = static_cast<ContentRef>(in.Varint() - 1);
  }
  out.contents.resize(contents);
  for (OwnContent& content : out.contents) {
    const unsigned flags = in.Byte();
    content.kind = static_cast<Kind>(flags & 3);
    content.procedureText = (flags & kProcedureText) != 0;
    content.numeric = (flags & kNumeric) != 0;
    content.valueKind = static_cast<OwnContent::Value>((flags >> kValueShift) & 3);
    in.Text(out.chars, content.textOffset, content.textLength);
    content.number = (flags & kHasNumber) != 0 ? in.Double() : std::numeric_limits<double>::quiet_NaN();
    if (content.valueKind == OwnContent::Value::kNumber) content.value = in.Double();
    if (content.valueKind == OwnContent::Value::kString) {
      if ((flags & kRawIsText) != 0) {
        content.rawOffset = content.textOffset;
        content.rawLength = content.textLength;
      } else {
        in.Text(out.chars, content.rawOffset, content.rawLength);
      }
    }
  }
}

}  // namespace bp
