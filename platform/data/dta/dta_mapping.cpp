// The mapping of a .dta dictionary, decided once here:
//
// - Display formats to the nearest format shown here: %w.df F, %w.dfc
//   COMMA, %w.de E, %w.dg F (integer storage) or G, %ws and strL A of the
//   string's width; %td DATE11, %tc and %tC DATETIME20, %tw WKYR10, %tm and
//   %th MOYR8, %tq QYR8 (their values converted, time_origin.h); %ty and
//   %tb, whose values are plain numbers, F. "-" aligns left.
// - .a-.z are extended missing values of every numeric variable (release
//   113 on); the labels of a table attach to them as to any value.
// - A table is shared by every variable that names it; a table no variable
//   names is kept as a data-file attribute "UnusedValueLabels.<name>".
// - Notes: _dta[note1...] are the documents, one per note; a variable's
//   notes its attribute "Note". Other characteristics are attributes of
//   the file (_dta) or variable, those whose name begins with "_" (the
//   format's own) reserved ("$" + name).
// - Measurement level: default_level.h.
#include "platform/data/dta/dta_mapping.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>

#include "platform/data/default_level.h"
#include "platform/data/dta/dta_numbers.h"
#include "platform/data/format_traits.h"

namespace codebook::data::dta {
namespace {

bool IsInteger(Storage storage) {
  return storage == Storage::kByte || storage == Storage::kInt || storage == Storage::kLong;
}

// A number read at `at`, or `fallback` when there is none.
int NumberAt(std::string_view text, std::size_t& at, int fallback) {
  int value = 0;
  const auto [end, error] = std::from_chars(text.data() + at, text.data() + text.size(), value);
  if (error != std::errc()) return fallback;
  at = static_cast<std::size_t>(end - text.data());
  return std::min(value, 10000);
}

DtaDisplay TimeDisplay(char unit, int width) {
  DtaDisplay d;
  switch (unit) {
    case 'd': d.format = VELA_Format(VELA_Format::DATE, 11, 0); d.time = TimeUnit::kDays1960; break;
    case 'c': case 'C': d.format = VELA_Format(VELA_Format::DATETIME, 20, 0); d.time = TimeUnit::kMillis1960; break;
    case 'w': d.format = VELA_Format(VELA_Format::WKYR, 10, 0); d.time = TimeUnit::kWeeks1960; break;
    case 'm': d.format = VELA_Format(VELA_Format::MOYR, 8, 0); d.time = TimeUnit::kMonths1960; break;
    case 'q': d.format = VELA_Format(VELA_Format::QYR, 8, 0); d.time = TimeUnit::kQuarters1960; break;
    case 'h': d.format = VELA_Format(VELA_Format::MOYR, 8, 0); d.time = TimeUnit::kHalfYears1960; break;
    default: d.format = FittedFormat(VELA_Format::F, std::max(width, 8), 0); break;  // %ty, %tb, %tg
  }
  return d;
}

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  std::string line;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\r' || text[i] == '\n') {
      lines.push_back(std::move(line));
      line.clear();
      if (text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n') ++i;
    } else {
      line += text[i];
    }
  }
  lines.push_back(std::move(line));
  return lines;
}

// "note12" -> 12; not a note -> nullopt.
std::optional<int> NoteNumber(std::string_view name) {
  if (name.size() <= 4 || name.substr(0, 4) != "note") return std::nullopt;
  int n = 0;
  const auto [end, error] = std::from_chars(name.data() + 4, name.data() + name.size(), n);
  if (error != std::errc() || end != name.data() + name.size() || n < 0) return std::nullopt;
  return n;
}

std::string LabelValueText(double value) {
  if (const char code = ExtendedMissingCode(value)) return ExtendedMissingText(code);
  char text[32];
  const auto [end, error] = std::to_chars(text, text + sizeof text, value);
  return std::string(text, error == std::errc() ? end : text);
}

class Builder {
 public:
  Builder(const DtaLayout& layout, const std::vector<RawLabelTable>& tables, const StrLIndex& strls,
          const sav::TextDecoder& decoder, sav::Warnings& warnings)
      : layout_(layout), tables_(tables), strls_(strls), decoder_(decoder), warnings_(warnings) {}

  DtaDictionary Build() {
    for (std::size_t t = 0; t < tables_.size(); ++t) tableByName_.emplace(tables_[t].name, t);
    out_.dictionary.Reserve(layout_.variables.size());
    std::uint32_t rowOffset = 0;
    for (std::size_t i = 0; i < layout_.variables.size(); ++i) {
      AddVariable(i, rowOffset);
      rowOffset += layout_.variables[i].bytes;
    }
    Characteristics();
    UnusedTables();
    const std::string label = Decode(layout_.dataLabel);
    if (!label.empty()) out_.dictionary.SetFileLabel(label);
    return std::move(out_);
  }

