// One variable of a dataset, as procedures read it.
#pragma once

#include "host/data/attributes.h"
#include "host/data/obs.h"
#include "host/data/value_labels.h"
#include "host/data/vela_format.h"
#include "host/host_api.h"

class HOST_API VELA_Variable {
 public:
  // Measurement levels as the dictionary stores them.
  enum MeasurementLevel { kUnknown = 0, kNominal = 1, kOrdinal = 2, kScale = 3 };
  // Roles as the dictionary stores them.
  enum Role { kInput = 0, kTarget = 1, kBoth = 2, kNone = 3, kPartition = 4, kSplit = 5 };

  virtual ~VELA_Variable();

  virtual const char* GetName() const = 0;
  // The variable label, or null when the variable has none (an empty label
  // is not the same as none).
  virtual const char* GetLabel() const = 0;
  // 0 for a numeric variable; otherwise the number of bytes that one value
  // occupies in its cells (at least the width declared by the file).
  virtual int GetType() const = 0;
  // The print format.
  virtual void GetFormatEx(VELA_Format::FormatType& type, int& width, int& decimals) const = 0;
  virtual VELA_Format GetWriteFormatEx() const = 0;
  virtual int GetMeasurementLevel() const = 0;
  virtual int GetRole() const = 0;
  // Custom attributes in file order; the role attribute is not among them.
  virtual const DatasourceAttributes& GetAttributes() const = 0;
  virtual VELA_VLImplPointer GetValueLabels() const = 0;
  // Non-zero when the value is a user-missing value of this variable.
  // System-missing is not user-missing.
  virtual int IsMissing(const OBS* value) const = 0;
};
