#include "platform/aggregate/variable_dimension.h"

#include <algorithm>
#include <cstring>

#include "platform/aggregate/cell_values.h"

namespace codebook::aggregate {

VariableDimension::VariableDimension(int varIndex, std::string name)
    : AggregationVariable::Impl(std::move(name)), varIndex_(varIndex) {}

VariableDimension::~VariableDimension() = default;

void VariableDimension::SetCategories(std::vector<std::unique_ptr<ParsedCategory>> categories) {
  restricted_ = true;
  hot_->kind = TableHot::kGeneral;  // only the given values count from now on
  given_.clear();
  for (const auto& category : categories) {
    if (category == nullptr || category->value() == nullptr) continue;
    given_.push_back({std::vector<OBS>{*category->value()}, category->value()});
  }
  // Exactly these categories, whatever was met before.
  categoryCount_ = given_.size();
  // The categories themselves are no longer needed: their values are kept.
  if (cases() != nullptr) OnAttach(*cases());
}

void VariableDimension::OnAttach(const VELA_InputCaseIterator& cases) {
  const VELA_Variable* variable = cases.GetVariable(varIndex_);
  if (variable == nullptr || variable->GetType() <= 0) return;
  const std::size_t cells = CellCount(static_cast<std::size_t>(variable->GetType()));
  for (GivenValue& g : given_) {
    if (g.cells.size() < cells && g.source != nullptr) g.cells.assign(g.source, g.source + cells);
    g.source = nullptr;
  }
}

void VariableDimension::Bind(const VELA_InputCaseIterator& cases) {
  variable_ = cases.GetVariable(varIndex_);
  offset_ = cases.CellOffset(varIndex_);
  if (variable_ == nullptr || offset_ < 0) {
    mode_ = Mode::kUnknownVariable;
  } else if (variable_->GetType() <= 0) {
    mode_ = Mode::kNumeric;
  } else {
    mode_ = Mode::kString;
    width_ = static_cast<std::size_t>(variable_->GetType());
  }

  givenCells_.clear();
  for (std::size_t i = 0; i < given_.size(); ++i) {
    const GivenValue& g = given_[i];
    std::vector<OBS> cells;
    if (mode_ == Mode::kString) {
      // Blank-padded to the variable's width whatever was copied.
      cells.assign(CellCount(width_), OBS{});
      std::memset(cells.data(), ' ', cells.size() * sizeof(OBS));
      std::memcpy(cells.data(), g.cells.data(), std::min(cells.size(), g.cells.size()) * sizeof(OBS));
      bool inserted = false;
      auto& entry = strings_.FindOrInsert(PaddedKey(cells.data()), inserted);
      if (inserted) {
        entry.member = static_cast<std::int32_t>(i);
        entry.missing = variable_->IsMissing(cells.data()) != 0;
      }
    } else {
      cells.push_back(g.cells[0]);
      if (mode_ == Mode::kNumeric && !IsSystemMissing(cells[0].d)) {
        bool inserted = false;
        auto& entry = numbers_.FindOrInsert(NumericKey(cells[0].d), inserted);
        if (inserted) {
          entry.extra.given = static_cast<std::int32_t>(i);
          entry.extra.missing = variable_->IsMissing(cells.data()) != 0;
        }
      }
    }
    givenCells_.push_back(std::move(cells));
  }
}

bool VariableDimension::AddNumericSlow(const OBS* cell, double weight) {
  const double x = cell->d;
  if (IsSystemMissing(x)) {
    sysmisWeight_ += weight;
    return false;
  }
  if (restricted_) {
    // Only the given values are counted; the map holds them already.
    if (auto* entry = numbers_.Find(NumericKey(x))) {
      entry->weight += weight;
    } else if (variable_->IsMissing(cell)) {
      otherMissingWeight_ += weight;
    }
    return false;
  }
  if (const int k = SmallIntegerCounts::IndexOf(x); k >= 0) {
    if (k < TableHot::kCodeSlots) {
      if (((hot_->seen >> k) & 1u) == 0) OnNewCode(k, cell);
      hot_->counts[k] += weight;
      return true;
    }
    double* slot = small_.Find(k);
    if (slot == nullptr) slot = &OnNewSmall(k, cell);
    *slot += weight;
    return false;
  }
  bool inserted = false;
  auto& entry = numbers_.FindOrInsert(NumericKey(x), inserted);
  if (inserted) OnNewNumeric(entry, cell);
  entry.weight += weight;
  return false;
}

const std::vector<const AggregationCategory*>& VariableDimension::GetCategories() const {
  // Cases of known codes reach only the record's slots, inline; any other
  // case goes through the general path, which counts it.
  if (casesNoted_ != hot_->generalCases || std::memcmp(countsNoted_, hot_->counts, sizeof countsNoted_) != 0) {
    casesNoted_ = hot_->generalCases;
    std::memcpy(countsNoted_, hot_->counts, sizeof countsNoted_);
    NoteNewCase();
  }
  return CurrentCategories();
}

double& VariableDimension::OnNewSmall(int k, const OBS* cell) {
  const bool missing = variable_->IsMissing(cell) != 0;
  if (!(missing && excludeUserMissing())) ++categoryCount_;
  return small_.Insert(k, missing);
}

void VariableDimension::OnNewCode(int k, const OBS* cell) {
  const bool missing = variable_->IsMissing(cell) != 0;
  if (!(missing && excludeUserMissing())) ++categoryCount_;
  hot_->OpenSlot(k, missing);
}

void VariableDimension::OnNewNumeric(NumericEntry<NumericInfo>& entry, const OBS* cell) {
  // Missing values are decided once per distinct value, not per case.
  entry.extra.missing = variable_->IsMissing(cell) != 0;
  if (!(entry.extra.missing && excludeUserMissing())) ++categoryCount_;
}

void VariableDimension::AddString(const OBS* cells, double weight) {
  const std::string_view key = PaddedKey(cells);
  if (restricted_) {
    if (auto* entry = strings_.Find(key)) {
      entry->weight += weight;
    } else if (variable_->IsMissing(cells)) {
      otherMissingWeight_ += weight;
    }
    return;
  }
  bool inserted = false;
  auto& entry = strings_.FindOrInsert(key, inserted);
  if (inserted) OnNewString(entry, cells);
  entry.weight += weight;
}

void VariableDimension::OnNewString(StringWeightMap::Entry& entry, const OBS* cells) {
  entry.missing = variable_->IsMissing(cells) != 0;
  if (!(entry.missing && excludeUserMissing())) ++categoryCount_;
}

double VariableDimension::MissingWeight() const {
  double missing = sysmisWeight_ + otherMissingWeight_;
  numbers_.ForEach([&](const auto& e) {
    if (e.extra.missing) missing += e.weight;
  });
  ForEachCode([&](double, double weight, bool isMissing) {
    if (isMissing) missing += weight;
  });
  strings_.ForEach([&](const auto& e) {
    if (e.missing) missing += e.weight;
  });
  return missing;
}

void VariableDimension::BuildCategories(CategoryList& list) const {
  if (restricted_) {
    for (const std::vector<OBS>& cells : givenCells_) {
      double weight = 0.0;
      if (mode_ == Mode::kNumeric && !IsSystemMissing(cells[0].d)) {
        if (const auto* e = numbers_.Find(NumericKey(cells[0].d))) weight = e->weight;
      } else if (mode_ == Mode::kString) {
        if (const auto* e = strings_.Find(PaddedKey(cells.data()))) weight = e->weight;
      }
      list.Add(std::make_unique<Category>(owner(), varIndex_, cells, ValueLabelOf(variable_, cells.data()),
                                          weight, false));
    }
  } else if (mode_ == Mode::kNumeric) {
    std::vector<NumericEntry<NumericInfo>> entries;
    entries.reserve(numbers_.size());
    numbers_.ForEach([&](const auto& e) {
      if (!(e.extra.missing && excludeUserMissing())) entries.push_back(e);
    });
    ForEachCode([&](double value, double weight, bool missing) {
      if (!(missing && excludeUserMissing())) entries.push_back({value, weight, NumericInfo{-1, missing}});
    });
    std::sort(entries.begin(), entries.end(), [](const auto& a, const auto& b) { return a.value < b.value; });
    for (const auto& e : entries) {
      OBS cell;
      cell.d = e.value;
      list.Add(std::make_unique<Category>(owner(), varIndex_, std::vector<OBS>{cell},
                                          ValueLabelOf(variable_, &cell), e.weight, false));
    }
  } else if (mode_ == Mode::kString) {
    for (const auto* e : strings_.SortedEntries()) {
      if (e->missing && excludeUserMissing()) continue;
      std::vector<OBS> cells = PaddedCells(strings_.Key(*e), width_);
      std::string label = ValueLabelOf(variable_, cells.data());
      list.Add(std::make_unique<Category>(owner(), varIndex_, std::move(cells), std::move(label), e->weight,
                                          false));
    }
  }
  if (!noTotal()) AddTotal(list, hot_->TotalWeight());
}

}  // namespace codebook::aggregate
