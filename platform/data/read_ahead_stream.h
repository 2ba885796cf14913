// A case stream that decodes on a second thread, a batch ahead of its
// reader: a pass then costs about the larger of decoding and aggregating
// instead of their sum. Memory stays bounded by a few batches.
#pragma once

#include <cstddef>
#include <memory>

#include "platform/data/case_stream.h"

namespace codebook::data {

// Wraps `inner`, whose cases have `cellsPerCase` cells. The cases, their
// split-group ends and any error come out in the same order, and at the same
// case, as they would from `inner` itself. Falls back to `inner` unwrapped
// when no thread can be started.
std::unique_ptr<CaseStream> ReadAhead(std::unique_ptr<CaseStream> inner, std::size_t cellsPerCase);

}  // namespace codebook::data
