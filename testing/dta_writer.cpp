#include "testing/dta_writer.h"

#include <bit>
#include <cmath>
#include <fstream>
#include <map>
#include <stdexcept>

#include "platform/data/extended_missing.h"
#include "platform/data/sav/text_encoding.h"
#include "platform/data/time_origin.h"

namespace codebook::data {
namespace {

enum class Kind { kByte, kInt, kLong, kFloat, kDouble, kStr, kStrL };

struct Column {
  const Variable* variable = nullptr;
  int index = 0;
  Kind kind = Kind::kDouble;
  std::uint32_t width = 0;  // of a str
  std::string format;
  std::string table;
};

// The file's bytes, held or handed on to a stream a megabyte at a time.
class Bytes {
 public:
  explicit Bytes(bool bigEndian, std::ostream* sink = nullptr) : sink_(sink), bigEndian_(bigEndian) {}
  void U8(std::uint64_t v) { out.push_back(static_cast<std::uint8_t>(v)); }
  // A number of 1 to 8 bytes.
  void Unsigned(std::uint64_t v, int n) {
    for (int i = 0; i < n; ++i) U8(v >> (8 * (bigEndian_ ? n - 1 - i : i)));
  }
  void U16(std::uint64_t v) { Unsigned(v, 2); }
  void U32(std::uint64_t v) { Unsigned(v, 4); }
  void U64(std::uint64_t v) { Unsigned(v, 8); }
  void Text(std::string_view s) { out.insert(out.end(), s.begin(), s.end()); }
  // A NUL-padded field; the text must leave room for its NUL when `nul`.
  void Fixed(std::string_view s, std::size_t size, const char* what, bool nul = true) {
    if (s.size() + (nul ? 1 : 0) > size) throw std::invalid_argument(std::string(what) + " \"" + std::string(s) + "\" is too long");
    Text(s);
    out.insert(out.end(), size - s.size(), 0);
  }
  std::size_t Size() const { return flushed_ + out.size(); }
  void MaybeFlush() {
    if (sink_ == nullptr || out.size() < (1u << 20)) return;
    Flush();
  }
  void Flush() {
    if (sink_ == nullptr) return;
    sink_->write(reinterpret_cast<const char*>(out.data()), static_cast<std::streamsize>(out.size()));
    flushed_ += out.size();
    out.clear();
  }
  // Overwrites bytes written before.
  void Patch(std::size_t at, const std::vector<std::uint8_t>& bytes) {
    if (at >= flushed_) {
      std::copy(bytes.begin(), bytes.end(), out.begin() + static_cast<std::ptrdiff_t>(at - flushed_));
      return;
    }
    Flush();
    sink_->seekp(static_cast<std::streamoff>(at));
    sink_->write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    sink_->seekp(0, std::ios::end);
  }
  std::vector<std::uint8_t> out;

 private:
  std::ostream* sink_;
  std::size_t flushed_ = 0;
  bool bigEndian_;
};

struct Sizes {
  std::size_t name, format, labelName, variableLabel, dataLabel;
};

Sizes SizesOf(int release) {
  if (release >= 118) return {129, 57, 129, 321, 0};
  if (release == 117) return {33, 49, 33, 81, 0};
  return {release >= 110 ? 33u : 9u, release >= 114 ? 49u : (release >= 105 ? 12u : 7u), release >= 110 ? 33u : 9u,
          release >= 108 ? 81u : 32u, release >= 108 ? 81u : 32u};
}

Kind KindOf(const std::string& storage, std::uint32_t& width) {
  if (storage == "byte") return Kind::kByte;
  if (storage == "int") return Kind::kInt;
  if (storage == "long") return Kind::kLong;
  if (storage == "float") return Kind::kFloat;
  if (storage == "double") return Kind::kDouble;
  if (storage == "strL") return Kind::kStrL;
  if (storage.starts_with("str")) {
    width = static_cast<std::uint32_t>(std::stoul(storage.substr(3)));
    return Kind::kStr;
  }
  throw std::invalid_argument("unknown storage " + storage);
}

class Writer {
 public:
  Writer(const Dataset& dataset, const DtaWriteOptions& options, std::ostream* sink = nullptr)
      : dataset_(dataset), options_(options), sizes_(SizesOf(options.release)), out_(options.bigEndian, sink),
        encoder_(options.release >= 118 ? "UTF-8" : "windows-1252") {}

