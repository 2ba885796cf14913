// The case source of ProcDSIterator: reads a dataset's case stream and
// applies the case selection: a case limit (counted on the cases read), a
// filter and the weight. Split-group ends pass through untouched.
#pragma once

#include <cstdint>
#include <memory>

#include "platform/data/case_observer.h"
#include "platform/data/case_source.h"

namespace codebook::data {

class Dataset;

struct SelectionRules {
  int weightIndex = -1;         // numeric variable; -1 unweighted
  int filterIndex = -1;         // -1 no filter
  std::int64_t caseLimit = -1;  // -1 no limit
  std::shared_ptr<CaseObserver> observer;  // sees each selected case; may be null
};

// `keepAlive` (may be null) keeps the dataset alive as long as the source;
// otherwise the caller guarantees that `dataset` outlives it. Opens the
// dataset's case stream now, so it may throw DataError. Indexes out of range
// throw std::invalid_argument.
std::unique_ptr<ProcDSIterator::Source> OpenSelectingSource(
    std::shared_ptr<const Dataset> keepAlive, const Dataset& dataset, SelectionRules rules);

}  // namespace codebook::data
