// Neumaier's compensated summation: the error stays near one rounding of
// the result whatever the number of terms, instead of growing with it.
#pragma once

#include <cmath>

namespace codebook::aggregate {

class CompensatedSum {
 public:
  void Add(double x) {
    const double t = sum_ + x;
    if (std::fabs(sum_) >= std::fabs(x)) {
      compensation_ += (sum_ - t) + x;
    } else {
      compensation_ += (x - t) + sum_;
    }
    sum_ = t;
  }
  // Adds another compensated sum, its compensation included.
  void Add(const CompensatedSum& other) {
    Add(other.sum_);
    compensation_ += other.compensation_;
  }
  double Value() const { return sum_ + compensation_; }

 private:
  double sum_ = 0.0;
  double compensation_ = 0.0;
};

}  // namespace codebook::aggregate
