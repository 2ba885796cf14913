#include "platform/data/sav/write_dataset.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <optional>
#include <stdexcept>
#include <string>
#include <unordered_set>
#include <vector>

#include "platform/data/sav/byte_sink.h"
#include "platform/data/sav/bytecode_encoder.h"
#include "platform/data/sav/format_codes.h"
#include "platform/data/sav/record_buffer.h"
#include "platform/data/sav/text_encoding.h"
#include "platform/data/text/fold_case.h"

namespace codebook::data {
namespace {

using sav::RecordBuffer;

constexpr std::uint64_t kSysmisBits = 0xFFEFFFFFFFFFFFFFull;
constexpr std::uint64_t kHighestBits = 0x7FEFFFFFFFFFFFFFull;

// Cut to at most n bytes without splitting a UTF-8 character (the writer's
// text is UTF-8 before encoding; single-byte encodings cut anywhere).
std::string CutBytes(std::string s, std::size_t n, bool utf8) {
  if (s.size() <= n) return s;
  std::size_t k = n;
  if (utf8) {
    while (k > 0 && (static_cast<unsigned char>(s[k]) & 0xC0) == 0x80) --k;
  }
  s.resize(k);
  return s;
}

std::string_view TrimBlanks(std::string_view s) {
  while (!s.empty() && s.back() == ' ') s.remove_suffix(1);
  return s;
}

std::string UpperAscii(std::string s) {
  for (char& c : s) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  }
  return s;
}

std::string LowerAscii(std::string s) {
  for (char& c : s) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return s;
}

// A variable as the file stores it: one or more segments of at most 255
// bytes, each with its own variable record and short name.
struct Layout {
  const Variable* var = nullptr;
  int width = 0;  // declared width, 0 numeric
  std::string shortName;
  std::vector<std::string> segmentNames;  // very long strings: one per segment
  std::vector<int> segmentWidths;         // the width in each segment's record
  std::uint32_t firstRecord = 0;          // 0-based dictionary index
  std::uint32_t firstSlot = 0;
};

class Writer {
 public:
  Writer(const Dataset& ds, const WriteOptions& options, sav::ByteSink& sink)
      : ds_(ds), dict_(ds.GetDictionary()), o_(options), sink_(sink), encoder_(options.encoding),
        utf8_(encoder_.IsUtf8()) {}

  void Run() {
    PlanLayout();
    WriteHeader();
    WriteVariables();
    WriteValueLabels();
    WriteDocuments();
    WriteExtensions();
    RecordBuffer end(o_.bigEndian);
    end.I32(999);
    end.I32(0);
    Put(end);
    WriteCases();
  }

 private:
  std::string Enc(std::string_view utf8) { return encoder_.Encode(utf8); }
  void Put(const RecordBuffer& r) { sink_.Write(r.Data()); }

  std::string UniqueShortName(const std::string& desired) {
    std::string base = CutBytes(UpperAscii(Enc(desired)), 8, utf8_);
    // A short name must start with a letter (or @ # $, or a non-ASCII byte).
    if (base.empty() || std::isdigit(static_cast<unsigned char>(base[0])) || base[0] == '_' || base[0] == '.') {
      base = CutBytes("V" + base, 8, utf8_);
    }
    if (usedShort_.insert(FoldCase(base)).second) return base;
    for (std::uint64_t k = 1;; ++k) {
      const std::string suffix = std::to_string(k);
      std::string candidate = CutBytes(base, 8 - suffix.size(), utf8_) + suffix;
      if (usedShort_.insert(FoldCase(candidate)).second) return candidate;
    }
  }

