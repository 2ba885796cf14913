// The host classes of the aggregation table: a table owns one cube, the
// cube shares its state with the aggregators it hands out.
#include "host/aggregate/aggregation_table.h"

#include <limits>

#include "platform/aggregate/cube_state.h"
#include "platform/aggregate/dimension.h"

using codebook::aggregate::CubeAggregatorImpl;
using codebook::aggregate::CubeState;

class AggregationCube::Impl {
 public:
  explicit Impl(const VELA_InputCaseIterator& cases) : state(std::make_shared<CubeState>(cases)) {}
  std::shared_ptr<CubeState> state;
};

class AggregationTable::Impl {
 public:
  explicit Impl(VELA_InputCaseIterator& iterator) : cases(iterator) {}
  VELA_InputCaseIterator& cases;
  std::unique_ptr<AggregationCube> cube;
  CubeState* state = nullptr;  // the cube's, cached for the case loop
};

// ---- AggregationCube ----

AggregationCube::AggregationCube(AggregationTable& table)
    : impl_(std::make_unique<Impl>(table.impl().cases)) {}

AggregationCube::~AggregationCube() = default;

void AggregationCube::AddCategoricalVariable(AggregationVariable* variable,
                                             TableEncryptionCodes::DimensionPosition /*position*/) {
  // One dimension per cube: a second one replaces the first, which the
  // cube owns and therefore frees.
  impl_->state->SetDimension(std::unique_ptr<AggregationVariable>(variable));
}

void AggregationCube::CreateCubeAggregator() {
  // The state exists from the start; nothing to prepare. Statistics may
  // still be added after this call.
}

void AggregationCube::AddScaleStatistics(const std::vector<AggregationStatistic>& statistics) {
  impl_->state->AddScaleStatistics(statistics);
}

void AggregationCube::AddCategoryAndTotalStatistics(const std::vector<AggregationStatistic>& category,
                                                    AggregationVariable* /*variable*/,
                                                    const std::vector<AggregationStatistic>& total) {
  impl_->state->AddCategoryStatistics(category, total);
}

// ---- AggregationTable ----

AggregationTable::AggregationTable(VELA_InputCaseIterator& cases, bool /*layered*/, bool /*keepCategories*/,
                                   int /*layer*/)
    : impl_(std::make_unique<Impl>(cases)), metadata_(*this) {}

AggregationTable::~AggregationTable() = default;

AggregationCube* AggregationTable::CreateCube() {
  if (!impl_->cube) {
    impl_->cube = std::make_unique<AggregationCube>(*this);
    impl_->state = impl_->cube->impl().state.get();
  }
  return impl_->cube.get();
}

void AggregationTable::AddNewCase() {
  const double weight = impl_->cases.CaseWeight();
  // Zero, negative, missing (system-missing or NaN) and infinite weights
  // take part in no statistic.
  if (!(weight > 0.0 && weight <= std::numeric_limits<double>::max())) return;
  const OBS* cells = impl_->cases.CurrentCase();
  if (cells == nullptr || impl_->state == nullptr) return;
  impl_->state->AddCase(cells, weight);
}

TableMetadata* AggregationTable::GetTableMetaData() { return &metadata_; }

std::vector<CubeAggregator*> AggregationTable::GetCubeAggregators() {
  std::vector<CubeAggregator*> out;
  if (impl_->cube) out.push_back(new CubeAggregatorImpl(impl_->cube->impl().state));
  return out;
}

TableDimension* TableMetadata::GetDimension(int i) const {
  const CubeState* state = table_.impl().state;
  return i == 0 && state != nullptr ? state->tableDimension() : nullptr;
}
