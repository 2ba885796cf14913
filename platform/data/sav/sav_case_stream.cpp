#include "platform/data/sav/sav_case_stream.h"

#include <algorithm>
#include <bit>
#if defined(__SSE2__)
#include <immintrin.h>
#endif
#include <cmath>
#include <cstring>
#include <exception>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/data/data_error.h"
#include "platform/data/extended_missing.h"
#include "platform/data/sav/bytecode_decoder.h"
#include "platform/data/sav/data_stream.h"
#include "platform/data/sav/file_error.h"
#include "platform/data/sav/text_encoding.h"
#include "platform/data/sav/zlib_stream.h"
#include "platform/data/text/utf8.h"

namespace codebook::data::sav {
namespace {

constexpr std::size_t kBlockBytes = 256 * 1024;
constexpr std::size_t kWindowBytes = 1024 * 1024;
constexpr std::uint64_t kSysmisBits = 0xFFEFFFFFFFFFFFFFull;
// A valid value inside the band of extended missing codes is lowered below
// it, so that it is never taken for one (platform/data/extended_missing.h).
constexpr std::uint64_t kBelowBandBits = std::bit_cast<std::uint64_t>(kBelowReservedBand);

constexpr std::uint64_t OutOfBand(std::uint64_t bits) {
  return InReservedBand(std::bit_cast<double>(bits)) ? kBelowBandBits : bits;
}

class SavCaseStream final : public CaseStream {
  static constexpr std::size_t kTile = 8;  // cases transposed together: a cache line per column
  static constexpr std::size_t kColumnsAtOnce = 1024;

 public:
  SavCaseStream(std::shared_ptr<const ByteSource> source, std::shared_ptr<const CasePlan> plan)
      : source_(std::move(source)), plan_(std::move(plan)), decoder_(plan_->encoding) {
    const CasePlan& p = *plan_;
    const std::size_t caseBytes = p.slotsPerCase * 8;
    // At least a tile of cases, so that very wide cases are transposed a
    // tile at a time too.
    casesPerBlock_ = caseBytes == 0 ? 0 : std::max<std::size_t>(kTile, kBlockBytes / caseBytes);
    slots_.resize(casesPerBlock_ * p.slotsPerCase);
    if (!p.identity) cells_.resize(kTile * std::max<std::size_t>(p.cellsPerCase, 1));
    numericCell_.assign(p.cellsPerCase, 0);
    for (const auto& n : p.numerics) {
      if (n.cell < numericCell_.size()) numericCell_[n.cell] = 1;
    }
    const std::uint64_t end = p.compression == Compression::kZlib ? p.zlib.trailerOffset : source_->Size();
    switch (p.compression) {
      case Compression::kNone:
        raw_ = MakeRangeStream(source_, p.dataOffset, end);
        break;
      case Compression::kBytecode:
        window_ = std::make_unique<InputWindow>(MakeRangeStream(source_, p.dataOffset, end), kWindowBytes);
        break;
      case Compression::kZlib:
        window_ = std::make_unique<InputWindow>(MakeZlibStream(source_, p.zlib), kWindowBytes);
        break;
    }
    if (window_) bytecode_.emplace(*window_, p.bias, p.bigEndian);
  }

  const OBS* Next() override {
    if (next_ == inBlock_) {
      if (!FillBlock()) return nullptr;
    }
    auto* slots = reinterpret_cast<std::uint8_t*>(slots_.data()) + next_ * plan_->slotsPerCase * 8;
    ++next_;
    ++delivered_;
    return Convert(slots, cells_.data());
  }

  bool NextBatch(CaseBatch& batch) override {
    batch.Clear();
    if (deferred_) std::rethrow_exception(std::exchange(deferred_, nullptr));
    // Straight into columns keeps a line of each column open while eight
    // cases fill it: right for ordinary widths. Very wide cases would keep
    // too many open at once, and go through rows and whole-line tiles.
    if (bytecode_ && plan_->identity && plan_->cellsPerCase <= kColumnsAtOnce) return DecodeIntoColumns(batch);
    try {
      while (!batch.full()) {
        if (next_ == inBlock_ && !FillBlock()) break;
        const std::size_t n = std::min(inBlock_ - next_, batch.capacity() - batch.size());
        const std::size_t first = batch.Grow(n);
        // Tiles start at multiples of kTile in the batch, so that a whole
        // tile fills whole cache lines of its columns.
        for (std::size_t done = 0; done < n;) {
          const std::size_t at = first + done;
          const std::size_t k = std::min(kTile - at % kTile, n - done);
          Transpose(batch, at, k);
          done += k;
        }
      }
#if defined(__SSE2__)
      _mm_sfence();  // the columns' streamed lines are written before the batch is handed on
#endif
    } catch (...) {
      // The cases before the damage go out first; the error with the next call.
      if (batch.empty()) throw;
      deferred_ = std::current_exception();
    }
    return !batch.empty();
  }

