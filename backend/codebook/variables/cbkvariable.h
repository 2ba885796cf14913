// One entry of the codebook as the statistics pass and the tables see it: a
// resolved item with the measurement level that decides between category
// counts and scale statistics.
#pragma once

#include <string>

#include "host/data/vela_format.h"
#include "variables/cbkvariableresolver.h"

// F8.2: the format used where a variable's own cannot be had.
extern const VELA_Format kDefaultFormat;

class CBKVariable {
 public:
  // Everything that tests a level asks only whether it is kScale.
  enum MEASUREMENT_LEVEL { kNotSet = 0, kScale = 1, kCategorical = 2, kOrdinal = 3 };
  // kLabeledValuesOnly marks the extra entry that counts the labelled values
  // of a scale variable.
  enum MissingHandle { kLabeledValuesOnly = 1, kOrdinary = 2 };

  CBKVariable(CBKVariableResolver* resolver, MissingHandle handle);
  ~CBKVariable();
  CBKVariable(const CBKVariable&) = delete;
  CBKVariable& operator=(const CBKVariable&) = delete;

  CBKVariableResolver* getVariableResolver() const { return resolver; }
  bool isString() const;
  MissingHandle GetMissingHandleType() const { return missingHandle; }
  void setMeasurmentLevel(MEASUREMENT_LEVEL level) { measurementLevel = level; }
  MEASUREMENT_LEVEL getMeasurmentLevel() const { return measurementLevel; }
  void SetLabeledValueOnly(bool only) { labeledValueOnly = only; }
  bool GetLabeledValueOnly() const { return labeledValueOnly; }
  // The name under which the statistics pass knows the entry.
  std::string GetVariableName() const;

 private:
  CBKVariableResolver* resolver;
  MissingHandle missingHandle;
  MEASUREMENT_LEVEL measurementLevel = kNotSet;
  bool labeledValueOnly = false;
};
