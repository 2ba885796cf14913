#include "testing/sas7bdat_writer.h"

#include "testing/sas7bdat_compress.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <stdexcept>

#include "platform/data/extended_missing.h"
#include "platform/data/time_origin.h"

namespace codebook::data {
namespace {

constexpr std::uint8_t kMagic[32] = {0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,
                                     0x00, 0xC2, 0xEA, 0x81, 0x60, 0xB3, 0x14, 0x11, 0xCF, 0xBD, 0x92,
                                     0x08, 0x00, 0x09, 0xC7, 0x31, 0x8C, 0x18, 0x1F, 0x10, 0x11};

class Buffer {
 public:
  Buffer(std::size_t size, bool bigEndian) : bytes(size, 0), bigEndian_(bigEndian) {}
  void Put(std::size_t at, std::uint64_t v, int n) {
    if (at + static_cast<std::size_t>(n) > bytes.size()) throw std::invalid_argument("the data set does not fit a page");
    for (int i = 0; i < n; ++i) bytes[at + static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(v >> (8 * (bigEndian_ ? n - 1 - i : i)));
  }
  void Text(std::size_t at, std::string_view s) {
    if (at + s.size() > bytes.size()) throw std::invalid_argument("the data set does not fit a page");
    std::memcpy(bytes.data() + at, s.data(), s.size());
  }
  std::vector<std::uint8_t> bytes;

 private:
  bool bigEndian_;
};

struct Ref {
  std::uint16_t offset = 0, length = 0;
};

class Writer {
 public:
  Writer(const Dataset& dataset, const Sas7bdatWriteOptions& options)
      : dataset_(dataset), o_(options), n_(options.is64 ? 8 : 4), bitOffset_(options.is64 ? 32 : 16),
        pointerSize_(options.is64 ? 24 : 12) {}

  std::vector<std::uint8_t> Write() {
    Columns();
    Rows();
    std::vector<Buffer> pages;
    pages.push_back(MetaPage());
    while (next_ < rows_.size()) pages.push_back(Packing() ? PackedPage() : DataPage());
    const std::uint32_t headerLength = o_.is64 ? 8192 : 1024;
    Buffer header(headerLength, o_.bigEndian);
    header.Text(0, std::string_view(reinterpret_cast<const char*>(kMagic), 32));
    header.bytes[32] = o_.is64 ? 0x33 : 0x22;
    header.bytes[35] = 0x22;
    header.bytes[37] = o_.bigEndian ? 0x00 : 0x01;
    header.bytes[39] = '1';
    header.bytes[70] = static_cast<std::uint8_t>(o_.encodingCode);
    header.Text(84, "SAS FILE");
    header.Text(92, o_.datasetName + std::string(64 - o_.datasetName.size(), ' '));
    header.Text(156, "DATA    ");
    const double created = 2019729600.0;  // 2024-01-01 12:00:00
    header.Put(164, std::bit_cast<std::uint64_t>(created), 8);
    header.Put(172, std::bit_cast<std::uint64_t>(created), 8);
    header.Put(196, headerLength, 4);
    header.Put(200, o_.pageSize, 4);
    header.Put(204, pages.size(), n_);
    header.Text(216 + (o_.is64 ? 4 : 0), "9.0401M0");
    std::vector<std::uint8_t> out = header.bytes;
    for (const Buffer& page : pages) out.insert(out.end(), page.bytes.begin(), page.bytes.end());
    return out;
  }

 private:
  struct Column {
    const Variable* variable;
    int index;
    std::uint32_t offset, length;
    std::string format;
    Ref name, formatRef, label;
  };

  void Columns() {
    const Dictionary& d = dataset_.GetDictionary();
    // The text block: the compression's name at its offset 12, then the texts.
    texts_ = std::string(12, '\0') + (o_.compression.empty() ? std::string(8, ' ') : o_.compression) + std::string(8, '\0');
    const auto add = [this](const std::string& text) {
      Ref r{static_cast<std::uint16_t>(texts_.size()), static_cast<std::uint16_t>(text.size())};
      texts_ += text;
      while (texts_.size() % 4 != 0) texts_ += '\0';
      return r;
    };
    std::uint32_t offset = 0;
    for (int i = 0; i < d.VariableCount(); ++i) {
      const Variable& v = *d.GetVariable(i);
      const auto wanted = o_.columns.find(v.Name());
      Column c{&v, i, offset, v.IsNumeric() ? 8u : static_cast<std::uint32_t>(v.DeclaredWidth()), "", {}, {}, {}};
      if (wanted != o_.columns.end()) {
        c.format = wanted->second.format;
        if (v.IsNumeric()) c.length = static_cast<std::uint32_t>(wanted->second.length);
      }
      c.name = add(v.Name());
      if (!c.format.empty()) c.formatRef = add(c.format);
      if (v.Label()) c.label = add(*v.Label());
      offset += c.length;
      columns_.push_back(c);
    }
    rowLength_ = offset;
  }

