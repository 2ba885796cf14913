#include "platform/data/sav/dictionary_decoder.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <limits>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "platform/data/sav/endian.h"
#include "platform/data/sav/file_error.h"
#include "platform/data/sav/format_codes.h"
#include "platform/data/sav/text_encoding.h"
#include "platform/data/sav/text_records.h"
#include "platform/data/sav/zlib_layout.h"
#include "platform/data/text/fold_case.h"
#include "platform/data/text/name_index.h"

namespace codebook::data::sav {
namespace {

constexpr std::uint64_t kSysmisBits = 0xFFEFFFFFFFFFFFFFull;
constexpr std::uint64_t kHighestBits = 0x7FEFFFFFFFFFFFFFull;
constexpr std::uint64_t kOldLowestBits = 0xFFEFFFFFFFFFFFFEull;

std::string_view TrimRight(std::string_view s) {
  while (!s.empty() && (s.back() == ' ' || s.back() == '\0')) s.remove_suffix(1);
  return s;
}

std::string NormaliseLineEnds(std::string s) {
  std::string out;
  out.reserve(s.size());
  for (std::size_t i = 0; i < s.size(); ++i) {
    if (s[i] == '\r') {
      out += '\n';
      if (i + 1 < s.size() && s[i + 1] == '\n') ++i;
    } else {
      out += s[i];
    }
  }
  return out;
}

Bytes AsBytes(const RawExtension& ext) { return Bytes(ext.data.data(), ext.data.size()); }

struct Segment {
  std::uint32_t slotStart;
  std::uint32_t dataBytes;
};

struct VarInfo {
  int record = 0;
  int width = 0;
  std::string shortName;
  std::string shortFolded;
  std::vector<Segment> segments;
  bool removed = false;  // a later segment of a very long string
  std::optional<std::string> label;
  VELA_Format print;
  VELA_Format write;
  int measure = 0;
  int displayWidth = -1;
  int alignment = -1;
  std::vector<double> missingNumbers;
  std::optional<MissingValues::Range> missingRange;
  std::vector<std::string> missingStrings;
  std::vector<std::pair<Raw8, std::string>> shortLabels;  // raw, type 3/4
  std::vector<std::pair<std::string, std::string>> longLabels;  // decoded
  std::string name;
  std::string nameFolded;
  std::vector<RawAttribute> attributes;
};

class Decoder {
 public:
  Decoder(const RawDictionary& raw, const ByteSource& source, const ReadOptions& options,
          Warnings& warnings)
      : raw_(raw), source_(source), options_(options), w_(warnings), be_(raw.header.bigEndian) {}

  DecodedFile Run() {
    DecodedFile out;
    out.plan = std::make_shared<CasePlan>();
    CasePlan& plan = *out.plan;
    plan.fileName = source_.Name();
    plan.compression = raw_.header.compression;
    plan.bigEndian = be_;
    plan.bias = raw_.header.bias;
    plan.dataOffset = raw_.dataOffset;
    if (plan.compression == Compression::kZlib) {
      plan.zlib = ReadZlibLayout(source_, raw_.dataOffset, be_, raw_.header.bias, w_);
    }
    CheckMachineRecords(plan);
    ChooseEncoding(out.info);
    decoder_.emplace(converter_);
    plan.encoding = converter_;
    plan.utf8 = decoder_->IsUtf8();

    BuildVariables();
    ApplyWeight();
    ApplyValueLabels();
    ApplyDisplayParameters();
    std::vector<RawMrSet> mrsets = ParseSets();
    MergeVeryLongStrings();
    AssignNames();
    ApplyAttributes();
    ApplyLongStringLabels();
    ApplyLongStringMissing();

    Dictionary& dict = out.dictionary;
    FillDictionary(dict, out.info);
    ResolveSets(dict, mrsets);
    BuildPlan(dict, plan);
    FillInfo(out.info, plan);
    return out;
  }

 private:
  std::string Decode(std::string_view bytes) {
    bool damaged = false;
    std::string s = decoder_->Decode(bytes, &damaged);
    if (damaged) w_.Add("encoding", "text not valid in the encoding " + encodingName_ + " was replaced");
    return s;
  }
  std::string DecodeTrimmed(std::string_view bytes) { return Decode(TrimRight(bytes)); }

  const RawExtension* Single(std::int32_t subtype, std::int32_t size, std::int32_t count = -1) {
    const RawExtension* first = nullptr;
    for (const auto& ext : raw_.extensions) {
      if (ext.subtype != subtype) continue;
      if (first) {
        w_.Add("duplicate", "duplicate extension record subtype " + std::to_string(subtype) +
                                " ignored");
        continue;
      }
      first = &ext;
    }
    if (first && (first->size != size || (count >= 0 && first->count != count))) {
      w_.Add("extension size", "extension record subtype " + std::to_string(subtype) +
                                   " has an unexpected size and is ignored");
      return nullptr;
    }
    return first;
  }

