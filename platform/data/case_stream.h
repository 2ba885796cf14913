// The platform's raw stream of cases: what a dataset file or an in-memory
// table delivers, before any case selection. The file reader implements it.
#pragma once

#include "host/data/obs.h"

namespace codebook::data {

class CaseStream {
 public:
  virtual ~CaseStream() = default;

  // The cells of the next case (Dictionary::CellsPerCase() of them), valid
  // until the next call; null at the end. Throws DataError for damaged data.
  // A stream may deliver a split-group end: a record that holds no data and
  // only marks that a split-file group has ended (see SplitGroupEnd()).
  virtual const OBS* Next() = 0;

  // True when the record that Next() last returned is a split-group end.
  // Non-virtual: the hot path asks it once per case.
  bool SplitGroupEnd() const { return splitGroupEnd_; }

 protected:
  bool splitGroupEnd_ = false;
};

}  // namespace codebook::data
