#include "platform/data/selection.h"

#include <algorithm>
#include <stdexcept>
#include <string>

#include "platform/data/selecting_source.h"

using codebook::data::Dataset;

ProcedureDataSource::Selection::Selection(std::shared_ptr<const Dataset> dataset,
                                          Options options)
    : dataset_(std::move(dataset)), options_(options) {
  if (options_.caseLimit < 0) options_.caseLimit = -1;
  if (!dataset_) return;
  const auto& dict = dataset_->GetDictionary();
  weightIndex_ = options_.weightIndex ? *options_.weightIndex : dict.WeightIndex();
  if (weightIndex_ < 0) {
    weightIndex_ = -1;
  } else {
    const auto* v = dict.GetVariable(weightIndex_);
    if (v == nullptr) {
      throw std::invalid_argument("no variable at position " + std::to_string(weightIndex_) +
                                  " to weight by");
    }
    if (!v->IsNumeric()) {
      throw std::invalid_argument("the weight variable " + v->Name() + " is not numeric");
    }
  }
  if (options_.filterIndex < 0) {
    options_.filterIndex = -1;
  } else if (dict.GetVariable(options_.filterIndex) == nullptr) {
    throw std::invalid_argument("no variable at position " +
                                std::to_string(options_.filterIndex) + " to filter by");
  }
}

std::shared_ptr<const ProcedureDataSource::Selection> ProcedureDataSource::Selection::With(
    Options options) const {
  return std::make_shared<const Selection>(dataset_, options);
}

std::int64_t ProcedureDataSource::Selection::CaseCount() const {
  if (!dataset_) return -1;
  if (options_.filterIndex >= 0) return -1;
  const std::int64_t count = dataset_->GetCaseCount();
  if (options_.caseLimit < 0) return count;
  if (count < 0) return -1;
  return std::min(count, options_.caseLimit);
}

std::unique_ptr<ProcDSIterator> ProcedureDataSource::Selection::CreateIterator() const {
  if (!dataset_) return std::make_unique<ProcDSIterator>(nullptr);
  codebook::data::SelectionRules rules;
  rules.weightIndex = weightIndex_;
  rules.filterIndex = options_.filterIndex;
  rules.caseLimit = options_.caseLimit;
  rules.observer = options_.observer;
  return std::make_unique<ProcDSIterator>(
      codebook::data::OpenSelectingSource(dataset_, *dataset_, rules));
}
