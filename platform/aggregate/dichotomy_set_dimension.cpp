#include "platform/aggregate/dichotomy_set_dimension.h"

#include "platform/aggregate/cell_values.h"

namespace codebook::aggregate {

namespace {
constexpr int kNumericCountedLength = 8;
}

DichotomySetDimension::DichotomySetDimension(std::vector<int> varIndexes, std::string name,
                                             const OBS* countedValue, int countedLength, bool /*countMissing*/)
    : AggregationVariable::Impl(std::move(name), count_),
      varIndexes_(std::move(varIndexes)),
      countedSource_(countedValue),
      countedLength_(countedLength) {
  multiple_ = true;
  if (countedValue != nullptr && countedLength > 0) {
    // Anything but 8 can only be a string's cell count: copy it all now.
    const std::size_t cells = countedLength == kNumericCountedLength ? 1 : static_cast<std::size_t>(countedLength);
    counted_.assign(countedValue, countedValue + cells);
  }
}

DichotomySetDimension::~DichotomySetDimension() = default;

void DichotomySetDimension::OnAttach(const VELA_InputCaseIterator& cases) {
  for (int index : varIndexes_) {
    if (const VELA_Variable* v = cases.GetVariable(index); v != nullptr && cases.CellOffset(index) >= 0) {
      stringCounted_ = v->GetType() > 0;
      break;
    }
  }
  if (stringCounted_ && countedLength_ == kNumericCountedLength && counted_.size() == 1 &&
      countedSource_ != nullptr) {
    counted_.assign(countedSource_, countedSource_ + kNumericCountedLength);
  }
  countedSource_ = nullptr;
}

void DichotomySetDimension::Bind(const VELA_InputCaseIterator& cases) {
  members_ = LookUpMembers(cases, varIndexes_);
  if (stringCounted_ && !counted_.empty()) {
    countedString_ = std::string(TrimmedString(counted_.data(), counted_.size() * sizeof(OBS)));
  }
  bucketOf_.assign(members_.size(), 0);
}

bool DichotomySetDimension::Holds(const data::CaseBatch& batch, const SetMember& m, std::size_t r) {
  if (m.variable == nullptr || counted_.empty()) return false;
  const auto offset = static_cast<std::size_t>(m.offset);
  if (stringCounted_) {
    if (m.width == 0) return false;
    const std::size_t cells = CellCount(m.width);
    const OBS* value = cells == 1 ? &batch.Column(offset)[r] : gather_.At(batch, offset, cells, r);
    return TrimmedString(value, m.width) == countedString_;
  }
  return m.width == 0 && batch.Column(offset)[r].d == counted_[0].d;
}

void DichotomySetDimension::Classify(const data::CaseBatch& batch) {
  const std::int64_t first = batch.firstOrdinal();
  std::size_t next = 0;
  ForEachCounted(batch, [&](std::size_t r, double) {
    for (; next <= r; ++next) slotStarts_[next] = static_cast<std::uint32_t>(slots_.size());
    const std::size_t start = slots_.size();
    for (std::size_t i = 0; i < members_.size(); ++i) {
      if (!Holds(batch, members_[i], r)) continue;
      // A member becomes a category at the first case that holds the value.
      if (bucketOf_[i] == 0) bucketOf_[i] = NewBucket(first + static_cast<std::int64_t>(r), false, true);
      slots_.push_back(bucketOf_[i]);
    }
    if (slots_.size() == start) slots_.push_back(kNoValue);
  });
  for (; next <= batch.size(); ++next) slotStarts_[next] = static_cast<std::uint32_t>(slots_.size());
}

void DichotomySetDimension::BuildCategories(CategoryList& list) const {
  for (std::size_t i = 0; i < members_.size(); ++i) {
    if (bucketOf_[i] == 0 || !Made(bucketOf_[i])) continue;
    const SetMember& m = members_[i];
    // The member variable is the category: its label, or its name.
    std::string label;
    if (m.variable != nullptr) {
      const char* text = m.variable->GetLabel();
      if (text == nullptr || *text == '\0') text = m.variable->GetName();
      if (text != nullptr) label = text;
    }
    list.Add(std::make_unique<Category>(owner(), m.varIndex, std::vector<OBS>{}, std::move(label),
                                        WeightOf(bucketOf_[i]), false));
  }
  if (!noTotal()) AddTotal(list);
}

}  // namespace codebook::aggregate
