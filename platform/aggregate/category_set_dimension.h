// A multiple-category set: a category per distinct valid value held by any
// member, each case counted once per value however many members hold it.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/aggregate/counted_records.h"
#include "platform/aggregate/dimension.h"
#include "platform/aggregate/hot_arena.h"
#include "platform/aggregate/numeric_weight_map.h"
#include "platform/aggregate/set_members.h"
#include "platform/aggregate/string_weight_map.h"

namespace codebook::aggregate {

class CategorySetDimension final : public TableMCSet, public AggregationVariable::Impl,
                                public HotStorage<HotArena::kDimensions> {
 public:
  CategorySetDimension(std::vector<int> varIndexes, std::string name);
  ~CategorySetDimension() override;

  TableDimension& Dimension() override { return *this; }
  const std::vector<const AggregationCategory*>& GetCategories() const override { return CurrentCategories(); }

 private:
  struct BucketOf {
    std::uint32_t bucket = 0;
  };

  void Bind(const VELA_InputCaseIterator& cases) override;
  void Classify(const data::CaseBatch& batch) override;
  void BuildCategories(CategoryList& list) const override;
  // Appends the bucket of member m's value in record r, once per record.
  void AddValue(const data::CaseBatch& batch, std::size_t m, std::size_t r, std::int64_t ordinal);

  std::vector<int> varIndexes_;
  std::vector<SetMember> members_;
  bool stringValues_ = false;    // the first known member decides the type of the set
  std::size_t stringWidth_ = 0;  // widest string member: the width of category values
  NumericWeightMap<BucketOf> numbers_;
  StringWeightMap strings_;               // entry.member: the bucket
  std::vector<double> numberOf_;          // the value of each numeric bucket
  std::vector<std::int32_t> memberOf_;    // the member in which each bucket's value was first met
  std::size_t recordStart_ = 0;           // where the current record's buckets begin in slots_
  CellGather gather_;
};

}  // namespace codebook::aggregate