  void CheckMachineRecords(CasePlan& plan) {
    if (const RawExtension* ext = Single(3, 4, 8)) {
      auto at = [&](int i) { return static_cast<std::int32_t>(Load32(ext->data.data() + 4 * i, be_)); };
      versionMajor_ = at(0);
      const std::int32_t fp = at(4);
      if (fp == 2 || fp == 3) {
        throw FileError(source_.Name(), "unsupported floating-point format (machine code " +
                                            std::to_string(fp) + ")");
      }
      if (fp != 1) w_.Add("machine", "unknown floating-point code " + std::to_string(fp) + "; IEEE assumed");
      const std::int32_t endian = at(6);
      if ((endian == 1 && !be_) || (endian == 2 && be_)) {
        w_.Add("machine", "the machine record contradicts the header's byte order; the header is trusted");
      }
      characterCode_ = at(7);
    }
    if (const RawExtension* ext = Single(4, 8, 3)) {
      const std::uint64_t sysmis = Load64(ext->data.data(), be_);
      const std::uint64_t highest = Load64(ext->data.data() + 8, be_);
      const std::uint64_t lowest = Load64(ext->data.data() + 16, be_);
      if (sysmis != kSysmisBits || highest != kHighestBits ||
          (lowest != kSysmisBits && lowest != kOldLowestBits)) {
        w_.Add("machine", "unusual special values in the machine record; both are accepted");
      }
      plan.declaredSysmisBits = sysmis;
      declaredSysmis_ = sysmis;
      declaredHighest_ = highest;
      declaredLowest_ = lowest;
    }
  }

  bool AllTextIsUtf8(bool& multibyte) {
    multibyte = false;
    auto check = [&](std::string_view s) {
      bool multi = false;
      if (!IsValidUtf8(s, &multi)) return false;
      multibyte = multibyte || multi;
      return true;
    };
    if (!check(TrimRight(raw_.header.fileLabel))) return false;
    for (const auto& v : raw_.variables) {
      if (!check(TrimRight(v.name)) || !check(v.label)) return false;
    }
    for (const auto& vl : raw_.valueLabels) {
      for (const auto& [value, label] : vl.labels) {
        if (!check(label)) return false;
      }
    }
    for (const auto& line : raw_.documentLines) {
      if (!check(TrimRight(line))) return false;
    }
    for (const auto& ext : raw_.extensions) {
      if (ext.subtype == 13 || ext.subtype == 17 || ext.subtype == 18 || ext.subtype == 7) {
        std::string_view text(reinterpret_cast<const char*>(ext.data.data()), ext.data.size());
        if (!check(text)) return false;
      }
    }
    return true;
  }

  void ChooseEncoding(FileInfo& info) {
    if (!options_.encoding.empty()) {
      converter_ = ResolveEncodingName(options_.encoding);
      if (!converter_.empty()) {
        encodingName_ = options_.encoding;
        info.encoding = encodingName_;
        return;
      }
      w_.Add("encoding", "unknown encoding " + options_.encoding + " asked for; the file's is used");
    }
    if (const RawExtension* ext = Single(20, 1)) {
      std::string name(TrimRight(std::string_view(reinterpret_cast<const char*>(ext->data.data()), ext->data.size())));
      converter_ = ResolveEncodingName(name);
      if (!converter_.empty()) {
        encodingName_ = CanonicalEncodingName(name);
        info.encoding = encodingName_;
        return;
      }
      w_.Add("encoding", "unknown encoding \"" + name + "\" in the file");
    }
    if (characterCode_ != 0) {
      std::string name = EncodingForCodePage(characterCode_);
      if (!name.empty()) converter_ = ResolveEncodingName(name);
      if (!converter_.empty()) {
        encodingName_ = name;
        info.encoding = name;
        return;
      }
    }
    bool multibyte = false;
    encodingName_ = AllTextIsUtf8(multibyte) && multibyte ? "UTF-8" : "windows-1252";
    converter_ = ResolveEncodingName(encodingName_);
    info.encoding = encodingName_;
    info.encodingGuessed = true;
    w_.Add("encoding", "the file does not say its character encoding; " + encodingName_ + " assumed");
  }

  double Number(const Raw8& bytes) const { return LoadDouble(bytes.data(), be_); }
  std::uint64_t Bits(const Raw8& bytes) const { return Load64(bytes.data(), be_); }

