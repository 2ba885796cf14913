// A dimension over one variable: a category per distinct value met, or
// exactly the values given to SetCategories.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/aggregate/counted_records.h"
#include "platform/aggregate/dimension.h"
#include "platform/aggregate/hot_arena.h"
#include "platform/aggregate/numeric_weight_map.h"
#include "platform/aggregate/string_weight_map.h"

namespace codebook::aggregate {

class VariableDimension final : public TableDimension, public AggregationVariable::Impl,
                                public HotStorage<HotArena::kDimensions> {
 public:
  VariableDimension(int varIndex, std::string name);
  ~VariableDimension() override;

  void SetCategories(std::vector<std::unique_ptr<ParsedCategory>> categories) override;
  TableDimension& Dimension() override { return *this; }
  std::ptrdiff_t column() const override {
    return mode_ == Mode::kUnknownVariable ? -1 : static_cast<std::ptrdiff_t>(offset_);
  }
  const std::vector<const AggregationCategory*>& GetCategories() const override { return CurrentCategories(); }

 private:
  struct BucketOf {
    std::uint32_t bucket = 0;
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
  void Classify(const data::CaseBatch& batch) override;
  void BuildCategories(CategoryList& list) const override;

  void ClassifyNumbers(const data::CaseBatch& batch);
  void ClassifyStrings(const data::CaseBatch& batch);
  // The bucket of a number that is not a code met before.
  [[gnu::noinline]] std::uint32_t NumberBucket(const OBS* cell, std::int64_t ordinal);
  [[gnu::noinline]] std::uint32_t StringBucket(const OBS* cells, std::int64_t ordinal);
  // A string value as the map's key: the variable's whole width, trailing
  // blanks included, so that a case is looked up without trimming it.
  std::string_view PaddedKey(const OBS* cells) const {
    return {reinterpret_cast<const char*>(cells), width_};
  }

  int varIndex_;
  Mode mode_ = Mode::kUnknownVariable;
  const VELA_Variable* variable_ = nullptr;
  std::size_t offset_ = 0;
  std::size_t width_ = 0;  // bytes of a string value
  std::size_t cells_ = 1;  // cells of a value
  bool restricted_ = false;
  std::vector<GivenValue> given_;
  std::vector<std::vector<OBS>> givenCells_;  // the given values at full width, after Bind
  // The integer codes 0..255, which most categorical data are, found by
  // index: their bucket, 0 until met. As long as the largest code met, so
  // that a table of a wide file stays small.
  InlineVector<std::uint32_t, 8> codes_;
  NumericWeightMap<BucketOf> numbers_;  // other numbers (all numbers when restricted)
  std::vector<double> numberOf_;        // the value of each numeric bucket
  StringWeightMap strings_;             // entry.member: the bucket
  CellGather gather_;
};

}  // namespace codebook::aggregate