  // Byte-code straight into the batch's columns: each slot goes to its
  // column as it is decoded, numbers converted on the way. A case writes one
  // value into each of its columns' current lines, which stay in the first
  // cache level until eight cases have filled them: no buffer of rows and
  // no pass to turn them into columns.
  bool DecodeIntoColumns(CaseBatch& batch) {
    const std::size_t S = plan_->slotsPerCase;
    if (S == 0 || ended_) {
      if (!batch.empty()) return true;
      Finish();
      return false;
    }
    columns_.resize(S);
    const std::uint64_t declared = plan_->declaredSysmisBits;
    const bool swap = plan_->bigEndian;
    while (!batch.full() && !ended_) {
      const std::size_t first = batch.size();
      const std::size_t want = (batch.capacity() - first) * S;
      for (std::size_t c = 0; c < S; ++c) columns_[c] = batch.Column(c) + first;
      std::size_t slot = 0;
      std::size_t row = first;
      const std::uint8_t* numeric = numericCell_.data();
      OBS** columns = columns_.data();
      const std::size_t end = batch.capacity();
      const std::size_t got = bytecode_->DecodeEach(want, [&](std::uint64_t bits) __attribute__((always_inline)) {
        if (numeric[slot] != 0) {
          if (swap) bits = __builtin_bswap64(bits);
          const bool nan = (bits & 0x7FFFFFFFFFFFFFFFull) > 0x7FF0000000000000ull;
          bits = (nan || bits == declared) ? kSysmisBits : OutOfBand(bits);
        }
        std::memcpy(columns[slot]++, &bits, 8);
        if (++slot == S) {
          slot = 0;
          // Each column's next line is asked for, to be written, as a case
          // starts a line: its last reader was another core, and the misses
          // of a hundred columns overlap only when asked for together.
          if ((++row & 7) == 0 && row + 8 < end) {
            for (std::size_t c = 0; c < S; ++c) __builtin_prefetch(columns[c] + 8, 1);
          }
        }
      });
      const std::size_t cases = got / S;
      batch.Grow(cases);
      FixStrings(batch, first, first + cases);
      delivered_ += static_cast<std::int64_t>(cases);
      if (got < want) {
        ended_ = true;
        if (!window_->Error().empty()) {
          pendingError_ = window_->Error();
        } else if (got % S != 0 || bytecode_->MissingRawBlock()) {
          pendingError_ = "the file ends inside a case";
        }
      }
    }
    if (batch.empty()) {
      Finish();
      return false;
    }
    return true;
  }