  void BuildVariables() {
    recordToVar_.assign(raw_.variables.size(), -1);
    vars_.reserve(raw_.variables.size());
    std::uint64_t slot = 0;
    for (std::size_t r = 0; r < raw_.variables.size(); ++r) {
      const RawVariable& rv = raw_.variables[r];
      if (rv.type == -1) continue;
      VarInfo v;
      v.record = static_cast<int>(r);
      v.width = rv.type;
      const std::uint64_t slots = rv.type == 0 ? 1 : (static_cast<std::uint64_t>(rv.type) + 7) / 8;
      v.segments.push_back({static_cast<std::uint32_t>(slot),
                            static_cast<std::uint32_t>(rv.type == 0 ? 8 : rv.type)});
      slot += slots;
      v.shortName = DecodeTrimmed(rv.name);
      v.shortFolded = FoldCase(v.shortName);
      if (rv.hasLabel) v.label = Decode(rv.label);
      v.print = Format(rv.print, v.width, v.shortName, "print");
      v.write = Format(rv.write, v.width, v.shortName, "write");
      DecodeMissing(rv, v);
      recordToVar_[r] = static_cast<int>(vars_.size());
      vars_.push_back(std::move(v));
    }
    if (slot > std::numeric_limits<std::uint32_t>::max() / 8) {
      throw FileError(source_.Name(), "a case of this file would be too large");
    }
    slots_ = slot;
  }

  VELA_Format Format(std::uint32_t packed, int width, const std::string& name, const char* which) {
    if (auto f = UnpackFormat(packed, width)) return *f;
    w_.Add("format", "variable " + name + ": invalid " + which + " format (code " +
                         std::to_string(packed >> 16) + ", width " + std::to_string((packed >> 8) & 0xFF) +
                         ", decimals " + std::to_string(packed & 0xFF) + "); a default is used");
    return DefaultFormat(width);
  }

  void DecodeMissing(const RawVariable& rv, VarInfo& v) {
    if (rv.missingCode == 0) return;
    if (v.width == 0) {
      std::size_t first = 0;
      if (rv.missingCode < 0) {
        double low = Number(rv.missing[0]);
        double high = Number(rv.missing[1]);
        const std::uint64_t lowBits = Bits(rv.missing[0]);
        const std::uint64_t highBits = Bits(rv.missing[1]);
        if (lowBits == kSysmisBits || lowBits == kOldLowestBits || lowBits == declaredLowest_ ||
            lowBits == declaredSysmis()) {
          low = -std::numeric_limits<double>::infinity();
        }
        if (highBits == kHighestBits || highBits == declaredHighest_) {
          high = std::numeric_limits<double>::infinity();
        }
        if (std::isnan(low) || std::isnan(high) || low > high) {
          w_.Add("missing", "variable " + v.shortName + ": invalid missing-value range dropped");
        } else {
          v.missingRange = MissingValues::Range{low, high};
        }
        first = 2;
      }
      for (std::size_t i = first; i < rv.missing.size(); ++i) v.missingNumbers.push_back(Number(rv.missing[i]));
      return;
    }
    if (rv.missingCode < 0) {
      w_.Add("missing", "variable " + v.shortName + ": a string variable cannot have a missing-value range");
      return;
    }
    const std::size_t take = static_cast<std::size_t>(std::min(v.width, 8));
    for (const auto& value : rv.missing) {
      std::string_view bytes(reinterpret_cast<const char*>(value.data()), take);
      v.missingStrings.push_back(DecodeTrimmed(bytes));
    }
  }

  std::uint64_t declaredSysmis() const { return declaredSysmis_; }

  void ApplyWeight() {
    const std::int32_t index = raw_.header.weightIndex;
    if (index == 0) return;
    if (index < 0 || static_cast<std::size_t>(index) > raw_.variables.size() ||
        recordToVar_[static_cast<std::size_t>(index - 1)] < 0 ||
        vars_[static_cast<std::size_t>(recordToVar_[static_cast<std::size_t>(index - 1)])].width != 0) {
      w_.Add("weight", "the weight index " + std::to_string(index) +
                           " does not name a numeric variable; the file is read unweighted");
      return;
    }
    weightVar_ = recordToVar_[static_cast<std::size_t>(index - 1)];
  }

  void ApplyValueLabels() {
    for (const auto& vl : raw_.valueLabels) {
      std::vector<int> targets;
      for (std::int32_t index : vl.indexes) {
        if (index < 1 || static_cast<std::size_t>(index) > raw_.variables.size()) {
          w_.Add("value labels", "value labels for variable index " + std::to_string(index) +
                                     ", outside the dictionary, are ignored");
          continue;
        }
        const int var = recordToVar_[static_cast<std::size_t>(index - 1)];
        if (var < 0) {
          w_.Add("value labels", "value labels for variable index " + std::to_string(index) +
                                     ", a string continuation, are ignored");
          continue;
        }
        if (vars_[static_cast<std::size_t>(var)].width > 8) {
          w_.Add("value labels", "variable " + vars_[static_cast<std::size_t>(var)].shortName +
                                     ": short value labels on a long string are ignored");
          continue;
        }
        targets.push_back(var);
      }
      if (targets.empty()) continue;
      const bool numeric = vars_[static_cast<std::size_t>(targets[0])].width == 0;
      bool mixed = std::any_of(targets.begin(), targets.end(), [&](int t) {
        return (vars_[static_cast<std::size_t>(t)].width == 0) != numeric;
      });
      if (mixed) {
        w_.Add("value labels", "a value-label record mixes numeric and string variables and is ignored");
        continue;
      }
      for (int t : targets) {
        auto& dest = vars_[static_cast<std::size_t>(t)].shortLabels;
        dest.insert(dest.end(), vl.labels.begin(), vl.labels.end());
      }
    }
  }

