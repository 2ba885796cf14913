#include "platform/aggregate/variable_dimension.h"

#include <algorithm>
#include <cstring>

#include "platform/aggregate/cell_values.h"

namespace codebook::aggregate {

VariableDimension::VariableDimension(int varIndex, std::string name)
    : AggregationVariable::Impl(std::move(name), count_), varIndex_(varIndex) {}

VariableDimension::~VariableDimension() = default;

void VariableDimension::SetCategories(std::vector<std::unique_ptr<ParsedCategory>> categories) {
  restricted_ = true;
  given_.clear();
  for (const auto& category : categories) {
    if (category == nullptr || category->value() == nullptr) continue;
    given_.push_back({std::vector<OBS>{*category->value()}, category->value()});
  }
  // Exactly these categories: the count is theirs from the start.
  count_.count = given_.size();
  // The rest of a long string value is copied now if the dimension has
  // joined its cube already (the width is known).
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
  const int offset = cases.CellOffset(varIndex_);
  if (variable_ == nullptr || offset < 0) {
    mode_ = Mode::kUnknownVariable;
  } else if (variable_->GetType() <= 0) {
    mode_ = Mode::kNumeric;
  } else {
    mode_ = Mode::kString;
    width_ = static_cast<std::size_t>(variable_->GetType());
    cells_ = CellCount(width_);
  }
  offset_ = offset < 0 ? 0 : static_cast<std::size_t>(offset);

  // Each given value is a category from the start; equal given values
  // share the bucket of the first.
  givenCells_.clear();
  for (const GivenValue& g : given_) {
    std::vector<OBS> cells;
    if (mode_ == Mode::kString) {
      // Blank-padded to the variable's width whatever was copied.
      cells.assign(cells_, OBS{});
      std::memset(cells.data(), ' ', cells.size() * sizeof(OBS));
      std::memcpy(cells.data(), g.cells.data(), std::min(cells.size(), g.cells.size()) * sizeof(OBS));
      const std::uint32_t b = FixedCategory(variable_->IsMissing(cells.data()) != 0);
      bool inserted = false;
      auto& entry = strings_.FindOrInsert(PaddedKey(cells.data()), inserted);
      if (inserted) entry.member = static_cast<std::int32_t>(b);
    } else {
      cells.push_back(g.cells[0]);
      const std::uint32_t b = FixedCategory(mode_ == Mode::kNumeric && variable_->IsMissing(cells.data()) != 0);
      if (mode_ == Mode::kNumeric && !IsSystemMissing(cells[0].d)) {
        bool inserted = false;
        auto& entry = numbers_.FindOrInsert(NumericKey(cells[0].d), inserted);
        if (inserted) entry.extra.bucket = b;
      }
    }
    givenCells_.push_back(std::move(cells));
  }
}

void VariableDimension::Classify(const data::CaseBatch& batch) {
  switch (mode_) {
    case Mode::kNumeric:
      ClassifyNumbers(batch);
      break;
    case Mode::kString:
      ClassifyStrings(batch);
      break;
    case Mode::kUnknownVariable:
      // A variable the dataset does not have holds no value.
      ForEachCounted(batch, [&](std::size_t r, double) { slots_[r] = kNoValue; });
      break;
  }
}

void VariableDimension::ClassifyNumbers(const data::CaseBatch& batch) {
  const OBS* column = batch.Column(offset_);
  std::uint32_t* slots = slots_.data();
  const std::int64_t first = batch.firstOrdinal();
  if (restricted_) {
    ForEachCounted(batch, [&](std::size_t r, double) { slots[r] = NumberBucket(&column[r], first + static_cast<std::int64_t>(r)); });
    return;
  }
  // A code met before, what almost every case of a categorical variable
  // is, costs a comparison, a conversion and a load.
  const std::uint32_t* codes = codes_.data();
  std::size_t known = codes_.size();
  ForEachCounted(batch, [&](std::size_t r, double) __attribute__((always_inline)) {
    const double x = column[r].d;
    if (x >= 0.0 && x < static_cast<double>(known)) {
      const auto k = static_cast<std::uint32_t>(x);
      if (static_cast<double>(k) == x && codes[k] != 0) {
        slots[r] = codes[k];
        return;
      }
    }
    slots[r] = NumberBucket(&column[r], first + static_cast<std::int64_t>(r));
    codes = codes_.data();  // the slow way may have grown them
    known = codes_.size();
  });
}

std::uint32_t VariableDimension::NumberBucket(const OBS* cell, std::int64_t ordinal) {
  const double x = cell->d;
  if (IsSystemMissing(x)) return kNoValue;
  if (restricted_) {
    // Only the given values are counted; the map holds them already.
    if (const auto* entry = numbers_.Find(NumericKey(x))) return entry->extra.bucket;
    return variable_->IsMissing(cell) ? kOtherMissing : kIgnored;
  }
  // Missing values are decided once per distinct value, not per case.
  const auto make = [&] {
    const bool missing = variable_->IsMissing(cell) != 0;
    const std::uint32_t b = NewBucket(ordinal, missing, !(missing && excludeUserMissing()));
    if (numberOf_.size() <= b) numberOf_.resize(b + 1, 0.0);
    numberOf_[b] = NumericKey(x);
    return b;
  };
  if (x >= 0.0 && x < 256.0 && static_cast<double>(static_cast<int>(x)) == x) {
    const auto k = static_cast<std::size_t>(x);
    if (codes_.size() <= k) codes_.resize(k + 1, 0);
    std::uint32_t& code = codes_[k];
    if (code == 0) code = make();
    return code;
  }
  bool inserted = false;
  auto& entry = numbers_.FindOrInsert(NumericKey(x), inserted);
  if (inserted) entry.extra.bucket = make();
  return entry.extra.bucket;
}

void VariableDimension::ClassifyStrings(const data::CaseBatch& batch) {
  std::uint32_t* slots = slots_.data();
  const std::int64_t first = batch.firstOrdinal();
  const OBS* column = batch.Column(offset_);
  ForEachCounted(batch, [&](std::size_t r, double) __attribute__((always_inline)) {
    const OBS* cells = cells_ == 1 ? &column[r] : gather_.At(batch, offset_, cells_, r);
    slots[r] = StringBucket(cells, first + static_cast<std::int64_t>(r));
  });
}

std::uint32_t VariableDimension::StringBucket(const OBS* cells, std::int64_t ordinal) {
  const std::string_view key = PaddedKey(cells);
  if (restricted_) {
    if (const auto* entry = strings_.Find(key)) return static_cast<std::uint32_t>(entry->member);
    return variable_->IsMissing(cells) ? kOtherMissing : kIgnored;
  }
  bool inserted = false;
  auto& entry = strings_.FindOrInsert(key, inserted);
  if (inserted) {
    const bool missing = variable_->IsMissing(cells) != 0;
    entry.missing = missing;
    entry.member = static_cast<std::int32_t>(NewBucket(ordinal, missing, !(missing && excludeUserMissing())));
  }
  return static_cast<std::uint32_t>(entry.member);
}

void VariableDimension::BuildCategories(CategoryList& list) const {
  if (restricted_) {
    for (const std::vector<OBS>& cells : givenCells_) {
      double weight = 0.0;
      if (mode_ == Mode::kNumeric && !IsSystemMissing(cells[0].d)) {
        if (const auto* e = numbers_.Find(NumericKey(cells[0].d))) weight = WeightOf(e->extra.bucket);
      } else if (mode_ == Mode::kString) {
        if (const auto* e = strings_.Find(PaddedKey(cells.data()))) weight = WeightOf(static_cast<std::uint32_t>(e->member));
      }
      list.Add(std::make_unique<Category>(owner(), varIndex_, cells, ValueLabelOf(variable_, cells.data()), weight,
                                          false));
    }
  } else if (mode_ == Mode::kNumeric) {
    std::vector<std::uint32_t> buckets;
    for (std::uint32_t b = kFirstCategory; b < numberOf_.size(); ++b) {
      if (InfoOf(b).category && Made(b)) buckets.push_back(b);
    }
    std::sort(buckets.begin(), buckets.end(), [&](std::uint32_t a, std::uint32_t b) { return numberOf_[a] < numberOf_[b]; });
    for (const std::uint32_t b : buckets) {
      OBS cell;
      cell.d = numberOf_[b];
      list.Add(std::make_unique<Category>(owner(), varIndex_, std::vector<OBS>{cell}, ValueLabelOf(variable_, &cell),
                                          WeightOf(b), false));
    }
  } else if (mode_ == Mode::kString) {
    for (const auto* e : strings_.SortedEntries()) {
      const auto b = static_cast<std::uint32_t>(e->member);
      if (!InfoOf(b).category || !Made(b)) continue;
      std::vector<OBS> cells = PaddedCells(strings_.Key(*e), width_);
      std::string label = ValueLabelOf(variable_, cells.data());
      list.Add(std::make_unique<Category>(owner(), varIndex_, std::move(cells), std::move(label), WeightOf(b), false));
    }
  }
  if (!noTotal()) AddTotal(list);
}

}  // namespace codebook::aggregate
