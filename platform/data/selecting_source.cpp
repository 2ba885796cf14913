#include "platform/data/selecting_source.h"

#include <cmath>
#include <stdexcept>
#include <string>

#include "platform/data/dataset.h"
#include "platform/data/missing_values.h"
#include "platform/data/progress.h"

namespace codebook::data {

namespace {

// Per case this does one virtual call into the stream and, only when a filter
// or weight is set, reads that variable's cell; nothing is allocated.
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
      weightOffset_ = dict.CellOffset(rules.weightIndex);
      weightHasMissing_ = !weight_->Missing().Empty();
    }
    if (rules.filterIndex >= 0) {
      filter_ = dict.GetVariable(rules.filterIndex);
      if (filter_ == nullptr) {
        throw std::invalid_argument("cannot filter by variable position " +
                                    std::to_string(rules.filterIndex));
      }
      filterOffset_ = dict.CellOffset(rules.filterIndex);
    }
    stream_ = dataset.OpenCases();
  }

  bool Next(CaseRef& out) override {
    for (;;) {
      if (limit_ >= 0 && read_ >= limit_) return false;
      const OBS* cells = stream_->Next();
      if (cells == nullptr) return false;
      if (stream_->SplitGroupEnd()) {
        out = CaseRef{cells, 1.0, true};
        return true;
      }
      ++read_;
      ReportProgress(read_);
      if (filter_ != nullptr && !Selected(cells)) continue;
      out.cells = cells;
      out.weight = weight_ != nullptr ? Weight(cells) : 1.0;
      out.splitGroupEnd = false;
      if (observer_) observer_->Observe(cells, out.weight);
      return true;
    }
  }

  int CellOffset(int varIndex) const override {
    return dataset_.GetDictionary().CellOffset(varIndex);
  }
  const VELA_Variable* GetVariable(int varIndex) const override {
    return dataset_.GetDictionary().GetVariable(varIndex);
  }

 private:
  // A case is selected when its filter value is neither system- nor
  // user-missing and not zero (for a string filter: not blank).
  bool Selected(const OBS* cells) const {
    const OBS* value = cells + filterOffset_;
    if (filter_->IsNumeric()) {
      const double d = value->d;
      if (d == kSysmis || std::isnan(d) || d == 0.0) return false;
    } else if (TrimTrailingBlanks(filter_->StringValue(value)).empty()) {
      return false;
    }
    return filter_->IsMissing(value) == 0;
  }

  // The weight variable's value. A user-missing or NaN weight becomes
  // system-missing, so that one test for system-missing (beside the test for
  // a weight that is not positive) is all the aggregation needs.
  double Weight(const OBS* cells) const {
    const OBS* value = cells + weightOffset_;
    const double w = value->d;
    if (std::isnan(w)) return kSysmis;
    if (weightHasMissing_ && weight_->IsMissing(value)) return kSysmis;
    return w;
  }

  std::shared_ptr<const Dataset> keepAlive_;
  const Dataset& dataset_;
  std::unique_ptr<CaseStream> stream_;
  const Variable* weight_ = nullptr;
  int weightOffset_ = 0;
  bool weightHasMissing_ = false;
  const Variable* filter_ = nullptr;
  int filterOffset_ = 0;
  std::int64_t limit_;
  std::shared_ptr<CaseObserver> observer_;
  std::int64_t read_ = 0;
};

}  // namespace

std::unique_ptr<ProcDSIterator::Source> OpenSelectingSource(
    std::shared_ptr<const Dataset> keepAlive, const Dataset& dataset, SelectionRules rules) {
  return std::make_unique<SelectingSource>(std::move(keepAlive), dataset, rules);
}

}  // namespace codebook::data