  void ApplyDisplayParameters() {
    const RawExtension* ext = Single(11, 4);
    if (!ext) return;
    const std::size_t n = vars_.size();
    const std::size_t count = static_cast<std::size_t>(ext->count);
    std::size_t per = 0;
    if (n > 0 && count == 3 * n) per = 3;
    else if (n > 0 && count == 2 * n) per = 2;
    if (per == 0) {
      if (count != 0 || n != 0) w_.Add("display", "the display-parameter record does not match the variables and is ignored");
      return;
    }
    bool warned = false;
    for (std::size_t i = 0; i < n; ++i) {
      const std::uint8_t* p = ext->data.data() + i * per * 4;
      auto at = [&](std::size_t k) { return static_cast<std::int32_t>(Load32(p + 4 * k, be_)); };
      VarInfo& v = vars_[i];
      const std::int32_t measure = at(0);
      const std::int32_t width = per == 3 ? at(1) : 0;
      const std::int32_t align = at(per - 1);
      if (measure >= 0 && measure <= 3) v.measure = measure;
      if (width > 0) v.displayWidth = width;
      if (align >= 0 && align <= 2) v.alignment = align;
      if ((measure < 0 || measure > 3 || align < 0 || align > 2 || width < 0) && !warned) {
        w_.Add("display", "display parameters out of range replaced by defaults");
        warned = true;
      }
    }
  }

  std::vector<RawMrSet> ParseSets() {
    std::vector<RawMrSet> sets;
    for (std::int32_t subtype : {7, 19}) {
      if (const RawExtension* ext = Single(subtype, 1)) ParseMrSets(AsBytes(*ext), sets, w_);
    }
    return sets;
  }

  void MergeVeryLongStrings() {
    const RawExtension* ext = Single(14, 1);
    if (!ext) return;
    std::unordered_map<std::string, std::size_t> byShort;
    for (std::size_t i = 0; i < vars_.size(); ++i) byShort.emplace(vars_[i].shortFolded, i);
    for (const RawPair& pair : ParsePairs(AsBytes(*ext))) {
      const std::string key = FoldCase(DecodeTrimmed(pair.key));
      auto it = byShort.find(key);
      int width = 0;
      std::string_view digits = TrimRight(pair.value);
      auto [end, ec] = std::from_chars(digits.data(), digits.data() + digits.size(), width);
      const std::string which = "very long string " + DecodeTrimmed(pair.key);
      if (it == byShort.end()) {
        w_.Add("very long strings", which + ": no such variable");
        continue;
      }
      if (ec != std::errc() || end != digits.data() + digits.size() || digits.size() > 9 ||
          width < 256 || width > 32767) {
        w_.Add("very long strings", which + ": invalid width");
        continue;
      }
      const std::size_t first = it->second;
      const std::size_t n = (static_cast<std::size_t>(width) + 251) / 252;
      bool ok = first + n <= vars_.size();
      for (std::size_t k = 0; ok && k < n; ++k) {
        const VarInfo& seg = vars_[first + k];
        const int expect = k + 1 < n ? 255 : width - 252 * static_cast<int>(n - 1);
        ok = !seg.removed && seg.width > 0 && seg.segments.size() == 1 &&
             (seg.width + 7) / 8 == (expect + 7) / 8;
      }
      if (!ok) {
        w_.Add("very long strings", which + ": its segments do not match; they are kept as separate variables");
        continue;
      }
      VarInfo& v = vars_[first];
      std::vector<Segment> segments;
      for (std::size_t k = 0; k < n; ++k) {
        const Segment s = vars_[first + k].segments[0];
        const int remaining = width - 255 * static_cast<int>(k);
        const std::uint32_t bytes = static_cast<std::uint32_t>(std::clamp(remaining, 0, 255));
        segments.push_back({s.slotStart, bytes});
        if (k > 0) vars_[first + k].removed = true;
      }
      v.segments = std::move(segments);
      v.width = width;
      const bool hex = v.print.TypeEx() == VELA_Format::AHEX;
      v.print = VELA_Format(hex ? VELA_Format::AHEX : VELA_Format::A, hex ? 2 * width : width, 0);
      const bool whex = v.write.TypeEx() == VELA_Format::AHEX;
      v.write = VELA_Format(whex ? VELA_Format::AHEX : VELA_Format::A, whex ? 2 * width : width, 0);
      v.shortLabels.clear();
      v.missingStrings.clear();
      hasVeryLong_ = true;
    }
    if (hasVeryLong_) {
      std::vector<VarInfo> kept;
      kept.reserve(vars_.size());
      std::vector<int> remap(vars_.size(), -1);
      for (std::size_t i = 0; i < vars_.size(); ++i) {
        if (vars_[i].removed) continue;
        remap[i] = static_cast<int>(kept.size());
        kept.push_back(std::move(vars_[i]));
      }
      vars_ = std::move(kept);
      if (weightVar_ >= 0) weightVar_ = remap[static_cast<std::size_t>(weightVar_)];
    }
  }

