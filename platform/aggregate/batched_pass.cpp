#include "platform/aggregate/batched_pass.h"

#include <algorithm>
#include <atomic>
#include <numeric>
#include <system_error>

#include "platform/aggregate/cube_state.h"
#include "platform/data/case_source.h"

namespace codebook::aggregate {

namespace {
std::atomic<int> passThreads{0};
// Below this much work per batch (cost units times cases) a second thread
// costs more in handing over than it saves.
constexpr double kThreadsFrom = 100000.0;
}  // namespace

void SetPassThreads(int threads) { passThreads.store(std::clamp(threads, 0, 2)); }

std::shared_ptr<BatchedPass> BatchedPass::Of(VELA_InputCaseIterator& cases) {
  auto* iterator = dynamic_cast<ProcDSIterator*>(&cases);
  ProcDSIterator::Source* source = iterator != nullptr ? iterator->GetSource() : nullptr;
  if (source == nullptr) return nullptr;
  if (auto pass = source->FindListener<BatchedPass>()) return pass;
  auto pass = std::make_shared<BatchedPass>();
  source->AddListener(pass);
  return pass;
}

BatchedPass::~BatchedPass() { StopWorker(); }

void BatchedPass::Place(CubeState& state, int thread) {
  state.thread = thread;
  state.place = lists_[thread].size();
  lists_[thread].push_back(&state);
  load_[thread] += state.Cost();
}

void BatchedPass::Add(CubeState& state) {
  Place(state, chosen_ && load_[1] < load_[0] ? 1 : 0);
}

void BatchedPass::Remove(CubeState& state) {
  auto& list = lists_[state.thread];
  if (state.place >= list.size() || list[state.place] != &state) return;
  // Order within a list does not matter: each state counts alone.
  list[state.place] = list.back();
  list[state.place]->place = state.place;
  list.pop_back();
  load_[state.thread] -= state.Cost();
}

void BatchedPass::Settle(CubeState& state) {
  if (current_ != nullptr) state.CountTaken(*current_);
}

void BatchedPass::ChooseThreads(const data::CaseBatch& next) {
  chosen_ = true;
  const int wanted = passThreads.load();
  double work = 0.0;
  for (const CubeState* s : lists_[0]) work += s->Cost();
  work *= static_cast<double>(next.size());
  const bool two = wanted == 2 || (wanted == 0 && std::thread::hardware_concurrency() >= 2 && work >= kThreadsFrom);
  if (!two || lists_[0].size() < 2) return;
  // The costliest first, each to the thread with less so far: a fixed
  // share, decided once.
  std::vector<CubeState*> all = std::move(lists_[0]);
  lists_[0].clear();
  load_[0] = load_[1] = 0.0;
  std::stable_sort(all.begin(), all.end(), [](const CubeState* a, const CubeState* b) { return a->Cost() > b->Cost(); });
  for (CubeState* s : all) Place(*s, load_[1] < load_[0] ? 1 : 0);
  threads_ = 2;
  StartWorker();
}

void BatchedPass::Step(int thread, const data::CaseBatch* done, const data::CaseBatch* next) {
  // With thousands of tables each one's state and column come from memory:
  // a few tables ahead are asked for while this one counts.
  constexpr std::size_t kAhead = 4;
  const auto& list = lists_[thread];
  const std::size_t n = list.size();
  for (std::size_t i = 0; i < n; ++i) {
    if (i + 2 * kAhead < n) __builtin_prefetch(list[i + 2 * kAhead]);
    if (i + kAhead < n) list[i + kAhead]->Prefetch(done != nullptr ? done : next);
    CubeState* s = list[i];
    if (done != nullptr) s->CountTaken(*done);
    if (next != nullptr && s->TookAllBefore(*next)) s->Prepare(*next);
  }
}

void BatchedPass::BatchBoundary(const data::CaseBatch* done, const data::CaseBatch* next) {
  if (next != nullptr && !chosen_) ChooseThreads(*next);
  if (threads_ == 2 && worker_.joinable()) {
    {
      std::lock_guard lock(mutex_);
      edgeDone_ = done;
      edgeNext_ = next;
      ++edge_;
    }
    wake_.notify_one();
    const std::exception_ptr mine = CaughtStep(0, done, next);
    std::unique_lock lock(mutex_);
    done_.wait(lock, [this] { return finished_ == edge_; });
    std::exception_ptr theirs = std::exchange(workerError_, nullptr);
    lock.unlock();
    if (mine) std::rethrow_exception(mine);
    if (theirs) std::rethrow_exception(theirs);
  } else {
    Step(0, done, next);
    Step(1, done, next);
  }
  current_ = next;
  if (next == nullptr) StopWorker();
}

void BatchedPass::SourceEnds(const data::CaseBatch* current) {
  StopWorker();
  if (current != nullptr) {
    for (auto& list : lists_) {
      for (CubeState* s : list) s->CountTaken(*current);
    }
  }
  current_ = nullptr;
}

std::exception_ptr BatchedPass::CaughtStep(int thread, const data::CaseBatch* done,
                                           const data::CaseBatch* next) noexcept {
  try {
    Step(thread, done, next);
  } catch (...) {
    return std::current_exception();
  }
  return nullptr;
}

void BatchedPass::StartWorker() {
  try {
    worker_ = std::thread([this] { WorkerLoop(); });
  } catch (const std::system_error&) {
    threads_ = 1;  // counted on the caller's thread alone
  }
}

void BatchedPass::StopWorker() {
  if (!worker_.joinable()) return;
  {
    std::lock_guard lock(mutex_);
    stop_ = true;
  }
  wake_.notify_one();
  worker_.join();
}

void BatchedPass::WorkerLoop() {
  std::uint64_t seen = 0;
  for (;;) {
    const data::CaseBatch* done = nullptr;
    const data::CaseBatch* next = nullptr;
    {
      std::unique_lock lock(mutex_);
      wake_.wait(lock, [&] { return stop_ || edge_ != seen; });
      if (stop_) return;
      seen = edge_;
      done = edgeDone_;
      next = edgeNext_;
    }
    const std::exception_ptr error = CaughtStep(1, done, next);
    {
      std::lock_guard lock(mutex_);
      if (error) workerError_ = error;
      finished_ = seen;
    }
    done_.notify_one();
  }
}

}  // namespace codebook::aggregate
