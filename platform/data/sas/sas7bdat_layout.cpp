#include "platform/data/sas/sas7bdat_layout.h"

#include <algorithm>
#include <cstring>

#include "platform/data/byte_cursor.h"
#include "platform/data/sav/file_error.h"

namespace codebook::data::sas {
namespace {

// Subheader signatures, as 32-bit numbers; the 64-bit layout widens them
// (with 0xFFFFFFFF, or 0 for the two size subheaders).
enum Signature : std::uint32_t {
  kRowSize = 0xF7F7F7F7,
  kColumnSize = 0xF6F6F6F6,
  kCounts = 0xFFFFFC00,
  kColumnFormat = 0xFFFFFBFE,
  kColumnAttributes = 0xFFFFFFFC,
  kColumnText = 0xFFFFFFFD,
  kColumnList = 0xFFFFFFFE,
  kColumnName = 0xFFFFFFFF,
};

enum PageType : std::uint16_t {
  kMeta = 0x0000, kData = 0x0100, kMix = 0x0200, kMixAlso = 0x0280, kAmended = 0x0400,
  kMetaAlso = 0x4000, kCompressedMeta = 0x9000,
};

struct TextRef {
  std::uint16_t index = 0, offset = 0, length = 0;
};

class LayoutReader {
 public:
  LayoutReader(const sav::ByteSource& source, sav::Warnings& warnings) : source_(source), warnings_(warnings) {}

  Sas7bdatLayout Read() {
    Header();
    for (std::uint64_t p = 0; p < layout_.pageCount; ++p) Page(p);
    CheckCompression();
    CheckRowLength();
    Columns();
    AssignRows();
    return std::move(layout_);
  }

 private:
  [[noreturn]] void Fail(const std::string& problem) const { throw FileError(source_.Name(), problem); }

  std::size_t IntSize() const { return layout_.is64 ? 8 : 4; }
  std::size_t BitOffset() const { return layout_.is64 ? 32 : 16; }
  std::size_t PointerSize() const { return layout_.is64 ? 24 : 12; }

  void Header() {
    std::uint8_t head[288] = {};
    if (source_.ReadAt(0, head) != sizeof head) Fail("the file ends inside its header");
    layout_.is64 = head[32] == 0x33;
    const std::size_t a1 = head[35] == 0x33 ? 4 : 0;
    const std::size_t a2 = layout_.is64 ? 4 : 0;
    layout_.bigEndian = head[37] != 0x01;
    layout_.encodingCode = head[70];
    ByteCursor c(head, layout_.bigEndian, "the header");
    c.Seek(92);
    layout_.datasetName = std::string(c.Text(64));
    while (!layout_.datasetName.empty() && (layout_.datasetName.back() == ' ' || layout_.datasetName.back() == '\0')) {
      layout_.datasetName.pop_back();
    }
    c.Seek(164 + a1);
    layout_.created = std::bit_cast<double>(c.U64());
    c.Seek(196 + a1);
    layout_.headerLength = c.U32();
    layout_.pageSize = c.U32();
    layout_.pageCount = layout_.is64 ? c.U64() : c.U32();
    c.Seek(216 + a1 + a2);
    layout_.release = std::string(UpToNul(c.Text(8)));
    const std::uint64_t size = source_.Size();
    if (layout_.headerLength > size) Fail("the file ends inside its header of " + std::to_string(layout_.headerLength) + " bytes");
    if (layout_.headerLength < 288 || layout_.headerLength > size || layout_.pageSize < 64 ||
        layout_.pageSize > (64u << 20)) {
      Fail("a header length of " + std::to_string(layout_.headerLength) + " and pages of " +
           std::to_string(layout_.pageSize) + " bytes do not fit the file");
    }
    const std::uint64_t room = (size - layout_.headerLength) / layout_.pageSize;
    if (layout_.pageCount > room) {
      Fail("the file ends inside page " + std::to_string(room + 1) + " of the " + std::to_string(layout_.pageCount) +
           " it declares");
    }
  }

  std::uint64_t PageStart(std::uint64_t p) const { return layout_.headerLength + p * layout_.pageSize; }