  void PlanLayout() {
    std::uint32_t record = 0;
    for (int i = 0; i < dict_.VariableCount(); ++i) {
      const Variable& v = *dict_.GetVariable(i);
      Layout l;
      l.var = &v;
      l.width = v.IsNumeric() ? 0 : v.DeclaredWidth();
      l.shortName = UniqueShortName(v.Name());
      l.firstRecord = record;
      l.firstSlot = record;
      if (l.width <= 255) {
        l.segmentNames.push_back(l.shortName);
        l.segmentWidths.push_back(l.width);
      } else {
        const int n = (l.width + 251) / 252;
        for (int k = 0; k < n; ++k) {
          l.segmentNames.push_back(k == 0 ? l.shortName : UniqueShortName(l.shortName.substr(0, 5)));
          l.segmentWidths.push_back(k + 1 < n ? 255 : l.width - 252 * (n - 1));
        }
      }
      for (int w : l.segmentWidths) record += w == 0 ? 1 : static_cast<std::uint32_t>((w + 7) / 8);
      if (dict_.WeightIndex() == i) weightRecord_ = static_cast<std::int32_t>(l.firstRecord + 1);
      layouts_.push_back(std::move(l));
    }
    records_ = record;
  }

  void WriteHeader() {
    RecordBuffer h(o_.bigEndian);
    h.Text(o_.compression == FileCompression::kZlib ? "$FL3" : "$FL2");
    h.Fixed(Enc(o_.product), 60);
    h.I32(2);
    h.I32(static_cast<std::int32_t>(records_));
    h.I32(static_cast<std::int32_t>(o_.compression));
    h.I32(weightRecord_);
    caseCountOffset_ = sink_.Offset() + h.Size();
    const std::int64_t count = ds_.GetCaseCount();
    h.I32(count >= 0 && count <= std::numeric_limits<std::int32_t>::max() ? static_cast<std::int32_t>(count) : -1);
    h.F64(100.0);
    h.Fixed(o_.creationDate, 9);
    h.Fixed(o_.creationTime, 8);
    h.Fixed(CutBytes(Enc(dict_.FileLabel().value_or("")), 64, utf8_), 64);
    h.Zeros(3);
    Put(h);
  }

  static std::uint32_t StringFormat(int width) { return 1u << 16 | static_cast<std::uint32_t>(std::min(width, 255)) << 8; }

  void WriteVariables() {
    RecordBuffer r(o_.bigEndian);
    for (const Layout& l : layouts_) {
      const Variable& v = *l.var;
      for (std::size_t k = 0; k < l.segmentWidths.size(); ++k) {
        const int w = l.segmentWidths[k];
        r.I32(2);
        r.I32(w);
        const bool label = k == 0 && v.Label().has_value();
        r.I32(label ? 1 : 0);
        std::vector<std::uint64_t> missing;
        std::int32_t code = 0;
        if (k == 0) code = MissingCode(v, missing);
        r.I32(code);
        if (l.width > 255) {
          const std::uint32_t f = StringFormat(w);
          r.I32(static_cast<std::int32_t>(f));
          r.I32(static_cast<std::int32_t>(f));
        } else {
          r.I32(static_cast<std::int32_t>(sav::PackFormat(v.PrintFormat(), o_.hostTimeCodes)));
          r.I32(static_cast<std::int32_t>(sav::PackFormat(v.WriteFormat(), o_.hostTimeCodes)));
        }
        r.Fixed(l.segmentNames[k], 8);
        if (label) {
          const std::string text = CutBytes(Enc(*v.Label()), 255, utf8_);
          r.I32(static_cast<std::int32_t>(text.size()));
          r.Text(text);
          r.Zeros((4 - text.size() % 4) % 4);
        }
        for (std::uint64_t bits : missing) r.U64(bits);
        for (int c = 1; c < (w + 7) / 8; ++c) {
          r.I32(2);
          r.I32(-1);
          r.I32(0);
          r.I32(0);
          r.I32(0);
          r.I32(0);
          r.Fixed("", 8);
        }
      }
      if (r.Size() > (1 << 20)) {
        Put(r);
        r.Clear();
      }
    }
    Put(r);
  }

