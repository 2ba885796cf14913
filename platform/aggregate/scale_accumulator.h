// Valid and missing weights, moments and percentiles of one variable over
// all cases. Memory grows with the distinct values, never with the cases.
#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <memory>

#include "host/aggregate/table_hot.h"
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
  // After Bind: whether the variable is numeric, and its cell.
  bool numeric() const { return mode_ == Mode::kNumeric; }
  int offset() const { return offset_; }

  // Returns whether the weight went into the table's record (a code slot).
  bool Add(const OBS* cells, double weight) {
    switch (mode_) {
      case Mode::kNumeric:
        ++generation_;
        return AddNumber(cells[offset_].d, weight);
      case Mode::kString:
        AddString(cells + offset_, weight);
        return false;
      case Mode::kUnknownVariable:
        sysmisWeight_ += weight;
        return false;
    }
    return false;
  }

  // Values of the numeric variable that its table gathered.
  void AddBatch(const WeightedCell* values, std::size_t n);
  // The codes 0..15 are counted in the table's record from now on, where
  // the table's inline path counts them too.
  void CountCodesIn(TableHot& hot) { codes_ = &hot; }
  // The record moved (its table is gone).
  void MoveCodes(TableHot& hot) {
    if (codes_ != nullptr) codes_ = &hot;
  }
  // The codes leave the record for this accumulator, their weights for the
  // record's total, and later codes are counted here.
  void ReleaseCodes();

  // Results; the first call after new cases sorts the distinct values.
  double ValidWeight();
  double MissingWeight();
  const Moments& GetMoments();
  double Percentile(double percent);

 private:
  enum class Mode { kUnknownVariable, kNumeric, kString };

  // Returns whether the weight went into the table's record.
  bool AddNumber(double x, double weight) {
    if (IsSystemMissing(x)) {
      sysmisWeight_ += weight;
      return false;
    }
    OBS cell;
    cell.d = x;
    if (const int k = SmallIntegerCounts::IndexOf(x); k >= 0) {
      if (codes_ != nullptr && k < TableHot::kCodeSlots) {
        AddCode(k, &cell, weight);
        return true;
      }
      double* slot = small_.Find(k);
      if (slot == nullptr) slot = &small_.Insert(k, variable_->IsMissing(&cell) != 0);
      *slot += weight;
      return false;
    }
    if (runs_) {
      runs_->Add(NumericKey(x), variable_->IsMissing(&cell) ? -weight : weight);
      return false;
    }
    bool inserted = false;
    auto& entry = values_.FindOrInsert(NumericKey(x), inserted);
    if (inserted) MarkIfMissing(entry, &cell);
    AddWeight(entry, weight);
    if (inserted && values_.size() >= kRunsFrom) SwitchToRuns();  // after the last use of `entry`
    return false;
  }
  // A user-missing value carries its weight negated: one probe per case
  // serves valid and missing values, and entries stay 16 bytes.
  static void AddWeight(NumericEntry<NoExtra>& entry, double weight) {
    entry.weight += std::copysign(weight, entry.weight);
  }
  // Past this many distinct values the data are continuous: most cases
  // bring a new value, and sorted runs beat hashing in time and memory.
  static constexpr std::size_t kRunsFrom = 1 << 12;
  void AddCode(int k, const OBS* cell, double weight) {
    if (((codes_->seen >> k) & 1u) == 0) NewCode(k, cell);
    codes_->counts[k] += weight;
  }
  void NewCode(int k, const OBS* cell);
  void SwitchToRuns();
  std::span<NumericEntry<NoExtra>> SortedValues();
  void AddString(const OBS* cells, double weight);
  void MarkIfMissing(NumericEntry<NoExtra>& entry, const OBS* cell);
  void Finish();

  int varIndex_;
  Mode mode_ = Mode::kUnknownVariable;
  const VELA_Variable* variable_ = nullptr;
  int offset_ = -1;
  NumericWeightMap<> values_;
  std::unique_ptr<SortedRuns> runs_;  // replaces values_ once the data look continuous
  SmallIntegerCounts small_;  // integers 0..255, moved into values_ when results are asked
  TableHot* codes_ = nullptr;  // when set, holds the codes 0..15 instead of small_
  double sysmisWeight_ = 0.0;  // system-missing, and every missing string
  double validStringWeight_ = 0.0;
  std::uint64_t generation_ = 0;
  std::uint64_t finished_ = ~std::uint64_t{0};
  Moments moments_;
  PercentileBase percentileBase_;
  double userMissingWeight_ = 0.0;
};

}  // namespace codebook::aggregate
