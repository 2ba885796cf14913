#include "platform/data/selecting_source.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/data/dataset.h"
#include "platform/data/missing_values.h"
#include "platform/data/progress.h"

namespace codebook::data {

namespace {

// Per batch this reads the filter's and the weight's columns when they are
// set, and nothing else: the cells stay where the stream put them.
class SelectingSource final : public ProcDSIterator::Source {
 public:
  SelectingSource(std::shared_ptr<const Dataset> keepAlive, const Dataset& dataset,
                  SelectionRules rules)
      : keepAlive_(std::move(keepAlive)), dataset_(dataset), limit_(rules.caseLimit),
        observer_(std::move(rules.observer)) {
    const Dictionary& dict = dataset.GetDictionary();
    if (rules.weightIndex >= 0) {
      weight_ = dict.GetVariable(rules.weightIndex);
      if (weight_ == nullptr || !weight_->IsNumeric()) {
        throw std::invalid_argument("cannot weight by variable position " +
                                    std::to_string(rules.weightIndex));
      }
      weightOffset_ = static_cast<std::size_t>(dict.CellOffset(rules.weightIndex));
      weightHasMissing_ = !weight_->Missing().Empty();
    }
    if (rules.filterIndex >= 0) {
      filter_ = dict.GetVariable(rules.filterIndex);
      if (filter_ == nullptr) {
        throw std::invalid_argument("cannot filter by variable position " +
                                    std::to_string(rules.filterIndex));
      }
      filterOffset_ = static_cast<std::size_t>(dict.CellOffset(rules.filterIndex));
    }
    cellsPerCase_ = static_cast<std::size_t>(std::max(dict.CellsPerCase(), 0));
    capacity_ = CasesPerBatch(cellsPerCase_);
    // A small dataset gets a batch its size: the procedure's many short
    // passes should not allocate for thousands of cases.
    if (const std::int64_t count = dataset.GetCaseCount(); count >= 0) {
      capacity_ = std::min<std::size_t>(capacity_, static_cast<std::size_t>(count) + 1);
    }
    stream_ = dataset.OpenCases();
  }

  ~SelectingSource() override { EndListening(); }

  int CellOffset(int varIndex) const override {
    return dataset_.GetDictionary().CellOffset(varIndex);
  }
  const VELA_Variable* GetVariable(int varIndex) const override {
    return dataset_.GetDictionary().GetVariable(varIndex);
  }

 protected:
  bool FillBatch(CaseBatch& batch) override {
    for (;;) {
      if (limit_ >= 0 && read_ >= limit_) {
        batch.Clear();
        return false;
      }
      // Under a limit, no more cases are asked than it allows: damaged data
      // past it must not stop a pass that would never have read them.
      std::size_t capacity = capacity_;
      if (limit_ >= 0) capacity = static_cast<std::size_t>(std::min<std::int64_t>(limit_ - read_, static_cast<std::int64_t>(capacity)));
      if (batch.cellsPerCase() != cellsPerCase_ || batch.capacity() != capacity) batch.Shape(cellsPerCase_, capacity);
      if (!stream_->NextBatch(batch)) return false;
      const std::int64_t before = read_;
      if (limit_ >= 0) Limit(batch);
      read_ += static_cast<std::int64_t>(batch.cases());
      ReportProgress(before, read_);
      if (filter_ != nullptr) Filter(batch);
      Weigh(batch);
      if (batch.empty()) continue;  // every case filtered out
      if (observer_) observer_->Observe(batch);
      return true;
    }
  }

 private:
  // Keeps the cases up to the limit; a split-group end after the last of
  // them is not read.
  void Limit(CaseBatch& batch) const {
    const auto room = static_cast<std::size_t>(limit_ - read_);
    if (batch.cases() > room || (batch.cases() == room && batch.EndsSplitGroup())) batch.Truncate(room);
  }

  // A case is selected when its filter value is neither system- nor
  // user-missing and not zero (for a string filter: not blank). Split-group
  // ends pass.
  void Filter(CaseBatch& batch) {
    keep_.assign(batch.size(), 1);
    const OBS* column = batch.Column(filterOffset_);
    const std::size_t cellsOfValue = filter_->IsNumeric() ? 1 : (static_cast<std::size_t>(filter_->GetType()) + 7) / 8;
    value_.resize(std::max<std::size_t>(cellsOfValue, 1));
    for (std::size_t r = 0; r < batch.cases(); ++r) {
      for (std::size_t k = 0; k < cellsOfValue; ++k) value_[k] = batch.Column(filterOffset_ + k)[r];
      keep_[r] = Selected(filter_->IsNumeric() ? &column[r] : value_.data()) ? 1 : 0;
    }
    batch.KeepOnly(keep_);
  }

  bool Selected(const OBS* value) const {
    if (filter_->IsNumeric()) {
      const double d = value->d;
      if (d == kSysmis || std::isnan(d) || d == 0.0) return false;
    } else if (TrimTrailingBlanks(filter_->StringValue(value)).empty()) {
      return false;
    }
    return filter_->IsMissing(value) == 0;
  }

  // Each record's weight and the records that count. A user-missing or NaN
  // weight becomes system-missing, so that one test for system-missing
  // (beside the test for a weight that is not positive) is all the
  // aggregation needs.
  void Weigh(CaseBatch& batch) const {
    std::vector<double>& weights = batch.weights();
    weights.assign(batch.size(), 1.0);
    std::vector<std::uint32_t>& counted = batch.counted();
    counted.clear();
    const std::size_t cases = batch.cases();
    if (weight_ == nullptr) {
      batch.SetAllCounted(cases == batch.size());
      if (!batch.allCounted()) {
        for (std::size_t r = 0; r < cases; ++r) counted.push_back(static_cast<std::uint32_t>(r));
      }
      return;
    }
    const OBS* column = batch.Column(weightOffset_);
    bool all = cases == batch.size();
    for (std::size_t r = 0; r < cases; ++r) {
      double w = column[r].d;
      if (std::isnan(w) || (weightHasMissing_ && weight_->IsMissing(&column[r]))) w = kSysmis;
      weights[r] = w;
      all = all && Counts(w);
    }
    batch.SetAllCounted(all);
    if (all) return;
    for (std::size_t r = 0; r < cases; ++r) {
      if (Counts(weights[r])) counted.push_back(static_cast<std::uint32_t>(r));
    }
  }

  // Zero, negative, missing and infinite weights take part in no statistic.
  static bool Counts(double w) { return w > 0.0 && w <= std::numeric_limits<double>::max(); }

  std::shared_ptr<const Dataset> keepAlive_;
  const Dataset& dataset_;
  std::unique_ptr<CaseStream> stream_;
  std::size_t cellsPerCase_ = 0;
  std::size_t capacity_ = 1;
  const Variable* weight_ = nullptr;
  std::size_t weightOffset_ = 0;
  bool weightHasMissing_ = false;
  const Variable* filter_ = nullptr;
  std::size_t filterOffset_ = 0;
  std::int64_t limit_;
  std::shared_ptr<CaseObserver> observer_;
  std::int64_t read_ = 0;
  std::vector<std::uint8_t> keep_;
  std::vector<OBS> value_;
};

}  // namespace

std::unique_ptr<ProcDSIterator::Source> OpenSelectingSource(
    std::shared_ptr<const Dataset> keepAlive, const Dataset& dataset, SelectionRules rules) {
  return std::make_unique<SelectingSource>(std::move(keepAlive), dataset, rules);
}

}  // namespace codebook::data
