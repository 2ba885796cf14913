// Binds one item of the codebook (a variable, or a multiple-response set named
// with a leading "$") to the active dataset and answers what the statistics
// pass and the tables need to know about it.
#pragma once

#include <string>
#include <vector>

#include "host/data/data_source.h"
#include "host/data/obs.h"

// Number of cells that a string of `width` bytes occupies (at least one).
int ObsLength(int width);
// `d` viewed as one cell, without a copy.
OBS* AsOBS(double& d);

struct ResolverData;

class CBKVariableResolver {
 public:
  CBKVariableResolver();
  ~CBKVariableResolver();
  CBKVariableResolver(const CBKVariableResolver&) = delete;
  CBKVariableResolver& operator=(const CBKVariableResolver&) = delete;

  bool resolveVariable(const VELA_DataSource* ds, int index);
  bool resolveVariable(const VELA_DataSource* ds, const std::string& name);

  // 0 unresolved (or a set of another kind), 1 variable, 2 multiple-category
  // set, 3 multiple-dichotomy set.
  int getVariableType() const;
  int getVariableIndex() const;
  VELA_Variable* getVELAVariable() const;
  std::vector<int> getVariableIndexList() const;
  // The set's label, or its name when the label is empty.
  const std::string& getMRSetName() const;
  // The set's label exactly as stored.
  const std::string& getMRSetLabel() const;
  bool isString() const;
  int getStringLength() const;
  std::string getValueLabel(const std::string& value, const OBS* obs) const;
  OBS* getCountedValue(int& length) const;
  int GetLabeledValueLabelSetSize() const;

 private:
  ResolverData* data;
  int labeledValueLabelSetSize = 0;
};
