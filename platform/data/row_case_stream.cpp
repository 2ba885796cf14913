#include "platform/data/row_case_stream.h"

#include <algorithm>
#include <cstring>
#include <exception>
#include <optional>
#include <vector>

#include "platform/data/data_error.h"
#include "platform/data/sav/file_error.h"
#include "platform/data/text/utf8.h"

namespace codebook::data {
namespace {

// Rows are read a block at a time: large enough that reading costs few
// calls, small enough that a column's pass over the block stays in cache.
constexpr std::size_t kBlockBytes = 256 * 1024;

class RowCaseStream final : public CaseStream {
 public:
  RowCaseStream(std::unique_ptr<RowReader> reader, std::unique_ptr<RowDecoder> decoder, RowLayout layout)
      : reader_(std::move(reader)), decoder_(std::move(decoder)), layout_(std::move(layout)) {
    rowsPerBlock_ = std::max<std::size_t>(1, kBlockBytes / std::max<std::size_t>(layout_.rowBytes, 1));
    block_.resize(rowsPerBlock_ * layout_.rowBytes);
  }

  const OBS* Next() override {
    if (one_.capacity() != 1) one_.Shape(layout_.cellsPerCase, 1);
    if (!NextBatch(one_)) return nullptr;
    row_.resize(std::max<std::size_t>(layout_.cellsPerCase, 1));
    one_.CopyCase(0, row_.data());
    return row_.data();
  }

  bool NextBatch(CaseBatch& batch) override {
    batch.Clear();
    if (deferred_) std::rethrow_exception(std::exchange(deferred_, nullptr));
    try {
      while (!batch.full()) {
        if (next_ == inBlock_ && !FillBlock()) break;
        const std::size_t n = std::min(inBlock_ - next_, batch.capacity() - batch.size());
        const std::size_t first = batch.Grow(n);
        // The decoder goes column by column: when a row is damaged, the rows
        // before it are decoded again, whole, and kept; the damage is
        // reported after them.
        std::size_t good = n;
        std::optional<DataError> damage;
        for (;;) {
          try {
            if (good > 0) decoder_->Decode(block_.data() + next_ * layout_.rowBytes, good, layout_.rowBytes, batch, first);
            break;
          } catch (const DataError& e) {
            // The decoder names the row of the run through the case number.
            good = std::min(good - 1, static_cast<std::size_t>(std::max<std::int64_t>(e.CaseNumber(), 1) - 1));
            damage = e;
          }
        }
        if (damage) {
          batch.Truncate(first + good);
          next_ += good;
          delivered_ += static_cast<std::int64_t>(good);
          throw DataError(layout_.fileName, delivered_ + 1, Detail(damage->Detail()));
        }
        next_ += n;
        delivered_ += static_cast<std::int64_t>(n);
      }
    } catch (...) {
      if (batch.empty()) throw;
      deferred_ = std::current_exception();
    }
    return !batch.empty();
  }

 private:
  bool FillBlock() {
    next_ = 0;
    inBlock_ = 0;
    if (ended_) return false;
    std::size_t want = rowsPerBlock_;
    if (layout_.cases >= 0) {
      want = static_cast<std::size_t>(std::min<std::int64_t>(static_cast<std::int64_t>(want), layout_.cases - delivered_));
    }
    if (want > 0) {
      try {
        inBlock_ = reader_->Read(block_.data(), want);
      } catch (const DataError& e) {
        ended_ = true;
        throw DataError(layout_.fileName, delivered_ + 1, Detail(e.Detail()));
      } catch (const FileError& e) {  // the file could not be read any more
        ended_ = true;
        throw DataError(layout_.fileName, delivered_ + 1, Detail(e.Problem()));
      }
    }
    if (inBlock_ > 0) return true;
    ended_ = true;
    if (layout_.cases >= 0 && delivered_ < layout_.cases) {
      throw DataError(layout_.fileName, delivered_ + 1,
                      Detail("the data end after " + std::to_string(delivered_) + " cases, but the file declares " +
                          std::to_string(layout_.cases)));
    }
    return false;
  }

