// Something that sees each case a procedure's pass delivers, as the pass
// delivers it: an export that needs more than the procedure's tables (the
// unweighted counts beside the weighted ones, say) takes it from the same
// pass instead of reading the data again.
#pragma once

#include "host/data/obs.h"

namespace codebook::data {

class CaseObserver {
 public:
  virtual ~CaseObserver() = default;
  // One selected case: its cells and its weight as the pass sees it
  // (system-missing for a missing weight; 1 when unweighted).
  virtual void Observe(const OBS* cells, double weight) = 0;
};

}  // namespace codebook::data