  // The missing-value code and the 8-byte values of the variable record.
  std::int32_t MissingCode(const Variable& v, std::vector<std::uint64_t>& out) {
    const MissingValues& m = v.Missing();
    if (v.IsNumeric()) {
      const auto& discrete = m.Discrete();
      if (m.GetRange()) {
        const double low = m.GetRange()->low;
        const double high = m.GetRange()->high;
        out.push_back(std::isinf(low) ? kSysmisBits : std::bit_cast<std::uint64_t>(low));
        out.push_back(std::isinf(high) ? kHighestBits : std::bit_cast<std::uint64_t>(high));
        if (discrete.empty()) return -2;
        out.push_back(std::bit_cast<std::uint64_t>(discrete[0]));
        return -3;
      }
      for (double d : discrete) out.push_back(std::bit_cast<std::uint64_t>(d));
      return static_cast<std::int32_t>(discrete.size());
    }
    if (v.DeclaredWidth() > 8) return 0;  // in the long-string missing-value record
    for (const auto& s : m.StringValues()) {
      std::string bytes = CutBytes(Enc(s), static_cast<std::size_t>(v.DeclaredWidth()), utf8_);
      bytes.resize(8, ' ');
      std::uint64_t raw;
      std::memcpy(&raw, bytes.data(), 8);
      // Raw bytes are written as they are, whatever the byte order.
      if (o_.bigEndian != (std::endian::native == std::endian::big)) raw = __builtin_bswap64(raw);
      out.push_back(raw);
    }
    return static_cast<std::int32_t>(out.size());
  }

  void WriteValueLabels() {
    RecordBuffer r(o_.bigEndian);
    for (const Layout& l : layouts_) {
      const auto& set = l.var->ValueLabels();
      if (!set || set->Size() == 0 || l.width > 8) continue;
      r.I32(3);
      r.I32(static_cast<std::int32_t>(set->Size()));
      for (std::size_t i = 0; i < set->Size(); ++i) {
        if (set->IsString()) {
          std::string value = CutBytes(Enc(set->StringValue(i)), static_cast<std::size_t>(l.width), utf8_);
          r.Fixed(value, 8);
        } else {
          r.F64(set->NumericValue(i));
        }
        const std::string label = CutBytes(Enc(set->Label(i)), 255, utf8_);
        const std::uint8_t len = static_cast<std::uint8_t>(label.size());
        r.Bytes(&len, 1);
        r.Text(label);
        r.Zeros((8 - (1 + label.size()) % 8) % 8);
      }
      r.I32(4);
      r.I32(1);
      r.I32(static_cast<std::int32_t>(l.firstRecord + 1));
      if (r.Size() > (1 << 20)) {
        Put(r);
        r.Clear();
      }
    }
    Put(r);
  }

  void WriteDocuments() {
    std::vector<std::string> lines;
    for (const auto& doc : dict_.Documents()) {
      for (int i = 0; i < doc.Size(); ++i) lines.push_back(doc[i]);
    }
    if (lines.empty()) return;
    RecordBuffer r(o_.bigEndian);
    r.I32(6);
    r.I32(static_cast<std::int32_t>(lines.size()));
    for (const auto& line : lines) r.Fixed(CutBytes(Enc(line), 80, utf8_), 80);
    Put(r);
  }

  void Extension(std::int32_t subtype, std::int32_t size, const RecordBuffer& data) {
    RecordBuffer r(o_.bigEndian);
    r.I32(7);
    r.I32(subtype);
    r.I32(size);
    r.I32(static_cast<std::int32_t>(data.Size() / static_cast<std::size_t>(size)));
    Put(r);
    sink_.Write(data.Data());
  }

