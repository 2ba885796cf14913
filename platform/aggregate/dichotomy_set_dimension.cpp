#include "platform/aggregate/dichotomy_set_dimension.h"

#include <cstring>

#include "platform/aggregate/cell_values.h"

namespace codebook::aggregate {

namespace {
constexpr int kNumericCountedLength = 8;
}

DichotomySetDimension::DichotomySetDimension(std::vector<int> varIndexes, std::string name,
                                             const OBS* countedValue, int countedLength, bool /*countMissing*/)
    : AggregationVariable::Impl(std::move(name)),
      varIndexes_(std::move(varIndexes)),
      countedSource_(countedValue),
      countedLength_(countedLength) {
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
  counts_.assign(members_.size(), 0.0);
  held_.assign(members_.size(), false);
}

bool DichotomySetDimension::Holds(const SetMember& m, const OBS* cells) const {
  if (m.variable == nullptr || counted_.empty()) return false;
  const OBS* value = cells + m.offset;
  if (stringCounted_) {
    return m.width > 0 && TrimmedString(value, m.width) == countedString_;
  }
  return m.width == 0 && value->d == counted_[0].d;
}

void DichotomySetDimension::AddCase(const OBS* cells, double weight) {
  total_.Add(weight);
  bool any = false;
  for (std::size_t i = 0; i < members_.size(); ++i) {
    if (!Holds(members_[i], cells)) continue;
    counts_[i] += weight;
    if (!held_[i]) {
      held_[i] = true;
      ++heldCount_;
    }
    any = true;
  }
  if (!any) noneWeight_ += weight;
}

void DichotomySetDimension::BuildCategories(CategoryList& list) const {
  for (std::size_t i = 0; i < members_.size(); ++i) {
    if (!held_[i]) continue;
    const SetMember& m = members_[i];
    // The member variable is the category: its label, or its name.
    std::string label;
    if (m.variable != nullptr) {
      const char* text = m.variable->GetLabel();
      if (text == nullptr || *text == '\0') text = m.variable->GetName();
      if (text != nullptr) label = text;
    }
    list.Add(std::make_unique<Category>(owner(), m.varIndex, std::vector<OBS>{}, std::move(label), counts_[i],
                                        false));
  }
  if (!noTotal()) AddTotal(list, total_.Value());
}

}  // namespace codebook::aggregate
