#include "platform/aggregate/dimension.h"

#include "host/data/value_labels.h"
#include "host/data/variable.h"
#include "platform/aggregate/counted_records.h"
#include "platform/aggregate/cube_state.h"

using codebook::aggregate::CategoryList;
using codebook::aggregate::ForEachCounted;
using codebook::data::CaseBatch;

AggregationVariable::Impl::Impl(std::string name, CategoryCount& count) : name_(std::move(name)), counting_(count) {
  // The fixed buckets, which are never categories.
  for (std::uint32_t b = 0; b < kFirstCategory; ++b) {
    weights_.push_back(0.0);
    info_.push_back({-1, b != kIgnored, false});
  }
}

AggregationVariable::Impl::~Impl() = default;

void AggregationVariable::Impl::SetCategories(std::vector<std::unique_ptr<ParsedCategory>> categories) {
  // Sets have their own categories; the list is owned and dropped.
  categories.clear();
}

void AggregationVariable::Impl::Attach(const VELA_InputCaseIterator& cases, codebook::aggregate::CubeState& cube,
                                       const std::int64_t* taken) {
  cases_ = &cases;
  cube_ = &cube;
  counting_.taken = taken;
  OnAttach(cases);
}

std::uint32_t AggregationVariable::Impl::NewBucket(std::int64_t ordinal, bool missing, bool category) {
  const auto b = static_cast<std::uint32_t>(weights_.size());
  weights_.push_back(0.0);
  info_.push_back({ordinal, missing, category});
  if (category) {
    ++categories_;
    batchFirsts_.push_back(ordinal);
  }
  return b;
}

std::uint32_t AggregationVariable::Impl::FixedCategory(bool missing) {
  const auto b = static_cast<std::uint32_t>(weights_.size());
  weights_.push_back(0.0);
  info_.push_back({-1, missing, true});
  ++categories_;
  counting_.count = categories_;
  return b;
}

bool AggregationVariable::Impl::Made(std::uint32_t b) const {
  return info_[b].first < (cube_ != nullptr ? cube_->counted() : 0);
}

void AggregationVariable::Impl::Prepare(const CaseBatch& batch) {
  if (!bound_ && cases_ != nullptr) {
    Bind(*cases_);
    bound_ = true;
  }
  batchFirsts_.clear();
  if (multiple_) {
    slotStarts_.assign(batch.size() + 1, 0);
    slots_.clear();
  } else {
    slots_.set_size(batch.size());
  }
  Classify(batch);
  categories_ -= batchFirsts_.size();  // counted as the table takes their cases
  counting_.count = categories_;
  categories_ += batchFirsts_.size();
  // Without a new category in the batch the count's cursor rests on the
  // one end mark all dimensions share, which the loop then finds in cache.
  if (batchFirsts_.empty()) {
    counting_.next = &CategoryCount::kNever;
  } else {
    batchFirsts_.push_back(CategoryCount::kNever);
    counting_.next = batchFirsts_.data();
  }
  preparedFor_ = batch.firstOrdinal();
  preparedSize_ = batch.size();
}

void AggregationVariable::Impl::Count(const CaseBatch& batch, std::size_t from, std::size_t to) {
  if (!PreparedFor(batch)) return;
  double* weights = weights_.data();
  const std::uint32_t* slots = slots_.data();
  if (multiple_) {
    const std::uint32_t* starts = slotStarts_.data();
    ForEachCounted(batch, from, to, [&](std::size_t r, double w) __attribute__((always_inline)) {
      for (std::uint32_t j = starts[r]; j < starts[r + 1]; ++j) weights[slots[j]] += w;
    });
  } else {
    ForEachCounted(batch, from, to, [&](std::size_t r, double w) __attribute__((always_inline)) { weights[slots[r]] += w; });
  }
  ++generation_;
}

double AggregationVariable::Impl::MissingWeight() const {
  if (cube_ != nullptr) cube_->SettleForRead();
  double missing = weights_[kNoValue] + weights_[kOtherMissing];
  for (std::uint32_t b = kFirstCategory; b < weights_.size(); ++b) {
    if (info_[b].missing && Made(b)) missing += weights_[b];
  }
  return missing;
}

double AggregationVariable::Impl::TotalWeight() const { return cube_ != nullptr ? cube_->TotalWeight() : 0.0; }

const std::vector<const AggregationCategory*>& AggregationVariable::Impl::CurrentCategories() const {
  if (cube_ != nullptr) cube_->SettleForRead();
  if (built_ != generation_ || list_.view().empty()) {
    built_ = generation_;
    list_.Clear();
    BuildCategories(list_);
  }
  return list_.view();
}

void AggregationVariable::Impl::AddTotal(CategoryList& list) const {
  static const std::string kTotal = "Total";
  list.Add(std::make_unique<codebook::aggregate::Category>(owner(), -1, std::vector<OBS>{}, kTotal, TotalWeight(),
                                                           true));
}

namespace codebook::aggregate {

std::string ValueLabelOf(const VELA_Variable* variable, const OBS* value) {
  if (variable == nullptr || value == nullptr) return {};
  VELA_ValueLabelMap labels(variable->GetValueLabels());
  if (labels.Size() == 0) return {};
  const char* label = labels.GetLabel(value);
  return label != nullptr ? std::string(label) : std::string();
}

}  // namespace codebook::aggregate
