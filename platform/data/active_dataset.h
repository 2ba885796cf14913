// The session's active-dataset slot. The session sets it; a
// ProcedureDataSource made with the default constructor reads it.
#pragma once

#include <memory>

#include "platform/data/selection.h"

namespace codebook::data {

// The calling thread's slot; null clears it.
void SetActiveSelection(std::shared_ptr<const ProcedureDataSource::Selection> selection);
std::shared_ptr<const ProcedureDataSource::Selection> ActiveSelection();

}  // namespace codebook::data
