#include "platform/data/case_batch.h"

#include <algorithm>
#include <utility>

#include "platform/common/invariant.h"

namespace codebook::data {

namespace {
// Cases per batch: enough that a table's loop over a column runs long and
// the threads of a pass meet a few hundred times per million cases.
constexpr std::size_t kMostCases = 4096;
// Bytes of cells per batch. A pass holds a handful of batches (decoded
// ahead, walked, settled), so this bounds its memory for the widest files.
constexpr std::size_t kBatchBytes = std::size_t{16} << 20;
}  // namespace

std::size_t CasesPerBatch(std::size_t cellsPerCase) {
  const std::size_t caseBytes = std::max<std::size_t>(cellsPerCase, 1) * sizeof(OBS);
  return std::clamp<std::size_t>(kBatchBytes / caseBytes, 1, kMostCases);
}

void CaseBatch::Shape(std::size_t cellsPerCase, std::size_t capacity) {
  capacity = std::max<std::size_t>(capacity, 1);
  if (cellsPerCase != cellsPerCase_ || capacity != capacity_) {
    cellsPerCase_ = cellsPerCase;
    capacity_ = capacity;
    stride_ = capacity >= 64 ? (capacity + 7) / 8 * 8 + 8 : capacity;
    // Every column has room for capacity_ records, so a record has cells
    // even in a dataset without variables.
    cells_.assign(std::max<std::size_t>(cellsPerCase, 1) * stride_, OBS{kSysmis});
  }
  Clear();
}

void CaseBatch::Clear() {
  size_ = 0;
  endsSplitGroup_ = false;
  weights_.clear();
  counted_.clear();
  allCounted_ = true;
  countedWeight_ = {};
}

void CaseBatch::AppendCase(const OBS* cells) {
  CB_ASSERT(!full());
  for (std::size_t c = 0; c < cellsPerCase_; ++c) Column(c)[size_] = cells[c];
  ++size_;
}

void CaseBatch::AppendSplitGroupEnd(const OBS* cells) {
  CB_ASSERT(!full());
  for (std::size_t c = 0; c < cellsPerCase_; ++c) {
    if (cells != nullptr) {
      Column(c)[size_] = cells[c];
    } else {
      Column(c)[size_].d = kSysmis;
    }
  }
  ++size_;
  endsSplitGroup_ = true;
}

void CaseBatch::CopyCase(std::size_t record, OBS* out) const {
  for (std::size_t c = 0; c < cellsPerCase_; ++c) out[c] = Column(c)[record];
}

std::size_t CaseBatch::Grow(std::size_t n) {
  CB_ASSERT(!endsSplitGroup_ && size_ + n <= capacity_);
  const std::size_t first = size_;
  size_ += n;
  return first;
}

void CaseBatch::Truncate(std::size_t n) {
  if (n >= size_) return;
  size_ = n;
  endsSplitGroup_ = false;
  if (weights_.size() > n) weights_.resize(n);
}

void CaseBatch::KeepOnly(std::span<const std::uint8_t> keep) {
  CB_ASSERT(keep.size() >= size_);
  std::size_t kept = 0;
  for (std::size_t r = 0; r < size_; ++r) kept += keep[r] != 0 ? 1 : 0;
  if (kept == size_) return;
  for (std::size_t c = 0; c < cellsPerCase_; ++c) {
    OBS* column = Column(c);
    std::size_t to = 0;
    for (std::size_t r = 0; r < size_; ++r) {
      if (keep[r] != 0) column[to++] = column[r];
    }
  }
  const bool splitKept = endsSplitGroup_ && keep[size_ - 1] != 0;
  size_ = kept;
  endsSplitGroup_ = splitKept;
}

void CaseBatch::Swap(CaseBatch& other) noexcept {
  std::swap(cellsPerCase_, other.cellsPerCase_);
  std::swap(capacity_, other.capacity_);
  std::swap(stride_, other.stride_);
  std::swap(size_, other.size_);
  std::swap(endsSplitGroup_, other.endsSplitGroup_);
  cells_.swap(other.cells_);
  weights_.swap(other.weights_);
  counted_.swap(other.counted_);
  std::swap(allCounted_, other.allCounted_);
  std::swap(countedWeight_, other.countedWeight_);
  std::swap(firstOrdinal_, other.firstOrdinal_);
}

}  // namespace codebook::data
