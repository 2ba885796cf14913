// Subtype 22: missing values of strings wider than 8 bytes, by final name.
// They replace what the variable record said of the first 8 bytes.
#include <string>

#include "platform/data/sav/dictionary_decoder/stages.h"

namespace codebook::data::sav::decode {

void ApplyLongStringMissingValues(DecodeContext& c) {
  const RawExtension* ext = c.Single(22, 1);
  if (!ext) return;
  for (auto& entry : ParseLongStringMissing(AsBytes(*ext), c.bigEndian, c.warnings)) {
    const std::string name = c.Decode(entry.variable);
    VarInfo* v = c.FindLongString(name, "long string missing", "missing values");
    if (!v) continue;
    std::vector<std::string> values;
    bool bad = false;
    for (const auto& value : entry.values) {
      if (value.empty() || static_cast<int>(value.size()) > v->width) bad = true;
      values.push_back(c.DecodeTrimmed(value));
    }
    if (bad) {
      c.warnings.Add("long string missing", "long-string missing values of " + name + " have an invalid length");
      continue;
    }
    v->missingStrings = std::move(values);
  }
}

}  // namespace codebook::data::sav::decode