  void WriteExtensions() {
    RecordBuffer d(o_.bigEndian);
    // 3: machine integers.
    for (std::int32_t v : {1, 0, 0, -1, 1, 1, o_.bigEndian ? 1 : 2, sav::CodePageForEncoding(o_.encoding)}) d.I32(v);
    Extension(3, 4, d);
    d.Clear();
    // 4: machine floating point.
    d.U64(kSysmisBits);
    d.U64(kHighestBits);
    d.U64(kSysmisBits);
    Extension(4, 8, d);
    WriteSets();
    // 11: display parameters, one group per segment.
    d.Clear();
    for (const Layout& l : layouts_) {
      for (std::size_t k = 0; k < l.segmentWidths.size(); ++k) {
        d.I32(l.var->GetMeasurementLevel());
        d.I32(l.var->DisplayWidth());
        d.I32(static_cast<std::int32_t>(l.var->GetAlignment()));
      }
    }
    if (d.Size() > 0) Extension(11, 4, d);
    // 13: long names.
    d.Clear();
    for (const Layout& l : layouts_) {
      if (d.Size() > 0) d.Text("\t");
      d.Text(l.shortName);
      d.Text("=");
      d.Text(Enc(l.var->Name()));
    }
    if (d.Size() > 0) Extension(13, 1, d);
    // 14: very long strings.
    d.Clear();
    for (const Layout& l : layouts_) {
      if (l.width <= 255) continue;
      std::string width = std::to_string(l.width);
      width.insert(0, width.size() < 5 ? 5 - width.size() : 0, '0');
      d.Text(l.shortName);
      d.Text("=");
      d.Text(width);
      d.Text(std::string_view("\0\t", 2));
    }
    if (d.Size() > 0) Extension(14, 1, d);
    // 16: case count.
    d.Clear();
    d.I64(1);
    caseCount64Offset_ = sink_.Offset() + 16 + 8;
    d.I64(ds_.GetCaseCount() >= 0 ? ds_.GetCaseCount() : -1);
    Extension(16, 8, d);
    // 17: data-file attributes.
    d.Clear();
    AttributesText(dict_.Attributes(), -1, d);
    if (d.Size() > 0) Extension(17, 1, d);
    // 18: variable attributes, with every variable's role.
    d.Clear();
    for (const Layout& l : layouts_) {
      if (d.Size() > 0) d.Text("/");
      d.Text(Enc(l.var->Name()));
      d.Text(":");
      AttributesText(l.var->GetAttributes(), l.var->GetRole(), d);
    }
    if (d.Size() > 0) Extension(18, 1, d);
    // 20: encoding.
    d.Clear();
    d.Text(o_.encoding);
    Extension(20, 1, d);
    WriteLongStringLabels();
    WriteLongStringMissing();
  }

  static std::string NoLineEnds(std::string s) {
    std::replace(s.begin(), s.end(), '\n', ' ');
    return s;
  }

  void AttributesText(const DatasourceAttributes& attributes, int role, RecordBuffer& d) {
    for (const auto& a : attributes.All()) {
      if (a.values.empty()) continue;
      d.Text(Enc(a.name));
      d.Text("(");
      for (const auto& value : a.values) {
        d.Text("'");
        d.Text(Enc(NoLineEnds(value)));
        d.Text("'\n");
      }
      d.Text(")");
    }
    if (role >= 0) {
      d.Text("$@Role('");
      d.Text(std::to_string(role));
      d.Text("'\n)");
    }
  }

  void Counted(RecordBuffer& d, const std::string& text) {
    d.Text(std::to_string(text.size()));
    d.Text(" ");
    d.Text(text);
  }

  void WriteSets() {
    RecordBuffer classic(o_.bigEndian), extended(o_.bigEndian);
    for (const auto& set : dict_.MRSets()) {
      const auto& def = set.Get();
      if (def.kind != VariableSetImpl::kMultipleCategory && def.kind != VariableSetImpl::kMultipleDichotomy) continue;
      const bool e = def.kind == VariableSetImpl::kMultipleDichotomy && def.enhanced;
      RecordBuffer& d = e ? extended : classic;
      d.Text(Enc(def.name));
      d.Text("=");
      if (def.kind == VariableSetImpl::kMultipleCategory) {
        d.Text("C ");
      } else if (!e) {
        d.Text("D");
        Counted(d, Enc(def.countedValue));
        d.Text(" ");
      } else {
        d.Text(def.labelFromFirstVariable ? "E 11 " : "E 1 ");
        Counted(d, Enc(def.countedValue));
        d.Text(" ");
      }
      Counted(d, def.labelFromFirstVariable ? std::string() : Enc(def.label));
      for (const auto& member : def.members) {
        const int index = dict_.FindVarIndex(member);
        d.Text(" ");
        d.Text(index >= 0 ? LowerAscii(layouts_[static_cast<std::size_t>(index)].shortName) : LowerAscii(Enc(member)));
      }
      d.Text("\n");
    }
    if (classic.Size() > 0) Extension(7, 1, classic);
    if (extended.Size() > 0) Extension(19, 1, extended);
  }

