// Variable records (type 2): one variable per record that is not the
// continuation of a string, with its name, width, label, print and write
// formats and missing values; and the header's weight index, which counts
// these records.
#include <algorithm>
#include <cmath>
#include <limits>
#include <string>

#include "platform/data/sav/dictionary_decoder/stages.h"
#include "platform/data/sav/file_error.h"
#include "platform/data/sav/format_codes.h"
#include "platform/data/text/fold_case.h"

namespace codebook::data::sav::decode {
namespace {

VELA_Format Format(DecodeContext& c, std::uint32_t packed, int width, const std::string& name, const char* which) {
  if (auto f = UnpackFormat(packed, width)) return *f;
  c.warnings.Add("format", "variable " + name + ": invalid " + which + " format (code " +
                               std::to_string(packed >> 16) + ", width " + std::to_string((packed >> 8) & 0xFF) +
                               ", decimals " + std::to_string(packed & 0xFF) + "); a default is used");
  return DefaultFormat(width);
}

void DecodeMissing(DecodeContext& c, const RawVariable& rv, VarInfo& v) {
  if (rv.missingCode == 0) return;
  if (v.width == 0) {
    std::size_t first = 0;
    if (rv.missingCode < 0) {
      // A range's open ends are stored as the lowest and highest values,
      // which writers have spelled in more than one way.
      double low = c.Number(rv.missing[0]);
      double high = c.Number(rv.missing[1]);
      const std::uint64_t lowBits = c.Bits(rv.missing[0]);
      const std::uint64_t highBits = c.Bits(rv.missing[1]);
      if (lowBits == kSysmisBits || lowBits == kOldLowestBits || lowBits == c.declaredLowest ||
          lowBits == c.declaredSysmis) {
        low = -std::numeric_limits<double>::infinity();
      }
      if (highBits == kHighestBits || highBits == c.declaredHighest) {
        high = std::numeric_limits<double>::infinity();
      }
      if (std::isnan(low) || std::isnan(high) || low > high) {
        c.warnings.Add("missing", "variable " + v.shortName + ": invalid missing-value range dropped");
      } else {
        v.missingRange = MissingValues::Range{low, high};
      }
      first = 2;
    }
    for (std::size_t i = first; i < rv.missing.size(); ++i) v.missingNumbers.push_back(c.Number(rv.missing[i]));
    return;
  }
  if (rv.missingCode < 0) {
    c.warnings.Add("missing", "variable " + v.shortName + ": a string variable cannot have a missing-value range");
    return;
  }
  const std::size_t take = static_cast<std::size_t>(std::min(v.width, 8));
  for (const auto& value : rv.missing) {
    std::string_view bytes(reinterpret_cast<const char*>(value.data()), take);
    v.missingStrings.push_back(c.DecodeTrimmed(bytes));
  }
}

}  // namespace

void DecodeVariableRecords(DecodeContext& c) {
  c.recordToVar.assign(c.raw.variables.size(), -1);
  c.vars.reserve(c.raw.variables.size());
  std::uint64_t slot = 0;
  for (std::size_t r = 0; r < c.raw.variables.size(); ++r) {
    const RawVariable& rv = c.raw.variables[r];
    if (rv.type == -1) continue;
    VarInfo v;
    v.record = static_cast<int>(r);
    v.width = rv.type;
    const std::uint64_t slots = rv.type == 0 ? 1 : (static_cast<std::uint64_t>(rv.type) + 7) / 8;
    v.segments.push_back({static_cast<std::uint32_t>(slot),
                          static_cast<std::uint32_t>(rv.type == 0 ? 8 : rv.type)});
    slot += slots;
    v.shortName = c.DecodeTrimmed(rv.name);
    v.shortFolded = FoldCase(v.shortName);
    if (rv.hasLabel) v.label = c.Decode(rv.label);
    v.print = Format(c, rv.print, v.width, v.shortName, "print");
    v.write = Format(c, rv.write, v.width, v.shortName, "write");
    DecodeMissing(c, rv, v);
    c.recordToVar[r] = static_cast<int>(c.vars.size());
    c.vars.push_back(std::move(v));
  }
  // The case plan keeps byte offsets within a case in 32 bits.
  if (slot > std::numeric_limits<std::uint32_t>::max() / 8) {
    throw FileError(c.source.Name(), "a case of this file would be too large");
  }
  c.slots = slot;
}

void FindWeightVariable(DecodeContext& c) {
  const std::int32_t index = c.raw.header.weightIndex;
  if (index == 0) return;
  if (index < 0 || static_cast<std::size_t>(index) > c.raw.variables.size() ||
      c.recordToVar[static_cast<std::size_t>(index - 1)] < 0 ||
      c.vars[static_cast<std::size_t>(c.recordToVar[static_cast<std::size_t>(index - 1)])].width != 0) {
    c.warnings.Add("weight", "the weight index " + std::to_string(index) +
                                 " does not name a numeric variable; the file is read unweighted");
    return;
  }
  c.weightVar = c.recordToVar[static_cast<std::size_t>(index - 1)];
}

}  // namespace codebook::data::sav::decode
