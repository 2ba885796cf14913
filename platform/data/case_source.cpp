#include "platform/data/case_source.h"

#include <algorithm>

ProcDSIterator::Source::~Source() { EndListening(); }

void ProcDSIterator::Source::EndListening() {
  auto listeners = std::move(listeners_);
  listeners_.clear();
  for (const auto& l : listeners) l->SourceEnds(CurrentBatch());
}

void ProcDSIterator::Source::AddListener(std::shared_ptr<codebook::data::PassListener> listener) {
  if (listener) listeners_.push_back(std::move(listener));
}

bool ProcDSIterator::Source::Advance() {
  if (ended_) {
    position_ = batch().size();
    return false;
  }
  codebook::data::CaseBatch& done = batches_[current_];
  codebook::data::CaseBatch& next = batches_[1 - current_];
  const bool more = FillBatch(next);
  if (more) {
    next.SetFirstOrdinal(delivered_);
    delivered_ += static_cast<std::int64_t>(next.cases());
    SumWeights(next);
  }
  // Listeners may throw (a table's memory): the walk then stops where it is.
  for (const auto& l : listeners_) l->BatchBoundary(walking_ ? &done : nullptr, more ? &next : nullptr);
  rowOf_ = static_cast<std::size_t>(-1);
  if (!more) {
    ended_ = true;
    walking_ = false;
    position_ = batch().size();
    return false;
  }
  current_ = 1 - current_;
  position_ = 0;
  walking_ = true;
  return true;
}

void ProcDSIterator::Source::SumWeights(codebook::data::CaseBatch& batch) {
  // A source that says nothing of weights has every case weigh 1.
  std::vector<double>& weights = batch.weights();
  if (weights.size() < batch.size()) weights.resize(batch.size(), 1.0);
  codebook::aggregate::CompensatedSum total;
  if (batch.allCounted()) {
    for (std::size_t r = 0; r < batch.cases(); ++r) total.Add(weights[r]);
  } else {
    for (const std::uint32_t r : batch.counted()) total.Add(weights[r]);
  }
  batch.SetCountedWeight(total);
}

const OBS* ProcDSIterator::Source::Row() const {
  if (!walking_ || position_ >= batch().size()) return nullptr;
  if (rowOf_ != position_) {
    row_.resize(std::max<std::size_t>(batch().cellsPerCase(), 1));
    batch().CopyCase(position_, row_.data());
    rowOf_ = position_;
  }
  return row_.data();
}
