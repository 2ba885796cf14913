#include "platform/aggregate/cube_state.h"

#include <atomic>

#include "platform/aggregate/category.h"
#include "platform/aggregate/dimension.h"

namespace codebook::aggregate {

using Codes = TableEncryptionCodes::StatisticCodes;

namespace {
// Values a scale table gathers before counting them: the distinct values of
// one variable are then in cache while they are counted, however many
// tables the pass feeds.
constexpr std::size_t kBatch = 1024;
// Batches of all tables together stay under this; past it a table counts
// each value as it comes (a file with thousands of scale variables gains
// little from batching, and would pay in memory).
constexpr std::size_t kBatchBudget = std::size_t{16} << 20;
constexpr std::size_t kBatchBytes = kBatch * sizeof(WeightedCell);
std::atomic<std::size_t> batchBytes{0};  // held by the batches of all tables
}  // namespace

CubeState::~CubeState() {
  if (batch_ != nullptr) {
    ReleaseHot(batch_);
    batchBytes.fetch_sub(kBatchBytes);
  }
}

void CubeState::KeepHot() {
  kept_ = std::make_unique<TableHot>(*hot_);
  hot_ = kept_.get();
  if (variable_ != nullptr) variable_->UseHot(*hot_);
  if (firstScale_) firstScale_->MoveCodes(*hot_);
}

void CubeState::SetDimension(std::unique_ptr<AggregationVariable> variable) {
  // Codes counted in the record belong to the dimension being replaced.
  FlushValues();
  hot_->CloseSlots();
  hot_->kind = TableHot::kGeneral;
  dimension_ = std::move(variable);
  dimensionImpl_ = dimension_ ? &dimension_->impl() : nullptr;
  variable_ = dynamic_cast<VariableDimension*>(dimensionImpl_);
  tableDimension_ = dimensionImpl_ != nullptr ? &dimensionImpl_->Dimension() : nullptr;
  if (variable_ != nullptr) variable_->UseHot(*hot_);
  if (dimensionImpl_ != nullptr) dimensionImpl_->Attach(cases_);
  if (bound_) {
    if (dimensionImpl_ != nullptr) dimensionImpl_->EnsureBound();
    ChooseFastPath();
  }
}

void CubeState::ChooseFastPath() {
  TableHot& hot = *hot_;
  if (hot.kind == TableHot::kValues) {
    FlushValues();
    hot.CloseSlots();
  }
  hot.kind = TableHot::kGeneral;
  if (variable_ != nullptr) {
    if (!firstScale_ && variable_->CountsCodesInPlace()) {
      hot.kind = TableHot::kCodes;
      hot.offset = variable_->offset();
    }
    return;
  }
  if (dimensionImpl_ != nullptr || !firstScale_ || !moreScales_.empty() || !firstScale_->numeric()) return;
  // A scale variable starts like a categorical one, its codes 0..15 counted
  // in place; the first other value switches it to batches (see AddCase).
  firstScale_->CountCodesIn(hot);
  hot.offset = firstScale_->offset();
  hot.kind = TableHot::kCodes;
}

bool CubeState::StartBatches() {
  if (batch_ == nullptr) {
    if (batchRefused_) return false;
    if (batchBytes.fetch_add(kBatchBytes) + kBatchBytes > kBatchBudget) {
      batchBytes.fetch_sub(kBatchBytes);
      batchRefused_ = true;
      return false;
    }
    batch_ = static_cast<WeightedCell*>(AllocateHot(kBatchBytes));
  }
  // The codes counted so far go to the accumulator, which counts the
  // batches' codes itself: the union is about to hold the batch.
  firstScale_->ReleaseCodes();
  TableHot& hot = *hot_;
  hot.kind = TableHot::kValues;
  hot.values.batch = batch_;
  hot.values.batched = 0;
  hot.values.capacity = kBatch;
  return true;
}

void CubeState::FlushValues() {
  TableHot& hot = *hot_;
  if (hot.kind != TableHot::kValues || hot.values.batched == 0) return;
  // Weights are positive, so a plain sum of one batch of 1,024 loses at most
  // about three digits of sixteen; across batches the total stays compensated.
  double sum = 0.0;
  for (std::uint32_t i = 0; i < hot.values.batched; ++i) sum += hot.values.batch[i].weight;
  hot.total.Add(sum);
  firstScale_->AddBatch(hot.values.batch, hot.values.batched);
  hot.values.batched = 0;
}

void CubeState::AddScaleStatistics(const std::vector<AggregationStatistic>& statistics) {
  for (const AggregationStatistic& s : statistics) {
    scaleStatistics_.push_back(s);
    // Statistics may come after the first case; their variable then starts
    // from the cases that follow.
    if (bound_ && s.GetVarIndex() >= 0 && ScaleFor(s.GetVarIndex()) == nullptr) {
      FlushValues();  // before another scale can change the kind
      NewScale(s.GetVarIndex()).Bind(cases_);
      ChooseFastPath();
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
  ChooseFastPath();
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
  FlushValues();
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
