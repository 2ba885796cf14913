// Something that sees each case a procedure's pass delivers, as the pass
// delivers it: an export that needs more than the procedure's tables (the
// unweighted counts beside the weighted ones, say) takes it from the same
// pass instead of reading the data again.
#pragma once

#include "platform/data/case_batch.h"

namespace codebook::data {

class CaseObserver {
 public:
  virtual ~CaseObserver() = default;
  // The selected cases of a batch, with their weights as the pass sees
  // them (system-missing for a missing weight; 1 when unweighted). A
  // split-group end, if the batch has one, is its last record and no case.
  virtual void Observe(const CaseBatch& batch) = 0;
};

}  // namespace codebook::data
