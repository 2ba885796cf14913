// What follows a pass over the batches of a case source: the aggregation
// tables count each batch's columns at the batch's edges, while the
// procedure walks its cases one by one in between.
#pragma once

#include "platform/data/case_batch.h"

namespace codebook::data {

class PassListener {
 public:
  virtual ~PassListener() = default;
  // The walk leaves `done` (null before the first batch) for `next` (null
  // at the end of the cases). Both stay valid during the call; `done` is
  // refilled afterwards. `next` has its weights, counted records and first
  // ordinal filled in.
  virtual void BatchBoundary(const CaseBatch* done, const CaseBatch* next) = 0;
  // The source is going: `current` (null when no batch is being walked) is
  // the last batch the walk was in; nothing of it remains after the call.
  virtual void SourceEnds(const CaseBatch* current) = 0;
};

}  // namespace codebook::data
