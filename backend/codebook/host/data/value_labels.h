// Value labels of a variable. VELA_VLImplPointer is the variable's handle to
// its label set; VELA_ValueLabelMap is a view that looks labels up and walks
// the (value, label) pairs in ascending order of value (numbers numerically,
// strings byte-wise).
#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "host/data/obs.h"
#include "host/host_api.h"

class ValueLabelSetImpl;  // the platform's label set

class HOST_API VELA_VLImplPointer {
 public:
  VELA_VLImplPointer() = default;
  explicit VELA_VLImplPointer(std::shared_ptr<const ValueLabelSetImpl> impl)
      : impl_(std::move(impl)) {}
  const ValueLabelSetImpl* get() const { return impl_.get(); }

 private:
  std::shared_ptr<const ValueLabelSetImpl> impl_;
};

class HOST_API VELA_ValueLabelMap {
 public:
  explicit VELA_ValueLabelMap(const VELA_VLImplPointer& labels);

  // Number of labelled values.
  std::size_t Size() const;
  // Label of a value given as cells (numeric: one cell; string: the value's
  // cells, blank-padded; trailing blanks are ignored), or null.
  const char* GetLabel(const OBS* value) const;
  // Label of a value given as text: a number for numeric variables, the
  // string itself (trailing blanks ignored) for string variables; or null.
  const char* GetLabel(const std::string& value) const;
  // Iteration: Reset() goes back to the first pair; GetNextPair() delivers the
  // next pair and returns non-zero, or returns 0 at the end. The value cells
  // stay valid as long as the variable does.
  void Reset();
  int GetNextPair(const OBS*& value, const char*& label);

 private:
  VELA_VLImplPointer labels_;
  std::size_t next_ = 0;
};
