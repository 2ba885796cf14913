#include "platform/aggregate/scale_accumulator.h"

#include <cmath>

#include "platform/aggregate/cell_values.h"
#include "platform/aggregate/distribution_sink.h"
#include "platform/data/variable.h"

namespace codebook::aggregate {

ScaleAccumulator::~ScaleAccumulator() = default;

void ScaleAccumulator::Bind(const VELA_InputCaseIterator& cases) {
  bound_ = true;
  variable_ = cases.GetVariable(varIndex_);
  const int offset = cases.CellOffset(varIndex_);
  if (variable_ == nullptr || offset < 0) {
    mode_ = Mode::kUnknownVariable;
    return;
  }
  offset_ = static_cast<std::size_t>(offset);
  if (variable_->GetType() <= 0) {
    mode_ = Mode::kNumeric;
    // Only a variable of the platform's own model can say it has no
    // missing values; any other is asked value by value.
    const auto* own = dynamic_cast<const data::Variable*>(variable_);
    declaresMissing_ = own == nullptr || !own->Missing().Empty();
  } else {
    mode_ = Mode::kString;
    cells_ = CellCount(static_cast<std::size_t>(variable_->GetType()));
  }
}

void ScaleAccumulator::Count(const data::CaseBatch& batch, std::size_t from, std::size_t to) {
  if (from >= to) return;
  ++generation_;
  switch (mode_) {
    case Mode::kNumeric:
      CountNumbers(batch, from, to);
      break;
    case Mode::kString:
      CountStrings(batch, from, to);
      break;
    case Mode::kUnknownVariable:
      ForEachCounted(batch, from, to, [&](std::size_t, double w) { sysmisWeight_ += w; });
      break;
  }
}

void ScaleAccumulator::CountNumbers(const data::CaseBatch& batch, std::size_t from, std::size_t to) {
  const OBS* column = batch.Column(offset_);
  // The slot of a value some cases ahead is fetched while this one is
  // counted: a map of a thousand values is found mostly outside the first
  // cache level, and its misses then overlap.
  constexpr std::size_t kAhead = 12;
  const bool fetch = !runs_ && values_.size() > 64;
  ForEachCounted(batch, from, to, [&](std::size_t r, double w) __attribute__((always_inline)) {
    if (fetch && r + kAhead < to) {
      if (const void* slot = values_.SlotAddress(NumericKey(column[r + kAhead].d))) __builtin_prefetch(slot);
    }
    const double x = column[r].d;
    if (x >= 0.0 && x < 256.0) {
      const auto k = static_cast<std::size_t>(x);
      if (static_cast<double>(k) == x) {
        if (k >= codeState_.size() || codeState_[k] == 0) NewCode(k, &column[r]);
        codeWeights_[k] += w;
        return;
      }
    }
    if (IsSystemMissing(x)) {
      sysmisWeight_ += w;
      return;
    }
    // Continuous values go to the runs unsorted; others are found in the
    // map inline, and only a new value takes the way out of line.
    if (runs_) {
      runs_->Add(NumericKey(x), declaresMissing_ && variable_->IsMissing(&column[r]) ? -w : w);
      return;
    }
    if (auto* entry = values_.FindExisting(NumericKey(x))) {
      AddWeight(*entry, w);
      return;
    }
    AddValue(x, &column[r], w);
  });
}

void ScaleAccumulator::NewCode(std::size_t k, const OBS* cell) {
  if (codeState_.size() <= k) {
    codeState_.resize(k + 1, 0);
    codeWeights_.resize(k + 1, 0.0);
  }
  codeState_[k] = variable_->IsMissing(cell) ? 2 : 1;
  anyCode_ = true;
}

void ScaleAccumulator::AddValue(double x, const OBS* cell, double weight) {
  x = NumericKey(x);
  if (runs_) {
    runs_->Add(x, variable_->IsMissing(cell) ? -weight : weight);
    return;
  }
  bool inserted = false;
  auto& entry = values_.FindOrInsert(x, inserted);
  // Missing values are decided once per distinct value.
  if (inserted && variable_->IsMissing(cell)) entry.weight = -0.0;
  AddWeight(entry, weight);
  if (inserted && values_.size() >= kRunsFrom) SwitchToRuns();  // after the last use of `entry`
}

void ScaleAccumulator::CountStrings(const data::CaseBatch& batch, std::size_t from, std::size_t to) {
  // Strings have valid and missing counts but no distinct values to keep.
  const OBS* column = batch.Column(offset_);
  ForEachCounted(batch, from, to, [&](std::size_t r, double w) __attribute__((always_inline)) {
    const OBS* cells = cells_ == 1 ? &column[r] : gather_.At(batch, offset_, cells_, r);
    if (variable_->IsMissing(cells)) {
      sysmisWeight_ += w;
    } else {
      validStringWeight_ += w;
    }
  });
}

void ScaleAccumulator::Finish() {
  if (finished_ == generation_) return;
  finished_ = generation_;
  // The codes join the other distinct values: the statistics read one
  // sorted list.
  if (anyCode_) {
    for (std::size_t k = 0; k < codeState_.size(); ++k) {
      if (codeState_[k] == 0) continue;
      const double weight = codeWeights_[k];
      const bool missing = codeState_[k] == 2;
      if (runs_) {
        runs_->Add(static_cast<double>(k), missing ? -weight : weight);
      } else {
        bool inserted = false;
        auto& entry = values_.FindOrInsert(static_cast<double>(k), inserted);
        if (inserted && missing) entry.weight = -0.0;
        AddWeight(entry, weight);
      }
      codeState_[k] = 0;
      codeWeights_[k] = 0.0;
    }
    anyCode_ = false;
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
