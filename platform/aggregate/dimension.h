// The platform side of AggregationVariable: the state of one categorical
// dimension. Each kind (variable, category set, dichotomy set) derives from
// this and from its TableDimension kind, so the procedure can tell the kinds
// apart by dynamic type.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "host/aggregate/aggregation_category.h"
#include "host/aggregate/aggregation_variable.h"
#include "host/aggregate/compensated_sum.h"
#include "host/data/case_iterator.h"
#include "host/data/obs.h"
#include "platform/aggregate/category.h"

class AggregationVariable::Impl {
 public:
  explicit Impl(std::string name) : name_(std::move(name)) {}
  virtual ~Impl();
  Impl(const Impl&) = delete;
  Impl& operator=(const Impl&) = delete;

  void SetIsTotalNo(bool noTotal) { noTotal_ = noTotal; }
  void SetExcludeUserMissing(bool exclude) { excludeUserMissing_ = exclude; }
  // Only a single variable can be restricted to given values; sets ignore
  // the list (and free it).
  virtual void SetCategories(std::vector<std::unique_ptr<ParsedCategory>> categories);

  // The dimension joins a cube over these cases. The variables are looked up
  // lazily, at the first case or the first question about categories.
  void Attach(const VELA_InputCaseIterator& cases) {
    cases_ = &cases;
    OnAttach(cases);
  }
  bool attached() const { return cases_ != nullptr; }

  // The hot path: one case of positive weight.
  void Add(const OBS* cells, double weight) {
    ++generation_;
    AddCase(cells, weight);
  }
  // Weight of the cases that count as missing (statistic 198).
  virtual double MissingWeight() const = 0;
  // Weight of every case passed (W): the table's total, kept by the
  // dimension so that a case adds it once.
  virtual double TotalWeight() const = 0;
  virtual TableDimension& Dimension() = 0;

  // The identity that this dimension's categories carry.
  const void* owner() const { return this; }

  void EnsureBound() const {
    if (!bound_ && cases_ != nullptr) {
      bound_ = true;
      const_cast<Impl*>(this)->Bind(*cases_);
    }
  }

 protected:
  // Copies what the caller may free once the dimension is in its cube.
  virtual void OnAttach(const VELA_InputCaseIterator& /*cases*/) {}
  virtual void Bind(const VELA_InputCaseIterator& cases) = 0;
  virtual void AddCase(const OBS* cells, double weight) = 0;
  // Fills `list` with the categories in order, then the total unless
  // SetIsTotalNo(true) was given.
  virtual void BuildCategories(codebook::aggregate::CategoryList& list) const = 0;

  // The category list, rebuilt when cases came in since the last call.
  const std::vector<const AggregationCategory*>& CurrentCategories() const {
    EnsureBound();
    if (!categories_.IsCurrent(generation_)) {
      categories_.Clear(generation_);
      BuildCategories(categories_);
    }
    return categories_.view();
  }
  void AddTotal(codebook::aggregate::CategoryList& list, double weight) const;
  // What Add does before AddCase, for kinds that take cases without it and
  // note them when asked for their categories.
  void NoteNewCase() const { ++generation_; }

  const std::string& name() const { return name_; }
  const VELA_InputCaseIterator* cases() const { return cases_; }
  bool noTotal() const { return noTotal_; }
  bool excludeUserMissing() const { return excludeUserMissing_; }

 private:
  std::string name_;
  bool noTotal_ = false;
  bool excludeUserMissing_ = true;
  const VELA_InputCaseIterator* cases_ = nullptr;
  mutable bool bound_ = false;
  mutable std::uint64_t generation_ = 0;
  mutable codebook::aggregate::CategoryList categories_;
};

namespace codebook::aggregate {

// The label of a value in a variable's value labels, or "" when it has none.
std::string ValueLabelOf(const VELA_Variable* variable, const OBS* value);

}  // namespace codebook::aggregate
