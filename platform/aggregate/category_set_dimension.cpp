#include "platform/aggregate/category_set_dimension.h"

#include <algorithm>

#include "platform/aggregate/cell_values.h"

namespace codebook::aggregate {

CategorySetDimension::CategorySetDimension(std::vector<int> varIndexes, std::string name)
    : AggregationVariable::Impl(std::move(name), count_), varIndexes_(std::move(varIndexes)) {
  multiple_ = true;
}

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
}

void CategorySetDimension::Classify(const data::CaseBatch& batch) {
  const std::int64_t first = batch.firstOrdinal();
  std::size_t next = 0;  // records before it have their run of buckets
  ForEachCounted(batch, [&](std::size_t r, double) {
    for (; next <= r; ++next) slotStarts_[next] = static_cast<std::uint32_t>(slots_.size());
    recordStart_ = slots_.size();
    for (std::size_t m = 0; m < members_.size(); ++m) {
      if (members_[m].variable != nullptr) AddValue(batch, m, r, first + static_cast<std::int64_t>(r));
    }
    if (slots_.size() == recordStart_) slots_.push_back(kNoValue);
  });
  for (; next <= batch.size(); ++next) slotStarts_[next] = static_cast<std::uint32_t>(slots_.size());
}

void CategorySetDimension::AddValue(const data::CaseBatch& batch, std::size_t m, std::size_t r,
                                    std::int64_t ordinal) {
  const SetMember& member = members_[m];
  std::uint32_t b = 0;
  if (stringValues_) {
    const std::size_t cells = CellCount(member.width);
    const OBS* value = cells == 1 ? &batch.Column(static_cast<std::size_t>(member.offset))[r]
                                  : gather_.At(batch, static_cast<std::size_t>(member.offset), cells, r);
    if (member.variable->IsMissing(value)) return;
    bool inserted = false;
    auto& entry = strings_.FindOrInsert(TrimmedString(value, member.width), inserted);
    if (inserted) {
      entry.member = static_cast<std::int32_t>(NewBucket(ordinal, false, true));
      if (memberOf_.size() <= static_cast<std::size_t>(entry.member)) memberOf_.resize(static_cast<std::size_t>(entry.member) + 1, -1);
      memberOf_[static_cast<std::size_t>(entry.member)] = static_cast<std::int32_t>(m);
    }
    b = static_cast<std::uint32_t>(entry.member);
  } else {
    const OBS* value = &batch.Column(static_cast<std::size_t>(member.offset))[r];
    if (IsSystemMissing(value->d) || member.variable->IsMissing(value)) return;
    bool inserted = false;
    auto& entry = numbers_.FindOrInsert(NumericKey(value->d), inserted);
    if (inserted) {
      entry.extra.bucket = NewBucket(ordinal, false, true);
      const std::size_t need = entry.extra.bucket + 1;
      if (memberOf_.size() < need) memberOf_.resize(need, -1);
      if (numberOf_.size() < need) numberOf_.resize(need, 0.0);
      memberOf_[entry.extra.bucket] = static_cast<std::int32_t>(m);
      numberOf_[entry.extra.bucket] = NumericKey(value->d);
    }
    b = entry.extra.bucket;
  }
  // A value counts once per case however many members hold it.
  if (std::find(slots_.begin() + static_cast<std::ptrdiff_t>(recordStart_), slots_.end(), b) == slots_.end()) {
    slots_.push_back(b);
  }
}

void CategorySetDimension::BuildCategories(CategoryList& list) const {
  const auto add = [&](std::uint32_t b, std::vector<OBS> cells) {
    const SetMember& m = members_[static_cast<std::size_t>(memberOf_[b])];
    std::string label = ValueLabelOf(m.variable, cells.data());
    list.Add(std::make_unique<Category>(owner(), m.varIndex, std::move(cells), std::move(label), WeightOf(b), false));
  };
  if (stringValues_) {
    for (const auto* e : strings_.SortedEntries()) {
      const auto b = static_cast<std::uint32_t>(e->member);
      if (Made(b)) add(b, PaddedCells(strings_.Key(*e), stringWidth_));
    }
  } else {
    std::vector<std::uint32_t> buckets;
    for (std::uint32_t b = kFirstCategory; b < numberOf_.size(); ++b) {
      if (Made(b)) buckets.push_back(b);
    }
    std::sort(buckets.begin(), buckets.end(), [&](std::uint32_t a, std::uint32_t b) { return numberOf_[a] < numberOf_[b]; });
    for (const std::uint32_t b : buckets) {
      OBS cell;
      cell.d = numberOf_[b];
      add(b, std::vector<OBS>{cell});
    }
  }
  if (!noTotal()) AddTotal(list);
}

}  // namespace codebook::aggregate
