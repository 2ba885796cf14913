// The platform's raw stream of cases: what a dataset file or an in-memory
// table delivers, before any case selection. The file reader implements it.
#pragma once

#include <exception>
#include <utility>

#include "host/data/obs.h"
#include "platform/data/case_batch.h"

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

  // Fills `batch` (already shaped for the stream's cases; emptied here)
  // with the next records, up to its capacity or a split-group end, which
  // is then the batch's last record. False at the end, with the batch
  // empty. Damaged data are reported after the cases before them: a batch
  // that meets them ends early, and the next call throws. Streams that can
  // decode straight into columns override this; the default goes through
  // Next(). Use one of the two ways per stream, not both.
  virtual bool NextBatch(CaseBatch& batch);

 protected:
  bool splitGroupEnd_ = false;

 private:
  std::exception_ptr pendingError_;  // for the default NextBatch
};

}  // namespace codebook::data
