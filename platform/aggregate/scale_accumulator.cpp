#include "platform/aggregate/scale_accumulator.h"

#include <cmath>

#include "platform/aggregate/cell_values.h"
#include "platform/aggregate/distribution_sink.h"

namespace codebook::aggregate {

void ScaleAccumulator::Bind(const VELA_InputCaseIterator& cases) {
  variable_ = cases.GetVariable(varIndex_);
  offset_ = cases.CellOffset(varIndex_);
  if (variable_ == nullptr || offset_ < 0) {
    mode_ = Mode::kUnknownVariable;
  } else {
    mode_ = variable_->GetType() <= 0 ? Mode::kNumeric : Mode::kString;
  }
}

ScaleAccumulator::~ScaleAccumulator() = default;

void ScaleAccumulator::AddBatch(const WeightedCell* values, std::size_t n) {
  if (n == 0) return;
  ++generation_;
  if (runs_) {
    for (std::size_t i = 0; i < n; ++i) AddNumber(values[i].value, values[i].weight);
    return;
  }
  // Most values of a batch were met before: they are found inline, with the
  // slot of a value a few places ahead already on its way into the cache.
  // Codes and system-missing values (never in the map) and new values take
  // AddNumber.
  constexpr std::size_t kAhead = 16;
  for (std::size_t i = 0; i < n; ++i) {
    if (i + kAhead < n) {
      if (const void* slot = values_.SlotAddress(NumericKey(values[i + kAhead].value))) __builtin_prefetch(slot);
    }
    const double x = values[i].value;
    if (SmallIntegerCounts::IndexOf(x) < 0) {
      if (auto* entry = values_.FindExisting(NumericKey(x))) {
        AddWeight(*entry, values[i].weight);
        continue;
      }
    }
    AddNumber(x, values[i].weight);
  }
}

void ScaleAccumulator::NewCode(int k, const OBS* cell) {
  codes_->OpenSlot(k, variable_->IsMissing(cell) != 0);
}

void ScaleAccumulator::ReleaseCodes() {
  if (codes_ == nullptr) return;
  codes_->DrainSlots([&](int k, double weight, bool missing) {
    double* slot = small_.Find(k);
    if (slot == nullptr) slot = &small_.Insert(k, missing);
    *slot += weight;
  });
  codes_ = nullptr;
  ++generation_;
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
  // The table's inline path counts codes without telling the accumulator,
  // but only codes already in the record, which the last Finish emptied.
  if (finished_ == generation_ && (codes_ == nullptr || codes_->seen == 0)) return;
  finished_ = generation_;
  const auto take = [&](double value, double weight, bool missing) {
    if (runs_) {
      runs_->Add(value, missing ? -weight : weight);
      return;
    }
    bool inserted = false;
    auto& entry = values_.FindOrInsert(value, inserted);
    if (inserted && missing) entry.weight = -0.0;
    AddWeight(entry, weight);
  };
  small_.ForEach(take);
  small_.Clear();
  if (codes_ != nullptr) {
    // Moved out like small_'s: a later case of a code starts its slot again.
    codes_->DrainSlots([&](int k, double weight, bool missing) { take(static_cast<double>(k), weight, missing); });
  }
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
  if (DistributionSink* sink = GetDistributionSink()) sink->Distribution(varIndex_, SortedValues());
  return WeightedPercentile(SortedValues(), percent, percentileBase_);
}

}  // namespace codebook::aggregate