  std::vector<std::uint8_t> Write() {
    if (options_.release < 104 || options_.release > 119 || options_.release == 116) {
      throw std::invalid_argument("release " + std::to_string(options_.release));
    }
    Columns();
    CountCases();
    if (options_.release >= 117) {
      Tagged();
    } else {
      Binary();
    }
    out_.Flush();
    return std::move(out_.out);
  }

 private:
  bool Extended() const { return options_.release >= 113; }
  std::string Encode(const std::string& utf8) const { return encoder_.Encode(utf8); }

  void Columns() {
    const Dictionary& d = dataset_.GetDictionary();
    std::map<const ValueLabelSetImpl*, std::string> tables;
    for (int i = 0; i < d.VariableCount(); ++i) {
      const Variable& v = *d.GetVariable(i);
      Column c;
      c.variable = &v;
      c.index = i;
      const auto spec = options_.columns.find(v.Name());
      const DtaColumnSpec none;
      const DtaColumnSpec& s = spec == options_.columns.end() ? none : spec->second;
      const std::string storage = !s.storage.empty() ? s.storage
                                  : v.IsNumeric() ? "double"
                                                  : "str" + std::to_string(v.DeclaredWidth());
      c.kind = KindOf(storage, c.width);
      c.format = !s.format.empty() ? s.format : v.IsNumeric() ? "%9.0g" : "%" + std::to_string(std::max(1, v.DeclaredWidth())) + "s";
      if (v.ValueLabels() && v.ValueLabels()->Size() > 0) {
        auto [it, added] = tables.emplace(v.ValueLabels().get(), s.labelTable.empty() ? v.Name() : s.labelTable);
        c.table = it->second;
        if (added) labelSets_.emplace_back(it->second, v.ValueLabels().get());
      }
      columns_.push_back(c);
    }
  }

  void CountCases() {
    cases_ = dataset_.GetCaseCount();
    if (cases_ >= 0) return;
    cases_ = 0;
    if (std::unique_ptr<CaseStream> stream = dataset_.OpenCases()) {
      while (stream->Next() != nullptr) ++cases_;
    }
  }

  double Stored(const Column& c, double value) const {
    if (c.format.starts_with("%td") || c.format.starts_with("%d")) return value / 86400.0 - 137775.0;
    if (c.format.starts_with("%tc")) return std::round((value - kSeconds1582To1960) * 1000.0);
    return value;
  }

  void Number(const Column& c, double value) {
    int code = 0;  // 0 a value, -1 ".", k .a-.z
    if (value == kSysmis) {
      code = -1;
    } else if (const char letter = ExtendedMissingCode(value)) {
      if (!Extended()) throw std::invalid_argument("extended missing values need release 113 or later");
      code = letter - 'a' + 1;
    } else {
      value = Stored(c, value);
    }
    const auto integer = [&](std::int64_t first, std::int64_t oldMissing, int bytes) {
      std::int64_t stored = 0;
      if (code == -1) {
        stored = Extended() ? first : oldMissing;
      } else if (code > 0) {
        stored = first + code;
      } else {
        stored = static_cast<std::int64_t>(value);
      }
      out_.Unsigned(static_cast<std::uint64_t>(stored), bytes);
    };
    switch (c.kind) {
      case Kind::kByte: integer(101, 127, 1); break;
      case Kind::kInt: integer(32741, 32767, 2); break;
      case Kind::kLong: integer(2147483621, 2147483647, 4); break;
      case Kind::kFloat: {
        std::uint32_t bits = code == 0 ? std::bit_cast<std::uint32_t>(static_cast<float>(value))
                                       : 0x7F000000u + (code > 0 ? static_cast<std::uint32_t>(code) << 11 : 0);
        out_.U32(bits);
        break;
      }
      case Kind::kDouble: {
        std::uint64_t bits = code == 0 ? std::bit_cast<std::uint64_t>(value)
                                       : 0x7FE0000000000000ull + (code > 0 ? static_cast<std::uint64_t>(code) << 40 : 0);
        out_.U64(bits);
        break;
      }
      default: break;
    }
  }

