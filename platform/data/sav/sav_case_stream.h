// The case stream of a dataset file, for all three data layouts. It decodes
// a block of cases at a time into a buffer sized from the case layout only.
#pragma once

#include <cstdint>
#include <memory>

#include "platform/data/case_stream.h"
#include "platform/data/sav/byte_source.h"
#include "platform/data/sav/case_plan.h"

namespace codebook::data::sav {

std::unique_ptr<CaseStream> OpenSavCases(std::shared_ptr<const ByteSource> source,
                                         std::shared_ptr<const CasePlan> plan);

// Counts the complete cases by decoding them (no text conversion). Throws
// DataError like the stream.
std::int64_t CountSavCases(std::shared_ptr<const ByteSource> source,
                           std::shared_ptr<const CasePlan> plan);

}  // namespace codebook::data::sav
