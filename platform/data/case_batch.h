// Cases in columns: the unit in which a pass moves data from the reader to
// the tables. The tables count one column at a time in a tight loop, so a
// batch keeps cell c of every case side by side; a row is made up only for
// the rare caller that asks for one.
//
// A batch holds at most one split-group end, and only as its last record:
// the cases of a batch are then numbered plainly from the batch's first
// ordinal. The selection fills in each case's weight and which cases count.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "host/aggregate/compensated_sum.h"
#include "host/data/obs.h"

namespace codebook::data {

class CaseBatch {
 public:
  // Empties the batch and shapes it for cases of `cellsPerCase` cells, at
  // most `capacity` of them (at least one).
  void Shape(std::size_t cellsPerCase, std::size_t capacity);
  void Clear();

  std::size_t cellsPerCase() const { return cellsPerCase_; }
  std::size_t capacity() const { return capacity_; }
  // Records: the cases and a split-group end when there is one.
  std::size_t size() const { return size_; }
  bool empty() const { return size_ == 0; }
  bool full() const { return size_ == capacity_ || endsSplitGroup_; }
  // The cases, without the split-group end.
  std::size_t cases() const { return size_ - (endsSplitGroup_ ? 1 : 0); }
  bool EndsSplitGroup() const { return endsSplitGroup_; }

  // Cell `cell` of every record: size() values.
  const OBS* Column(std::size_t cell) const { return cells_.data() + cell * stride_; }
  OBS* Column(std::size_t cell) { return cells_.data() + cell * stride_; }

  // Row in and out, for streams that make cases one at a time and callers
  // that read them so. `cells` holds cellsPerCase() cells.
  void AppendCase(const OBS* cells);
  // A record that only ends a split-file group; nothing may follow it. Its
  // cells are system-missing unless given.
  void AppendSplitGroupEnd(const OBS* cells = nullptr);
  void CopyCase(std::size_t record, OBS* out) const;
  // Makes room for `n` more records whose cells the caller writes into the
  // columns itself; returns the first of them.
  std::size_t Grow(std::size_t n);
  // Keeps the first `n` records.
  void Truncate(std::size_t n);
  // Keeps the records whose `keep` flag is set, in order.
  void KeepOnly(std::span<const std::uint8_t> keep);

  // Filled in by the case selection. The weight of each record as the pass
  // sees it (1 when unweighted, system-missing when missing), and the
  // records that take part in the statistics: those of a positive, finite
  // weight, ascending. When every case counts, `counted` is empty and
  // allCounted() true.
  std::vector<double>& weights() { return weights_; }
  const std::vector<double>& weights() const { return weights_; }
  std::vector<std::uint32_t>& counted() { return counted_; }
  const std::vector<std::uint32_t>& counted() const { return counted_; }
  bool allCounted() const { return allCounted_; }
  void SetAllCounted(bool all) { allCounted_ = all; }
  // The sum of the counted records' weights: every table that takes the
  // whole batch adds it.
  const aggregate::CompensatedSum& countedWeight() const { return countedWeight_; }
  void SetCountedWeight(const aggregate::CompensatedSum& sum) { countedWeight_ = sum; }
  // The number of cases the pass delivered before this batch.
  std::int64_t firstOrdinal() const { return firstOrdinal_; }
  void SetFirstOrdinal(std::int64_t ordinal) { firstOrdinal_ = ordinal; }

  void Swap(CaseBatch& other) noexcept;

 private:
  std::size_t cellsPerCase_ = 0;
  std::size_t capacity_ = 0;
  // Cells from one column to the next: the capacity and a cache line more,
  // so that the same record of neighbouring columns does not fall into
  // the same cache set (a power-of-two stride would, and a case written
  // across all columns would then evict itself).
  std::size_t stride_ = 0;
  std::size_t size_ = 0;
  bool endsSplitGroup_ = false;
  std::vector<OBS> cells_;  // column c at c * stride_
  std::vector<double> weights_;
  std::vector<std::uint32_t> counted_;
  bool allCounted_ = true;
  aggregate::CompensatedSum countedWeight_;
  std::int64_t firstOrdinal_ = 0;
};

// How many cases a batch of cases this wide holds: a few thousand narrow
// cases, fewer wide ones, so that a batch stays a few megabytes.
std::size_t CasesPerBatch(std::size_t cellsPerCase);

}  // namespace codebook::data