  void Page(std::uint64_t p) {
    std::vector<std::uint8_t> head(BitOffset() + 8);
    source_.ReadAt(PageStart(p), head);
    ByteCursor h(head, layout_.bigEndian, "a page header");
    h.Seek(BitOffset());
    const std::uint16_t type = h.U16();
    const std::uint16_t blocks = h.U16();
    const std::uint16_t subheaders = h.U16();
    switch (type) {
      case kData:
        pending_.push_back({p, static_cast<std::uint32_t>(BitOffset() + 8), blocks, Pending::kData});
        return;
      case kMeta: case kMetaAlso: case kCompressedMeta: case kMix: case kMixAlso:
        break;
      case kAmended:
        return;
      default:
        warnings_.Add("pages", "page " + std::to_string(p + 1) + " is of the unknown type " + std::to_string(type) +
                                   " and is skipped");
        return;
    }
    std::vector<std::uint8_t> page(layout_.pageSize);
    source_.ReadAt(PageStart(p), page);
    const std::vector<SubheaderPointer> pointers = ReadSubheaderPointers(page, layout_, source_.Name(), p);
    for (const SubheaderPointer& s : pointers) {
      if (!s.Truncated() && !s.Row(Compressed())) Subheader(std::span<const std::uint8_t>(page).subspan(s.offset, s.length));
    }
    // Counted after the page's subheaders: its text block may name the
    // compression.
    std::uint32_t rows = 0;
    for (const SubheaderPointer& s : pointers) {
      if (!s.Row(Compressed())) continue;
      ++rows;
      longestRow_ = std::max(longestRow_, s.length);
    }
    if (rows > 0) {
      packed_ = true;
      pending_.push_back({p, 0, rows, Pending::kPacked});
    }
    if (type == kMix || type == kMixAlso) {
      const std::uint64_t start = (BitOffset() + 8 + pointers.size() * PointerSize() + 7) / 8 * 8;
      const std::uint32_t tail = blocks > subheaders ? blocks - subheaders : 0;
      pending_.push_back({p, static_cast<std::uint32_t>(start), tail, Pending::kMixTail});
    }
  }

  bool Compressed() const { return layout_.compression != RowCompression::kNone; }

  // Rows in subheaders need a compression this reader knows.
  void CheckCompression() const {
    if (!packed_ || Compressed()) return;
    if (compressionName_.empty()) Fail("its rows are compressed, but the file does not name the compression");
    Fail("its rows are compressed with \"" + compressionName_ + "\", a compression not known here (known: RLE, " +
         "SASYZCRL, and RDC, SASYZCR2)");
  }

  // A row fits a page or, compressed, comes out of one row subheader: one
  // byte of RLE gives at most 2056 (a run of 4112 from two), of RDC fewer
  // than 1372 (4114 from three bytes and a share of a control word). So a
  // damaged row length is refused here, not allocated for a block of rows.
  void CheckRowLength() const {
    if (layout_.rowCount == 0) return;
    const bool packed = packed_ && Compressed();
    std::uint64_t most = layout_.pageSize;
    if (packed) most = std::max(most, longestRow_ * (layout_.compression == RowCompression::kRle ? 2056 : 1372));
    if (layout_.rowLength > most) {
      Fail("rows of " + std::to_string(layout_.rowLength) + " bytes are more than " +
           (packed ? "its compressed rows of at most " + std::to_string(longestRow_) + " bytes can hold"
                   : "a page of " + std::to_string(layout_.pageSize) + " bytes can hold"));
    }
  }

  std::uint32_t SignatureOf(std::span<const std::uint8_t> bytes) const {
    ByteCursor c(bytes, layout_.bigEndian, "a subheader");
    if (!layout_.is64) return c.U32();
    const std::uint64_t wide = c.U64();
    // The two size subheaders' signatures are widened with zeros, in either
    // half; the others with ones.
    if ((wide >> 32) == 0 || (wide >> 32) == 0xFFFFFFFFu) return static_cast<std::uint32_t>(wide);
    if ((wide & 0xFFFFFFFFu) == 0) return static_cast<std::uint32_t>(wide >> 32);
    return 0;
  }

