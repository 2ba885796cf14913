// The active dataset as one procedure sees it (the nested class that
// host/data/data_source.h forward-declares): a dataset plus the session's case
// selection. Immutable: the session makes a new one for every change.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "host/data/data_source.h"
#include "platform/data/case_observer.h"
#include "platform/data/dataset.h"

namespace codebook::data {

// The session's case selection over the active dataset.
struct SelectionOptions {
  // nullopt: the dictionary's weight variable; -1: unweighted (WEIGHT OFF);
  // otherwise the position of a numeric variable (WEIGHT BY).
  std::optional<int> weightIndex;
  int filterIndex = -1;         // FILTER BY; -1 none
  std::int64_t caseLimit = -1;  // N OF CASES; -1 none (0 reads no case)
  bool fatal = false;           // the session has put the dataset in a fatal state
  // Sees every case a pass delivers (null: nothing does).
  std::shared_ptr<CaseObserver> observer;
};

}  // namespace codebook::data

class ProcedureDataSource::Selection {
 public:
  using Options = codebook::data::SelectionOptions;

  // Throws std::invalid_argument for a weight or filter position that is out
  // of range, or a weight variable that is not numeric. A null dataset is
  // accepted and stands for "no active dataset".
  explicit Selection(std::shared_ptr<const codebook::data::Dataset> dataset,
                     Options options = {});

  const std::shared_ptr<const codebook::data::Dataset>& GetDataset() const { return dataset_; }
  const Options& GetOptions() const { return options_; }
  // The same dataset with other options (validated like the constructor).
  std::shared_ptr<const Selection> With(Options options) const;

  bool Fatal() const { return options_.fatal || !dataset_; }
  int WeightIndex() const { return weightIndex_; }
  int FilterIndex() const { return options_.filterIndex; }
  std::int64_t CaseLimit() const { return options_.caseLimit; }
  // The number of cases a pass delivers: the dataset's count when nothing
  // restricts it; min(limit, count) under a limit (when the count is known);
  // -1 when unknown, and always under a filter.
  std::int64_t CaseCount() const;

  // A new iterator over the selected cases. Throws DataError when the cases
  // cannot be opened.
  std::unique_ptr<ProcDSIterator> CreateIterator() const;

 private:
  std::shared_ptr<const codebook::data::Dataset> dataset_;
  Options options_;
  int weightIndex_ = -1;
};
