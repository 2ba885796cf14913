// Valid and missing weights, moments and percentiles of one variable over
// all cases. Memory grows with the distinct values, never with the cases.
#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <memory>

#include "host/data/case_iterator.h"
#include "platform/aggregate/cell_values.h"
#include "platform/aggregate/hot_arena.h"
#include "platform/aggregate/numeric_weight_map.h"
#include "platform/aggregate/small_integer_counts.h"
#include "platform/aggregate/sorted_runs.h"
#include "platform/aggregate/weighted_statistics.h"

namespace codebook::aggregate {

class ScaleAccumulator : public HotStorage {
 public:
  explicit ScaleAccumulator(int varIndex) : varIndex_(varIndex) {}
  ~ScaleAccumulator();
  ScaleAccumulator(const ScaleAccumulator&) = delete;
  ScaleAccumulator& operator=(const ScaleAccumulator&) = delete;

  int varIndex() const { return varIndex_; }
  void Bind(const VELA_InputCaseIterator& cases);

  void Add(const OBS* cells, double weight) {
    switch (mode_) {
      case Mode::kNumeric:
        // Values are gathered and counted a batch at a time, so that the
        // distinct values of one variable are in cache while they are
        // counted, however many tables the pass feeds.
        if (batch_ != nullptr) {
          batch_[batched_] = {cells[offset_].d, weight};
          if (++batched_ == kBatch) Flush();
        } else {
          ++generation_;
          AddNumber(cells[offset_].d, weight);
        }
        break;
      case Mode::kString:
        AddString(cells + offset_, weight);
        break;
      case Mode::kUnknownVariable:
        sysmisWeight_ += weight;
        break;
    }
  }

  // Results; the first call after new cases sorts the distinct values.
  double ValidWeight();
  double MissingWeight();
  const Moments& GetMoments();
  double Percentile(double percent);

 private:
  enum class Mode { kUnknownVariable, kNumeric, kString };

  struct Batched {
    double value;
    double weight;
  };
  static constexpr std::size_t kBatch = 1024;
  // Batches of all accumulators together stay under this; past it an
  // accumulator counts each value as it comes (a file with thousands of
  // scale variables gains little from batching, and would pay in memory).
  static constexpr std::size_t kBatchBudget = std::size_t{16} << 20;
  void Flush();
  void AddNumber(double x, double weight) {
    if (IsSystemMissing(x)) {
      sysmisWeight_ += weight;
      return;
    }
    OBS cell;
    cell.d = x;
    if (const int k = SmallIntegerCounts::IndexOf(x); k >= 0) {
      double* slot = small_.Find(k);
      if (slot == nullptr) slot = &small_.Insert(k, variable_->IsMissing(&cell) != 0);
      *slot += weight;
      return;
    }
    if (runs_) {
      runs_->Add(NumericKey(x), variable_->IsMissing(&cell) ? -weight : weight);
      return;
    }
    bool inserted = false;
    auto& entry = values_.FindOrInsert(NumericKey(x), inserted);
    if (inserted) MarkIfMissing(entry, &cell);
    AddWeight(entry, weight);
    if (inserted && values_.size() >= kRunsFrom) SwitchToRuns();  // after the last use of `entry`
  }
  // A user-missing value carries its weight negated: one probe per case
  // serves valid and missing values, and entries stay 16 bytes.
  static void AddWeight(NumericEntry<NoExtra>& entry, double weight) {
    entry.weight += std::copysign(weight, entry.weight);
  }
  // Past this many distinct values the data are continuous: most cases
  // bring a new value, and sorted runs beat hashing in time and memory.
  static constexpr std::size_t kRunsFrom = 1 << 12;
  void SwitchToRuns();
  std::span<NumericEntry<NoExtra>> SortedValues();
  void AddString(const OBS* cells, double weight);
  void MarkIfMissing(NumericEntry<NoExtra>& entry, const OBS* cell);
  void Finish();

  int varIndex_;
  Mode mode_ = Mode::kUnknownVariable;
  std::size_t batched_ = 0;
  Batched* batch_ = nullptr;  // kBatch values, for a numeric variable, when the budget allows
  const VELA_Variable* variable_ = nullptr;
  int offset_ = -1;
  NumericWeightMap<> values_;
  std::unique_ptr<SortedRuns> runs_;  // replaces values_ once the data look continuous
  SmallIntegerCounts small_;  // integers 0..255, moved into values_ when results are asked
  double sysmisWeight_ = 0.0;  // system-missing, and every missing string
  double validStringWeight_ = 0.0;
  std::uint64_t generation_ = 0;
  std::uint64_t finished_ = ~std::uint64_t{0};
  Moments moments_;
  PercentileBase percentileBase_;
  double userMissingWeight_ = 0.0;
};

}  // namespace codebook::aggregate