  std::string StringOf(const Column& c, const OBS* row) const {
    const int offset = dataset_.GetDictionary().CellOffset(c.index);
    std::string_view text = c.variable->StringValue(row + offset);
    while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
    return Encode(std::string(text));
  }

  std::uint32_t BytesOf(const Column& c) const {
    switch (c.kind) {
      case Kind::kByte: return 1;
      case Kind::kInt: return 2;
      case Kind::kLong: case Kind::kFloat: return 4;
      case Kind::kDouble: case Kind::kStrL: return 8;
      case Kind::kStr: return c.width;
    }
    return 0;
  }

  std::uint8_t OldTypeCode(const Column& c) const {
    const bool letters = options_.release <= 110;
    switch (c.kind) {
      case Kind::kByte: return letters ? 'b' : 251;
      case Kind::kInt: return letters ? 'i' : 252;
      case Kind::kLong: return letters ? 'l' : 253;
      case Kind::kFloat: return letters ? 'f' : 254;
      case Kind::kDouble: return letters ? 'd' : 255;
      case Kind::kStr: return static_cast<std::uint8_t>(letters ? 0x7F + c.width : c.width);
      case Kind::kStrL: break;
    }
    throw std::invalid_argument("strL needs release 117 or later");
  }

  // The rows; strL cells refer to the records `strls_` collects.
  void Data() {
    const int vBytes = options_.release >= 119 ? 3 : (options_.release == 118 ? 2 : 4);
    std::map<std::string, std::pair<std::uint32_t, std::uint64_t>> shared;
    std::unique_ptr<CaseStream> stream = dataset_.OpenCases();
    std::int64_t r = 0;
    for (const OBS* row = stream ? stream->Next() : nullptr; row != nullptr && r < cases_; row = stream->Next(), ++r) {
      for (const Column& c : columns_) {
        if (c.kind == Kind::kStr) {
          out_.Fixed(StringOf(c, row), c.width, "a string value", false);
        } else if (c.kind == Kind::kStrL) {
          const std::string text = StringOf(c, row);
          std::uint32_t v = 0;
          std::uint64_t o = 0;
          if (!text.empty()) {
            v = static_cast<std::uint32_t>(c.index + 1);
            o = static_cast<std::uint64_t>(r + 1);
            const auto found = shared.find(text);
            if (options_.shareStrLs && found != shared.end()) {
              std::tie(v, o) = found->second;
            } else {
              strls_.push_back({v, o, text});
              shared.emplace(text, std::make_pair(v, o));
            }
          }
          out_.Unsigned(v, vBytes);
          out_.Unsigned(o, 8 - vBytes);
        } else {
          const int offset = dataset_.GetDictionary().CellOffset(c.index);
          Number(c, row[offset].d);
        }
      }
      out_.MaybeFlush();
    }
    if (r != cases_) throw std::invalid_argument("the dataset delivers fewer cases than it declares");
  }

  std::vector<std::pair<std::int32_t, std::string>> LabelsOf(const ValueLabelSetImpl& set) const {
    std::vector<std::pair<std::int32_t, std::string>> labels;
    for (std::size_t i = 0; i < set.Size(); ++i) {
      const double value = set.NumericValue(i);
      const char code = ExtendedMissingCode(value);
      labels.emplace_back(code != 0 ? 2147483621 + (code - 'a' + 1) : static_cast<std::int32_t>(value), Encode(set.Label(i)));
    }
    return labels;
  }

  // A value-label table from its length on (105 and later).
  void Table(const std::string& name, const std::vector<std::pair<std::int32_t, std::string>>& labels) {
    std::string text;
    std::vector<std::uint32_t> offsets;
    for (const auto& [value, label] : labels) {
      offsets.push_back(static_cast<std::uint32_t>(text.size()));
      text += label;
      text += '\0';
    }
    out_.U32(8 + 8 * labels.size() + text.size());
    out_.Fixed(Encode(name), sizes_.labelName, "a table name");
    out_.Unsigned(0, 3);
    out_.U32(labels.size());
    out_.U32(text.size());
    for (const std::uint32_t offset : offsets) out_.U32(offset);
    for (const auto& [value, label] : labels) out_.U32(static_cast<std::uint32_t>(value));
    out_.Text(text);
  }