 private:
  std::string Decode(std::string_view bytes) {
    bool damaged = false;
    std::string text = decoder_.Decode(bytes, &damaged);
    if (damaged) warnings_.Add("encoding", "text not valid in the file's encoding was replaced");
    return text;
  }

  std::string UniqueName(std::size_t i) {
    const std::string wanted = Decode(layout_.variables[i].name);
    std::string name = out_.dictionary.FreeName(wanted, i);
    if (name != wanted) {
      warnings_.Add("names", "variable " + std::to_string(i + 1) + " has an empty or duplicate name (\"" + wanted +
                                 "\"); it is called " + name);
    }
    return name;
  }

  void AddVariable(std::size_t i, std::uint32_t rowOffset) {
    const RawVariable& raw = layout_.variables[i];
    const bool isString = raw.storage == Storage::kString || raw.storage == Storage::kStrL;
    int width = 0;
    if (raw.storage == Storage::kString) width = static_cast<int>(std::max<std::uint32_t>(raw.bytes, 1));
    // As wide as the longest strL stored for this variable: the cells of a
    // case then take no more than the file holds.
    if (raw.storage == Storage::kStrL) {
      width = static_cast<int>(std::clamp<std::uint32_t>(strls_.LongestOf(static_cast<std::uint32_t>(i + 1)), 1, kLongestStrL));
    }
    const DtaDisplay display = MapStataFormat(Decode(raw.format), raw.storage, width);
    std::unique_ptr<Variable> variable;
    // Text converted to UTF-8 may grow up to threefold.
    const int cellWidth = decoder_.IsUtf8() ? width : (3 * width + 7) / 8 * 8;
    if (isString) {
      variable = std::make_unique<Variable>(UniqueName(i), width, cellWidth);
    } else {
      variable = std::make_unique<Variable>(UniqueName(i));
    }
    variable->SetPrintFormat(display.format);
    variable->SetWriteFormat(display.format);
    variable->SetAlignment(display.alignment);
    if (!raw.label.empty()) variable->SetLabel(Decode(raw.label));
    if (!isString && layout_.ExtendedMissing()) variable->SetMissingValues(MissingValues().WithExtendedCodes());
    AttachLabels(raw, *variable, display.time);
    variable->SetMeasurementLevel(DefaultMeasurementLevel(*variable));
    const int index = out_.dictionary.AddVariable(std::move(variable));
    DtaColumn column;
    column.storage = raw.storage;
    column.rowOffset = rowOffset;
    column.bytes = raw.bytes;
    column.cell = static_cast<std::uint32_t>(out_.dictionary.CellOffset(index));
    column.cellBytes = isString ? static_cast<std::uint32_t>(cellWidth) : 0;
    column.number = static_cast<std::uint32_t>(i + 1);
    column.time = display.time;
    out_.columns.push_back(column);
  }

  void AttachLabels(const RawVariable& raw, Variable& variable, TimeUnit time) {
    if (raw.labelSet.empty()) return;
    const auto found = tableByName_.find(raw.labelSet);
    if (found == tableByName_.end()) {
      warnings_.Add("value labels", "variable " + variable.Name() + " names the value-label table " +
                                        Decode(raw.labelSet) + ", which the file does not hold");
      return;
    }
    used_.insert(found->second);
    if (!variable.IsNumeric()) {
      warnings_.Add("value labels", "string variable " + variable.Name() + " names a value-label table; ignored");
      return;
    }
    variable.SetValueLabels(LabelSet(found->second, time));
  }

  // One set per table and time unit, shared by the variables naming it.
  std::shared_ptr<const ValueLabelSetImpl> LabelSet(std::size_t table, TimeUnit time) {
    auto& set = sets_[{table, time}];
    if (set) return set;
    std::vector<ValueLabelSetImpl::NumericLabel> labels;
    for (const RawLabel& label : tables_[table].labels) {
      const double value = LabelValue(label.value, layout_.ExtendedMissing());
      if (value == kSysmis) continue;  // "." has no row to label
      labels.push_back({IsExtendedMissing(value) ? value : ToProgramTime(value, time), Decode(label.text)});
    }
    set = std::make_shared<const ValueLabelSetImpl>(std::move(labels));
    return set;
  }

