// Value-label records (types 3 and 4): labels of numbers and of strings of
// at most 8 bytes, attached to variables by record position. Labels of
// longer strings come from subtype 21 (long_string_value_labels.cpp) and
// join these in the variable's label set.
#include <algorithm>
#include <set>
#include <string>

#include "platform/data/sav/dictionary_decoder/stages.h"

namespace codebook::data::sav::decode {

void AttachValueLabels(DecodeContext& c) {
  for (const auto& vl : c.raw.valueLabels) {
    std::vector<int> targets;
    for (std::int32_t index : vl.indexes) {
      if (index < 1 || static_cast<std::size_t>(index) > c.raw.variables.size()) {
        c.warnings.Add("value labels", "value labels for variable index " + std::to_string(index) +
                                           ", outside the dictionary, are ignored");
        continue;
      }
      const int var = c.recordToVar[static_cast<std::size_t>(index - 1)];
      if (var < 0) {
        c.warnings.Add("value labels", "value labels for variable index " + std::to_string(index) +
                                           ", a string continuation, are ignored");
        continue;
      }
      if (c.vars[static_cast<std::size_t>(var)].width > 8) {
        c.warnings.Add("value labels", "variable " + c.vars[static_cast<std::size_t>(var)].shortName +
                                           ": short value labels on a long string are ignored");
        continue;
      }
      targets.push_back(var);
    }
    if (targets.empty()) continue;
    const bool numeric = c.vars[static_cast<std::size_t>(targets[0])].width == 0;
    bool mixed = std::any_of(targets.begin(), targets.end(), [&](int t) {
      return (c.vars[static_cast<std::size_t>(t)].width == 0) != numeric;
    });
    if (mixed) {
      c.warnings.Add("value labels", "a value-label record mixes numeric and string variables and is ignored");
      continue;
    }
    for (int t : targets) {
      auto& dest = c.vars[static_cast<std::size_t>(t)].shortLabels;
      dest.insert(dest.end(), vl.labels.begin(), vl.labels.end());
    }
  }
}

std::shared_ptr<const ValueLabelSetImpl> MakeValueLabelSet(DecodeContext& c, const VarInfo& v, int cellWidth) {
  if (v.width == 0) {
    if (v.shortLabels.empty()) return nullptr;
    std::vector<ValueLabelSetImpl::NumericLabel> labels;
    std::set<double> seen;
    bool dup = false;
    for (const auto& [raw, label] : v.shortLabels) {
      const double value = c.Number(raw);
      if (!seen.insert(value).second) {
        dup = true;
        continue;
      }
      labels.push_back({value, c.Decode(label)});
    }
    if (dup) c.warnings.Add("value labels", "variable " + v.name + ": duplicate value labels; the first is kept");
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
    add(c.DecodeTrimmed(bytes), c.Decode(label));
  }
  for (const auto& [value, label] : v.longLabels) add(value, label);
  if (labels.empty()) return nullptr;
  if (dup) c.warnings.Add("value labels", "variable " + v.name + ": duplicate value labels; the first is kept");
  return std::make_shared<ValueLabelSetImpl>(cellWidth, std::move(labels));
}

}  // namespace codebook::data::sav::decode
