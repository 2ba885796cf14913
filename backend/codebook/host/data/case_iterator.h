// Iteration over the cases of a dataset.
#pragma once

#include <memory>

#include "host/data/obs.h"
#include "host/data/variable.h"
#include "host/host_api.h"

class HOST_API VELA_InputCaseIterator {
 public:
  virtual ~VELA_InputCaseIterator();

  // Advances to the next case: non-zero when there is one, 0 at the end.
  // A damaged dataset throws the host's data error.
  virtual int NextCase() = 0;

  // Offset of a variable's first cell within a case (the cells of a string
  // variable follow one another), or -1 for an unknown variable.
  virtual int CellOffset(int varIndex) const = 0;
  // The variable at a dictionary position (its type, width and missing
  // values decide how its cells are read), or null.
  virtual const VELA_Variable* GetVariable(int varIndex) const = 0;

  // The cells of the current case, valid until the next NextCase(); null
  // before the first case and after the last.
  virtual const OBS* CurrentCase() const = 0;
  // The weight of the current case: 1 when the dataset is not weighted,
  // otherwise the weight variable's value (system-missing included; cases
  // whose weight is not positive take part in no statistic).
  double CaseWeight() const { return weight_; }

 protected:
  double weight_ = 1.0;
};

// The iterator that procedures receive. It knows, beyond its cases, where
// split-file groups end.
class HOST_API ProcDSIterator : public VELA_InputCaseIterator {
 public:
  class Source;  // the platform's selected cases

  explicit ProcDSIterator(std::unique_ptr<Source> source);
  ~ProcDSIterator() override;
  ProcDSIterator(const ProcDSIterator&) = delete;
  ProcDSIterator& operator=(const ProcDSIterator&) = delete;

  int NextCase() override;
  const OBS* CurrentCase() const override;
  int CellOffset(int varIndex) const override;
  const VELA_Variable* GetVariable(int varIndex) const override;
  // True on a case that only marks the end of a split-file group; it holds no
  // data and must not be counted.
  bool SplitGroupEnd() const { return splitGroupEnd_; }
  // Where the cases come from (null for an iterator without cases).
  Source* GetSource() const { return source_.get(); }

 private:
  std::unique_ptr<Source> source_;
  bool splitGroupEnd_ = false;
};
