#include "platform/data/sav/zlib_stream.h"

#include <algorithm>
#include <array>
#include <condition_variable>
#include <cstring>
#include <exception>
#include <memory>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

#include "platform/data/sav/zlib_block.h"

namespace codebook::data::sav {
namespace {

// Blocks held at once: the one being read and three inflated ahead, enough
// for two workers to stay busy while the reader catches up.
constexpr std::size_t kSlots = 4;

struct Slot {
  BlockBuffer buffer;
  std::size_t size = 0;      // inflated bytes in the buffer
  bool ready = false;        // the block's worker is done with it
  bool streamed = false;     // too large to hold: the reader inflates it
  std::exception_ptr error;  // raised instead of the block's bytes
};

class ZlibStream final : public DataByteStream {
 public:
  ZlibStream(std::shared_ptr<const ByteSource> source, const ZlibLayout& layout, const InflateOptions& options)
      : source_(std::move(source)), blocks_(layout.blocks), maxHeld_(options.maxHeldBlock), end_(blocks_.size()) {
    const std::size_t wanted = options.workers >= 0 ? static_cast<std::size_t>(options.workers)
                                                    : std::clamp(std::thread::hardware_concurrency(), 1u, 2u);
    const std::size_t count = std::min(wanted, blocks_.size());
    workers_.reserve(count);  // so that only starting a thread can fail below
    for (std::size_t i = 0; i < count; ++i) {
      try {
        workers_.emplace_back([this] { Work(); });
      } catch (const std::system_error&) {
        break;  // fewer workers, or none: the reader's thread inflates
      }
    }
  }

  ~ZlibStream() override {
    {
      std::lock_guard lock(mutex_);
      stop_ = true;
    }
    workable_.notify_all();
    for (std::thread& t : workers_) t.join();
  }

  ZlibStream(const ZlibStream&) = delete;
  ZlibStream& operator=(const ZlibStream&) = delete;

  std::size_t Read(std::span<std::uint8_t> out) override {
    std::size_t produced = 0;
    while (produced < out.size() && current_ < blocks_.size()) {
      Slot& slot = acquired_ ? SlotOf(current_) : Acquire();
      if (slot.error) {
        if (produced > 0) break;  // the bytes before the damage go out first
        std::rethrow_exception(slot.error);
      }
      if (slot.streamed) {
        try {
          const std::size_t n = ReadStreamed(out.subspan(produced));
          if (n == 0) Release();
          produced += n;
        } catch (...) {
          slot.error = std::current_exception();
        }
        continue;
      }
      const std::size_t n = std::min(out.size() - produced, slot.size - offset_);
      std::memcpy(out.data() + produced, slot.buffer.Data() + offset_, n);
      produced += n;
      offset_ += n;
      if (offset_ == slot.size) Release();
    }
    return produced;
  }

 private:
  bool Held(std::size_t i) const { return blocks_[i].uncompressedSize <= maxHeld_; }
  bool Inline() const { return workers_.empty(); }
  Slot& SlotOf(std::size_t i) { return slots_[Inline() ? 0 : i % kSlots]; }

  // Inflates block i into its slot, or marks it for the reader to stream.
  void Fill(Slot& slot, std::size_t i, std::unique_ptr<BlockInflater>& inflater) {
    slot.error = nullptr;
    slot.streamed = !Held(i);
    if (slot.streamed) return;
    try {
      if (!inflater) inflater = std::make_unique<BlockInflater>();
      inflater->Inflate(*source_, blocks_[i], i, slot.buffer.Reserve(blocks_[i].uncompressedSize));
      slot.size = blocks_[i].uncompressedSize;
    } catch (...) {
      slot.error = std::current_exception();
    }
  }

  void Work() {
    std::unique_ptr<BlockInflater> inflater;  // one per thread: inflaters are not shared
    std::unique_lock lock(mutex_);
    for (;;) {
      workable_.wait(lock, [this] { return stop_ || (claim_ < end_ && claim_ < current_ + kSlots); });
      if (stop_) return;
      const std::size_t i = claim_++;
      Slot& slot = slots_[i % kSlots];
      lock.unlock();
      Fill(slot, i, inflater);
      lock.lock();
      slot.ready = true;
      // The reader stops at a damaged block: the blocks after it are not needed.
      if (slot.error) end_ = std::min(end_, i + 1);
      ready_.notify_one();
    }
  }

  Slot& Acquire() {
    Slot& slot = SlotOf(current_);
    if (Inline()) {
      Fill(slot, current_, inlineInflater_);
    } else {
      std::unique_lock lock(mutex_);
      ready_.wait(lock, [&slot] { return slot.ready; });
    }
    acquired_ = true;
    return slot;
  }

  void Release() {
    acquired_ = false;
    offset_ = 0;
    streamStarted_ = false;
    if (Inline()) {
      ++current_;
      return;
    }
    {
      std::lock_guard lock(mutex_);
      SlotOf(current_).ready = false;
      ++current_;
    }
    workable_.notify_one();
  }

  std::size_t ReadStreamed(std::span<std::uint8_t> out) {
    if (!streamStarted_) {
      if (!stream_) stream_ = std::make_unique<ZlibBlockStream>();
      stream_->Start(*source_, blocks_[current_], current_);
      streamStarted_ = true;
    }
    return stream_->Read(out);
  }

  const std::shared_ptr<const ByteSource> source_;
  const std::vector<ZlibBlock> blocks_;
  const std::size_t maxHeld_;

  // Shared with the workers, under mutex_ (a slot's buffer belongs to its
  // worker until it is ready, then to the reader until it is released).
  std::mutex mutex_;
  std::condition_variable workable_;  // a slot was released, or stop
  std::condition_variable ready_;     // a block is ready
  std::array<Slot, kSlots> slots_;
  std::size_t claim_ = 0;  // the next block a worker takes
  std::size_t end_;        // no block from here on is taken
  std::size_t current_ = 0;  // the block being read (changed by the reader only)
  bool stop_ = false;
  std::vector<std::thread> workers_;

  // The reader's own.
  bool acquired_ = false;
  std::size_t offset_ = 0;
  bool streamStarted_ = false;
  std::unique_ptr<ZlibBlockStream> stream_;
  std::unique_ptr<BlockInflater> inlineInflater_;
};

}  // namespace

std::unique_ptr<DataByteStream> MakeZlibStream(std::shared_ptr<const ByteSource> source,
                                               const ZlibLayout& layout, const InflateOptions& options) {
  return std::make_unique<ZlibStream>(std::move(source), layout, options);
}

}  // namespace codebook::data::sav
