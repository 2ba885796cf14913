// The host classes of the aggregation table: a table owns one cube, the
// cube shares its state with the aggregators it hands out.
#include "host/aggregate/aggregation_table.h"

#include "platform/aggregate/cube_state.h"
#include "platform/aggregate/dimension.h"
#include "platform/aggregate/hot_arena.h"

using codebook::aggregate::CubeAggregatorImpl;
using codebook::aggregate::CubeState;

class AggregationCube::Impl {
 public:
  explicit Impl(std::shared_ptr<CubeState> s) : state(std::move(s)) {}
  std::shared_ptr<CubeState> state;
};

class AggregationTable::Impl {
 public:
  explicit Impl(VELA_InputCaseIterator& c) : cases(c) {}
  VELA_InputCaseIterator& cases;
  std::unique_ptr<AggregationCube> cube;
  std::shared_ptr<CubeState> state;
};

// ---- AggregationCube ----

AggregationCube::AggregationCube(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}

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

// The procedure's loop visits its tables in the order they were made, on
// every case: side by side, the visit is a forward sweep.
void* AggregationTable::operator new(std::size_t bytes) {
  return codebook::aggregate::AllocateHot(bytes, codebook::aggregate::HotArena::kTables);
}
void AggregationTable::operator delete(void* p) noexcept { codebook::aggregate::ReleaseHot(p); }

AggregationTable::AggregationTable(VELA_InputCaseIterator& cases, bool /*layered*/, bool /*keepCategories*/,
                                   int /*layer*/)
    : impl_(std::make_unique<Impl>(cases)) {}

AggregationTable::~AggregationTable() {
  // The aggregators handed out may outlive the table: what it took is
  // counted now, and its count of cases moves into the state.
  if (impl_->state) impl_->state->TableGone();
}

AggregationCube* AggregationTable::CreateCube() {
  if (!impl_->cube) {
    impl_->state = std::shared_ptr<CubeState>(new CubeState(impl_->cases, &taken_, &dimension_));
    impl_->cube = std::make_unique<AggregationCube>(std::make_unique<AggregationCube::Impl>(impl_->state));
  }
  return impl_->cube.get();
}

std::vector<CubeAggregator*> AggregationTable::GetCubeAggregators() {
  std::vector<CubeAggregator*> out;
  if (impl_->state) out.push_back(new CubeAggregatorImpl(impl_->state));
  return out;
}
