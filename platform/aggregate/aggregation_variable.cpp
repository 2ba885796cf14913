// The host classes of the dimensions; the state lives in the Impl kinds.
#include "host/aggregate/aggregation_variable.h"

#include "platform/aggregate/category_set_dimension.h"
#include "platform/aggregate/dichotomy_set_dimension.h"
#include "platform/aggregate/variable_dimension.h"

AggregationVariable::AggregationVariable(int varIndex, const std::string& name)
    : impl_(std::make_unique<codebook::aggregate::VariableDimension>(varIndex, name)) {}

AggregationVariable::AggregationVariable(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}

AggregationVariable::~AggregationVariable() = default;

void AggregationVariable::SetIsTotalNo(bool noTotal) { impl_->SetIsTotalNo(noTotal); }

void AggregationVariable::SetCategories(std::vector<ParsedCategory*> categories) {
  std::vector<std::unique_ptr<ParsedCategory>> owned;
  owned.reserve(categories.size());
  for (ParsedCategory* category : categories) owned.emplace_back(category);
  impl_->SetCategories(std::move(owned));
}

void AggregationVariable::SetExcludeUserMissing(bool exclude) { impl_->SetExcludeUserMissing(exclude); }

TableDimension* AggregationVariable::GetDimension() const {
  return impl_->attached() ? &impl_->Dimension() : nullptr;
}

AggregationMCSet::AggregationMCSet(const std::vector<int>& varIndexes, const std::string& name)
    : AggregationVariable(std::make_unique<codebook::aggregate::CategorySetDimension>(varIndexes, name)) {}

AggregationMCSet::~AggregationMCSet() = default;

AggregationMDSet::AggregationMDSet(const std::vector<int>& varIndexes, const std::string& name,
                                   const OBS* countedValue, int countedLength, bool countMissing)
    : AggregationVariable(std::make_unique<codebook::aggregate::DichotomySetDimension>(
          varIndexes, name, countedValue, countedLength, countMissing)) {}

AggregationMDSet::~AggregationMDSet() = default;
