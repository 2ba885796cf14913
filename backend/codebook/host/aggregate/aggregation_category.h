// Categories of an aggregation dimension.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "host/data/obs.h"
#include "host/host_api.h"

// A category restricted to one value, asked for before the pass.
class HOST_API ParsedCategory {
 public:
  // The value's cells must stay valid until the dimension that takes the
  // category joins a cube: the dimension copies the first cell at once and,
  // for a string wider than eight bytes, the rest once the variable's width
  // is known (value-label maps keep their cells as long as the variable).
  ParsedCategory(const OBS& value, int flags) : value_(&value), flags_(flags) {}
  const OBS* value() const { return value_; }
  int flags() const { return flags_; }

 private:
  const OBS* value_;
  int flags_;
};

// One category of a dimension after the pass.
class HOST_API AggregationCategory {
 public:
  virtual ~AggregationCategory();
  // The member variable of a set's category; the variable itself otherwise.
  virtual int GetVarIndex() const = 0;
  // The category's value (null for the total category and for the categories
  // of a multiple-dichotomy set, which are its member variables).
  virtual const OBS* GetCatValue() const = 0;
  virtual const std::string& GetCatLabel() const = 0;
};

// Where a dimension's count of categories stands during a pass. The pass
// finds the categories of a batch of cases before the table takes them, so
// the count moves on as the table takes the cases at which they first
// appear: `next` points at how many cases the table had taken when the
// next new one appeared, in a list that ends with the largest number.
struct CategoryCount {
  static constexpr std::int64_t kNone = 0;
  static constexpr std::int64_t kNever = INT64_MAX;
  const std::int64_t* taken = &kNone;  // cases the table has taken
  const std::int64_t* next = &kNever;
  std::size_t count = 0;               // categories among the cases taken
};

// The categories of one variable or set, known after the pass.
class HOST_API TableDimension {
 public:
  virtual ~TableDimension();
  // Number of categories met among the cases the table has taken so far
  // (the total category not included). Inline: a pass may ask it for every
  // case and table.
  std::size_t GetCategoryCount() const {
    while (*count_.next < *count_.taken) {
      ++count_.next;
      ++count_.count;
    }
    return count_.count;
  }
  // All categories in order; the last one is the total category.
  virtual const std::vector<const AggregationCategory*>& GetCategories() const = 0;

 protected:
  mutable CategoryCount count_;
};

class HOST_API TableMCSet : public TableDimension {};
class HOST_API TableMDSet : public TableDimension {};
