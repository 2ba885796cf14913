#include "platform/aggregate/batch_worker.h"

#include <system_error>
#include <utility>

#include "platform/aggregate/scale_accumulator.h"

namespace codebook::aggregate {
namespace {

std::mutex sharedMutex;
std::weak_ptr<BatchWorker> shared;  // the running worker, if any table holds it
std::atomic<bool> enabled{true};

}  // namespace

void BatchWorker::Job::Count() {
  // Weights are positive, so a plain sum of one batch loses at most about
  // three digits of sixteen; across batches the table's total stays
  // compensated.
  double sum = 0.0;
  for (std::size_t i = 0; i < count; ++i) sum += values[i].weight;
  weight = sum;
  scale->AddBatch(values, count);
}

void CountBatchesOnWorker(bool on) { enabled.store(on); }

std::shared_ptr<BatchWorker> BatchWorker::Acquire() {
  if (!enabled.load()) return nullptr;
  std::lock_guard lock(sharedMutex);
  if (auto worker = shared.lock()) return worker;
  std::shared_ptr<BatchWorker> worker;
  try {
    worker.reset(new BatchWorker);
  } catch (const std::system_error&) {
    return nullptr;  // no thread to be had: the tables count for themselves
  }
  shared = worker;
  return worker;
}

BatchWorker::BatchWorker() : thread_([this] { Work(); }) {}

BatchWorker::~BatchWorker() {
  {
    std::lock_guard lock(mutex_);
    stop_ = true;
  }
  work_.notify_one();
  thread_.join();
}

void BatchWorker::Submit(Job& job) {
  job.pending.store(true, std::memory_order_relaxed);
  job.error = nullptr;
  bool wake = false;
  {
    std::lock_guard lock(mutex_);
    queue_.push_back(&job);
    // The scale tables of a pass fill their batches on the same case, so a
    // burst of jobs arrives together: only the first one wakes the thread.
    wake = std::exchange(idle_, false);
  }
  if (wake) work_.notify_one();
}

void BatchWorker::Wait(Job& job) {
  if (job.pending.load(std::memory_order_acquire)) {
    std::unique_lock lock(mutex_);
    ++waiting_;
    done_.wait(lock, [&] { return !job.pending.load(std::memory_order_acquire); });
    --waiting_;
  }
  if (job.error) std::rethrow_exception(std::exchange(job.error, nullptr));
}

void BatchWorker::Work() {
  std::unique_lock lock(mutex_);
  for (;;) {
    while (queue_.empty() && !stop_) {
      idle_ = true;
      work_.wait(lock);
    }
    if (queue_.empty()) return;  // stopping, and nothing left
    Job* job = queue_.front();
    queue_.pop_front();
    lock.unlock();
    try {
      job->Count();
    } catch (...) {
      job->error = std::current_exception();
    }
    lock.lock();
    job->pending.store(false, std::memory_order_release);
    if (waiting_ > 0) done_.notify_all();
  }
}

}  // namespace codebook::aggregate