  // The string values of records [from, to): blanks for NULs and for the
  // bytes past the width, and valid UTF-8. Most values need nothing, which
  // a look at whole words tells.
  void FixStrings(CaseBatch& batch, std::size_t from, std::size_t to) {
    for (const auto& s : plan_->strings) {
      const std::size_t first = s.cellByte / 8;
      const std::size_t cells = s.cellBytes / 8;
      // The last cell's bytes past the width are blanks.
      const std::size_t tail = s.width % 8;
      const std::size_t last = first + (s.width == 0 ? 0 : (s.width - 1) / 8);
      if (tail != 0) {
        std::uint64_t keep = 0;
        for (std::size_t i = 0; i < tail; ++i) keep |= std::uint64_t{0xFF} << (8 * i);
        const std::uint64_t blanks = 0x2020202020202020ull & ~keep;
        OBS* column = batch.Column(last);
        for (std::size_t r = from; r < to; ++r) {
          std::uint64_t w;
          std::memcpy(&w, &column[r], 8);
          w = (w & keep) | blanks;
          std::memcpy(&column[r], &w, 8);
        }
      }
      for (std::size_t c = last + 1; c < first + cells; ++c) {
        OBS* column = batch.Column(c);
        for (std::size_t r = from; r < to; ++r) std::memset(&column[r], ' ', 8);
      }
      for (std::size_t r = from; r < to; ++r) {
        std::uint64_t odd = 0;
        for (std::size_t c = first; c <= last; ++c) {
          std::uint64_t w;
          std::memcpy(&w, &batch.Column(c)[r], 8);
          odd |= ((w - 0x0101010101010101ull) & ~w) | w;
        }
        if ((odd & 0x8080808080808080ull) == 0) continue;
        // A NUL or a byte of a multi-byte character: the whole value, slowly.
        value_.resize(cells);
        for (std::size_t k = 0; k < cells; ++k) value_[k] = batch.Column(first + k)[r];
        CasePlan::String local = s;
        local.cellByte = 0;
        FixInPlace(reinterpret_cast<std::uint8_t*>(value_.data()), local);
        for (std::size_t k = 0; k < cells; ++k) batch.Column(first + k)[r] = value_[k];
      }
    }
  }

  // Decodes blocks without converting them; for counting.
  std::int64_t CountRemaining() {
    while (FillBlock()) {
      delivered_ += static_cast<std::int64_t>(inBlock_);
      next_ = inBlock_;
    }
    return delivered_;
  }

 private:
  [[noreturn]] void Fail(std::int64_t caseNumber, const std::string& why) const {
    throw DataError(plan_->fileName, caseNumber, why);
  }

  // Decodes the next block of cases; false at the clean end of the data.
  bool FillBlock() {
    next_ = 0;
    inBlock_ = 0;
    if (ended_ || casesPerBlock_ == 0) return Finish();
    const std::size_t S = plan_->slotsPerCase;
    const std::size_t want = casesPerBlock_ * S;
    auto* out = reinterpret_cast<std::uint8_t*>(slots_.data());
    std::size_t got = 0;
    bool partial = false;
    if (raw_) {
      std::size_t bytes = 0;
      try {
        bytes = raw_->Read(std::span<std::uint8_t>(out, want * 8));
      } catch (const FileError& e) {  // the file could not be read any more
        Fail(delivered_ + 1, e.Problem());
      }
      got = bytes / 8;
      partial = bytes % (S * 8) != 0;
    } else {
      got = bytecode_->Decode(out, want);
      partial = got < want && (got % S != 0 || bytecode_->MissingRawBlock());
    }
    inBlock_ = got / S;
    if (got < want) {
      ended_ = true;
      if (window_ && !window_->Error().empty()) {
        pendingError_ = window_->Error();
      } else if (partial) {
        pendingError_ = "the file ends inside a case";
      }
    }
    if (inBlock_ == 0) return Finish();
    return true;
  }

  bool Finish() {
    const std::int64_t caseNumber = delivered_ + 1;
    if (!pendingError_.empty()) {
      std::string why = std::move(pendingError_);
      pendingError_.clear();
      Fail(caseNumber, why);
    }
    if (plan_->declaredCases >= 0 && delivered_ < plan_->declaredCases && !reportedShort_) {
      reportedShort_ = true;
      Fail(caseNumber, "the data end after " + std::to_string(delivered_) +
                           " cases, but the file declares " + std::to_string(plan_->declaredCases));
    }
    return false;
  }

  bool IsSysmis(std::uint64_t bits) const {
    if (bits == kSysmisBits || bits == plan_->declaredSysmisBits) return true;
    return std::isnan(std::bit_cast<double>(bits));
  }

  std::uint64_t NumberBits(const std::uint8_t* slot) const {
    std::uint64_t bits;
    std::memcpy(&bits, slot, 8);
    return NumberBits(bits);
  }
  std::uint64_t NumberBits(std::uint64_t bits) const {
    if (plan_->bigEndian) bits = __builtin_bswap64(bits);
    return IsSysmis(bits) ? kSysmisBits : OutOfBand(bits);
  }