  // Short names (folded) to positions; built once the very long strings are
  // merged, and used for long names and set members.
  void IndexShortNames() {
    byShort_.Reserve(vars_.size());
    for (std::size_t i = 0; i < vars_.size(); ++i) {
      if (FindShort(vars_[i].shortFolded) < 0) byShort_.Insert(vars_[i].shortFolded, static_cast<int>(i));
    }
  }

  void AssignNames() {
    IndexShortNames();
    std::vector<std::string> longNames(vars_.size());
    if (const RawExtension* ext = Single(13, 1)) {
      for (const RawPair& pair : ParsePairs(AsBytes(*ext))) {
        const int found = FindShort(FoldCase(DecodeTrimmed(pair.key)));
        if (found < 0) {
          w_.Add("long names", "long name for unknown variable " + DecodeTrimmed(pair.key) + " ignored");
          continue;
        }
        std::string value = DecodeTrimmed(pair.value);
        if (!value.empty() && longNames[static_cast<std::size_t>(found)].empty()) longNames[static_cast<std::size_t>(found)] = std::move(value);
      }
    }
    byName_.Reserve(vars_.size());
    auto take = [&](const std::string& name, std::size_t index) {
      if (name.empty()) return false;
      std::string folded = FoldCase(name);
      if (FindName(folded) >= 0) return false;
      vars_[index].nameFolded = std::move(folded);
      byName_.Insert(vars_[index].nameFolded, static_cast<int>(index));
      return true;
    };
    for (std::size_t i = 0; i < vars_.size(); ++i) {
      VarInfo& v = vars_[i];
      const std::string& wanted = longNames[i];
      if (!wanted.empty() && take(wanted, i)) {
        v.name = wanted;
        continue;
      }
      if (!wanted.empty()) {
        w_.Add("names", "long name " + wanted + " is used twice; the short name is kept");
      }
      if (take(v.shortName, i)) {
        v.name = v.shortName;
        continue;
      }
      for (std::size_t k = i + 1;; ++k) {
        std::string generated = "V" + std::to_string(k);
        if (take(generated, i)) {
          v.name = generated;
          break;
        }
      }
      w_.Add("names", "variable " + std::to_string(i + 1) + " has an empty or duplicate name (\"" +
                          v.shortName + "\"); it is called " + v.name);
    }
  }

  int FindShort(std::string_view folded) const {
    return byShort_.Find(folded, [this](int i) { return std::string_view(vars_[static_cast<std::size_t>(i)].shortFolded); });
  }
  int FindName(std::string_view folded) const {
    return byName_.Find(folded, [this](int i) { return std::string_view(vars_[static_cast<std::size_t>(i)].nameFolded); });
  }

  VarInfo* FindByName(const std::string& decodedName) {
    const int found = FindName(FoldCase(decodedName));
    return found < 0 ? nullptr : &vars_[static_cast<std::size_t>(found)];
  }

  void ApplyAttributes() {
    std::vector<RawVariableAttributes> entries;
    bool any = false;
    for (const auto& ext : raw_.extensions) {
      if (ext.subtype != 18) continue;
      if (ext.size != 1) {
        w_.Add("extension size", "variable attribute record with element size " + std::to_string(ext.size) + " ignored");
        continue;
      }
      any = true;
      ParseVariableAttributes(AsBytes(ext), entries, w_);
    }
    if (!any) return;
    for (auto& entry : entries) {
      const std::string name = Decode(entry.variable);
      VarInfo* v = FindByName(name);
      if (!v) {
        w_.Add("attributes", "attributes of unknown variable " + name + " ignored");
        continue;
      }
      for (auto& a : entry.attributes) {
        RawAttribute decoded{Decode(a.name), {}};
        for (const auto& value : a.values) decoded.values.push_back(Decode(value));
        if (decoded.name == "$@Role") {
          std::string_view role = decoded.values.empty() ? std::string_view() : std::string_view(decoded.values[0]);
          if (role.size() != 1 || role[0] < '0' || role[0] > '5') {
            w_.Add("role", "variable " + v->name + ": invalid role \"" + std::string(role) + "\"; input is used");
          }
        }
        bool dup = std::any_of(v->attributes.begin(), v->attributes.end(),
                               [&](const RawAttribute& x) { return x.name == decoded.name; });
        if (dup) {
          w_.Add("attributes", "duplicate attribute " + decoded.name + " of " + v->name + "; the first is kept");
          continue;
        }
        v->attributes.push_back(std::move(decoded));
      }
    }
  }

