// Subtype 13: long variable names, TAB-separated short=long pairs. Every
// variable ends with a unique final name: its long name, else its short
// name, else a generated V<n>.
#include <string>

#include "platform/data/sav/dictionary_decoder/stages.h"
#include "platform/data/text/fold_case.h"

namespace codebook::data::sav::decode {
namespace {

// Short names (folded) to positions; built once the very long strings are
// merged, and used for long names and set members.
void IndexShortNames(DecodeContext& c) {
  c.byShort.Reserve(c.vars.size());
  for (std::size_t i = 0; i < c.vars.size(); ++i) {
    if (c.FindShort(c.vars[i].shortFolded) < 0) c.byShort.Insert(c.vars[i].shortFolded, static_cast<int>(i));
  }
}

}  // namespace

void AssignNames(DecodeContext& c) {
  IndexShortNames(c);
  std::vector<std::string> longNames(c.vars.size());
  if (const RawExtension* ext = c.Single(13, 1)) {
    for (const RawPair& pair : ParsePairs(AsBytes(*ext))) {
      const int found = c.FindShort(FoldCase(c.DecodeTrimmed(pair.key)));
      if (found < 0) {
        c.warnings.Add("long names", "long name for unknown variable " + c.DecodeTrimmed(pair.key) + " ignored");
        continue;
      }
      std::string value = c.DecodeTrimmed(pair.value);
      if (!value.empty() && longNames[static_cast<std::size_t>(found)].empty()) longNames[static_cast<std::size_t>(found)] = std::move(value);
    }
  }
  c.byName.Reserve(c.vars.size());
  auto take = [&](const std::string& name, std::size_t index) {
    if (name.empty()) return false;
    std::string folded = FoldCase(name);
    if (c.FindName(folded) >= 0) return false;
    c.vars[index].nameFolded = std::move(folded);
    c.byName.Insert(c.vars[index].nameFolded, static_cast<int>(index));
    return true;
  };
  for (std::size_t i = 0; i < c.vars.size(); ++i) {
    VarInfo& v = c.vars[i];
    const std::string& wanted = longNames[i];
    if (!wanted.empty() && take(wanted, i)) {
      v.name = wanted;
      continue;
    }
    if (!wanted.empty()) {
      c.warnings.Add("names", "long name " + wanted + " is used twice; the short name is kept");
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
    c.warnings.Add("names", "variable " + std::to_string(i + 1) + " has an empty or duplicate name (\"" +
                                v.shortName + "\"); it is called " + v.name);
  }
}

}  // namespace codebook::data::sav::decode
