#include "platform/data/sav/zlib_stream.h"

#include <zlib.h>

#include <algorithm>
#include <string>
#include <vector>

namespace codebook::data::sav {

namespace {

class ZlibStream final : public DataByteStream {
 public:
  ZlibStream(std::shared_ptr<const ByteSource> source, const ZlibLayout& layout)
      : source_(std::move(source)), blocks_(layout.blocks), input_(256 * 1024) {
    if (inflateInit(&strm_) != Z_OK) throw CorruptData("cannot start zlib decompression");
  }
  ~ZlibStream() override { inflateEnd(&strm_); }
  ZlibStream(const ZlibStream&) = delete;
  ZlibStream& operator=(const ZlibStream&) = delete;

  std::size_t Read(std::span<std::uint8_t> out) override {
    std::size_t produced = 0;
    while (produced < out.size() && next_ < blocks_.size()) {
      const ZlibBlock& b = blocks_[next_];
      if (!active_) {
        inflateReset(&strm_);
        strm_.avail_in = 0;
        inPos_ = b.compressedOffset;
        inLeft_ = b.compressedSize;
        outLeft_ = b.uncompressedSize;
        active_ = true;
      }
      if (strm_.avail_in == 0 && inLeft_ > 0) {
        std::size_t want = static_cast<std::size_t>(std::min<std::uint64_t>(input_.size(), inLeft_));
        std::size_t got = source_->ReadAt(inPos_, std::span<std::uint8_t>(input_.data(), want));
        if (got != want) throw CorruptData("corrupt compressed data: the file ends inside zlib block " + Which());
        inPos_ += got;
        inLeft_ -= got;
        strm_.next_in = input_.data();
        strm_.avail_in = static_cast<uInt>(got);
      }
      std::uint8_t spill = 0;
      const bool probe = outLeft_ == 0;  // is the stream over, as declared?
      std::uint8_t* dst = probe ? &spill : out.data() + produced;
      const std::size_t room = probe ? 1 : std::min<std::uint64_t>(out.size() - produced, outLeft_);
      strm_.next_out = dst;
      strm_.avail_out = static_cast<uInt>(room);
      const uInt inBefore = strm_.avail_in;
      const int rc = inflate(&strm_, Z_NO_FLUSH);
      const std::size_t wrote = room - strm_.avail_out;
      if (rc == Z_BUF_ERROR && wrote == 0 && inBefore != 0 && strm_.avail_in == inBefore) {
        throw CorruptData("corrupt compressed data: zlib block " + Which() + " makes no progress");
      }
      if (probe && wrote > 0) {
        throw CorruptData("corrupt compressed data: zlib block " + Which() + " inflates to more than its declared size");
      }
      produced += wrote;
      outLeft_ -= wrote;
      if (rc == Z_STREAM_END) {
        if (outLeft_ != 0) {
          throw CorruptData("corrupt compressed data: zlib block " + Which() + " inflates to less than its declared size");
        }
        if (strm_.avail_in != 0 || inLeft_ != 0) {
          throw CorruptData("corrupt compressed data: zlib block " + Which() + " ends before its compressed bytes");
        }
        active_ = false;
        ++next_;
        continue;
      }
      if (rc == Z_BUF_ERROR && strm_.avail_in == 0 && inLeft_ == 0) {
        throw CorruptData("corrupt compressed data: zlib block " + Which() + " is incomplete");
      }
      if (rc != Z_OK && rc != Z_BUF_ERROR) {
        throw CorruptData("corrupt compressed data in zlib block " + Which() + " (" +
                          (strm_.msg ? strm_.msg : "inflate failed") + ")");
      }
    }
    return produced;
  }

 private:
  std::string Which() const { return std::to_string(next_ + 1); }

  std::shared_ptr<const ByteSource> source_;
  std::vector<ZlibBlock> blocks_;
  std::vector<std::uint8_t> input_;
  z_stream strm_{};
  std::size_t next_ = 0;
  bool active_ = false;
  std::uint64_t inPos_ = 0;
  std::uint64_t inLeft_ = 0;
  std::uint64_t outLeft_ = 0;
};

}  // namespace

std::unique_ptr<DataByteStream> MakeZlibStream(std::shared_ptr<const ByteSource> source,
                                               const ZlibLayout& layout) {
  return std::make_unique<ZlibStream>(std::move(source), layout);
}

}  // namespace codebook::data::sav
