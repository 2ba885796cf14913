// What a cube gathers and answers: shared by the cube (which describes it)
// and the aggregators handed to the caller, which may outlive the table.
// The pass (batched_pass.h) counts the cases the cube's table took, a batch
// at a time.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "host/aggregate/aggregation_statistic.h"
#include "host/aggregate/aggregation_variable.h"
#include "host/aggregate/compensated_sum.h"
#include "host/aggregate/cube_aggregator.h"
#include "host/data/case_iterator.h"
#include "platform/aggregate/dimension.h"
#include "platform/aggregate/hot_arena.h"
#include "platform/aggregate/scale_accumulator.h"
#include "platform/data/case_batch.h"

namespace codebook::aggregate {

class BatchedPass;

class CubeState : public HotStorage<HotArena::kStates> {
 public:
  // `taken` counts the cases the table took; `tableDimension` is where the
  // table keeps its dimension for the procedure.
  CubeState(VELA_InputCaseIterator& cases, const std::int64_t* taken, TableDimension** tableDimension);
  ~CubeState();
  CubeState(const CubeState&) = delete;
  CubeState& operator=(const CubeState&) = delete;

  void SetDimension(std::unique_ptr<AggregationVariable> variable);
  void AddScaleStatistics(const std::vector<AggregationStatistic>& statistics);
  void AddCategoryStatistics(const std::vector<AggregationStatistic>& category,
                             const std::vector<AggregationStatistic>& total);

  // ---- The pass, batch by batch (see BatchedPass) ----
  // Whether the table took every case before `batch`: only then may it
  // take any of it.
  bool TookAllBefore(const data::CaseBatch& batch) const {
    return counted_ == batch.firstOrdinal() && *taken_ == counted_;
  }
  // Before the table may take the cases of `batch`.
  void Prepare(const data::CaseBatch& batch);
  // Counts what the table took of `batch` and has not been counted.
  void CountTaken(const data::CaseBatch& batch);
  // Asks for what counting `batch` will touch first (the state's objects
  // and the first line of its variable's column), for a pass that walks
  // many tables and overlaps their misses.
  void Prefetch(const data::CaseBatch* batch) const {
    if (dimensionImpl_ != nullptr) __builtin_prefetch(dimensionImpl_);
    if (firstScale_ != nullptr) __builtin_prefetch(firstScale_);
    if (batch != nullptr && hotColumn_ >= 0) __builtin_prefetch(batch->Column(static_cast<std::size_t>(hotColumn_)));
  }
  // Relative work per case, to share tables among threads.
  double Cost() const;
  int thread = 0;          // the pass's thread that counts this cube
  std::size_t place = 0;   // its place in that thread's list

  // The table is going; what it took is counted, and its count of taken
  // cases kept here.
  void TableGone();
  // Before results are read: the pass counts what the table took so far.
  void SettleForRead();
  // Cases counted: the number of cases the results are of.
  std::int64_t counted() const { return counted_; }
  double TotalWeight() const { return total_.Value(); }

  // The values of the cell that `selection` addresses, or null.
  const StatValues* Values(const std::vector<const AggregationCategory*>& selection, StatValues& out);

 private:
  ScaleAccumulator* ScaleFor(int varIndex);
  double ScaleValue(const AggregationStatistic& statistic);
  void Bind();

  VELA_InputCaseIterator& cases_;
  const std::int64_t* taken_;
  std::int64_t takenKept_ = 0;  // where taken_ points once the table is gone
  TableDimension** tableDimension_;
  std::shared_ptr<BatchedPass> pass_;
  std::int64_t counted_ = 0;
  std::int64_t preparedFor_ = -1;
  CompensatedSum total_;
  std::unique_ptr<AggregationVariable> dimension_;
  AggregationVariable::Impl* dimensionImpl_ = nullptr;
  std::vector<std::unique_ptr<ScaleAccumulator>> scales_;
  ScaleAccumulator* firstScale_ = nullptr;  // scales_'s first, without the vector's indirection
  std::ptrdiff_t hotColumn_ = -1;  // the cell the counting reads first, once bound
  std::vector<AggregationStatistic> scaleStatistics_;
  std::vector<AggregationStatistic> categoryStatistics_;
  std::vector<AggregationStatistic> totalStatistics_;
};

// The caller's handle on a cube's results.
class CubeAggregatorImpl final : public CubeAggregator {
 public:
  explicit CubeAggregatorImpl(std::shared_ptr<CubeState> state) : state_(std::move(state)) {}
  const StatValues* GetStatValues(const std::vector<const AggregationCategory*>& selection, int layer) override;

 private:
  std::shared_ptr<CubeState> state_;
  StatValues result_;
};

}  // namespace codebook::aggregate
