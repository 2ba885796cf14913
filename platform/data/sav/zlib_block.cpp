#include "platform/data/sav/zlib_block.h"

#include <zlib.h>
#ifdef CODEBOOK_HAVE_LIBDEFLATE
#include <libdeflate.h>
#endif

#include <algorithm>
#include <new>
#include <vector>

#include "platform/data/sav/data_stream.h"

namespace codebook::data::sav {

struct ZlibBlockStream::State {
  z_stream strm{};
  std::vector<std::uint8_t> input = std::vector<std::uint8_t>(256 * 1024);
  const ByteSource* source = nullptr;
  std::size_t index = 0;
  std::uint64_t inPos = 0;
  std::uint64_t inLeft = 0;
  std::uint64_t outLeft = 0;
  bool done = true;
  std::string error;  // met after bytes that were delivered first

  std::string Which() const { return std::to_string(index + 1); }

  // One call of inflate into `room` bytes at `dst`: adds what it wrote to
  // `produced`; returns what is wrong with the block, or nothing.
  std::string Step(std::uint8_t* dst, std::size_t room, std::size_t& produced) {
    if (strm.avail_in == 0 && inLeft > 0) {
      const std::size_t want = static_cast<std::size_t>(std::min<std::uint64_t>(input.size(), inLeft));
      const std::size_t got = source->ReadAt(inPos, std::span<std::uint8_t>(input.data(), want));
      if (got != want) return "corrupt compressed data: the file ends inside zlib block " + Which();
      inPos += got;
      inLeft -= got;
      strm.next_in = input.data();
      strm.avail_in = static_cast<uInt>(got);
    }
    std::uint8_t spill = 0;
    const bool probe = outLeft == 0;  // is the stream over, as declared?
    if (probe) {
      dst = &spill;
      room = 1;
    } else {
      room = static_cast<std::size_t>(std::min<std::uint64_t>(room, outLeft));
    }
    strm.next_out = dst;
    strm.avail_out = static_cast<uInt>(room);
    const uInt inBefore = strm.avail_in;
    const int rc = inflate(&strm, Z_NO_FLUSH);
    const std::size_t wrote = room - strm.avail_out;
    if (rc == Z_BUF_ERROR && wrote == 0 && inBefore != 0 && strm.avail_in == inBefore) {
      return "corrupt compressed data: zlib block " + Which() + " makes no progress";
    }
    if (probe && wrote > 0) {
      return "corrupt compressed data: zlib block " + Which() + " inflates to more than its declared size";
    }
    produced += wrote;
    outLeft -= wrote;
    if (rc == Z_STREAM_END) {
      if (outLeft != 0) {
        return "corrupt compressed data: zlib block " + Which() + " inflates to less than its declared size";
      }
      if (strm.avail_in != 0 || inLeft != 0) {
        return "corrupt compressed data: zlib block " + Which() + " ends before its compressed bytes";
      }
      done = true;
      return {};
    }
    if (rc == Z_BUF_ERROR && strm.avail_in == 0 && inLeft == 0) {
      return "corrupt compressed data: zlib block " + Which() + " is incomplete";
    }
    if (rc != Z_OK && rc != Z_BUF_ERROR) {
      return "corrupt compressed data in zlib block " + Which() + " (" +
             (strm.msg ? strm.msg : "inflate failed") + ")";
    }
    return {};
  }
};

ZlibBlockStream::ZlibBlockStream() : s_(std::make_unique<State>()) {
  if (inflateInit(&s_->strm) != Z_OK) throw CorruptData("cannot start zlib decompression");
}

ZlibBlockStream::~ZlibBlockStream() { inflateEnd(&s_->strm); }

void ZlibBlockStream::Start(const ByteSource& source, const ZlibBlock& block, std::size_t index) {
  State& s = *s_;
  inflateReset(&s.strm);
  s.strm.avail_in = 0;
  s.source = &source;
  s.index = index;
  s.inPos = block.compressedOffset;
  s.inLeft = block.compressedSize;
  s.outLeft = block.uncompressedSize;
  s.done = false;
  s.error.clear();
}

std::size_t ZlibBlockStream::Read(std::span<std::uint8_t> out) {
  State& s = *s_;
  if (!s.error.empty()) throw CorruptData(s.error);
  std::size_t produced = 0;
  while (!s.done && produced < out.size()) {
    s.error = s.Step(out.data() + produced, out.size() - produced, produced);
    if (!s.error.empty()) {
      if (produced == 0) throw CorruptData(s.error);
      break;  // the bytes go out first; the next call reports the damage
    }
  }
  return produced;
}

struct BlockInflater::State {
#ifdef CODEBOOK_HAVE_LIBDEFLATE
  libdeflate_decompressor* fast = nullptr;
  BlockBuffer input;
#endif
  std::unique_ptr<ZlibBlockStream> zlib;  // made when first needed
};

BlockInflater::BlockInflater() : s_(std::make_unique<State>()) {
#ifdef CODEBOOK_HAVE_LIBDEFLATE
  s_->fast = libdeflate_alloc_decompressor();
  if (!s_->fast) throw std::bad_alloc();
#endif
}

BlockInflater::~BlockInflater() {
#ifdef CODEBOOK_HAVE_LIBDEFLATE
  libdeflate_free_decompressor(s_->fast);
#endif
}

void BlockInflater::Inflate(const ByteSource& source, const ZlibBlock& block, std::size_t index,
                            std::uint8_t* out) {
  const std::size_t size = block.uncompressedSize;
#ifdef CODEBOOK_HAVE_LIBDEFLATE
  // The declared size is the whole output room, so a block that inflates to
  // more or less fails here; so does one whose stream ends early.
  std::uint8_t* in = s_->input.Reserve(block.compressedSize);
  const std::size_t got = source.ReadAt(block.compressedOffset, std::span<std::uint8_t>(in, block.compressedSize));
  std::size_t used = 0;
  if (got == block.compressedSize &&
      libdeflate_zlib_decompress_ex(s_->fast, in, got, out, size, &used, nullptr) == LIBDEFLATE_SUCCESS &&
      used == got) {
    return;
  }
#endif
  // zlib tells what is wrong with a rejected block more precisely (how it
  // breaks, or that the file ends inside it), and a block zlib accepts is
  // read as it always was.
  if (!s_->zlib) s_->zlib = std::make_unique<ZlibBlockStream>();
  ZlibBlockStream& z = *s_->zlib;
  z.Start(source, block, index);
  std::size_t done = 0;
  std::uint8_t unused = 0;
  for (;;) {
    const std::size_t n = done < size ? z.Read(std::span<std::uint8_t>(out + done, size - done))
                                      : z.Read(std::span<std::uint8_t>(&unused, 1));
    if (n == 0) return;
    done += n;
  }
}

}  // namespace codebook::data::sav
