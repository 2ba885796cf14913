// What an export needs of the data beyond the procedure's tables, gathered
// while the procedure's own pass runs: per variable, the valid and missing
// cases (weighted and not), the least and greatest valid value, and, when
// the cases are weighted, the unweighted count of each value. Memory grows
// with the distinct values, not with the cases.
#pragma once

#include <cstdint>
#include <limits>
#include <map>
#include <string>
#include <vector>

#include "host/aggregate/compensated_sum.h"
#include "platform/data/case_observer.h"
#include "platform/data/dataset.h"

namespace codebook::exporting {

struct VariableTally {
  aggregate::CompensatedSum validWeight;
  aggregate::CompensatedSum missingWeight;
  std::int64_t validCases = 0;
  std::int64_t missingCases = 0;  // user- and system-missing
  double min = std::numeric_limits<double>::infinity();
  double max = -std::numeric_limits<double>::infinity();
  // Unweighted counts by value (numbers, or strings without trailing
  // blanks) over every case, whatever its weight; kept only when the cases
  // are weighted.
  std::map<double, std::int64_t> numberCounts;
  std::map<std::string, std::int64_t> stringCounts;
  bool HasRange() const { return validCases > 0 && min <= max; }
};

class ValueTally final : public data::CaseObserver {
 public:
  // `countValues`: keep the unweighted count of each value.
  ValueTally(const data::Dataset& dataset, bool countValues);

  void Observe(const OBS* cells, double weight) override;

  const VariableTally& Of(int variableIndex) const { return tallies_[static_cast<std::size_t>(variableIndex)]; }
  std::size_t Size() const { return tallies_.size(); }
  bool CountsValues() const { return countValues_; }

 private:
  struct Column {
    const data::Variable* variable;
    int offset;
    bool numeric;
    bool hasMissing;
  };
  std::vector<Column> columns_;
  std::vector<VariableTally> tallies_;
  bool countValues_;
};

}  // namespace codebook::exporting