  std::string Detail(const std::string& what) const {
    return layout_.format.empty() ? what : layout_.format + ": " + what;
  }

  std::unique_ptr<RowReader> reader_;
  std::unique_ptr<RowDecoder> decoder_;
  RowLayout layout_;
  std::size_t rowsPerBlock_ = 1;
  std::vector<std::uint8_t> block_;
  std::size_t inBlock_ = 0;
  std::size_t next_ = 0;
  std::int64_t delivered_ = 0;
  bool ended_ = false;
  std::exception_ptr deferred_;
  CaseBatch one_;
  std::vector<OBS> row_;
};

class Contiguous final : public RowReader {
 public:
  Contiguous(std::shared_ptr<const sav::ByteSource> source, std::uint64_t begin, std::size_t rowBytes,
             std::uint64_t count)
      : source_(std::move(source)), at_(begin), rowBytes_(rowBytes), left_(count) {}

  std::size_t Read(std::uint8_t* out, std::size_t rows) override {
    rows = static_cast<std::size_t>(std::min<std::uint64_t>(rows, left_));
    if (rows == 0) return 0;
    const std::size_t bytes = rows * rowBytes_;
    const std::size_t got = source_->ReadAt(at_, std::span<std::uint8_t>(out, bytes));
    const std::size_t whole = got / rowBytes_;
    if (whole < rows) {
      // The file was cut since it was opened: the whole rows first, then
      // the damage.
      if (whole == 0) throw DataError("", 0, "the file ends inside a case");
    }
    at_ += whole * rowBytes_;
    left_ -= whole;
    return whole;
  }

 private:
  std::shared_ptr<const sav::ByteSource> source_;
  std::uint64_t at_;
  std::size_t rowBytes_;
  std::uint64_t left_;
};

}  // namespace

std::unique_ptr<CaseStream> MakeRowCaseStream(std::unique_ptr<RowReader> reader,
                                              std::unique_ptr<RowDecoder> decoder, RowLayout layout) {
  return std::make_unique<RowCaseStream>(std::move(reader), std::move(decoder), std::move(layout));
}

std::unique_ptr<RowReader> ContiguousRows(std::shared_ptr<const sav::ByteSource> source, std::uint64_t begin,
                                          std::size_t rowBytes, std::uint64_t count) {
  return std::make_unique<Contiguous>(std::move(source), begin, rowBytes, count);
}

StringCellWriter::StringCellWriter(const std::string& encoding, const std::string& fallback) : decoder_(encoding) {
  if (!fallback.empty() && decoder_.IsUtf8()) fallback_ = std::make_unique<sav::TextDecoder>(fallback);
}

void StringCellWriter::Put(std::string_view value, CaseBatch& batch, std::size_t firstCell, std::size_t cellBytes,
                           std::size_t record) {
  if (HasHighByte(value)) {
    converted_.clear();
    if (fallback_ && !sav::IsValidUtf8(value)) {
      fallback_->DecodeAppend(value, converted_);
    } else {
      decoder_.DecodeAppend(value, converted_);
    }
    value = converted_;
  }
  const std::size_t n = Utf8Prefix(value, cellBytes);
  const std::size_t cells = (cellBytes + 7) / 8;
  if (n == cellBytes && cellBytes % 8 == 0) {
    for (std::size_t k = 0; k < cells; ++k) std::memcpy(batch.Column(firstCell + k)[record].c, value.data() + 8 * k, 8);
    return;
  }
  padded_.assign(cells * 8, ' ');
  if (n > 0) std::memcpy(padded_.data(), value.data(), n);
  for (std::size_t k = 0; k < cells; ++k) std::memcpy(batch.Column(firstCell + k)[record].c, padded_.data() + 8 * k, 8);
}

}  // namespace codebook::data