  void Subheader(std::span<const std::uint8_t> bytes) {
    if (bytes.size() < IntSize()) return;
    const std::uint32_t signature = SignatureOf(bytes);
    ByteCursor c(bytes, layout_.bigEndian, "a subheader");
    const std::size_t n = IntSize();
    const auto integer = [&](std::size_t at) -> std::uint64_t {
      c.Seek(at);
      return n == 8 ? c.U64() : c.U32();
    };
    switch (signature) {
      case kRowSize:
        layout_.rowLength = integer(5 * n);
        layout_.rowCount = integer(6 * n);
        mixRows_ = integer(15 * n);
        break;
      case kColumnSize:
        columnCount_ = integer(n);
        break;
      case kColumnText:
        if (texts_.empty() && bytes.size() >= n + 12 + 8) {
          std::string name(reinterpret_cast<const char*>(bytes.data()) + n + 12, 8);
          if (name == "SASYZCRL") layout_.compression = RowCompression::kRle;
          if (name == "SASYZCR2") layout_.compression = RowCompression::kRdc;
          while (!name.empty() && (name.back() == ' ' || name.back() == '\0')) name.pop_back();
          // Printable, for a message should rows be compressed.
          if (std::all_of(name.begin(), name.end(), [](char ch) { return ch >= 0x20 && ch < 0x7F; })) {
            compressionName_ = name;
          }
        }
        texts_.emplace_back(bytes.begin(), bytes.end());
        break;
      case kColumnName:
        for (std::size_t k = 0; k < Entries(bytes.size(), 8); ++k) names_.push_back(Ref(c, n + 8 + 8 * k));
        break;
      case kColumnAttributes: {
        const std::size_t entry = n == 8 ? 16 : 12;
        for (std::size_t k = 0; k < Entries(bytes.size(), entry); ++k) {
          Attribute a;
          a.offset = integer(n + 8 + entry * k);
          a.length = c.U32();
          c.Skip(2);
          a.type = c.U8();
          attributes_.push_back(a);
        }
        break;
      }
      case kColumnFormat: {
        if (bytes.size() < (n == 8 ? 58u : 46u)) break;
        Format f;
        c.Seek(n == 8 ? 24 : 12);
        f.width = c.U16();
        f.decimals = c.U16();
        f.format = Ref(c, n == 8 ? 46 : 34);
        f.label = Ref(c, n == 8 ? 52 : 40);
        formats_.push_back(f);
        break;
      }
      default:
        break;  // counts, column lists, and kinds this reader does not need
    }
  }

  // Entries of a list subheader: after the signature and 8 bytes, before
  // 12 bytes (8 in the 32-bit layout) at its end.
  std::size_t Entries(std::size_t length, std::size_t entry) const {
    const std::size_t overhead = IntSize() + 8 + (layout_.is64 ? 12 : 8);
    return length > overhead ? (length - overhead) / entry : 0;
  }

  TextRef Ref(ByteCursor& c, std::size_t at) const {
    c.Seek(at);
    TextRef r;
    r.index = c.U16();
    r.offset = c.U16();
    r.length = c.U16();
    return r;
  }

  // A piece of a text block; offsets count from the end of its signature.
  std::string Text(const TextRef& r) {
    if (r.length == 0) return {};
    if (r.index >= texts_.size()) {
      warnings_.Add("texts", "a name, label or format refers to a text block the file does not hold");
      return {};
    }
    const std::vector<std::uint8_t>& block = texts_[r.index];
    const std::size_t from = IntSize() + r.offset;
    if (from > block.size() || r.length > block.size() - from) {
      warnings_.Add("texts", "a name, label or format lies outside its text block");
      return {};
    }
    std::string text(reinterpret_cast<const char*>(block.data()) + from, r.length);
    while (!text.empty() && (text.back() == ' ' || text.back() == '\0')) text.pop_back();
    return text;
  }

  void Columns() {
    if (columnCount_ > attributes_.size() || names_.size() < attributes_.size()) {
      Fail("the file describes " + std::to_string(columnCount_) + " columns but names " +
           std::to_string(names_.size()) + " and places " + std::to_string(attributes_.size()));
    }
    const std::size_t count = attributes_.size();
    layout_.columns.resize(count);
    for (std::size_t i = 0; i < count; ++i) {
      Sas7bdatColumn& column = layout_.columns[i];
      const Attribute& a = attributes_[i];
      column.name = Text(names_[i]);
      column.isString = a.type == 2;
      column.offset = a.offset;
      column.length = a.length;
      if (i < formats_.size()) {
        column.format = Text(formats_[i].format);
        column.label = Text(formats_[i].label);
        column.formatWidth = formats_[i].width;
        column.formatDecimals = formats_[i].decimals;
      }
      const bool fits = column.isString ? column.length >= 1 : column.length >= 2 && column.length <= 8;
      if ((a.type != 1 && a.type != 2) || !fits || column.offset > layout_.rowLength ||
          column.length > layout_.rowLength - column.offset) {
        Fail("column " + std::to_string(i + 1) + " has the type " + std::to_string(a.type) + ", offset " +
             std::to_string(column.offset) + " and length " + std::to_string(column.length) +
             ", which do not fit a row of " + std::to_string(layout_.rowLength) + " bytes");
      }
    }
  }

