// A multiple-dichotomy set: a category per member variable that held the
// counted value in at least one case, in member order.
#pragma once

#include <string>
#include <vector>

#include "platform/aggregate/counted_records.h"
#include "platform/aggregate/dimension.h"
#include "platform/aggregate/hot_arena.h"
#include "platform/aggregate/set_members.h"

namespace codebook::aggregate {

class DichotomySetDimension final : public TableMDSet, public AggregationVariable::Impl,
                                public HotStorage<HotArena::kDimensions> {
 public:
  DichotomySetDimension(std::vector<int> varIndexes, std::string name, const OBS* countedValue,
                        int countedLength, bool countMissing);
  ~DichotomySetDimension() override;

  TableDimension& Dimension() override { return *this; }
  const std::vector<const AggregationCategory*>& GetCategories() const override { return CurrentCategories(); }

 private:
  void OnAttach(const VELA_InputCaseIterator& cases) override;
  void Bind(const VELA_InputCaseIterator& cases) override;
  void Classify(const data::CaseBatch& batch) override;
  void BuildCategories(CategoryList& list) const override;
  bool Holds(const data::CaseBatch& batch, const SetMember& member, std::size_t r);

  std::vector<int> varIndexes_;
  std::vector<SetMember> members_;
  // The counted value: its first cell is copied at construction. A length
  // of 8 means a number (one cell) or a string of eight cells; which one is
  // known only from the members' type, so the other seven cells of such a
  // string are read when the set joins its cube.
  std::vector<OBS> counted_;
  const OBS* countedSource_;
  int countedLength_;
  std::string countedString_;  // without trailing blanks
  bool stringCounted_ = false;
  std::vector<std::uint32_t> bucketOf_;  // per member: its bucket once it held the value, else 0
  CellGather gather_;
};

}  // namespace codebook::aggregate
