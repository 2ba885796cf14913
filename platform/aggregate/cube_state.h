// What a cube gathers and answers: shared by the cube (which feeds it) and
// the aggregators handed to the caller, which may outlive the table.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "host/aggregate/aggregation_statistic.h"
#include "host/aggregate/aggregation_variable.h"
#include "host/aggregate/compensated_sum.h"
#include "host/aggregate/cube_aggregator.h"
#include "host/aggregate/table_hot.h"
#include "host/data/case_iterator.h"
#include "platform/aggregate/dimension.h"
#include "platform/aggregate/hot_arena.h"
#include "platform/aggregate/scale_accumulator.h"
#include "platform/aggregate/variable_dimension.h"

namespace codebook::aggregate {

class CubeState : public HotStorage {
 public:
  // `hot` is the record in the table, which AddNewCase reads; the cube's
  // counts and total live there.
  CubeState(const VELA_InputCaseIterator& cases, TableHot& hot) : hot_(&hot), cases_(cases) {}
  ~CubeState();
  CubeState(const CubeState&) = delete;
  CubeState& operator=(const CubeState&) = delete;

  // The table is going: its record moves here.
  void KeepHot();

  void SetDimension(std::unique_ptr<AggregationVariable> variable);
  AggregationVariable* dimension() const { return dimension_.get(); }
  // The dimension's TableDimension, cached: the procedure asks for it on every case.
  TableDimension* tableDimension() const { return tableDimension_; }
  void AddScaleStatistics(const std::vector<AggregationStatistic>& statistics);
  void AddCategoryStatistics(const std::vector<AggregationStatistic>& category,
                             const std::vector<AggregationStatistic>& total);

  // One case of positive weight that the table's inline path did not take.
  void AddCase(const OBS* cells, double weight) {
    if (!bound_) Bind();
    TableHot& hot = *hot_;
    ++hot.generalCases;
    if (hot.kind == TableHot::kValues) {  // the batch is full
      FlushValues();
      hot.values.batch[hot.values.batched++] = {cells[hot.offset].d, weight};
      return;
    }
    if (hot.kind == TableHot::kCodes && variable_ == nullptr && !IsCode(cells[hot.offset].d) && StartBatches()) {
      // A scale variable with values other than small codes.
      hot.values.batch[hot.values.batched++] = {cells[hot.offset].d, weight};
      return;
    }
    // A weight counted in the record's code slots is not in its total.
    bool inRecord = false;
    if (variable_ != nullptr) {
      inRecord = variable_->AddDirect(cells, weight);  // the common kind, without a virtual call
    } else if (dimensionImpl_ != nullptr) {
      dimensionImpl_->Add(cells, weight);
    }
    if (firstScale_) {
      inRecord = firstScale_->Add(cells, weight) || inRecord;
      for (auto& s : moreScales_) s->Add(cells, weight);
    }
    if (!inRecord) hot.total.Add(weight);
  }

  // The values of the cell that `selection` addresses, or null.
  const StatValues* Values(const std::vector<const AggregationCategory*>& selection, StatValues& out);

  double TotalWeight() const { return hot_->TotalWeight(); }

 private:
  void Bind();
  // Sets the record's kind from what the cube holds; after Bind, and again
  // when statistics or a dimension arrive later.
  void ChooseFastPath();
  // Counts the values waiting in the batch.
  void FlushValues();
  // Switches a scale variable's record to batches, if the budget allows.
  bool StartBatches();
  static bool IsCode(double x) {
    const int k = SmallIntegerCounts::IndexOf(x);
    return k >= 0 && k < TableHot::kCodeSlots;
  }
  ScaleAccumulator* ScaleFor(int varIndex);
  ScaleAccumulator& NewScale(int varIndex);
  double ScaleValue(const AggregationStatistic& statistic);

  // What a case touches comes first: with many tables each case visits
  // every table's state once, and each miss counts.
  TableHot* hot_;  // the table's, or kept_
  const VELA_InputCaseIterator& cases_;
  bool bound_ = false;
  VariableDimension* variable_ = nullptr;  // the dimension, when it is over one variable
  AggregationVariable::Impl* dimensionImpl_ = nullptr;
  WeightedCell* batch_ = nullptr;  // kBatch values of the scale variable, when the budget allows
  bool batchRefused_ = false;      // the budget was spent when this table asked
  std::unique_ptr<TableHot> kept_;  // the record, once the table is gone
  // One per variable of the scale statistics; tables have one at most, held
  // without a vector's extra indirection.
  std::unique_ptr<ScaleAccumulator> firstScale_;
  std::vector<std::unique_ptr<ScaleAccumulator>> moreScales_;
  TableDimension* tableDimension_ = nullptr;
  std::unique_ptr<AggregationVariable> dimension_;
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
