#include "platform/data/read_ahead_stream.h"

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <exception>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

namespace codebook::data {
namespace {

// Batches decoded ahead of the reader: one being filled, one ready. More
// would only hold memory; the reader never waits for long when decoding
// is the faster side, and when it is the slower side no depth helps.
constexpr std::size_t kAhead = 2;

struct Slot {
  CaseBatch batch;
  bool end = false;          // the inner stream ended with (or before) these records
  std::exception_ptr error;  // ...or failed after them
};

class ReadAheadStream final : public CaseStream {
 public:
  ReadAheadStream(std::unique_ptr<CaseStream> inner, std::size_t cellsPerCase)
      : inner_(std::move(inner)), cellsPerCase_(cellsPerCase) {
    slots_.resize(kAhead);
    for (Slot& s : slots_) free_.push_back(&s);
  }

  ~ReadAheadStream() override {
    if (!worker_.joinable()) return;
    {
      std::lock_guard lock(mutex_);
      stop_ = true;
    }
    freed_.notify_all();
    worker_.join();
  }

  // False when no thread could be started; the inner stream can then be
  // taken back with Release().
  bool Start(std::size_t capacity) {
    capacity_ = capacity;
    for (Slot& s : slots_) s.batch.Shape(cellsPerCase_, capacity_);
    try {
      worker_ = std::thread([this] { Work(); });
      return true;
    } catch (const std::system_error&) {
      return false;
    }
  }
  std::unique_ptr<CaseStream> Release() { return std::move(inner_); }

  bool NextBatch(CaseBatch& batch) override {
    if (deferred_) {
      batch.Clear();
      std::rethrow_exception(std::exchange(deferred_, nullptr));
    }
    if (ended_) {
      batch.Clear();
      return false;
    }
    std::unique_lock lock(mutex_);
    filled_.wait(lock, [this] { return !full_.empty(); });
    Slot* slot = full_.front();
    full_.pop_front();
    lock.unlock();
    // The caller's buffer goes back to the worker in place of the one it
    // takes: no cells are copied.
    if (batch.capacity() != capacity_ || batch.cellsPerCase() != cellsPerCase_) batch.Shape(cellsPerCase_, capacity_);
    batch.Swap(slot->batch);
    const bool end = slot->end;
    std::exception_ptr error = std::exchange(slot->error, nullptr);
    slot->end = false;
    {
      std::lock_guard relock(mutex_);
      free_.push_back(slot);
    }
    freed_.notify_one();
    if (end || error) ended_ = true;
    if (error) {
      if (batch.empty()) std::rethrow_exception(error);
      deferred_ = error;
    }
    return !batch.empty();
  }

  // Rows, for a caller that reads cases one at a time (the writer): made
  // from the batches.
  const OBS* Next() override {
    while (next_ == rows_.size()) {
      next_ = 0;
      if (!NextBatch(rows_)) return nullptr;
      row_.resize(std::max<std::size_t>(cellsPerCase_, 1));
    }
    const std::size_t r = next_++;
    splitGroupEnd_ = rows_.EndsSplitGroup() && r + 1 == rows_.size();
    rows_.CopyCase(r, row_.data());
    return row_.data();
  }

 private:
  void Work() {
    for (;;) {
      Slot* slot = nullptr;
      {
        std::unique_lock lock(mutex_);
        freed_.wait(lock, [this] { return stop_ || !free_.empty(); });
        if (stop_) return;
        slot = free_.front();
        free_.pop_front();
      }
      try {
        if (slot->batch.capacity() != capacity_) slot->batch.Shape(cellsPerCase_, capacity_);
        slot->end = !inner_->NextBatch(slot->batch);
      } catch (...) {
        slot->batch.Clear();
        slot->error = std::current_exception();
      }
      const bool last = slot->end || slot->error;
      {
        std::lock_guard lock(mutex_);
        full_.push_back(slot);
      }
      filled_.notify_one();
      if (last) return;
    }
  }

  std::unique_ptr<CaseStream> inner_;  // touched only by the worker once it runs
  const std::size_t cellsPerCase_;
  std::size_t capacity_ = 1;
  std::vector<Slot> slots_;

  std::mutex mutex_;
  std::condition_variable freed_;   // a slot went back to free_, or stop_
  std::condition_variable filled_;  // a slot went to full_
  std::deque<Slot*> free_;
  std::deque<Slot*> full_;
  bool stop_ = false;
  std::thread worker_;

  // The reader's.
  bool ended_ = false;
  std::exception_ptr deferred_;
  CaseBatch rows_;
  std::size_t next_ = 0;
  std::vector<OBS> row_;
};

}  // namespace

std::unique_ptr<CaseStream> ReadAhead(std::unique_ptr<CaseStream> inner, std::size_t cellsPerCase) {
  if (!inner) return inner;
  auto stream = std::make_unique<ReadAheadStream>(std::move(inner), cellsPerCase);
  if (!stream->Start(CasesPerBatch(cellsPerCase))) return stream->Release();
  return stream;
}

}  // namespace codebook::data
