// How a number cell is shown.
#pragma once

#include "host/data/vela_format.h"
#include "host/host_api.h"

class HOST_API BpFormatSpec {
 public:
  enum Kind { kCount, kPercent, kCoefficient, kMean, kStdDev };

  BpFormatSpec() = default;
  // kMean and kStdDev carry the print format of the variable they describe.
  BpFormatSpec(Kind kind, VELA_Format variableFormat) : kind_(kind), format_(variableFormat) {}

  Kind kind() const { return kind_; }
  const VELA_Format& variableFormat() const { return format_; }

 private:
  Kind kind_ = kCount;
  VELA_Format format_;
};
