#include "platform/aggregate/cube_state.h"

#include <algorithm>

#include "platform/aggregate/batched_pass.h"
#include "platform/aggregate/category.h"
#include "platform/aggregate/cell_values.h"
#include "platform/common/invariant.h"

namespace codebook::aggregate {

using Codes = TableEncryptionCodes::StatisticCodes;

CubeState::CubeState(VELA_InputCaseIterator& cases, const std::int64_t* taken, TableDimension** tableDimension)
    : cases_(cases), taken_(taken), tableDimension_(tableDimension), pass_(BatchedPass::Of(cases)) {
  if (pass_) pass_->Add(*this);
}

CubeState::~CubeState() {
  if (pass_) pass_->Remove(*this);
}

void CubeState::SetDimension(std::unique_ptr<AggregationVariable> variable) {
  // A dimension that joins during a pass counts from the next batch; the
  // one it replaces, which the cube owns, goes.
  dimension_ = std::move(variable);
  dimensionImpl_ = dimension_ ? &dimension_->impl() : nullptr;
  if (dimensionImpl_ != nullptr) dimensionImpl_->Attach(cases_, *this, taken_);
  if (tableDimension_ != nullptr) *tableDimension_ = dimensionImpl_ != nullptr ? &dimensionImpl_->Dimension() : nullptr;
}

void CubeState::AddScaleStatistics(const std::vector<AggregationStatistic>& statistics) {
  for (const AggregationStatistic& s : statistics) {
    scaleStatistics_.push_back(s);
    // A variable whose statistics come during a pass counts from the next
    // batch.
    if (s.GetVarIndex() >= 0 && ScaleFor(s.GetVarIndex()) == nullptr) {
      scales_.push_back(std::make_unique<ScaleAccumulator>(s.GetVarIndex()));
      firstScale_ = scales_.front().get();
    }
  }
}

void CubeState::AddCategoryStatistics(const std::vector<AggregationStatistic>& category,
                                      const std::vector<AggregationStatistic>& total) {
  categoryStatistics_.insert(categoryStatistics_.end(), category.begin(), category.end());
  totalStatistics_.insert(totalStatistics_.end(), total.begin(), total.end());
}

void CubeState::Prepare(const data::CaseBatch& batch) {
  for (auto& scale : scales_) {
    if (!scale->bound()) scale->Bind(cases_);
  }
  if (dimensionImpl_ != nullptr) dimensionImpl_->Prepare(batch);
  preparedFor_ = batch.firstOrdinal();
  hotColumn_ = firstScale_ != nullptr ? firstScale_->column() : -1;
  if (hotColumn_ < 0 && dimensionImpl_ != nullptr) hotColumn_ = dimensionImpl_->column();
}

void CubeState::CountTaken(const data::CaseBatch& batch) {
  const std::int64_t first = batch.firstOrdinal();
  const std::int64_t end = first + static_cast<std::int64_t>(batch.cases());
  const std::int64_t taken = *taken_;
  // A table takes each case once, and none after one it let pass: what it
  // took lies within the batches it was prepared for.
  // A table takes each case at most once.
  CB_ASSERT(taken <= end);
  if (preparedFor_ != first || taken <= counted_ || counted_ < first) return;
  const auto from = static_cast<std::size_t>(counted_ - first);
  const auto to = static_cast<std::size_t>(std::min(taken, end) - first);
  if (dimensionImpl_ != nullptr) dimensionImpl_->Count(batch, from, to);
  for (auto& scale : scales_) {
    if (scale->bound()) scale->Count(batch, from, to);
  }
  // W is compensated from case to case: the batch's sum serves every table
  // that took all of it.
  if (from == 0 && to == batch.cases()) {
    total_.Add(batch.countedWeight());
  } else {
    ForEachCounted(batch, from, to, [&](std::size_t, double w) { total_.Add(w); });
  }
  counted_ = first + static_cast<std::int64_t>(to);
}

double CubeState::Cost() const {
  // Rough costs per case, measured: a code by index, a hashed value, a
  // value kept for sorting, a set's members.
  double cost = 0.0;
  if (dimension_) cost += 1.0;
  for (const auto& scale : scales_) cost += scale->continuous() ? 4.0 : 2.0;
  return std::max(cost, 0.5);
}

void CubeState::TableGone() {
  if (pass_) {
    pass_->Settle(*this);
    pass_->Remove(*this);
    pass_.reset();
  }
  takenKept_ = *taken_;
  taken_ = &takenKept_;
  tableDimension_ = nullptr;
  if (dimensionImpl_ != nullptr) dimensionImpl_->CountTakenAt(taken_);
}

void CubeState::SettleForRead() {
  if (pass_) pass_->Settle(*this);
}

ScaleAccumulator* CubeState::ScaleFor(int varIndex) {
  for (auto& s : scales_) {
    if (s->varIndex() == varIndex) return s.get();
  }
  return nullptr;
}

double CubeState::ScaleValue(const AggregationStatistic& statistic) {
  if (statistic.GetSummaryStatistic() == TableEncryptionCodes::kStatTotalCount) return TotalWeight();
  ScaleAccumulator* scale = ScaleFor(statistic.GetVarIndex());
  if (scale == nullptr || !scale->bound()) {
    // No case yet (or no variable): counts are zero, the rest undefined.
    const Codes code = statistic.GetSummaryStatistic();
    return (code == TableEncryptionCodes::kStatValidCount || code == TableEncryptionCodes::kStatMissingCount)
               ? 0.0
               : kSysmis;
  }
  switch (statistic.GetSummaryStatistic()) {
    case TableEncryptionCodes::kStatValidCount:
      return scale->ValidWeight();
    case TableEncryptionCodes::kStatMissingCount:
      return scale->MissingWeight();
    case TableEncryptionCodes::kStatMean:
      return scale->GetMoments().mean;
    case TableEncryptionCodes::kStatStdDev:
      return scale->GetMoments().stdDev;
    case TableEncryptionCodes::kStatPercentile:
      return scale->Percentile(statistic.GetPTileCutPoint());
    default:
      return kSysmis;
  }
}

const StatValues* CubeState::Values(const std::vector<const AggregationCategory*>& selection, StatValues& out) {
  SettleForRead();
  std::vector<AggregationResult> values;
  std::vector<Codes> codes;
  if (selection.empty()) {
    if (scaleStatistics_.empty()) return nullptr;
    for (const AggregationStatistic& s : scaleStatistics_) {
      values.emplace_back(ScaleValue(s));
      codes.push_back(s.GetSummaryStatistic());
    }
  } else {
    if (selection.size() != 1 || dimensionImpl_ == nullptr) return nullptr;
    const auto* category = dynamic_cast<const Category*>(selection[0]);
    if (category == nullptr || category->owner() != dimensionImpl_->owner()) return nullptr;
    const double w = TotalWeight();
    const auto& statistics = category->isTotal() ? totalStatistics_ : categoryStatistics_;
    if (statistics.empty()) return nullptr;
    for (const AggregationStatistic& s : statistics) {
      double value = kSysmis;
      switch (s.GetSummaryStatistic()) {
        case TableEncryptionCodes::kStatCount:
          value = category->weight();
          break;
        case TableEncryptionCodes::kStatPercent:
          value = w > 0.0 ? category->weight() / w * 100.0 : kSysmis;
          break;
        case TableEncryptionCodes::kStatMissingCount:
          value = dimensionImpl_->MissingWeight();
          break;
        case TableEncryptionCodes::kStatTotalCount:
          value = w;
          break;
        default:
          break;
      }
      values.emplace_back(value);
      codes.push_back(s.GetSummaryStatistic());
    }
  }
  out = StatValues(std::move(values), CellStatistics(std::move(codes)));
  return &out;
}

const StatValues* CubeAggregatorImpl::GetStatValues(const std::vector<const AggregationCategory*>& selection,
                                                    int /*layer*/) {
  return state_->Values(selection, result_);
}

}  // namespace codebook::aggregate