  static std::string FitToWidth(std::string value, int width, bool& changed) {
    changed = false;
    if (static_cast<int>(value.size()) > width) {
      const std::string_view excess = std::string_view(value).substr(static_cast<std::size_t>(width));
      if (excess.find_first_not_of(' ') != std::string_view::npos) {
        changed = true;
        return value;
      }
      value.resize(static_cast<std::size_t>(width));
    }
    return value;
  }

  void ApplyLongStringLabels() {
    const RawExtension* ext = Single(21, 1);
    if (!ext) return;
    for (auto& entry : ParseLongStringLabels(AsBytes(*ext), be_, w_)) {
      const std::string name = Decode(entry.variable);
      VarInfo* v = FindByName(name);
      if (!v || v->width <= 8) {
        w_.Add("long string labels", "long-string value labels of " + name +
                                         ", which is not a long string variable, are ignored");
        continue;
      }
      if (entry.width != v->width) {
        w_.Add("long string labels", "long-string value labels of " + name + " declare width " +
                                         std::to_string(entry.width) + "; the values are fitted");
      }
      for (auto& [value, label] : entry.labels) {
        bool changed = false;
        std::string fitted = FitToWidth(std::move(value), v->width, changed);
        if (changed) continue;
        v->longLabels.emplace_back(DecodeTrimmed(fitted), Decode(label));
      }
    }
  }

  void ApplyLongStringMissing() {
    const RawExtension* ext = Single(22, 1);
    if (!ext) return;
    for (auto& entry : ParseLongStringMissing(AsBytes(*ext), be_, w_)) {
      const std::string name = Decode(entry.variable);
      VarInfo* v = FindByName(name);
      if (!v || v->width <= 8) {
        w_.Add("long string missing", "long-string missing values of " + name +
                                          ", which is not a long string variable, are ignored");
        continue;
      }
      std::vector<std::string> values;
      bool bad = false;
      for (const auto& value : entry.values) {
        if (value.empty() || static_cast<int>(value.size()) > v->width) bad = true;
        values.push_back(DecodeTrimmed(value));
      }
      if (bad) {
        w_.Add("long string missing", "long-string missing values of " + name + " have an invalid length");
        continue;
      }
      v->missingStrings = std::move(values);
    }
  }

  std::vector<DSDocument> Documents() {
    std::vector<std::string> lines;
    lines.reserve(raw_.documentLines.size());
    for (const auto& line : raw_.documentLines) lines.push_back(DecodeTrimmed(line));
    // Each document ends with a date-stamp line "(Entered dd Mmm yyyy)".
    auto isStamp = [](std::string_view s) {
      while (!s.empty() && s.front() == ' ') s.remove_prefix(1);
      return s.rfind("(Entered ", 0) == 0 && !s.empty() && s.back() == ')';
    };
    std::vector<DSDocument> docs;
    std::vector<std::string> current;
    for (auto& line : lines) {
      const bool stamp = isStamp(line);
      current.push_back(std::move(line));
      if (stamp) {
        docs.emplace_back(std::move(current));
        current.clear();
      }
    }
    if (!current.empty()) docs.emplace_back(std::move(current));
    return docs;
  }

  std::shared_ptr<const ValueLabelSetImpl> Labels(const VarInfo& v, int cellWidth) {
    if (v.width == 0) {
      if (v.shortLabels.empty()) return nullptr;
      std::vector<ValueLabelSetImpl::NumericLabel> labels;
      std::set<double> seen;
      bool dup = false;
      for (const auto& [raw, label] : v.shortLabels) {
        const double value = Number(raw);
        if (!seen.insert(value).second) {
          dup = true;
          continue;
        }
        labels.push_back({value, Decode(label)});
      }
      if (dup) w_.Add("value labels", "variable " + v.name + ": duplicate value labels; the first is kept");
      return std::make_shared<ValueLabelSetImpl>(std::move(labels));
    }
    std::vector<ValueLabelSetImpl::StringLabel> labels;
    std::set<std::string> seen;
    bool dup = false;
    auto add = [&](std::string value, std::string label) {
      if (!seen.insert(value).second) {
        dup = true;
        return;
      }
      labels.push_back({std::move(value), std::move(label)});
    };
    const std::size_t take = static_cast<std::size_t>(std::min(v.width, 8));
    for (const auto& [raw, label] : v.shortLabels) {
      std::string_view bytes(reinterpret_cast<const char*>(raw.data()), take);
      add(DecodeTrimmed(bytes), Decode(label));
    }
    for (const auto& [value, label] : v.longLabels) add(value, label);
    if (labels.empty()) return nullptr;
    if (dup) w_.Add("value labels", "variable " + v.name + ": duplicate value labels; the first is kept");
    return std::make_shared<ValueLabelSetImpl>(cellWidth, std::move(labels));
  }

