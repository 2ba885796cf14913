// A multiple-category set: a category per distinct valid value held by any
// member, each case counted once per value however many members hold it.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/aggregate/dimension.h"
#include "platform/aggregate/numeric_weight_map.h"
#include "platform/aggregate/set_members.h"
#include "platform/aggregate/string_weight_map.h"

namespace codebook::aggregate {

class CategorySetDimension final : public AggregationVariable::Impl, public TableMCSet {
 public:
  CategorySetDimension(std::vector<int> varIndexes, std::string name);
  ~CategorySetDimension() override;

  double MissingWeight() const override { return noValueWeight_; }
  double TotalWeight() const override { return total_.Value(); }
  TableDimension& Dimension() override { return *this; }
  std::size_t GetCategoryCount() const override { return stringValues_ ? strings_.size() : numbers_.size(); }
  const std::vector<const AggregationCategory*>& GetCategories() const override {
    return CurrentCategories();
  }

 private:
  struct FirstMember {
    std::int32_t member = -1;  // position in the member list where the value was first met
  };

  void Bind(const VELA_InputCaseIterator& cases) override;
  void AddCase(const OBS* cells, double weight) override;
  void BuildCategories(CategoryList& list) const override;

  std::vector<int> varIndexes_;
  std::vector<SetMember> members_;
  bool stringValues_ = false;  // the first known member decides the type of the set
  std::size_t stringWidth_ = 0;  // widest string member: the width of category values
  NumericWeightMap<FirstMember> numbers_;
  StringWeightMap strings_;
  // The values met in the current case, so a value counts once per case.
  std::vector<double> caseNumbers_;
  std::vector<std::string_view> caseStrings_;
  CompensatedSum total_;
  double noValueWeight_ = 0.0;
};

}  // namespace codebook::aggregate