  std::uint64_t Number(const Column& c, double value) const {
    if (value == kSysmis) return 0xFFFFD10000000000ull;  // '.'
    if (const char code = ExtendedMissingCode(value)) {
      return 0xFFFF000000000000ull | (static_cast<std::uint64_t>(static_cast<std::uint8_t>(~code)) << 40);
    }
    if (c.format.starts_with("DATETIME")) value -= kSeconds1582To1960;
    else if (c.format.starts_with("DATE")) value = value / 86400.0 - 137775.0;
    return std::bit_cast<std::uint64_t>(value);
  }

  void Rows() {
    std::unique_ptr<CaseStream> stream = dataset_.OpenCases();
    const Dictionary& d = dataset_.GetDictionary();
    while (const OBS* row = stream ? stream->Next() : nullptr) {
      Buffer r(rowLength_, o_.bigEndian);
      for (const Column& c : columns_) {
        const OBS* cell = row + d.CellOffset(c.index);
        if (!c.variable->IsNumeric()) {
          std::string_view text = c.variable->StringValue(cell);
          while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
          r.Text(c.offset, text);
          continue;
        }
        // The most significant bytes of the number are kept.
        Buffer full(8, o_.bigEndian);
        full.Put(0, Number(c, cell->d), 8);
        const std::size_t from = o_.bigEndian ? 0 : 8 - c.length;
        std::memcpy(r.bytes.data() + c.offset, full.bytes.data() + from, c.length);
      }
      rows_.push_back(std::move(r.bytes));
    }
  }

  Buffer MetaPage() {
    std::vector<std::vector<std::uint8_t>> subheaders;
    const auto make = [&](std::size_t size, std::uint32_t signature, bool wideZeros) {
      Buffer s(size, o_.bigEndian);
      const std::uint64_t wide = o_.is64 ? (wideZeros ? 0ull : 0xFFFFFFFF00000000ull) | signature : signature;
      s.Put(0, wide, n_);
      return s;
    };
    const std::size_t n = n_;
    Buffer rs = make(o_.is64 ? 808 : 480, 0xF7F7F7F7, true);
    rs.Put(5 * n, rowLength_, static_cast<int>(n));
    rs.Put(6 * n, rows_.size(), static_cast<int>(n));
    Buffer cs = make(o_.is64 ? 24 : 12, 0xF6F6F6F6, true);
    cs.Put(n, columns_.size(), static_cast<int>(n));
    Buffer ct = make(n + texts_.size(), 0xFFFFFFFD, false);
    // Its size field falls 12 bytes short of the block, as writers have it.
    std::memcpy(ct.bytes.data() + n, texts_.data(), texts_.size());
    ct.Put(n, texts_.size() - 12, 2);
    const std::size_t trailer = o_.is64 ? 12 : 8;
    Buffer cn = make(n + 8 + 8 * columns_.size() + trailer, 0xFFFFFFFF, false);
    const std::size_t entry = o_.is64 ? 16 : 12;
    Buffer ca = make(n + 8 + entry * columns_.size() + trailer, 0xFFFFFFFC, false);
    for (std::size_t i = 0; i < columns_.size(); ++i) {
      const Column& c = columns_[i];
      cn.Put(n + 8 + 8 * i, 0, 2);
      cn.Put(n + 8 + 8 * i + 2, c.name.offset, 2);
      cn.Put(n + 8 + 8 * i + 4, c.name.length, 2);
      ca.Put(n + 8 + entry * i, c.offset, static_cast<int>(n));
      ca.Put(n + 8 + entry * i + n, c.length, 4);
      ca.Put(n + 8 + entry * i + n + 6, c.variable->IsNumeric() ? 1 : 2, 1);
    }
    subheaders = {rs.bytes, cs.bytes, ct.bytes, cn.bytes, ca.bytes};
    for (const Column& c : columns_) {
      Buffer cf = make(o_.is64 ? 64 : 52, 0xFFFFFBFE, false);
      cf.Put(o_.is64 ? 46 : 34, 0, 2);
      cf.Put(o_.is64 ? 48 : 36, c.formatRef.offset, 2);
      cf.Put(o_.is64 ? 50 : 38, c.formatRef.length, 2);
      cf.Put(o_.is64 ? 52 : 40, 0, 2);
      cf.Put(o_.is64 ? 54 : 42, c.label.offset, 2);
      cf.Put(o_.is64 ? 56 : 44, c.label.length, 2);
      subheaders.push_back(cf.bytes);
    }
    std::vector<Sub> subs;
    for (auto& bytes : subheaders) subs.push_back({std::move(bytes), 0, 0});
    if (Packing()) {
      PackRows(subs);
      return Place(subs, 0x0000, 0);
    }
    std::size_t used = bitOffset_ + 8 + subs.size() * pointerSize_;
    for (const Sub& sub : subs) used += sub.bytes.size();
    if (used > o_.pageSize) throw std::invalid_argument("the dictionary does not fit the first page");
    std::size_t room = o_.pageSize - (used - (bitOffset_ + 8 + subs.size() * pointerSize_));
    std::size_t rowsHere = 0;
    std::size_t start = (bitOffset_ + 8 + subs.size() * pointerSize_ + 7) / 8 * 8;
    if (o_.mixPage && room > start && rowLength_ > 0) {
      rowsHere = std::min(rows_.size(), (room - start) / rowLength_);
      // The most rows a mix page holds, which the reader takes from here.
      Buffer patched(0, o_.bigEndian);
      patched.bytes = subs[0].bytes;
      patched.Put(15 * n, rowsHere, static_cast<int>(n));
      subs[0].bytes = patched.bytes;
    }
    Buffer page = Place(subs, o_.mixPage ? 0x0200 : 0x0000, rowsHere);
    for (std::size_t r = 0; r < rowsHere; ++r) std::memcpy(page.bytes.data() + start + r * rowLength_, rows_[r].data(), rowLength_);
    next_ = rowsHere;
    return page;
  }

