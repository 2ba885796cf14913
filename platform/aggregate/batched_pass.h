// The pass that counts the tables over one iterator. The procedure's loop
// takes every case into every table one at a time, which only moves each
// table's count of taken cases on; the counting itself happens here, a
// batch of cases at a time, at the edges between batches:
//
//   - before the walk enters a batch, each table that took every case so
//     far is prepared for it: its dimension buckets the batch's cases and
//     notes where new categories appear, which is what the category count
//     answers from during the walk;
//   - when the walk leaves it, each table's weights are added for exactly
//     the cases it took.
//
// A table takes a run of cases from the first (the procedure stops giving a
// table cases once it has too many categories, and never starts again), so
// this counts what the table took and nothing else. The tables are shared
// between two threads by cost; each table always counts on the same thread
// and in case order, so every sum is the same from run to run.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <exception>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "host/data/case_iterator.h"
#include "platform/data/pass_listener.h"

namespace codebook::aggregate {

class CubeState;

// How many threads count a pass: 0 chooses by the machine and the work
// (two on a machine with two cores or more, for passes big enough to gain);
// 1 or 2 fix it (tests compare the two).
void SetPassThreads(int threads);

class BatchedPass final : public data::PassListener {
 public:
  // The pass of `cases`, made on first use; null when the iterator has no
  // batches to count (an iterator of another kind, or one without cases).
  static std::shared_ptr<BatchedPass> Of(VELA_InputCaseIterator& cases);

  BatchedPass() = default;
  ~BatchedPass() override;
  BatchedPass(const BatchedPass&) = delete;
  BatchedPass& operator=(const BatchedPass&) = delete;

  void Add(CubeState& state);
  void Remove(CubeState& state);
  // Counts what the state's table took of the batch being walked.
  void Settle(CubeState& state);

  void BatchBoundary(const data::CaseBatch* done, const data::CaseBatch* next) override;
  void SourceEnds(const data::CaseBatch* current) override;

 private:
  // The work of one edge for the states of thread `thread`.
  void Step(int thread, const data::CaseBatch* done, const data::CaseBatch* next);
  // The same, with what it throws caught for the other thread to rethrow.
  std::exception_ptr CaughtStep(int thread, const data::CaseBatch* done, const data::CaseBatch* next) noexcept;
  void ChooseThreads(const data::CaseBatch& next);
  void Place(CubeState& state, int thread);
  void StartWorker();
  void StopWorker();
  void WorkerLoop();

  // The states each thread counts; a state knows its thread and place.
  std::vector<CubeState*> lists_[2];
  double load_[2] = {0.0, 0.0};
  const data::CaseBatch* current_ = nullptr;
  int threads_ = 1;
  bool chosen_ = false;

  // The second thread: it runs Step(1, ...) for each edge the caller's
  // thread hands it, while the caller runs Step(0, ...).
  std::thread worker_;
  std::mutex mutex_;
  std::condition_variable wake_;
  std::condition_variable done_;
  std::uint64_t edge_ = 0;      // edges handed out
  std::uint64_t finished_ = 0;  // edges the worker finished
  bool stop_ = false;
  const data::CaseBatch* edgeDone_ = nullptr;
  const data::CaseBatch* edgeNext_ = nullptr;
  std::exception_ptr workerError_;
};

}  // namespace codebook::aggregate
