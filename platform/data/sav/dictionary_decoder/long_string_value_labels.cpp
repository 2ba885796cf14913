// Subtype 21: value labels of strings wider than 8 bytes, by final name.
#include <string>

#include "platform/data/sav/dictionary_decoder/stages.h"

namespace codebook::data::sav::decode {
namespace {

// A value stored wider than its variable may still be the same value with
// more blanks; `changed` says it is not, and such a label is dropped.
std::string FitToWidth(std::string value, int width, bool& changed) {
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

}  // namespace

void ApplyLongStringValueLabels(DecodeContext& c) {
  const RawExtension* ext = c.Single(21, 1);
  if (!ext) return;
  for (auto& entry : ParseLongStringLabels(AsBytes(*ext), c.bigEndian, c.warnings)) {
    const std::string name = c.Decode(entry.variable);
    VarInfo* v = c.FindLongString(name, "long string labels", "value labels");
    if (!v) continue;
    if (entry.width != v->width) {
      c.warnings.Add("long string labels", "long-string value labels of " + name + " declare width " +
                                               std::to_string(entry.width) + "; the values are fitted");
    }
    for (auto& [value, label] : entry.labels) {
      bool changed = false;
      std::string fitted = FitToWidth(std::move(value), v->width, changed);
      if (changed) continue;
      v->longLabels.emplace_back(c.DecodeTrimmed(fitted), c.Decode(label));
    }
  }
}

}  // namespace codebook::data::sav::decode
