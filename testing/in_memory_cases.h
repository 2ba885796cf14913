// Cases held in memory: a table of cells, all cases of the same layout, with
// optional split-group ends between cases. Shared read-only between the
// dataset and every stream opened over it.
#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "platform/data/case_stream.h"

namespace codebook::data {

struct CaseTable {
  int cellsPerCase = 0;
  std::size_t caseCount = 0;
  std::vector<OBS> cells;  // cellsPerCase cells per case, case after case
  // Case counts after which a split group ends, ascending (a value may repeat
  // for consecutive ends; n means "after the first n cases").
  std::vector<std::size_t> splitEnds;
};

class InMemoryCases final : public CaseStream {
 public:
  explicit InMemoryCases(std::shared_ptr<const CaseTable> table);
  const OBS* Next() override;

 private:
  std::shared_ptr<const CaseTable> table_;
  std::size_t nextCase_ = 0;
  std::size_t nextSplit_ = 0;
  // What a split-group end or a case without variables points at: system-
  // missing cells, never data.
  std::vector<OBS> blank_;
};

}  // namespace codebook::data
