#include "platform/aggregate/category_set_dimension.h"

#include <algorithm>
#include <cstring>

#include "platform/aggregate/cell_values.h"

namespace codebook::aggregate {

CategorySetDimension::CategorySetDimension(std::vector<int> varIndexes, std::string name)
    : AggregationVariable::Impl(std::move(name)), varIndexes_(std::move(varIndexes)) {}

CategorySetDimension::~CategorySetDimension() = default;

void CategorySetDimension::Bind(const VELA_InputCaseIterator& cases) {
  members_ = LookUpMembers(cases, varIndexes_);
  bool typed = false;
  for (SetMember& m : members_) {
    if (m.variable == nullptr) continue;
    if (!typed) {
      stringValues_ = m.width > 0;
      typed = true;
    }
    // A member of the other type holds no value of the set.
    if ((m.width > 0) != stringValues_) m.variable = nullptr;
    stringWidth_ = std::max(stringWidth_, m.width);
  }
  caseNumbers_.reserve(members_.size());
  caseStrings_.reserve(members_.size());
}

void CategorySetDimension::AddCase(const OBS* cells, double weight) {
  total_.Add(weight);
  bool any = false;
  if (stringValues_) {
    caseStrings_.clear();
    for (std::size_t i = 0; i < members_.size(); ++i) {
      const SetMember& m = members_[i];
      if (m.variable == nullptr) continue;
      const OBS* value = cells + m.offset;
      if (m.variable->IsMissing(value)) continue;
      const std::string_view key = TrimmedString(value, m.width);
      any = true;
      if (std::find(caseStrings_.begin(), caseStrings_.end(), key) != caseStrings_.end()) continue;
      caseStrings_.push_back(key);
      bool inserted = false;
      auto& entry = strings_.FindOrInsert(key, inserted);
      if (inserted) entry.member = static_cast<std::int32_t>(i);
      entry.weight += weight;
    }
  } else {
    caseNumbers_.clear();
    for (std::size_t i = 0; i < members_.size(); ++i) {
      const SetMember& m = members_[i];
      if (m.variable == nullptr) continue;
      const OBS* value = cells + m.offset;
      if (IsSystemMissing(value->d) || m.variable->IsMissing(value)) continue;
      const double key = NumericKey(value->d);
      any = true;
      if (std::find(caseNumbers_.begin(), caseNumbers_.end(), key) != caseNumbers_.end()) continue;
      caseNumbers_.push_back(key);
      bool inserted = false;
      auto& entry = numbers_.FindOrInsert(key, inserted);
      if (inserted) entry.extra.member = static_cast<std::int32_t>(i);
      entry.weight += weight;
    }
  }
  if (!any) noValueWeight_ += weight;
}

void CategorySetDimension::BuildCategories(CategoryList& list) const {
  if (stringValues_) {
    for (const auto* e : strings_.SortedEntries()) {
      const SetMember& m = members_[static_cast<std::size_t>(e->member)];
      const std::string_view key = strings_.Key(*e);
      std::vector<OBS> cells = PaddedCells(key, stringWidth_);
      std::string label = ValueLabelOf(m.variable, cells.data());
      list.Add(std::make_unique<Category>(owner(), m.varIndex, std::move(cells), std::move(label), e->weight,
                                          false));
    }
  } else {
    std::vector<NumericEntry<FirstMember>> entries;
    entries.reserve(numbers_.size());
    numbers_.ForEach([&](const auto& e) { entries.push_back(e); });
    std::sort(entries.begin(), entries.end(), [](const auto& a, const auto& b) { return a.value < b.value; });
    for (const auto& e : entries) {
      const SetMember& m = members_[static_cast<std::size_t>(e.extra.member)];
      OBS cell;
      cell.d = e.value;
      list.Add(std::make_unique<Category>(owner(), m.varIndex, std::vector<OBS>{cell},
                                          ValueLabelOf(m.variable, &cell), e.weight, false));
    }
  }
  if (!noTotal()) AddTotal(list, total_.Value());
}

}  // namespace codebook::aggregate
