// A dimension over one variable: a category per distinct value met, or
// exactly the values given to SetCategories.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/aggregate/dimension.h"
#include "platform/aggregate/hot_arena.h"
#include "platform/aggregate/numeric_weight_map.h"
#include "platform/aggregate/small_integer_counts.h"
#include "platform/aggregate/string_weight_map.h"

namespace codebook::aggregate {

class VariableDimension final : public AggregationVariable::Impl, public TableDimension, public HotStorage {
 public:
  VariableDimension(int varIndex, std::string name);
  ~VariableDimension() override;

  void SetCategories(std::vector<std::unique_ptr<ParsedCategory>> categories) override;

  // Add() for a caller that knows the kind, without its virtual call.
  void AddDirect(const OBS* cells, double weight) {
    ++casesAdded_;  // beside the counts, where Add's own counter is a line away
    AddCase(cells, weight);
  }

  double MissingWeight() const override;
  double TotalWeight() const override { return total_.Value(); }
  TableDimension& Dimension() override { return *this; }

  std::size_t GetCategoryCount() const override;
  const std::vector<const AggregationCategory*>& GetCategories() const override {
    if (casesNoted_ != casesAdded_) {
      casesNoted_ = casesAdded_;
      NoteNewCase();
    }
    return CurrentCategories();
  }

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
  void AddCase(const OBS* cells, double weight) override {
    total_.Add(weight);
    if (mode_ == Mode::kNumeric) {
      AddNumeric(cells + offset_, weight);
    } else {
      AddOther(cells, weight);
    }
  }
  void BuildCategories(CategoryList& list) const override;

  // A code already met, the usual case of a categorical variable, costs a
  // handful of instructions; the rest is out of line.
  void AddNumeric(const OBS* cell, double weight) {
    if (!restricted_) {
      if (const int k = SmallIntegerCounts::IndexOf(cell->d); k >= 0) {
        if (double* slot = small_.Find(k)) {
          *slot += weight;
          return;
        }
      }
    }
    AddNumericSlow(cell, weight);
  }
  void AddNumericSlow(const OBS* cell, double weight);
  void AddOther(const OBS* cells, double weight);
  void AddString(const OBS* cells, double weight);
  // A string value as the map's key: the variable's whole width, trailing
  // blanks included, so that a case is looked up without trimming it.
  std::string_view PaddedKey(const OBS* cells) const {
    return {reinterpret_cast<const char*>(cells), width_};
  }
  void OnNewNumeric(NumericEntry<NumericInfo>& entry, const OBS* cell);
  double& OnNewSmall(int k, const OBS* cell);
  void OnNewString(StringWeightMap::Entry& entry, const OBS* cells);

  // What a case and the early stop's question touch, together.
  Mode mode_ = Mode::kUnknownVariable;
  bool restricted_ = false;
  int offset_ = -1;
  CompensatedSum total_;
  std::uint64_t casesAdded_ = 0;  // by AddDirect
  std::size_t categoryCount_ = 0;
  double sysmisWeight_ = 0.0;
  SmallIntegerCounts small_;  // the integer codes 0..255 of a dimension that is not restricted
  mutable std::uint64_t casesNoted_ = 0;

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
