// A dimension over one variable: a category per distinct value met, or
// exactly the values given to SetCategories.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/aggregate/table_hot.h"
#include "platform/aggregate/dimension.h"
#include "platform/aggregate/hot_arena.h"
#include "platform/aggregate/numeric_weight_map.h"
#include "platform/aggregate/small_integer_counts.h"
#include "platform/aggregate/string_weight_map.h"

namespace codebook::aggregate {

// The count that the early stop asks for on every case, right behind the
// vtable pointer it is asked through: one cache line per table and case.
class CountedDimension : public TableDimension {
 public:
  std::size_t GetCategoryCount() const final { return categoryCount_; }

 protected:
  std::size_t categoryCount_ = 0;
};

class VariableDimension final : public CountedDimension, public AggregationVariable::Impl, public HotStorage {
 public:
  VariableDimension(int varIndex, std::string name);
  ~VariableDimension() override;

  void SetCategories(std::vector<std::unique_ptr<ParsedCategory>> categories) override;

  // The record of the table this dimension counts for: the codes 0..15,
  // the table's total and its case count live there. Until a cube gives
  // one, the dimension has its own.
  void UseHot(TableHot& hot) { hot_ = &hot; }
  // Whether the table may count this dimension's codes 0..15 in its record
  // (after binding): a numeric variable not restricted to given values.
  bool CountsCodesInPlace() const { return mode_ == Mode::kNumeric && !restricted_; }
  int offset() const { return offset_; }

  // Add() for a caller that knows the kind, without its virtual call.
  // Returns whether the weight went into the record's code slots (the
  // caller keeps the total of the rest).
  bool AddDirect(const OBS* cells, double weight) {
    if (mode_ == Mode::kNumeric) return AddNumeric(cells + offset_, weight);
    if (mode_ == Mode::kString) {
      AddString(cells + offset_, weight);
    } else {
      sysmisWeight_ += weight;  // a variable the dataset does not have holds no value
    }
    return false;
  }

  double MissingWeight() const override;
  double TotalWeight() const override { return hot_->TotalWeight(); }
  TableDimension& Dimension() override { return *this; }

  const std::vector<const AggregationCategory*>& GetCategories() const override;

 private:
  struct NumericInfo {
    std::int32_t given = -1;  // position among the given categories
    bool missing = false;     // user-missing
  };
  // A given category: its first cell is copied at once; the rest of a long
  // string when the dimension joins its cube and the variable's width is
  // known (see the ParsedCategory note in the host header).
  struct GivenValue {
    std::vector<OBS> cells;
    const OBS* source;
  };
  enum class Mode { kUnknownVariable, kNumeric, kString };

  void OnAttach(const VELA_InputCaseIterator& cases) override;
  void Bind(const VELA_InputCaseIterator& cases) override;
  void AddCase(const OBS* cells, double weight) override { AddDirect(cells, weight); }
  void BuildCategories(CategoryList& list) const override;

  // A code already met, the usual case of a categorical variable, costs a
  // handful of instructions; the rest is out of line.
  bool AddNumeric(const OBS* cell, double weight) {
    if (!restricted_) {
      if (const int k = hot_->SlotOf(cell->d); k >= 0) {
        hot_->counts[k] += weight;
        return true;
      }
    }
    return AddNumericSlow(cell, weight);
  }
  bool AddNumericSlow(const OBS* cell, double weight);
  void AddString(const OBS* cells, double weight);
  // f(value, weight, missing) for every integer code 0..255 met, ascending.
  template <typename F>
  void ForEachCode(F&& f) const {
    hot_->ForEachSlot([&](int k, double weight, bool missing) { f(static_cast<double>(k), weight, missing); });
    small_.ForEach(f);  // holds the codes from 16 on
  }
  // A string value as the map's key: the variable's whole width, trailing
  // blanks included, so that a case is looked up without trimming it.
  std::string_view PaddedKey(const OBS* cells) const {
    return {reinterpret_cast<const char*>(cells), width_};
  }
  void OnNewNumeric(NumericEntry<NumericInfo>& entry, const OBS* cell);
  double& OnNewSmall(int k, const OBS* cell);
  void OnNewCode(int k, const OBS* cell);
  void OnNewString(StringWeightMap::Entry& entry, const OBS* cells);

  // What a case and the early stop's question touch, together.
  Mode mode_ = Mode::kUnknownVariable;
  bool restricted_ = false;
  int offset_ = -1;
  TableHot* hot_ = &ownHot_;
  double sysmisWeight_ = 0.0;
  // What the category list was built from: it is rebuilt when either changed.
  mutable std::uint64_t casesNoted_ = 0;
  mutable double countsNoted_[TableHot::kCodeSlots] = {};
  SmallIntegerCounts small_;  // the integer codes 16..255 of a dimension that is not restricted
  TableHot ownHot_;

  int varIndex_;
  const VELA_Variable* variable_ = nullptr;
  std::size_t width_ = 0;  // bytes of a string value
  std::vector<GivenValue> given_;
  std::vector<std::vector<OBS>> givenCells_;  // the given values at full width, after Bind
  NumericWeightMap<NumericInfo> numbers_;
  StringWeightMap strings_;
  double otherMissingWeight_ = 0.0;  // missing values outside the given categories
};

}  // namespace codebook::aggregate
