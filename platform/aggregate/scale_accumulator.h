// Valid and missing weights, moments and percentiles of one variable over
// all cases. Memory grows with the distinct values, never with the cases.
#pragma once

#include <vector>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "host/data/case_iterator.h"
#include "platform/aggregate/counted_records.h"
#include "platform/aggregate/hot_arena.h"
#include "platform/aggregate/inline_vector.h"
#include "platform/aggregate/numeric_weight_map.h"
#include "platform/aggregate/sorted_runs.h"
#include "platform/aggregate/weighted_statistics.h"
#include "platform/data/case_batch.h"

namespace codebook::aggregate {

class ScaleAccumulator : public HotStorage<HotArena::kStates> {
 public:
  explicit ScaleAccumulator(int varIndex) : varIndex_(varIndex) {}
  ~ScaleAccumulator();
  ScaleAccumulator(const ScaleAccumulator&) = delete;
  ScaleAccumulator& operator=(const ScaleAccumulator&) = delete;

  int varIndex() const { return varIndex_; }
  void Bind(const VELA_InputCaseIterator& cases);
  bool bound() const { return bound_; }
  // The cell its values are read from, or -1.
  std::ptrdiff_t column() const { return bound_ && mode_ != Mode::kUnknownVariable ? static_cast<std::ptrdiff_t>(offset_) : -1; }
  // Whether the values are continuous so far (almost all distinct): what
  // decides how much a case costs, for sharing tables among threads.
  bool continuous() const { return runs_ != nullptr; }

  // Adds the records [from, to) of `batch`.
  void Count(const data::CaseBatch& batch, std::size_t from, std::size_t to);

  // Results; the first call after new cases sorts the distinct values.
  double ValidWeight();
  double MissingWeight();
  const Moments& GetMoments();
  double Percentile(double percent);

 private:
  enum class Mode { kUnknownVariable, kNumeric, kString };
  // Past this many distinct values the data are continuous: most cases
  // bring a new value, and sorted runs beat hashing in time and memory.
  static constexpr std::size_t kRunsFrom = 1 << 12;

  void CountNumbers(const data::CaseBatch& batch, std::size_t from, std::size_t to);
  void CountStrings(const data::CaseBatch& batch, std::size_t from, std::size_t to);
  // A number that is no code 0..255 and not system-missing.
  [[gnu::noinline]] void AddValue(double x, const OBS* cell, double weight);
  [[gnu::noinline]] void NewCode(std::size_t k, const OBS* cell);
  // A user-missing value carries its weight negated: one probe per case
  // serves valid and missing values, and entries stay 16 bytes.
  static void AddWeight(NumericEntry<NoExtra>& entry, double weight) {
    entry.weight += std::copysign(weight, entry.weight);
  }
  void SwitchToRuns();
  std::span<NumericEntry<NoExtra>> SortedValues();
  void Finish();

  int varIndex_;
  bool bound_ = false;
  Mode mode_ = Mode::kUnknownVariable;
  const VELA_Variable* variable_ = nullptr;
  std::size_t offset_ = 0;
  std::size_t cells_ = 1;
  bool declaresMissing_ = true;  // the variable may have user-missing values
  // The integer codes 0..255 by index: weights, and whether each is met
  // (1) or met and user-missing (2). As long as the largest code met.
  InlineVector<double, 8> codeWeights_;
  InlineVector<std::uint8_t, 8> codeState_;
  bool anyCode_ = false;
  NumericWeightMap<> values_;
  std::unique_ptr<SortedRuns> runs_;  // replaces values_ once the data look continuous
  double sysmisWeight_ = 0.0;  // system-missing, and every missing string
  double validStringWeight_ = 0.0;
  std::uint64_t generation_ = 0;
  std::uint64_t finished_ = ~std::uint64_t{0};
  Moments moments_;
  PercentileBase percentileBase_;
  double userMissingWeight_ = 0.0;
  CellGather gather_;
};

}  // namespace codebook::aggregate