  void Characteristics() {
    std::map<std::string, int> byRawName;
    for (std::size_t i = 0; i < layout_.variables.size(); ++i) byRawName.emplace(layout_.variables[i].name, static_cast<int>(i));
    std::map<int, std::vector<DatasourceAttributes::Attribute>> attributes;  // -1: the file
    std::map<int, std::map<int, std::string>> notes;
    for (const RawCharacteristic& c : layout_.characteristics) {
      int target = -1;
      if (c.variable != "_dta") {
        const auto found = byRawName.find(c.variable);
        if (found == byRawName.end()) {
          warnings_.Add("characteristics", "characteristic " + Decode(c.name) + " of unknown variable " +
                                               Decode(c.variable) + " ignored");
          continue;
        }
        target = found->second;
      }
      if (const auto n = NoteNumber(c.name)) {
        if (*n > 0) notes[target][*n] = Decode(c.contents);
        continue;
      }
      const std::string name = Decode(c.name);
      attributes[target].push_back({name.starts_with("_") ? "$" + name : name, {Decode(c.contents)}});
    }
    for (auto& [target, byNumber] : notes) {
      if (target < 0) {
        for (auto& [n, text] : byNumber) out_.dictionary.AddDocument(DSDocument(Lines(text)));
        continue;
      }
      std::vector<std::string> values;
      for (auto& [n, text] : byNumber) values.push_back(std::move(text));
      attributes[target].push_back({"Note", std::move(values)});
    }
    for (auto& [target, list] : attributes) {
      if (target < 0) {
        fileAttributes_ = std::move(list);
      } else {
        out_.dictionary.MutableVariable(target).SetAttributes(DatasourceAttributes(std::move(list)));
      }
    }
  }

  void UnusedTables() {
    for (std::size_t t = 0; t < tables_.size(); ++t) {
      if (used_.count(t) != 0) continue;
      std::vector<std::string> values;
      for (const RawLabel& label : tables_[t].labels) {
        const double value = LabelValue(label.value, layout_.ExtendedMissing());
        values.push_back((value == kSysmis ? std::string(".") : LabelValueText(value)) + " = " + Decode(label.text));
      }
      fileAttributes_.push_back({"UnusedValueLabels." + Decode(tables_[t].name), std::move(values)});
    }
    if (!fileAttributes_.empty()) out_.dictionary.SetAttributes(DatasourceAttributes(std::move(fileAttributes_)));
  }

  const DtaLayout& layout_;
  const std::vector<RawLabelTable>& tables_;
  const StrLIndex& strls_;
  const sav::TextDecoder& decoder_;
  sav::Warnings& warnings_;
  DtaDictionary out_;
  std::map<std::string, std::size_t> tableByName_;
  std::map<std::pair<std::size_t, TimeUnit>, std::shared_ptr<const ValueLabelSetImpl>> sets_;
  std::set<std::size_t> used_;
  std::vector<DatasourceAttributes::Attribute> fileAttributes_;
};

}  // namespace

DtaDisplay MapStataFormat(std::string_view format, Storage storage, int stringWidth) {
  DtaDisplay d;
  const bool valid = !format.empty() && format[0] == '%';
  std::size_t at = valid ? 1 : 0;
  if (valid && at < format.size() && format[at] == '-') {
    d.alignment = Alignment::kLeft;
    ++at;
  }
  if (storage == Storage::kString || storage == Storage::kStrL) {
    d.format = VELA_Format(VELA_Format::A, stringWidth, 0);
    if (!valid) d.alignment = Alignment::kLeft;
    return d;
  }
  const bool integer = IsInteger(storage);
  const auto general = [&](int width) {
    return integer ? FittedFormat(VELA_Format::F, width, 0) : FittedFormat(VELA_Format::G, width, 0);
  };
  if (!valid) {
    d.format = general(8);
    return d;
  }
  // %t<unit>... and the old %d... are dates and times.
  if (at < format.size() && (format[at] == 't' || format[at] == 'd')) {
    const char unit = format[at] == 'd' ? 'd' : (at + 1 < format.size() ? format[at + 1] : ' ');
    const Alignment alignment = d.alignment;
    d = TimeDisplay(unit, 8);
    d.alignment = alignment;
    return d;
  }
  if (at < format.size() && format[at] == '0') ++at;  // leading zeros: no such display here
  const int width = NumberAt(format, at, 8);
  int decimals = 0;
  if (at < format.size() && format[at] == '.') {
    ++at;
    decimals = NumberAt(format, at, 0);
  }
  const char kind = at < format.size() ? format[at] : 'g';
  const bool comma = at + 1 < format.size() && format[at + 1] == 'c';
  switch (kind) {
    case 'f': d.format = FittedFormat(comma ? VELA_Format::COMMA : VELA_Format::F, width, decimals); break;
    case 'e': d.format = FittedFormat(VELA_Format::E, width, decimals); break;
    default: d.format = general(width); break;
  }
  return d;
}

DtaDictionary BuildDtaDictionary(const DtaLayout& layout, const std::vector<RawLabelTable>& tables,
                                 const StrLIndex& strls, const sav::TextDecoder& decoder, sav::Warnings& warnings) {
  return Builder(layout, tables, strls, decoder, warnings).Build();
}

}  // namespace codebook::data::dta