  void WriteLongStringLabels() {
    RecordBuffer d(o_.bigEndian);
    for (const Layout& l : layouts_) {
      const auto& set = l.var->ValueLabels();
      if (!set || set->Size() == 0 || l.width <= 8) continue;
      const std::string name = Enc(l.var->Name());
      d.I32(static_cast<std::int32_t>(name.size()));
      d.Text(name);
      d.I32(l.width);
      d.I32(static_cast<std::int32_t>(set->Size()));
      for (std::size_t i = 0; i < set->Size(); ++i) {
        std::string value = CutBytes(Enc(set->StringValue(i)), static_cast<std::size_t>(l.width), utf8_);
        value.resize(static_cast<std::size_t>(l.width), ' ');
        d.I32(l.width);
        d.Text(value);
        const std::string label = Enc(set->Label(i));
        d.I32(static_cast<std::int32_t>(label.size()));
        d.Text(label);
      }
    }
    if (d.Size() > 0) Extension(21, 1, d);
  }

  void WriteLongStringMissing() {
    RecordBuffer d(o_.bigEndian);
    for (const Layout& l : layouts_) {
      const auto& values = l.var->Missing().StringValues();
      if (values.empty() || l.width <= 8) continue;
      const std::string name = Enc(l.var->Name());
      d.I32(static_cast<std::int32_t>(name.size()));
      d.Text(name);
      const std::uint8_t n = static_cast<std::uint8_t>(std::min<std::size_t>(values.size(), 3));
      d.Bytes(&n, 1);
      d.I32(8);
      for (std::size_t i = 0; i < n; ++i) d.Fixed(CutBytes(Enc(values[i]), 8, utf8_), 8);
    }
    if (d.Size() > 0) Extension(22, 1, d);
  }

  // One case in the file's slot layout.
  void CaseSlots(const OBS* cells, std::vector<std::uint8_t>& slots) {
    for (std::size_t i = 0; i < layouts_.size(); ++i) {
      const Layout& l = layouts_[i];
      std::uint8_t* out = slots.data() + static_cast<std::size_t>(l.firstSlot) * 8;
      const OBS* cell = cells + dict_.CellOffset(static_cast<int>(i));
      if (l.width == 0) {
        std::memcpy(out, cell, 8);
        continue;
      }
      std::string_view text = TrimBlanks(l.var->StringValue(cell));
      std::string encoded;
      if (!utf8_) {
        encoded = Enc(text);
        text = encoded;
      }
      if (text.size() > static_cast<std::size_t>(l.width)) {
        encoded = CutBytes(std::string(text), static_cast<std::size_t>(l.width), utf8_);
        text = encoded;
      }
      std::size_t pos = 0;
      for (int w : l.segmentWidths) {
        const std::size_t room = static_cast<std::size_t>((w + 7) / 8) * 8;
        const std::size_t take = pos < text.size() ? std::min<std::size_t>(255, text.size() - pos) : 0;
        const std::size_t copy = std::min(take, static_cast<std::size_t>(w));
        std::memcpy(out, text.data() + pos, copy);
        std::memset(out + copy, ' ', room - copy);
        pos += std::min<std::size_t>(255, text.size() > pos ? text.size() - pos : 0);
        out += room;
      }
    }
  }

