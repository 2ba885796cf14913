// What a cube gathers and answers: shared by the cube (which feeds it) and
// the aggregators handed to the caller, which may outlive the table.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "host/aggregate/aggregation_statistic.h"
#include "host/aggregate/aggregation_variable.h"
#include "host/aggregate/cube_aggregator.h"
#include "host/data/case_iterator.h"
#include "platform/aggregate/compensated_sum.h"
#include "platform/aggregate/dimension.h"
#include "platform/aggregate/hot_arena.h"
#include "platform/aggregate/scale_accumulator.h"
#include "platform/aggregate/variable_dimension.h"

namespace codebook::aggregate {

class CubeState : public HotStorage {
 public:
  explicit CubeState(const VELA_InputCaseIterator& cases) : cases_(cases) {}
  ~CubeState();

  void SetDimension(std::unique_ptr<AggregationVariable> variable);
  AggregationVariable* dimension() const { return dimension_.get(); }
  // The dimension's TableDimension, cached: the procedure asks for it on every case.
  TableDimension* tableDimension() const { return tableDimension_; }
  void AddScaleStatistics(const std::vector<AggregationStatistic>& statistics);
  void AddCategoryStatistics(const std::vector<AggregationStatistic>& category,
                             const std::vector<AggregationStatistic>& total);

  // One case of positive weight.
  void AddCase(const OBS* cells, double weight) {
    if (!bound_) Bind();
    if (variable_ != nullptr) {
      variable_->AddDirect(cells, weight);  // the common kind, without a virtual call
    } else if (dimensionImpl_ != nullptr) {
      dimensionImpl_->Add(cells, weight);
    } else {
      total_.Add(weight);  // a dimension keeps the total itself
    }
    if (firstScale_) {
      firstScale_->Add(cells, weight);
      for (auto& s : moreScales_) s->Add(cells, weight);
    }
  }

  // The values of the cell that `selection` addresses, or null.
  const StatValues* Values(const std::vector<const AggregationCategory*>& selection, StatValues& out);

  double TotalWeight() const { return dimensionImpl_ != nullptr ? dimensionImpl_->TotalWeight() : total_.Value(); }

 private:
  void Bind();
  ScaleAccumulator* ScaleFor(int varIndex);
  ScaleAccumulator& NewScale(int varIndex);
  double ScaleValue(const AggregationStatistic& statistic);

  // What AddCase touches comes first, within one cache line: with many
  // tables each case visits every table's state once, and each miss counts.
  const VELA_InputCaseIterator& cases_;
  bool bound_ = false;
  VariableDimension* variable_ = nullptr;  // the dimension, when it is over one variable
  AggregationVariable::Impl* dimensionImpl_ = nullptr;
  CompensatedSum total_;  // W, when there is no dimension to keep it
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
