// Walking the records of a batch that take part in the statistics.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "platform/data/case_batch.h"

namespace codebook::aggregate {

// f(record, weight) for each record in [from, to) of `batch` whose weight
// counts, in order. A batch where every case counts is walked without the
// list, in a loop the compiler can keep tight; the counting kernels mark
// their lambdas always_inline, which the compiler otherwise declines for
// bodies of their size, costing a call per value.
template <typename F>
inline void ForEachCounted(const data::CaseBatch& batch, std::size_t from, std::size_t to, F&& f) {
  const double* weights = batch.weights().data();
  if (batch.allCounted()) {
    for (std::size_t r = from; r < to; ++r) f(r, weights[r]);
    return;
  }
  const auto& counted = batch.counted();
  auto it = std::lower_bound(counted.begin(), counted.end(), static_cast<std::uint32_t>(from));
  for (; it != counted.end() && *it < to; ++it) f(static_cast<std::size_t>(*it), weights[*it]);
}

// The same over every counted record of the batch.
template <typename F>
inline void ForEachCounted(const data::CaseBatch& batch, F&& f) {
  ForEachCounted(batch, 0, batch.cases(), static_cast<F&&>(f));
}

// A value's cells gathered from the columns of a batch: a string wider than
// eight bytes spans several columns.
class CellGather {
 public:
  // The `cells` cells from column `offset` on, of record `r`.
  const OBS* At(const data::CaseBatch& batch, std::size_t offset, std::size_t cells, std::size_t r) {
    if (buffer_.size() < cells) buffer_.resize(cells);
    for (std::size_t k = 0; k < cells; ++k) buffer_[k] = batch.Column(offset + k)[r];
    return buffer_.data();
  }

 private:
  std::vector<OBS> buffer_;
};

}  // namespace codebook::aggregate
