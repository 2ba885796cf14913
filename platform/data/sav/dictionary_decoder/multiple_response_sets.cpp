// Subtypes 7 and 19: multiple-response sets. Members are named by short
// name (a very long string by its first segment's), or by final name where
// a writer put those; they are resolved once every variable has both.
#include <algorithm>
#include <charconv>
#include <string>

#include "platform/data/sav/dictionary_decoder/stages.h"
#include "platform/data/text/fold_case.h"

namespace codebook::data::sav::decode {

std::vector<RawMrSet> ParseMultipleResponseSets(DecodeContext& c) {
  std::vector<RawMrSet> sets;
  for (std::int32_t subtype : {7, 19}) {
    if (const RawExtension* ext = c.Single(subtype, 1)) ParseMrSets(AsBytes(*ext), sets, c.warnings);
  }
  return sets;
}

void ResolveMultipleResponseSets(DecodeContext& c, Dictionary& dict, const std::vector<RawMrSet>& sets) {
  for (const RawMrSet& raw : sets) {
    VariableSetImpl::Definition def;
    def.name = c.Decode(raw.name);
    const std::string which = "multiple-response set " + def.name;
    if (def.name.empty() || def.name[0] != '$') {
      c.warnings.Add("mrsets", which + ": the name does not begin with $; the set is dropped");
      continue;
    }
    std::vector<std::size_t> members;
    for (const auto& m : raw.members) {
      const std::string name = c.Decode(m);
      std::size_t index;
      const std::string folded = FoldCase(name);
      if (const int shortIndex = c.FindShort(folded); shortIndex >= 0) {
        index = static_cast<std::size_t>(shortIndex);
      } else if (const int nameIndex = c.FindName(folded); nameIndex >= 0) {
        index = static_cast<std::size_t>(nameIndex);
      } else {
        c.warnings.Add("mrsets", which + ": unknown member " + name + " skipped");
        continue;
      }
      if (std::find(members.begin(), members.end(), index) != members.end()) {
        c.warnings.Add("mrsets", which + ": member " + name + " listed twice");
        continue;
      }
      if (!members.empty() && (c.vars[members[0]].width == 0) != (c.vars[index].width == 0)) {
        c.warnings.Add("mrsets", which + ": member " + name + " is of another type than the first; skipped");
        continue;
      }
      members.push_back(index);
    }
    if (members.size() < 2) {
      c.warnings.Add("mrsets", which + " has fewer than two members and is dropped");
      continue;
    }
    for (std::size_t index : members) def.members.push_back(c.vars[index].name);
    def.label = c.Decode(raw.label);
    if (raw.kind == 'C') {
      def.kind = VariableSetImpl::kMultipleCategory;
    } else {
      def.kind = VariableSetImpl::kMultipleDichotomy;
      std::string counted(TrimRight(c.Decode(raw.counted)));
      if (c.vars[members[0]].width == 0) {
        std::string_view t = counted;
        while (!t.empty() && t.front() == ' ') t.remove_prefix(1);
        double value = 0;
        auto [end, ec] = std::from_chars(t.data(), t.data() + t.size(), value);
        if (ec != std::errc() || end != t.data() + t.size()) {
          c.warnings.Add("mrsets", which + ": counted value \"" + counted + "\" is not a number; the set is dropped");
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
            if (c.vars[index].label) {
              def.label = *c.vars[index].label;
              break;
            }
          }
        }
      }
    }
    dict.AddMRSet(VariableSetImpl(std::move(def)));
  }
}

}  // namespace codebook::data::sav::decode
