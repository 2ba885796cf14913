// A second thread that counts the full batches of scale tables. A pass
// adds each case to every table on the caller's thread, and a scale table
// only gathers values there; counting them (hash probes for recurring
// values, sorting for continuous ones) is most of a scale table's cost, and
// nothing reads a table's counts until its results are asked. So a full
// batch is handed over and counted here while the pass goes on.
//
// One thread counts every batch in the order they were handed over, and a
// table hands over its next batch only after the previous one was counted:
// each accumulator sees its values in case order, and the results equal,
// bit for bit, those of counting on the caller's thread.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <exception>
#include <memory>
#include <mutex>
#include <thread>

#include "host/aggregate/table_hot.h"

namespace codebook::aggregate {

class ScaleAccumulator;

class BatchWorker {
 public:
  // One batch on its way. Owned by the table, which waits for it before it
  // touches the accumulator or the values again.
  struct Job {
    ScaleAccumulator* scale = nullptr;
    const WeightedCell* values = nullptr;
    std::size_t count = 0;
    double weight = 0.0;  // the batch's weights, summed by the worker
    std::atomic<bool> pending{false};
    std::exception_ptr error;

    // Sums the weights and counts the values, on whichever thread runs it.
    void Count();
  };

  // The worker that tables share; the thread runs while anyone holds it.
  // Null when tables are to count their batches themselves (switched off,
  // or no thread could be started).
  static std::shared_ptr<BatchWorker> Acquire();

  ~BatchWorker();
  BatchWorker(const BatchWorker&) = delete;
  BatchWorker& operator=(const BatchWorker&) = delete;

  void Submit(Job& job);
  // Returns once `job` is counted; rethrows what counting it threw.
  void Wait(Job& job);

 private:
  BatchWorker();
  void Work();

  std::mutex mutex_;
  std::condition_variable work_;  // a job came, or the worker is to stop
  std::condition_variable done_;  // a job was counted and someone waits
  std::deque<Job*> queue_;
  bool idle_ = false;
  bool stop_ = false;
  int waiting_ = 0;
  std::thread thread_;
};

// Whether tables made from now on hand their batches to the worker (the
// default) or count them themselves; for comparing the two.
void CountBatchesOnWorker(bool enabled);

}  // namespace codebook::aggregate