  // Converts the next `k` cases of the block (k <= kTile) and writes them to
  // the batch's columns from record `at`. A tile of rows at a time: each
  // column then receives whole cache lines.
  void Transpose(CaseBatch& batch, std::size_t at, std::size_t k) {
    const std::size_t S = plan_->slotsPerCase;
    const std::size_t cells = plan_->cellsPerCase;
    const OBS* rows[kTile];
    for (std::size_t j = 0; j < k; ++j) {
      auto* slots = reinterpret_cast<std::uint8_t*>(slots_.data()) + (next_ + j) * S * 8;
      if (plan_->identity) {
        // Numbers are put right on their way into the columns, below.
        for (const auto& s : plan_->strings) FixInPlace(slots + s.cellByte, s);
        rows[j] = reinterpret_cast<const OBS*>(slots);
      } else {
        rows[j] = Convert(slots, cells_.data() + j * cells);
      }
    }
    next_ += k;
    delivered_ += static_cast<std::int64_t>(k);
    if (plan_->bigEndian) {
      Columns<true>(batch, at, rows, k);
    } else {
      Columns<false>(batch, at, rows, k);
    }
  }

  // Writes the k rows to the batch's columns from record `at`; numbers of
  // a case converted in place are put right on the way.
  template <bool kSwap>
  void Columns(CaseBatch& batch, std::size_t at, const OBS* const* rows, std::size_t k) {
    const std::size_t cells = plan_->cellsPerCase;
    const bool normalise = plan_->identity;
    const std::uint64_t declared = plan_->declaredSysmisBits;
    // System-missing in any of its spellings (the usual one, the file's,
    // any NaN) becomes the usual one, without a branch per value.
    const auto number = [declared](std::uint64_t bits) {
      if (kSwap) bits = __builtin_bswap64(bits);
      const bool nan = (bits & 0x7FFFFFFFFFFFFFFFull) > 0x7FF0000000000000ull;
      return (nan || bits == declared) ? kSysmisBits : OutOfBand(bits);
    };
    for (std::size_t c = 0; c < cells; ++c) {
      OBS* __restrict column = batch.Column(c) + at;
      if (normalise && numericCell_[c] != 0) {
        if (k == kTile) {
          std::uint64_t line[kTile];
          for (std::size_t j = 0; j < kTile; ++j) {
            std::memcpy(&line[j], rows[j] + c, 8);
            line[j] = number(line[j]);
          }
          StreamLine(column, line);
        } else {
          for (std::size_t j = 0; j < k; ++j) Normalise(rows[j] + c, column + j, number);
        }
      } else if (k == kTile) {
        std::uint64_t line[kTile];
        for (std::size_t j = 0; j < kTile; ++j) std::memcpy(&line[j], rows[j] + c, 8);
        StreamLine(column, line);
      } else {
        for (std::size_t j = 0; j < k; ++j) column[j] = rows[j][c];
      }
    }
  }

  // A whole cache line of a column, written past the caches: the batch is
  // read by another thread, from another core, and would only be fetched
  // here first to be overwritten, line after line of it.
  static void StreamLine(OBS* to, const std::uint64_t (&line)[kTile]) {
#if defined(__SSE2__)
    auto* out = reinterpret_cast<long long*>(to);
    for (std::size_t j = 0; j < kTile; ++j) _mm_stream_si64(out + j, static_cast<long long>(line[j]));
#else
    std::memcpy(to, line, sizeof line);
#endif
  }

  template <typename F>
  static void Normalise(const OBS* from, OBS* to, const F& number) {
    std::uint64_t bits;
    std::memcpy(&bits, from, 8);
    bits = number(bits);
    std::memcpy(to, &bits, 8);
  }

  // The cells of a case from its slots: in place when slots and cells
  // coincide, else into `out`.
  const OBS* Convert(std::uint8_t* slots, OBS* out) {
    const CasePlan& p = *plan_;
    if (p.identity) {
      for (const auto& n : p.numerics) {
        std::uint64_t bits = NumberBits(slots + n.slot * 8);
        std::memcpy(slots + n.slot * 8, &bits, 8);
      }
      for (const auto& s : p.strings) FixInPlace(slots + s.cellByte, s);
      return reinterpret_cast<const OBS*>(slots);
    }
    auto* cells = reinterpret_cast<std::uint8_t*>(out);
    for (const auto& n : p.numerics) {
      std::uint64_t bits = NumberBits(slots + n.slot * 8);
      std::memcpy(cells + n.cell * 8, &bits, 8);
    }
    for (const auto& s : p.strings) Assemble(slots, cells + s.cellByte, s);
    return out;
  }

