// A multiple-dichotomy set: a category per member variable that held the
// counted value in at least one case, in member order.
#pragma once

#include <string>
#include <vector>

#include "platform/aggregate/dimension.h"
#include "platform/aggregate/set_members.h"

namespace codebook::aggregate {

class DichotomySetDimension final : public AggregationVariable::Impl, public TableMDSet {
 public:
  DichotomySetDimension(std::vector<int> varIndexes, std::string name, const OBS* countedValue,
                        int countedLength, bool countMissing);
  ~DichotomySetDimension() override;

  double MissingWeight() const override { return noneWeight_; }
  double TotalWeight() const override { return total_.Value(); }
  TableDimension& Dimension() override { return *this; }
  std::size_t GetCategoryCount() const override { return heldCount_; }
  const std::vector<const AggregationCategory*>& GetCategories() const override {
    return CurrentCategories();
  }

 private:
  void OnAttach(const VELA_InputCaseIterator& cases) override;
  void Bind(const VELA_InputCaseIterator& cases) override;
  void AddCase(const OBS* cells, double weight) override;
  void BuildCategories(CategoryList& list) const override;
  bool Holds(const SetMember& member, const OBS* cells) const;

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
  std::vector<double> counts_;
  std::vector<bool> held_;
  std::size_t heldCount_ = 0;
  CompensatedSum total_;
  double noneWeight_ = 0.0;
};

}  // namespace codebook::aggregate