  // The rows of each page, in page order, up to the declared count. In a
  // file of compressed rows, the free room of a mix page holds none.
  void AssignRows() {
    if (layout_.rowLength == 0 && layout_.rowCount > 0) Fail("rows of no length");
    std::uint64_t left = layout_.rowCount;
    for (const Pending& p : pending_) {
      if (left == 0) break;
      if (p.kind == Pending::kMixTail && Compressed()) continue;
      std::uint64_t rows = p.rows;
      if (p.kind == Pending::kMixTail && mixRows_ > 0) rows = std::min<std::uint64_t>(rows, mixRows_);
      if (p.kind != Pending::kPacked) {
        const std::uint64_t fit = p.start < layout_.pageSize ? (layout_.pageSize - p.start) / layout_.rowLength : 0;
        if (rows > fit) Fail("page " + std::to_string(p.page + 1) + " claims more rows than it can hold");
      }
      rows = std::min(rows, left);
      if (rows > 0) layout_.runs.push_back({p.page, p.start, static_cast<std::uint32_t>(rows), p.kind == Pending::kPacked});
      left -= rows;
    }
  }

  struct Attribute {
    std::uint64_t offset = 0;
    std::uint32_t length = 0;
    std::uint8_t type = 0;
  };
  struct Format {
    int width = 0, decimals = 0;
    TextRef format, label;
  };
  struct Pending {
    enum Kind { kData, kMixTail, kPacked };
    std::uint64_t page;
    std::uint32_t start;
    std::uint32_t rows;
    Kind kind;
  };

  const sav::ByteSource& source_;
  sav::Warnings& warnings_;
  Sas7bdatLayout layout_;
  std::uint64_t mixRows_ = 0;
  std::uint64_t columnCount_ = 0;
  bool packed_ = false;        // rows in subheaders
  std::uint64_t longestRow_ = 0;  // of those subheaders
  std::string compressionName_;  // as the text block gives it
  std::vector<std::vector<std::uint8_t>> texts_;
  std::vector<TextRef> names_;
  std::vector<Attribute> attributes_;
  std::vector<Format> formats_;
  std::vector<Pending> pending_;
};

}  // namespace

Sas7bdatLayout ReadSas7bdatLayout(const sav::ByteSource& source, sav::Warnings& warnings) {
  return LayoutReader(source, warnings).Read();
}

std::vector<SubheaderPointer> ReadSubheaderPointers(std::span<const std::uint8_t> page, const Sas7bdatLayout& layout,
                                                    const std::string& file, std::uint64_t index) {
  const std::size_t n = layout.is64 ? 8 : 4;
  const std::size_t bitOffset = layout.is64 ? 32 : 16;
  const std::size_t pointerSize = layout.is64 ? 24 : 12;
  const std::string where = "page " + std::to_string(index + 1);
  ByteCursor c(page, layout.bigEndian, where);
  c.Seek(bitOffset + 4);
  const std::uint16_t count = c.U16();
  if (bitOffset + 8 + static_cast<std::uint64_t>(count) * pointerSize > page.size()) {
    throw FileError(file, where + " claims more subheaders than it can hold");
  }
  std::vector<SubheaderPointer> pointers(count);
  c.Seek(bitOffset + 8);
  for (SubheaderPointer& s : pointers) {
    s.offset = n == 8 ? c.U64() : c.U32();
    s.length = n == 8 ? c.U64() : c.U32();
    s.compression = c.U8();
    s.type = c.U8();
    c.Skip(pointerSize - 2 * n - 2);
    if (!s.Truncated() && (s.offset > page.size() || s.length > page.size() - s.offset)) {
      throw FileError(file, "a subheader of " + where + " lies outside the page");
    }
  }
  return pointers;
}

}  // namespace codebook::data::sas
