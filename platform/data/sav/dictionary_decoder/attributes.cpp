// Subtypes 17 and 18: data-file and variable attributes. Variable
// attributes name variables by final name; a file may hold several
// subtype 18 records, all of which count.
#include <algorithm>
#include <string>

#include "platform/data/sav/dictionary_decoder/stages.h"

namespace codebook::data::sav::decode {

void ApplyVariableAttributes(DecodeContext& c) {
  std::vector<RawVariableAttributes> entries;
  bool any = false;
  for (const auto& ext : c.raw.extensions) {
    if (ext.subtype != 18) continue;
    if (ext.size != 1) {
      c.warnings.Add("extension size", "variable attribute record with element size " + std::to_string(ext.size) + " ignored");
      continue;
    }
    any = true;
    ParseVariableAttributes(AsBytes(ext), entries, c.warnings);
  }
  if (!any) return;
  for (auto& entry : entries) {
    const std::string name = c.Decode(entry.variable);
    VarInfo* v = c.FindByName(name);
    if (!v) {
      c.warnings.Add("attributes", "attributes of unknown variable " + name + " ignored");
      continue;
    }
    for (auto& a : entry.attributes) {
      RawAttribute decoded{c.Decode(a.name), {}};
      for (const auto& value : a.values) decoded.values.push_back(c.Decode(value));
      // The role travels as an attribute; Variable turns it into the role.
      if (decoded.name == "$@Role") {
        std::string_view role = decoded.values.empty() ? std::string_view() : std::string_view(decoded.values[0]);
        if (role.size() != 1 || role[0] < '0' || role[0] > '5') {
          c.warnings.Add("role", "variable " + v->name + ": invalid role \"" + std::string(role) + "\"; input is used");
        }
      }
      bool dup = std::any_of(v->attributes.begin(), v->attributes.end(),
                             [&](const RawAttribute& x) { return x.name == decoded.name; });
      if (dup) {
        c.warnings.Add("attributes", "duplicate attribute " + decoded.name + " of " + v->name + "; the first is kept");
        continue;
      }
      v->attributes.push_back(std::move(decoded));
    }
  }
}

std::optional<std::vector<DatasourceAttributes::Attribute>> DecodeFileAttributes(DecodeContext& c) {
  const RawExtension* ext = c.Single(17, 1);
  if (!ext) return std::nullopt;
  std::vector<DatasourceAttributes::Attribute> attributes;
  for (auto& a : ParseFileAttributes(AsBytes(*ext), c.warnings)) {
    DatasourceAttributes::Attribute decoded{c.Decode(a.name), {}};
    for (const auto& value : a.values) decoded.values.push_back(c.Decode(value));
    attributes.push_back(std::move(decoded));
  }
  return attributes;
}

}  // namespace codebook::data::sav::decode
