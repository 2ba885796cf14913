// The source behind a ProcDSIterator (the nested class that
// host/data/case_iterator.h forward-declares): the selected cases in
// batches, each case with its weight, walked one case at a time for the
// procedure. Whatever counts the cases of a batch (the aggregation tables)
// listens to the walk's moves from batch to batch.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "host/data/case_iterator.h"
#include "host/data/obs.h"
#include "platform/data/case_batch.h"
#include "platform/data/pass_listener.h"

class ProcDSIterator::Source {
 public:
  virtual ~Source();
  Source(const Source&) = delete;
  Source& operator=(const Source&) = delete;

  // Moves to the next record; false at the end. Throws the host's data
  // error (codebook::data::DataError) for damaged data.
  bool Next() {
    if (++position_ < batch().size()) return true;
    return Advance();
  }
  // The current record's weight, and whether it only ends a split group.
  double Weight() const { return batch().weights()[position_]; }
  bool SplitGroupEnd() const { return batch().EndsSplitGroup() && position_ + 1 == batch().size(); }
  // The current record's cells as a row, made when asked; null before the
  // first record and after the last.
  const OBS* Row() const;

  // Offset of a variable's first cell within a case, -1 when out of range.
  virtual int CellOffset(int varIndex) const = 0;
  // The variable at a dictionary position, or null.
  virtual const VELA_Variable* GetVariable(int varIndex) const = 0;

  // Something to tell of every move from batch to batch from now on.
  void AddListener(std::shared_ptr<codebook::data::PassListener> listener);
  // The listener of type T, if one was added.
  template <typename T>
  std::shared_ptr<T> FindListener() const {
    for (const auto& l : listeners_) {
      if (auto found = std::dynamic_pointer_cast<T>(l)) return found;
    }
    return nullptr;
  }
  // The batch the walk is in, or null before the first and after the last.
  const codebook::data::CaseBatch* CurrentBatch() const { return walking_ ? &batch() : nullptr; }

 protected:
  Source() = default;
  // Fills `batch` with the next selected records: cells, weights and
  // counted records (the first ordinal is the base's). False at the end.
  virtual bool FillBatch(codebook::data::CaseBatch& batch) = 0;
  // Tells the listeners that the source is going; a derived source calls
  // it first thing in its destructor, while its batches still stand.
  void EndListening();

 private:
  const codebook::data::CaseBatch& batch() const { return batches_[current_]; }
  bool Advance();
  // The weights' sum over the counted records, once per batch for every
  // table that takes the whole batch.
  static void SumWeights(codebook::data::CaseBatch& batch);

  codebook::data::CaseBatch batches_[2];
  int current_ = 0;
  std::size_t position_ = static_cast<std::size_t>(-1);  // one before the first record
  bool walking_ = false;
  bool ended_ = false;
  std::int64_t delivered_ = 0;  // cases in the batches so far
  std::vector<std::shared_ptr<codebook::data::PassListener>> listeners_;
  mutable std::vector<OBS> row_;
  mutable std::size_t rowOf_ = static_cast<std::size_t>(-1);
};