  void FillDictionary(Dictionary& dict, FileInfo& info) {
    const bool utf8 = decoder_->IsUtf8();
    dict.Reserve(vars_.size());
    for (VarInfo& v : vars_) {
      std::unique_ptr<Variable> var;
      int cellWidth = 0;
      if (v.width == 0) {
        var = std::make_unique<Variable>(v.name);
      } else {
        cellWidth = utf8 ? v.width : (3 * v.width + 7) / 8 * 8;
        var = std::make_unique<Variable>(v.name, v.width, cellWidth);
      }
      var->SetLabel(v.label);
      var->SetPrintFormat(v.print);
      var->SetWriteFormat(v.write);
      var->SetMeasurementLevel(v.measure);
      if (v.displayWidth > 0) var->SetDisplayWidth(v.displayWidth);
      if (v.alignment >= 0) {
        var->SetAlignment(static_cast<Alignment>(v.alignment));
      } else {
        var->SetAlignment(v.width == 0 ? Alignment::kRight : Alignment::kLeft);
      }
      std::vector<DatasourceAttributes::Attribute> attributes;
      for (auto& a : v.attributes) attributes.push_back({std::move(a.name), std::move(a.values)});
      var->SetAttributes(DatasourceAttributes(std::move(attributes)));
      if (auto labels = Labels(v, cellWidth)) var->SetValueLabels(std::move(labels));
      try {
        if (v.width == 0 && (!v.missingNumbers.empty() || v.missingRange)) {
          var->SetMissingValues(MissingValues::Numeric(v.missingNumbers, v.missingRange));
        } else if (v.width > 0 && !v.missingStrings.empty()) {
          var->SetMissingValues(MissingValues::Strings(v.missingStrings));
        }
      } catch (const std::invalid_argument& e) {
        w_.Add("missing", "variable " + v.name + ": missing values dropped (" + e.what() + ")");
      }
      dict.AddVariable(std::move(var));
    }
    if (weightVar_ >= 0) dict.SetWeightIndex(weightVar_);
    std::string label = NormaliseLineEnds(DecodeTrimmed(raw_.header.fileLabel));
    if (!label.empty()) dict.SetFileLabel(std::move(label));
    for (auto& doc : Documents()) dict.AddDocument(std::move(doc));
    if (const RawExtension* ext = Single(17, 1)) {
      std::vector<DatasourceAttributes::Attribute> attributes;
      for (auto& a : ParseFileAttributes(AsBytes(*ext), w_)) {
        DatasourceAttributes::Attribute decoded{Decode(a.name), {}};
        for (const auto& value : a.values) decoded.values.push_back(Decode(value));
        attributes.push_back(std::move(decoded));
      }
      dict.SetAttributes(DatasourceAttributes(std::move(attributes)));
    }
    dict.SetEncoding(info.encoding);
  }

  void ResolveSets(Dictionary& dict, const std::vector<RawMrSet>& sets) {
    for (const RawMrSet& raw : sets) {
      VariableSetImpl::Definition def;
      def.name = Decode(raw.name);
      const std::string which = "multiple-response set " + def.name;
      if (def.name.empty() || def.name[0] != '$') {
        w_.Add("mrsets", which + ": the name does not begin with $; the set is dropped");
        continue;
      }
      std::vector<std::size_t> members;
      for (const auto& m : raw.members) {
        const std::string name = Decode(m);
        std::size_t index;
        const std::string folded = FoldCase(name);
        if (const int shortIndex = FindShort(folded); shortIndex >= 0) {
          index = static_cast<std::size_t>(shortIndex);
        } else if (const int nameIndex = FindName(folded); nameIndex >= 0) {
          index = static_cast<std::size_t>(nameIndex);
        } else {
          w_.Add("mrsets", which + ": unknown member " + name + " skipped");
          continue;
        }
        if (std::find(members.begin(), members.end(), index) != members.end()) {
          w_.Add("mrsets", which + ": member " + name + " listed twice");
          continue;
        }
        if (!members.empty() && (vars_[members[0]].width == 0) != (vars_[index].width == 0)) {
          w_.Add("mrsets", which + ": member " + name + " is of another type than the first; skipped");
          continue;
        }
        members.push_back(index);
      }
      if (members.size() < 2) {
        w_.Add("mrsets", which + " has fewer than two members and is dropped");
        continue;
      }
      for (std::size_t index : members) def.members.push_back(vars_[index].name);
      def.label = Decode(raw.label);
      if (raw.kind == 'C') {
        def.kind = VariableSetImpl::kMultipleCategory;
      } else {
        def.kind = VariableSetImpl::kMultipleDichotomy;
        std::string counted(TrimRight(Decode(raw.counted)));
        if (vars_[members[0]].width == 0) {
          std::string_view t = counted;
          while (!t.empty() && t.front() == ' ') t.remove_prefix(1);
          double value = 0;
          auto [end, ec] = std::from_chars(t.data(), t.data() + t.size(), value);
          if (ec != std::errc() || end != t.data() + t.size()) {
            w_.Add("mrsets", which + ": counted value \"" + counted + "\" is not a number; the set is dropped");
            continue;
          }
          counted = std::string(t);
        }
        def.countedValue = counted;
        if (raw.kind == 'E') {
          def.enhanced = true;
          def.categoryLabelsFromCountedValue = true;
          if (raw.sourceFlag == 11) {
            def.labelFromFirstVariable = true;
            for (std::size_t index : members) {
              if (vars_[index].label) {
                def.label = *vars_[index].label;
                break;
              }
            }
          }
        }
      }
      dict.AddMRSet(VariableSetImpl(std::move(def)));
    }
  }

