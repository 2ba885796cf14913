#include "platform/data/sav/data_stream.h"

#include <algorithm>
#include <cstring>

namespace codebook::data::sav {
namespace {

class RangeStream final : public DataByteStream {
 public:
  RangeStream(std::shared_ptr<const ByteSource> source, std::uint64_t begin, std::uint64_t end)
      : source_(std::move(source)), pos_(begin), end_(std::max(begin, end)) {}

  std::size_t Read(std::span<std::uint8_t> out) override {
    std::size_t want = static_cast<std::size_t>(std::min<std::uint64_t>(out.size(), end_ - pos_));
    if (want == 0) return 0;
    std::size_t got = source_->ReadAt(pos_, out.first(want));
    pos_ += got;
    if (got < want) end_ = pos_;  // the file shrank under us: treat as its end
    return got;
  }

 private:
  std::shared_ptr<const ByteSource> source_;
  std::uint64_t pos_;
  std::uint64_t end_;
};

}  // namespace

std::unique_ptr<DataByteStream> MakeRangeStream(std::shared_ptr<const ByteSource> source,
                                                std::uint64_t begin, std::uint64_t end) {
  return std::make_unique<RangeStream>(std::move(source), begin, end);
}

InputWindow::InputWindow(std::unique_ptr<DataByteStream> stream, std::size_t capacity)
    : stream_(std::move(stream)), buffer_(std::max<std::size_t>(capacity, 4096)) {}

bool InputWindow::Refill(std::size_t n) {
  if (begin_ > 0) {
    std::size_t avail = end_ - begin_;
    std::memmove(buffer_.data(), buffer_.data() + begin_, avail);
    begin_ = 0;
    end_ = avail;
  }
  while (!exhausted_ && end_ < buffer_.size()) {
    std::size_t got = 0;
    try {
      got = stream_->Read(std::span<std::uint8_t>(buffer_.data() + end_, buffer_.size() - end_));
    } catch (const CorruptData& e) {
      error_ = e.what();
      exhausted_ = true;
      break;
    }
    if (got == 0) {
      exhausted_ = true;
      break;
    }
    end_ += got;
    if (end_ - begin_ >= n) break;
  }
  return end_ - begin_ >= n;
}

}  // namespace codebook::data::sav