  std::vector<DtaLabelTableSpec> AllTables() const {
    std::vector<DtaLabelTableSpec> tables;
    for (const auto& [name, set] : labelSets_) tables.push_back({name, LabelsOf(*set)});
    for (const DtaLabelTableSpec& extra : options_.extraTables) {
      DtaLabelTableSpec t{extra.name, {}};
      for (const auto& [value, label] : extra.labels) t.labels.emplace_back(value, Encode(label));
      tables.push_back(std::move(t));
    }
    return tables;
  }

  void Descriptors(bool tagged) {
    for (const Column& c : columns_) out_.Fixed(Encode(c.variable->Name()), sizes_.name, "a name");
    if (tagged) out_.Text("</varnames><sortlist>");
    const int sortEntry = options_.release >= 119 ? 4 : 2;
    for (std::size_t i = 0; i <= columns_.size(); ++i) out_.Unsigned(0, sortEntry);  // no sort order
    if (tagged) out_.Text("</sortlist><formats>");
    for (const Column& c : columns_) out_.Fixed(c.format, sizes_.format, "a format");
    if (tagged) out_.Text("</formats><value_label_names>");
    for (const Column& c : columns_) out_.Fixed(Encode(c.table), sizes_.labelName, "a table name");
    if (tagged) out_.Text("</value_label_names><variable_labels>");
    for (const Column& c : columns_) out_.Fixed(Encode(c.variable->Label().value_or("")), sizes_.variableLabel, "a label");
  }

  void Binary() {
    const int r = options_.release;
    out_.U8(static_cast<std::uint64_t>(r));
    out_.U8(options_.bigEndian ? 1 : 2);
    out_.U8(1);
    out_.U8(0);
    out_.U16(columns_.size());
    out_.U32(static_cast<std::uint64_t>(cases_));
    out_.Fixed(Encode(dataset_.GetDictionary().FileLabel().value_or("")), sizes_.dataLabel, "the data label");
    if (r >= 105) out_.Fixed(options_.timestamp, 18, "the time stamp");
    for (const Column& c : columns_) out_.U8(OldTypeCode(c));
    Descriptors(false);
    if (r >= 105) {
      const int lengthBytes = r >= 110 ? 4 : 2;
      for (const DtaCharacteristicSpec& ch : options_.characteristics) {
        const std::string contents = Encode(ch.contents);
        out_.U8(1);
        out_.Unsigned(2 * sizes_.name + contents.size() + 1, lengthBytes);
        out_.Fixed(Encode(ch.variable), sizes_.name, "a characteristic's variable");
        out_.Fixed(Encode(ch.name), sizes_.name, "a characteristic's name");
        out_.Text(contents);
        out_.U8(0);
      }
      out_.U8(0);
      out_.Unsigned(0, lengthBytes);
    }
    Data();
    for (const DtaLabelTableSpec& t : AllTables()) {
      if (r >= 105) {
        Table(t.name, t.labels);
        continue;
      }
      out_.U16(t.labels.size());
      out_.Fixed(Encode(t.name), 9, "a table name");
      out_.U8(0);
      for (const auto& [value, label] : t.labels) out_.U16(static_cast<std::uint16_t>(value));
      for (const auto& [value, label] : t.labels) out_.Fixed(label, 8, "an old label", false);
    }
  }