  void WriteCases() {
    const std::uint64_t dataStart = sink_.Offset();
    std::vector<std::uint8_t> slots(static_cast<std::size_t>(records_) * 8);
    std::vector<bool> numericSlot(records_, false);
    for (const Layout& l : layouts_) {
      if (l.width == 0) numericSlot[l.firstSlot] = true;
    }
    std::unique_ptr<sav::StreamOut> out;
    std::unique_ptr<sav::ZlibBlockWriter> zlib;
    if (o_.compression == FileCompression::kZlib) {
      RecordBuffer zh(o_.bigEndian);
      zh.Zeros(24);
      Put(zh);
      zlib = std::make_unique<sav::ZlibBlockWriter>(sink_, dataStart, o_.zlibBlockSize, o_.zlibLevel);
    } else {
      out = std::make_unique<sav::SinkOut>(sink_);
    }
    sav::StreamOut& stream = zlib ? static_cast<sav::StreamOut&>(*zlib) : *out;
    std::optional<sav::BytecodeEncoder> encoder;
    if (o_.compression != FileCompression::kNone) encoder.emplace(stream, 100.0, o_.bigEndian);

    std::int64_t cases = 0;
    std::vector<std::uint8_t> block;
    if (records_ > 0) {
      if (auto cs = ds_.OpenCases()) {
        while (const OBS* c = cs->Next()) {
          if (cs->SplitGroupEnd()) continue;
          ++cases;
          CaseSlots(c, slots);
          if (!encoder) {
            for (std::size_t s = 0; s < records_; ++s) {
              if (numericSlot[s]) {
                std::uint64_t bits;
                std::memcpy(&bits, slots.data() + s * 8, 8);
                sav::Store64(slots.data() + s * 8, bits, o_.bigEndian);
              }
            }
            block.insert(block.end(), slots.begin(), slots.end());
            if (block.size() >= (1 << 18)) {
              stream.Write(block.data(), block.size());
              block.clear();
            }
            continue;
          }
          for (std::size_t s = 0; s < records_; ++s) {
            if (numericSlot[s]) {
              double v;
              std::memcpy(&v, slots.data() + s * 8, 8);
              encoder->Number(v);
            } else {
              encoder->StringSlot(slots.data() + s * 8);
            }
          }
        }
      }
    }
    if (!block.empty()) stream.Write(block.data(), block.size());
    if (encoder) encoder->Finish();
    if (zlib) {
      const std::vector<sav::ZlibBlock> blocks = zlib->Finish();
      const std::uint64_t trailer = sink_.Offset();
      RecordBuffer t(o_.bigEndian);
      t.I64(-100);
      t.I64(0);
      t.I32(o_.zlibBlockSize);
      t.I32(static_cast<std::int32_t>(blocks.size()));
      for (const auto& b : blocks) {
        t.I64(static_cast<std::int64_t>(b.uncompressedOffset));
        t.I64(static_cast<std::int64_t>(b.compressedOffset));
        t.I32(static_cast<std::int32_t>(b.uncompressedSize));
        t.I32(static_cast<std::int32_t>(b.compressedSize));
      }
      Put(t);
      RecordBuffer zh(o_.bigEndian);
      zh.I64(static_cast<std::int64_t>(dataStart));
      zh.I64(static_cast<std::int64_t>(trailer));
      zh.I64(static_cast<std::int64_t>(t.Size()));
      sink_.Patch(dataStart, zh.Data());
    }
    if (cases != ds_.GetCaseCount()) {
      RecordBuffer n(o_.bigEndian);
      n.I32(cases <= std::numeric_limits<std::int32_t>::max() ? static_cast<std::int32_t>(cases) : -1);
      sink_.Patch(caseCountOffset_, n.Data());
      RecordBuffer n64(o_.bigEndian);
      n64.I64(cases);
      sink_.Patch(caseCount64Offset_, n64.Data());
    }
  }

  const Dataset& ds_;
  const Dictionary& dict_;
  const WriteOptions& o_;
  sav::ByteSink& sink_;
  sav::TextEncoder encoder_;
  bool utf8_;
  std::vector<Layout> layouts_;
  std::unordered_set<std::string> usedShort_;
  std::uint32_t records_ = 0;
  std::int32_t weightRecord_ = 0;
  std::uint64_t caseCountOffset_ = 0;
  std::uint64_t caseCount64Offset_ = 0;
};

}  // namespace

void WriteDatasetFile(const Dataset& dataset, const std::string& path, const WriteOptions& options) {
  sav::FileSink sink(path);
  Writer(dataset, options, sink).Run();
  sink.Close();
}

std::vector<std::uint8_t> WriteDatasetBytes(const Dataset& dataset, const WriteOptions& options) {
  sav::VectorSink sink;
  Writer(dataset, options, sink).Run();
  return sink.Take();
}

}  // namespace codebook::data
