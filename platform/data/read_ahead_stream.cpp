#include "platform/data/read_ahead_stream.h"

#include <algorithm>
#include <condition_variable>
#include <cstring>
#include <deque>
#include <exception>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

namespace codebook::data {
namespace {

// A quarter of a megabyte per block: large enough that the two threads meet
// a few thousand times per gigabyte, small enough to stay in cache.
constexpr std::size_t kBlockBytes = 256 * 1024;
constexpr std::size_t kBlocks = 3;  // one being read, up to two decoded ahead

struct Block {
  std::vector<OBS> cells;
  std::vector<bool> splitGroupEnd;
  std::size_t count = 0;
  bool end = false;          // the inner stream ended after these cases
  std::exception_ptr error;  // ...or failed after them
};

class ReadAheadStream final : public CaseStream {
 public:
  ReadAheadStream(std::unique_ptr<CaseStream> inner, std::size_t cellsPerCase)
      : inner_(std::move(inner)),
        cellsPerCase_(std::max<std::size_t>(cellsPerCase, 1)),
        casesPerBlock_(std::max<std::size_t>(1, kBlockBytes / (cellsPerCase_ * sizeof(OBS)))) {
    blocks_.resize(kBlocks);
    for (Block& b : blocks_) {
      b.cells.resize(casesPerBlock_ * cellsPerCase_);
      b.splitGroupEnd.resize(casesPerBlock_);
      free_.push_back(&b);
    }
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
  bool Start() {
    try {
      worker_ = std::thread([this] { Work(); });
      return true;
    } catch (const std::system_error&) {
      return false;
    }
  }
  std::unique_ptr<CaseStream> Release() { return std::move(inner_); }

  const OBS* Next() override {
    while (current_ == nullptr || next_ == current_->count) {
      if (!Advance()) return nullptr;
    }
    const std::size_t i = next_++;
    splitGroupEnd_ = current_->splitGroupEnd[i];
    const OBS* cells = current_->cells.data() + i * cellsPerCase_;
    if (next_ < current_->count) PrefetchCase(cells + cellsPerCase_);
    return cells;
  }

 private:
  // Asks for the next case's cells while the caller works on this one: the
  // worker wrote them on another core, and a pass reads every cell of a
  // case, so the fetches overlap instead of stalling one after another.
  // Only the first lines of a very wide case: its tables dwarf it anyway.
  void PrefetchCase(const OBS* cells) const {
    constexpr std::size_t kLine = 64 / sizeof(OBS);
    constexpr std::size_t kMostCells = 64 * kLine;
    const std::size_t n = std::min(cellsPerCase_, kMostCells);
    for (std::size_t c = 0; c < n; c += kLine) __builtin_prefetch(cells + c);
  }

  // Moves to the next decoded block; false at the end. Rethrows the inner
  // stream's error once the cases before it have been read.
  bool Advance() {
    if (current_ != nullptr) {
      if (current_->error) {
        std::exception_ptr error = std::exchange(current_->error, nullptr);
        current_->end = true;
        std::rethrow_exception(error);
      }
      if (current_->end) return false;
    }
    std::unique_lock lock(mutex_);
    if (current_ != nullptr) {
      free_.push_back(current_);
      current_ = nullptr;
      freed_.notify_one();
    }
    filled_.wait(lock, [this] { return !full_.empty(); });
    current_ = full_.front();
    full_.pop_front();
    next_ = 0;
    return true;
  }

  void Work() {
    for (;;) {
      Block* block = nullptr;
      {
        std::unique_lock lock(mutex_);
        freed_.wait(lock, [this] { return stop_ || !free_.empty(); });
        if (stop_) return;
        block = free_.front();
        free_.pop_front();
      }
      Fill(*block);
      const bool last = block->end || block->error;
      {
        std::lock_guard lock(mutex_);
        full_.push_back(block);
      }
      filled_.notify_one();
      if (last) return;
    }
  }

  void Fill(Block& block) {
    block.count = 0;
    block.end = false;
    block.error = nullptr;
    try {
      while (block.count < casesPerBlock_) {
        const OBS* cells = inner_->Next();
        if (cells == nullptr) {
          block.end = true;
          return;
        }
        std::memcpy(block.cells.data() + block.count * cellsPerCase_, cells, cellsPerCase_ * sizeof(OBS));
        block.splitGroupEnd[block.count] = inner_->SplitGroupEnd();
        ++block.count;
      }
    } catch (...) {
      block.error = std::current_exception();
    }
  }

  std::unique_ptr<CaseStream> inner_;  // touched only by the worker once it runs
  const std::size_t cellsPerCase_;
  const std::size_t casesPerBlock_;
  std::vector<Block> blocks_;

  std::mutex mutex_;
  std::condition_variable freed_;   // a block went back to free_, or stop_
  std::condition_variable filled_;  // a block went to full_
  std::deque<Block*> free_;
  std::deque<Block*> full_;
  bool stop_ = false;

  Block* current_ = nullptr;  // the reader's; owned by neither queue
  std::size_t next_ = 0;
  std::thread worker_;
};

}  // namespace

std::unique_ptr<CaseStream> ReadAhead(std::unique_ptr<CaseStream> inner, std::size_t cellsPerCase) {
  if (!inner) return inner;
  auto stream = std::make_unique<ReadAheadStream>(std::move(inner), cellsPerCase);
  if (!stream->Start()) return stream->Release();
  return stream;
}

}  // namespace codebook::data