  void Tagged() {
    const int r = options_.release;
    out_.Text("<stata_dta><header><release>" + std::to_string(r) + "</release><byteorder>");
    out_.Text(options_.bigEndian ? "MSF" : "LSF");
    out_.Text("</byteorder><K>");
    out_.Unsigned(columns_.size(), r >= 119 ? 4 : 2);
    out_.Text("</K><N>");
    out_.Unsigned(static_cast<std::uint64_t>(cases_), r >= 118 ? 8 : 4);
    out_.Text("</N><label>");
    const std::string label = Encode(dataset_.GetDictionary().FileLabel().value_or(""));
    out_.Unsigned(label.size(), r >= 118 ? 2 : 1);
    out_.Text(label);
    out_.Text("</label><timestamp>");
    out_.U8(options_.timestamp.size());
    out_.Text(options_.timestamp);
    out_.Text("</timestamp></header>");
    std::uint64_t map[14] = {};
    map[1] = out_.Size();
    const std::size_t mapAt = out_.Size() + 5;
    out_.Text("<map>");
    for (int i = 0; i < 14; ++i) out_.U64(0);
    out_.Text("</map>");
    map[2] = out_.Size();
    out_.Text("<variable_types>");
    for (const Column& c : columns_) {
      switch (c.kind) {
        case Kind::kByte: out_.U16(65530); break;
        case Kind::kInt: out_.U16(65529); break;
        case Kind::kLong: out_.U16(65528); break;
        case Kind::kFloat: out_.U16(65527); break;
        case Kind::kDouble: out_.U16(65526); break;
        case Kind::kStr: out_.U16(c.width); break;
        case Kind::kStrL: out_.U16(32768); break;
      }
    }
    out_.Text("</variable_types>");
    map[3] = out_.Size();
    out_.Text("<varnames>");
    Descriptors(true);
    out_.Text("</variable_labels>");
    map[8] = out_.Size();
    out_.Text("<characteristics>");
    for (const DtaCharacteristicSpec& ch : options_.characteristics) {
      const std::string contents = Encode(ch.contents);
      out_.Text("<ch>");
      out_.U32(2 * sizes_.name + contents.size() + 1);
      out_.Fixed(Encode(ch.variable), sizes_.name, "a characteristic's variable");
      out_.Fixed(Encode(ch.name), sizes_.name, "a characteristic's name");
      out_.Text(contents);
      out_.U8(0);
      out_.Text("</ch>");
    }
    out_.Text("</characteristics>");
    map[9] = out_.Size();
    out_.Text("<data>");
    Data();
    out_.Text("</data>");
    map[10] = out_.Size();
    out_.Text("<strls>");
    for (const StrL& s : strls_) {
      out_.Text("GSO");
      out_.U32(s.v);
      out_.Unsigned(s.o, r >= 118 ? 8 : 4);
      out_.U8(130);
      out_.U32(s.text.size() + 1);
      out_.Text(s.text);
      out_.U8(0);
    }
    out_.Text("</strls>");
    map[11] = out_.Size();
    out_.Text("<value_labels>");
    for (const DtaLabelTableSpec& t : AllTables()) {
      out_.Text("<lbl>");
      Table(t.name, t.labels);
      out_.Text("</lbl>");
    }
    out_.Text("</value_labels>");
    map[12] = out_.Size();
    out_.Text("</stata_dta>");
    map[13] = out_.Size();
    Bytes patch(options_.bigEndian);
    for (const std::uint64_t entry : map) patch.U64(entry);
    out_.Patch(mapAt, patch.out);
  }

  struct StrL {
    std::uint32_t v;
    std::uint64_t o;
    std::string text;
  };

  const Dataset& dataset_;
  const DtaWriteOptions& options_;
  Sizes sizes_;
  Bytes out_;
  sav::TextEncoder encoder_;
  std::vector<Column> columns_;
  std::vector<std::pair<std::string, const ValueLabelSetImpl*>> labelSets_;
  std::int64_t cases_ = 0;
  std::vector<StrL> strls_;
};

}  // namespace

std::vector<std::uint8_t> WriteDtaBytes(const Dataset& dataset, const DtaWriteOptions& options) {
  return Writer(dataset, options).Write();
}

void WriteDtaFile(const Dataset& dataset, const std::string& path, const DtaWriteOptions& options) {
  std::ofstream out(path, std::ios::binary);
  Writer(dataset, options, &out).Write();
  if (!out) throw std::runtime_error("cannot write " + path);
}

}  // namespace codebook::data
