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
  // are weighted. Past the tally's limit of distinct values they are a
  // sample: the values whose hash has at least `sampleLevel` trailing zero
  // bits, each still counted over every case, about one value in
  // 2^sampleLevel.
  std::map<double, std::int64_t> numberCounts;
  std::map<std::string, std::int64_t> stringCounts;
  std::int64_t countedCases = 0;  // the cases whose value was counted (or sampled from)
  std::uint8_t sampleLevel = 0;
  bool leadingBlanks = false;   // a string value met begins with a blank
  bool tooManyValues = false;   // the counts are a sample: the distinct values passed the limit
  bool HasRange() const { return validCases > 0 && min <= max; }
  // Distinct values met; an estimate from the sample once tooManyValues.
  std::size_t DistinctValues() const { return (numberCounts.size() + stringCounts.size()) << sampleLevel; }
};

struct TallyOptions {
  // Keep the unweighted count of each value.
  bool countValues = false;
  // At most this many distinct values per variable are counted; past it
  // the counts become a sample of the values (see VariableTally).
  std::size_t maxValues = static_cast<std::size_t>(-1);
  // Which variables are tallied: all, or only those listed (none: only the
  // weights are looked at). A tally of every cell costs about what the
  // pass costs, so it is asked only for what needs it.
  bool allVariables = true;
  std::vector<int> variables;
};

// Cases whose weight keeps them out of every statistic, when weighted.
struct WeightProblems {
  std::int64_t zero = 0;
  std::int64_t negative = 0;
  std::int64_t missing = 0;  // system- or user-missing, or not finite
};

class ValueTally final : public data::CaseObserver {
 public:
  // `weightIndex`: the weight variable (-1 unweighted), whose problem
  // values are counted.
  ValueTally(const data::Dataset& dataset, int weightIndex, TallyOptions options);

  void Observe(const data::CaseBatch& batch) override;

  // A variable's tally; an empty one for a variable not tallied.
  const VariableTally& Of(int variableIndex) const;
  // Whether a variable was tallied at all.
  bool Tallied(int variableIndex) const {
    return variableIndex >= 0 && static_cast<std::size_t>(variableIndex) < slots_.size() &&
           slots_[static_cast<std::size_t>(variableIndex)] >= 0;
  }
  // The variables of the dataset, tallied or not.
  std::size_t Size() const { return slots_.size(); }
  bool CountsValues() const { return options_.countValues; }
  const WeightProblems& Weights() const { return weights_; }
  // The cases seen. A pass ends early when no table can take more cases
  // (every one is past MAXCATS); what the tally holds is then a part.
  std::int64_t Cases() const { return cases_; }
  // The sum of the weights of the cases seen that take part in statistics
  // (every case counts 1 when unweighted).
  double WeightedCases() const { return weightedCases_.Value(); }
  void SetPartial() { partial_ = true; }
  bool Partial() const { return partial_; }

 private:
  template <typename Map, typename Key>
  void Count(VariableTally& tally, Map& counts, const Key& key) const;
  void ObserveWeights(const data::CaseBatch& batch);
  struct Column;
  void ObserveUnitWeights(const Column& column, const data::CaseBatch& batch);

  struct Column {
    std::size_t slot;  // in tallies_
    const data::Variable* variable;
    int offset;
    bool numeric;
    bool hasMissing;
    std::size_t cells;  // of a value
  };
  std::vector<OBS> value_;  // a string value's cells, gathered
  std::vector<Column> columns_;
  // Only the variables tallied have a tally: alerts alone tally none, and a
  // tally is some 170 bytes, 17 MB for a file of 100,000 variables.
  std::vector<VariableTally> tallies_;
  std::vector<std::int32_t> slots_;  // by variable: its tally, or -1
  TallyOptions options_;
  const data::Variable* weight_ = nullptr;
  int weightOffset_ = 0;
  WeightProblems weights_;
  aggregate::CompensatedSum weightedCases_;
  std::int64_t cases_ = 0;
  bool partial_ = false;
};

}  // namespace codebook::exporting