  // UTF-8 file, same layout: NULs become blanks, padding becomes blanks,
  // invalid UTF-8 is repaired.
  void FixInPlace(std::uint8_t* cell, const CasePlan::String& s) {
    // A word at a time: most strings hold no NUL at all.
    std::uint32_t i = 0;
    for (; i + 8 <= s.width; i += 8) {
      std::uint64_t w;
      std::memcpy(&w, cell + i, 8);
      if (((w - 0x0101010101010101ull) & ~w & 0x8080808080808080ull) == 0) continue;
      for (std::uint32_t j = i; j < i + 8; ++j) {
        if (cell[j] == 0) cell[j] = ' ';
      }
    }
    for (; i < s.width; ++i) {
      if (cell[i] == 0) cell[i] = ' ';
    }
    std::memset(cell + s.width, ' ', s.cellBytes - s.width);
    if (HasHighByte(cell, s.width)) {
      std::string_view text(reinterpret_cast<const char*>(cell), s.width);
      if (!IsValidUtf8(text)) {
        std::string fixed = SanitizeUtf8(text);
        std::size_t n = Utf8Prefix(fixed, s.cellBytes);
        std::memcpy(cell, fixed.data(), n);
        std::memset(cell + n, ' ', s.cellBytes - n);
      }
    }
  }

  void Assemble(const std::uint8_t* slots, std::uint8_t* cell, const CasePlan::String& s) {
    scratch_.clear();
    for (std::uint32_t k = 0; k < s.pieceCount; ++k) {
      const auto& piece = plan_->pieces[s.firstPiece + k];
      scratch_.append(reinterpret_cast<const char*>(slots) + piece.sourceByte, piece.length);
    }
    for (char& c : scratch_) {
      if (c == '\0') c = ' ';
    }
    std::size_t len = scratch_.size();
    while (len > 0 && scratch_[len - 1] == ' ') --len;
    std::string_view value(scratch_.data(), len);
    if (!plan_->utf8 && HasHighByte(reinterpret_cast<const std::uint8_t*>(value.data()), len)) {
      decoded_.clear();
      decoder_.DecodeAppend(value, decoded_);
      value = decoded_;
    } else if (plan_->utf8 && HasHighByte(reinterpret_cast<const std::uint8_t*>(value.data()), len) &&
               !IsValidUtf8(value)) {
      decoded_ = SanitizeUtf8(value);
      value = decoded_;
    }
    std::size_t n = Utf8Prefix(value, s.cellBytes);
    std::memcpy(cell, value.data(), n);
    std::memset(cell + n, ' ', s.cellBytes - n);
  }

  std::shared_ptr<const ByteSource> source_;
  std::shared_ptr<const CasePlan> plan_;
  TextDecoder decoder_;
  std::unique_ptr<DataByteStream> raw_;
  std::unique_ptr<InputWindow> window_;
  std::optional<BytecodeDecoder> bytecode_;
  std::size_t casesPerBlock_ = 0;
  std::vector<OBS> slots_;
  std::vector<OBS> cells_;  // kTile converted cases, when slots and cells differ
  std::vector<std::uint8_t> numericCell_;  // per cell: it holds a number
  std::vector<OBS*> columns_;             // per slot: where its next value goes
  std::vector<OBS> value_;                // one string value's cells
  std::size_t inBlock_ = 0;
  std::size_t next_ = 0;
  std::int64_t delivered_ = 0;
  bool ended_ = false;
  bool reportedShort_ = false;
  std::string pendingError_;
  std::exception_ptr deferred_;  // met by a batch that already had cases
  std::string scratch_;
  std::string decoded_;
};

}  // namespace

std::unique_ptr<CaseStream> OpenSavCases(std::shared_ptr<const ByteSource> source,
                                         std::shared_ptr<const CasePlan> plan) {
  return std::make_unique<SavCaseStream>(std::move(source), std::move(plan));
}

std::int64_t CountSavCases(std::shared_ptr<const ByteSource> source,
                           std::shared_ptr<const CasePlan> plan) {
  SavCaseStream stream(std::move(source), std::move(plan));
  return stream.CountRemaining();
}

}  // namespace codebook::data::sav
