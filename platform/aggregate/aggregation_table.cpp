// The host classes of the aggregation table: a table owns one cube, the
// cube shares its state with the aggregators it hands out.
#include "host/aggregate/aggregation_table.h"

#include <limits>

#include "platform/aggregate/cube_state.h"
#include "platform/aggregate/dimension.h"
#include "platform/aggregate/hot_arena.h"

using codebook::aggregate::CubeAggregatorImpl;
using codebook::aggregate::CubeState;

class AggregationCube::Impl {
 public:
  explicit Impl(AggregationTable& owner)
      : table(owner), state(std::shared_ptr<CubeState>(new CubeState(owner.cases_, owner.hot_))) {}
  AggregationTable& table;
  std::shared_ptr<CubeState> state;
};

class AggregationTable::Impl {
 public:
  std::unique_ptr<AggregationCube> cube;
};

// ---- AggregationCube ----

AggregationCube::AggregationCube(AggregationTable& table) : impl_(std::make_unique<Impl>(table)) {}

AggregationCube::~AggregationCube() = default;

void AggregationCube::AddCategoricalVariable(AggregationVariable* variable,
                                             TableEncryptionCodes::DimensionPosition /*position*/) {
  // One dimension per cube: a second one replaces the first, which the
  // cube owns and therefore frees.
  impl_->state->SetDimension(std::unique_ptr<AggregationVariable>(variable));
  impl_->table.metadata_.dimension_ = impl_->state->tableDimension();
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

// Tables are made one after another and visited in that order on every
// case: they share the storage that keeps such objects side by side.
// On a cache line: the fields AddNewCase reads and the first code slots
// then share one.
void* AggregationTable::operator new(std::size_t bytes) { return codebook::aggregate::AllocateHot(bytes, true); }
void AggregationTable::operator delete(void* p) noexcept { codebook::aggregate::ReleaseHot(p); }

AggregationTable::AggregationTable(VELA_InputCaseIterator& cases, bool /*layered*/, bool /*keepCategories*/,
                                   int /*layer*/)
    : cases_(cases), impl_(std::make_unique<Impl>()) {}

AggregationTable::~AggregationTable() {
  // The aggregators handed out may outlive the table; they read the record.
  if (state_ != nullptr) state_->KeepHot();
}

AggregationCube* AggregationTable::CreateCube() {
  if (!impl_->cube) {
    impl_->cube = std::make_unique<AggregationCube>(*this);
    state_ = impl_->cube->impl().state.get();
  }
  return impl_->cube.get();
}

void AggregationTable::AddNewCaseSlow() {
  const double weight = cases_.CaseWeight();
  // Zero, negative, missing (system-missing or NaN) and infinite weights
  // take part in no statistic.
  if (!(weight > 0.0 && weight <= std::numeric_limits<double>::max())) return;
  const OBS* cells = cases_.CurrentCase();
  if (cells == nullptr || state_ == nullptr) return;
  state_->AddCase(cells, weight);
}

std::vector<CubeAggregator*> AggregationTable::GetCubeAggregators() {
  std::vector<CubeAggregator*> out;
  if (impl_->cube) out.push_back(new CubeAggregatorImpl(impl_->cube->impl().state));
  return out;
}
