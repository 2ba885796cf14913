// The source behind a ProcDSIterator (the nested class that
// host/data/case_iterator.h forward-declares): cases after case selection,
// each with its weight.
#pragma once

#include "host/data/case_iterator.h"
#include "host/data/obs.h"

class ProcDSIterator::Source {
 public:
  struct CaseRef {
    const OBS* cells = nullptr;
    double weight = 1.0;
    bool splitGroupEnd = false;
  };

  virtual ~Source() = default;

  // The next case: false at the end. Throws the host's data error
  // (codebook::data::DataError) for damaged data.
  virtual bool Next(CaseRef& out) = 0;
  // Offset of a variable's first cell within a case, -1 when out of range.
  virtual int CellOffset(int varIndex) const = 0;
  // The variable at a dictionary position, or null.
  virtual const VELA_Variable* GetVariable(int varIndex) const = 0;
};