  struct Sub {
    std::vector<std::uint8_t> bytes;
    std::uint8_t compression = 0;
    std::uint8_t type = 0;
  };

  bool Packing() const { return o_.packing != Sas7bdatWriteOptions::Packing::kNone; }

  // What a page of `subs` uses, with a pointer of no length that ends a
  // page of rows, as writers have it.
  std::size_t Used(const std::vector<Sub>& subs) const {
    std::size_t used = bitOffset_ + 8 + (subs.size() + (Packing() ? 1 : 0)) * pointerSize_;
    for (const Sub& sub : subs) used += sub.bytes.size();
    return used;
  }

  // The next rows as subheaders, while they fit.
  void PackRows(std::vector<Sub>& subs) {
    if (Used(subs) > o_.pageSize) throw std::invalid_argument("the dictionary does not fit the first page");
    while (next_ < rows_.size()) {
      const std::vector<std::uint8_t>& row = rows_[next_];
      Sub sub{o_.packing == Sas7bdatWriteOptions::Packing::kRle ? CompressRowRle(row) : CompressRowRdc(row), 4, 1};
      if (sub.bytes.size() >= row.size()) sub = {row, 0, 1};  // compressing does not pay
      if (o_.cutRow == next_ && sub.compression == 4) sub.bytes.pop_back();
      if (Used(subs) + pointerSize_ + sub.bytes.size() > o_.pageSize) break;
      subs.push_back(std::move(sub));
      ++next_;
    }
  }

  Buffer PackedPage() {
    std::vector<Sub> subs;
    const std::size_t before = next_;
    PackRows(subs);
    if (next_ == before) throw std::invalid_argument("a row does not fit a page");
    return Place(subs, 0x0000, 0);
  }

  // Subheaders from the page's end backwards, their pointers from its start.
  Buffer Place(const std::vector<Sub>& subs, std::uint16_t type, std::size_t rows) {
    Buffer page(o_.pageSize, o_.bigEndian);
    const std::size_t n = n_;
    std::size_t end = page.bytes.size();
    for (std::size_t i = 0; i < subs.size(); ++i) {
      end -= subs[i].bytes.size();
      std::memcpy(page.bytes.data() + end, subs[i].bytes.data(), subs[i].bytes.size());
      const std::size_t at = bitOffset_ + 8 + i * pointerSize_;
      page.Put(at, end, static_cast<int>(n));
      page.Put(at + n, subs[i].bytes.size(), static_cast<int>(n));
      page.bytes[at + 2 * n] = subs[i].compression;
      page.bytes[at + 2 * n + 1] = subs[i].type;
    }
    const std::size_t pointers = subs.size() + (Packing() ? 1 : 0);
    page.Put(bitOffset_, type, 2);
    page.Put(bitOffset_ + 2, pointers + rows, 2);
    page.Put(bitOffset_ + 4, pointers, 2);
    return page;
  }

  Buffer DataPage() {
    Buffer page(o_.pageSize, o_.bigEndian);
    const std::size_t start = bitOffset_ + 8;
    const std::size_t fit = (o_.pageSize - start) / std::max<std::size_t>(rowLength_, 1);
    const std::size_t rows = std::min(fit, rows_.size() - next_);
    if (rows == 0) throw std::invalid_argument("a row does not fit a page");
    for (std::size_t r = 0; r < rows; ++r) std::memcpy(page.bytes.data() + start + r * rowLength_, rows_[next_ + r].data(), rowLength_);
    next_ += rows;
    page.Put(bitOffset_, 0x0100, 2);
    page.Put(bitOffset_ + 2, rows, 2);
    return page;
  }

  const Dataset& dataset_;
  const Sas7bdatWriteOptions& o_;
  std::size_t n_, bitOffset_, pointerSize_;
  std::vector<Column> columns_;
  std::string texts_;
  std::size_t rowLength_ = 0;
  std::vector<std::vector<std::uint8_t>> rows_;
  std::size_t next_ = 0;
};

}  // namespace

std::vector<std::uint8_t> WriteSas7bdatBytes(const Dataset& dataset, const Sas7bdatWriteOptions& options) {
  return Writer(dataset, options).Write();
}

}  // namespace codebook::data
