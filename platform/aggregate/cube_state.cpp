#include "platform/aggregate/cube_state.h"

#include <algorithm>

#include "platform/aggregate/category.h"
#include "platform/aggregate/dimension.h"

namespace codebook::aggregate {

using Codes = TableEncryptionCodes::StatisticCodes;

CubeState::~CubeState() = default;

void CubeState::SetDimension(std::unique_ptr<AggregationVariable> variable) {
  dimension_ = std::move(variable);
  dimensionImpl_ = dimension_ ? &dimension_->impl() : nullptr;
  variable_ = dynamic_cast<VariableDimension*>(dimensionImpl_);
  tableDimension_ = dimensionImpl_ != nullptr ? &dimensionImpl_->Dimension() : nullptr;
  if (dimensionImpl_ != nullptr) dimensionImpl_->Attach(cases_);
}

void CubeState::AddScaleStatistics(const std::vector<AggregationStatistic>& statistics) {
  for (const AggregationStatistic& s : statistics) {
    scaleStatistics_.push_back(s);
    // Statistics may come after the first case; their variable then starts
    // from the cases that follow.
    if (bound_ && s.GetVarIndex() >= 0 && ScaleFor(s.GetVarIndex()) == nullptr) {
      NewScale(s.GetVarIndex()).Bind(cases_);
    }
  }
}

void CubeState::AddCategoryStatistics(const std::vector<AggregationStatistic>& category,
                                      const std::vector<AggregationStatistic>& total) {
  categoryStatistics_.insert(categoryStatistics_.end(), category.begin(), category.end());
  totalStatistics_.insert(totalStatistics_.end(), total.begin(), total.end());
}

void CubeState::Bind() {
  bound_ = true;
  if (dimensionImpl_ != nullptr) dimensionImpl_->EnsureBound();
  for (const AggregationStatistic& s : scaleStatistics_) {
    if (s.GetVarIndex() >= 0 && ScaleFor(s.GetVarIndex()) == nullptr) NewScale(s.GetVarIndex()).Bind(cases_);
  }
}

ScaleAccumulator* CubeState::ScaleFor(int varIndex) {
  if (firstScale_ && firstScale_->varIndex() == varIndex) return firstScale_.get();
  for (auto& s : moreScales_) {
    if (s->varIndex() == varIndex) return s.get();
  }
  return nullptr;
}

ScaleAccumulator& CubeState::NewScale(int varIndex) {
  auto scale = std::make_unique<ScaleAccumulator>(varIndex);
  ScaleAccumulator& added = *scale;
  if (!firstScale_) {
    firstScale_ = std::move(scale);
  } else {
    moreScales_.push_back(std::move(scale));
  }
  return added;
}

double CubeState::ScaleValue(const AggregationStatistic& statistic) {
  if (statistic.GetSummaryStatistic() == TableEncryptionCodes::kStatTotalCount) return TotalWeight();
  ScaleAccumulator* scale = ScaleFor(statistic.GetVarIndex());
  if (scale == nullptr) {
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