  void BuildPlan(const Dictionary& dict, CasePlan& plan) {
    plan.slotsPerCase = static_cast<std::size_t>(slots_);
    plan.cellsPerCase = static_cast<std::size_t>(dict.CellsPerCase());
    plan.identity = plan.utf8 && !hasVeryLong_ && plan.slotsPerCase == plan.cellsPerCase;
    for (std::size_t i = 0; i < vars_.size(); ++i) {
      const VarInfo& v = vars_[i];
      const Variable* var = dict.GetVariable(static_cast<int>(i));
      const auto cell = static_cast<std::uint32_t>(dict.CellOffset(static_cast<int>(i)));
      if (v.width == 0) {
        plan.numerics.push_back({v.segments[0].slotStart, cell});
        continue;
      }
      CasePlan::String s{};
      s.cellByte = cell * 8;
      s.cellBytes = static_cast<std::uint32_t>(var->cellCount() * 8);
      s.width = static_cast<std::uint32_t>(v.width);
      s.firstPiece = static_cast<std::uint32_t>(plan.pieces.size());
      for (const Segment& seg : v.segments) {
        if (seg.dataBytes == 0) continue;
        plan.pieces.push_back({seg.slotStart * 8, seg.dataBytes});
      }
      s.pieceCount = static_cast<std::uint32_t>(plan.pieces.size()) - s.firstPiece;
      plan.strings.push_back(s);
      if (plan.identity && seg0Mismatch(v, cell)) plan.identity = false;
    }
    if (plan.identity) {
      for (auto& n : plan.numerics) {
        if (n.slot != n.cell) plan.identity = false;
      }
    }
    std::int64_t declared = raw_.header.caseCount >= 0 ? raw_.header.caseCount : -1;
    if (const RawExtension* ext = Single(16, 8, 2)) {
      const auto count = static_cast<std::int64_t>(Load64(ext->data.data() + 8, be_));
      if (count >= 0) {
        if (declared >= 0 && declared != count) {
          w_.Add("cases", "the header and the case-count record disagree; the record is trusted");
        }
        declared = count;
      }
    }
    plan.declaredCases = declared;
    if (raw_.header.nominalCaseSize > 0 &&
        static_cast<std::size_t>(raw_.header.nominalCaseSize) != raw_.variables.size() &&
        !(versionMajor_ == 13 && hasVeryLong_)) {
      w_.Add("case size", "the header's case size " + std::to_string(raw_.header.nominalCaseSize) +
                              " does not match the " + std::to_string(raw_.variables.size()) +
                              " variable records");
    }
  }

  static bool seg0Mismatch(const VarInfo& v, std::uint32_t cell) { return v.segments[0].slotStart != cell; }

  void FillInfo(FileInfo& info, const CasePlan& plan) {
    info.compression = static_cast<FileCompression>(raw_.header.compression);
    info.bigEndian = be_;
    info.product = DecodeTrimmed(raw_.header.product);
    info.creationDate = DecodeTrimmed(raw_.header.date);
    info.creationTime = DecodeTrimmed(raw_.header.time);
    info.declaredCases = plan.declaredCases;
  }

  const RawDictionary& raw_;
  const ByteSource& source_;
  const ReadOptions& options_;
  Warnings& w_;
  const bool be_;
  std::int32_t versionMajor_ = 0;
  std::int32_t characterCode_ = 0;
  std::uint64_t declaredSysmis_ = kSysmisBits;
  std::uint64_t declaredHighest_ = kHighestBits;
  std::uint64_t declaredLowest_ = kSysmisBits;
  std::string converter_;
  std::string encodingName_;
  std::optional<TextDecoder> decoder_;
  std::vector<VarInfo> vars_;
  std::vector<int> recordToVar_;
  std::uint64_t slots_ = 0;
  int weightVar_ = -1;
  bool hasVeryLong_ = false;
  // Short and final names (folded) to positions, the names kept in vars_.
  NameIndex byShort_;
  NameIndex byName_;
};

}  // namespace

DecodedFile DecodeDictionary(const RawDictionary& raw, const ByteSource& source,
                             const ReadOptions& options, Warnings& warnings) {
  return Decoder(raw, source, options, warnings).Run();
}

}  // namespace codebook::data::sav
