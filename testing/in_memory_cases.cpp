#include "testing/in_memory_cases.h"

#include <algorithm>

namespace codebook::data {

InMemoryCases::InMemoryCases(std::shared_ptr<const CaseTable> table) : table_(std::move(table)) {
  const std::size_t n = table_ ? static_cast<std::size_t>(std::max(table_->cellsPerCase, 1)) : 1;
  blank_.assign(n, OBS{kSysmis});
}

const OBS* InMemoryCases::Next() {
  splitGroupEnd_ = false;
  if (!table_) return nullptr;
  const auto& ends = table_->splitEnds;
  if (nextSplit_ < ends.size() && ends[nextSplit_] <= nextCase_) {
    ++nextSplit_;
    splitGroupEnd_ = true;
    return blank_.data();
  }
  if (nextCase_ >= table_->caseCount) return nullptr;
  const std::size_t c = nextCase_++;
  const std::size_t per = static_cast<std::size_t>(std::max(table_->cellsPerCase, 0));
  // A table whose cells fall short of its count is a builder's mistake; it
  // must not turn into a read past the end.
  if (per == 0 || (c + 1) * per > table_->cells.size()) return blank_.data();
  return table_->cells.data() + c * per;
}

}  // namespace codebook::data
