// The host classes of the aggregation table: a table owns one cube, the
// cube shares its state with the aggregators it hands out.
#include "host/aggregate/aggregation_table.h"

#include <array>
#include <limits>
#include <mutex>

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

// Links each table to the one made kAhead tables after it, for
// AddNewCase's prefetch. A link is mutual (ahead_ / behind_) and undone when
// either table goes, so a table only ever writes to live ones. Tables are
// made and deleted far less often than cases are added: a lock is cheap.
struct TableChain {
  static constexpr std::size_t kAhead = 32;
  // Fewer tables keep their state in the second-level cache, where the
  // prefetch would only cost instructions: the first ones get no link.
  static constexpr std::size_t kLinkFrom = 2048;

  static void Add(AggregationTable* table) {
    std::lock_guard lock(mutex);
    ++live;
    AggregationTable*& slot = recent[next];
    if (slot != nullptr && live > kLinkFrom) {
      slot->ahead_ = table;
      table->behind_ = slot;
    }
    slot = table;
    next = (next + 1) % kAhead;
  }

  static void Remove(AggregationTable* table) {
    std::lock_guard lock(mutex);
    --live;
    for (AggregationTable*& slot : recent) {
      if (slot == table) slot = nullptr;
    }
    if (table->behind_ != nullptr) {
      table->behind_->ahead_ = nullptr;
      table->behind_->aheadDimension_ = nullptr;
    }
    // The table made kAhead after this one is alive while linked: its own
    // going would have undone the link.
    if (table->ahead_ != nullptr) static_cast<AggregationTable*>(const_cast<void*>(table->ahead_))->behind_ = nullptr;
  }

  static void SetDimension(AggregationTable& table, const void* dimension) {
    std::lock_guard lock(mutex);
    if (table.behind_ != nullptr) table.behind_->aheadDimension_ = dimension;
  }

 private:
  static inline std::mutex mutex;
  static inline std::array<AggregationTable*, kAhead> recent{};
  static inline std::size_t next = 0;
  static inline std::size_t live = 0;  // tables in existence
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
  TableChain::SetDimension(impl_->table, impl_->table.metadata_.dimension_);
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
    : cases_(cases), impl_(std::make_unique<Impl>()) {
  TableChain::Add(this);
}

AggregationTable::~AggregationTable() {
  TableChain::Remove(this);
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
