#include "platform/aggregate/scale_accumulator.h"

#include <atomic>
#include <cmath>

#include "platform/aggregate/cell_values.h"

namespace codebook::aggregate {

namespace {
std::atomic<std::size_t> batchBytes{0};  // held by the batches of all accumulators
}  // namespace

void ScaleAccumulator::Bind(const VELA_InputCaseIterator& cases) {
  variable_ = cases.GetVariable(varIndex_);
  offset_ = cases.CellOffset(varIndex_);
  if (variable_ == nullptr || offset_ < 0) {
    mode_ = Mode::kUnknownVariable;
  } else {
    mode_ = variable_->GetType() <= 0 ? Mode::kNumeric : Mode::kString;
  }
  if (mode_ == Mode::kNumeric && batch_ == nullptr) {
    constexpr std::size_t bytes = kBatch * sizeof(Batched);
    if (batchBytes.fetch_add(bytes) + bytes <= kBatchBudget) {
      batch_ = static_cast<Batched*>(AllocateHot(bytes));
    } else {
      batchBytes.fetch_sub(bytes);
    }
  }
}

ScaleAccumulator::~ScaleAccumulator() {
  if (batch_ != nullptr) {
    ReleaseHot(batch_);
    batchBytes.fetch_sub(kBatch * sizeof(Batched));
  }
}

void ScaleAccumulator::Flush() {
  if (batched_ == 0) return;
  ++generation_;
  constexpr std::size_t kAhead = 16;
  for (std::size_t i = 0; i < batched_; ++i) {
    if (i + kAhead < batched_ && !runs_) {
      if (const void* slot = values_.SlotAddress(NumericKey(batch_[i + kAhead].value))) __builtin_prefetch(slot);
    }
    AddNumber(batch_[i].value, batch_[i].weight);
  }
  batched_ = 0;
}

void ScaleAccumulator::MarkIfMissing(NumericEntry<NoExtra>& entry, const OBS* cell) {
  if (variable_->IsMissing(cell)) entry.weight = -0.0;
}

void ScaleAccumulator::AddString(const OBS* cells, double weight) {
  // Strings have valid and missing counts but no distinct values to keep.
  if (variable_->IsMissing(cells)) {
    sysmisWeight_ += weight;
  } else {
    validStringWeight_ += weight;
  }
  ++generation_;
}

void ScaleAccumulator::Finish() {
  Flush();
  if (finished_ == generation_) return;
  finished_ = generation_;
  small_.ForEach([&](double value, double weight, bool missing) {
    if (runs_) {
      runs_->Add(value, missing ? -weight : weight);
      return;
    }
    bool inserted = false;
    auto& entry = values_.FindOrInsert(value, inserted);
    if (inserted && missing) entry.weight = -0.0;
    AddWeight(entry, weight);
  });
  small_.Clear();
  auto sorted = SortedValues();
  moments_ = ComputeMoments(sorted);
  percentileBase_ = PercentileBaseOf(sorted);
  userMissingWeight_ = 0.0;
  for (const auto& e : sorted) {
    if (std::signbit(e.weight)) userMissingWeight_ -= e.weight;
  }
  if (mode_ == Mode::kString) {
    moments_.weight = validStringWeight_;
    moments_.mean = kSysmis;
    moments_.stdDev = kSysmis;
  }
}

void ScaleAccumulator::SwitchToRuns() {
  runs_ = std::make_unique<SortedRuns>(values_.Sorted());
  values_ = NumericWeightMap<>();  // frees the slots
}

std::span<NumericEntry<NoExtra>> ScaleAccumulator::SortedValues() {
  return runs_ ? runs_->Sorted() : values_.Sorted();
}

double ScaleAccumulator::ValidWeight() {
  Finish();
  return moments_.weight;
}

double ScaleAccumulator::MissingWeight() {
  Finish();
  return sysmisWeight_ + userMissingWeight_;
}

const Moments& ScaleAccumulator::GetMoments() {
  Finish();
  return moments_;
}

double ScaleAccumulator::Percentile(double percent) {
  Finish();
  if (mode_ != Mode::kNumeric) return kSysmis;
  return WeightedPercentile(SortedValues(), percent, percentileBase_);
}

}  // namespace codebook::aggregate
