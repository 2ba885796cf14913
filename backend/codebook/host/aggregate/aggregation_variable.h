// Categorical dimensions: one variable, a multiple-category set, a
// multiple-dichotomy set.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/aggregate/aggregation_category.h"
#include "host/data/obs.h"
#include "host/host_api.h"

class HOST_API AggregationVariable {
 public:
  class Impl;  // the platform's dimension state

  AggregationVariable(int varIndex, const std::string& name);
  virtual ~AggregationVariable();
  AggregationVariable(const AggregationVariable&) = delete;
  AggregationVariable& operator=(const AggregationVariable&) = delete;

  // false: the dimension gets a total category (the last one).
  void SetIsTotalNo(bool noTotal);
  // Restricts the dimension to exactly these categories, in this order, each
  // present even with no case. Takes ownership of the categories.
  virtual void SetCategories(std::vector<ParsedCategory*> categories);
  // true: user-missing values are left out of the categories. Procedures that
  // list user-missing values as categories pass false.
  virtual void SetExcludeUserMissing(bool exclude);
  // The dimension, available once the dimension is part of a cube.
  virtual TableDimension* GetDimension() const;

  Impl& impl() { return *impl_; }
  const Impl& impl() const { return *impl_; }

 protected:
  explicit AggregationVariable(std::unique_ptr<Impl> impl);

 private:
  std::unique_ptr<Impl> impl_;
};

class HOST_API AggregationMCSet : public AggregationVariable {
 public:
  AggregationMCSet(const std::vector<int>& varIndexes, const std::string& name);
  ~AggregationMCSet() override;
};

class HOST_API AggregationMDSet : public AggregationVariable {
 public:
  // countedLength: 8 for a numeric counted value (one cell), otherwise the
  // number of cells of the string value. countedValue is copied.
  AggregationMDSet(const std::vector<int>& varIndexes, const std::string& name,
                   const OBS* countedValue, int countedLength, bool countMissing);
  ~AggregationMDSet() override;
};
