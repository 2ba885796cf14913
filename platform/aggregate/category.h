// The categories that a dimension hands out after (or during) a pass.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "host/aggregate/aggregation_category.h"
#include "host/data/obs.h"

namespace codebook::aggregate {

class Category final : public AggregationCategory {
 public:
  Category(const void* owner, int varIndex, std::vector<OBS> value, std::string label, double weight,
           bool isTotal)
      : owner_(owner),
        varIndex_(varIndex),
        value_(std::move(value)),
        label_(std::move(label)),
        weight_(weight),
        isTotal_(isTotal) {}

  int GetVarIndex() const override { return varIndex_; }
  const OBS* GetCatValue() const override { return value_.empty() ? nullptr : value_.data(); }
  const std::string& GetCatLabel() const override { return label_; }

  // The dimension that made the category: a selection must come from the
  // cube's own dimension.
  const void* owner() const { return owner_; }
  double weight() const { return weight_; }
  bool isTotal() const { return isTotal_; }

 private:
  const void* owner_;
  int varIndex_;
  std::vector<OBS> value_;  // empty for the total and for dichotomy members
  std::string label_;
  double weight_;
  bool isTotal_;
};

// The category objects of a dimension and the pointer list handed out. The
// dimension rebuilds it when cases were counted since the last build, so the
// pointers stay valid until the next batch of cases.
class CategoryList {
 public:
  void Clear() {
    owned_.clear();
    view_.clear();
  }
  void Add(std::unique_ptr<Category> category) {
    view_.push_back(category.get());
    owned_.push_back(std::move(category));
  }
  const std::vector<const AggregationCategory*>& view() const { return view_; }

 private:
  std::vector<std::unique_ptr<Category>> owned_;
  std::vector<const AggregationCategory*> view_;
};

}  // namespace codebook::aggregate
