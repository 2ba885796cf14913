#include "platform/export/value_tally.h"

#include <cmath>

namespace codebook::exporting {

ValueTally::ValueTally(const data::Dataset& dataset, int weightIndex, TallyOptions options) : options_(options) {
  const data::Dictionary& dictionary = dataset.GetDictionary();
  if (weightIndex >= 0 && weightIndex < dataset.ColumnCount()) {
    weight_ = dictionary.GetVariable(weightIndex);
    weightOffset_ = dictionary.CellOffset(weightIndex);
  }
  const int count = dataset.ColumnCount();
  slots_.assign(static_cast<std::size_t>(count), options_.allVariables ? 0 : -1);
  for (const int index : options_.variables) {
    if (index >= 0 && index < count) slots_[static_cast<std::size_t>(index)] = 0;
  }
  for (int i = 0; i < count; ++i) {
    std::int32_t& slot = slots_[static_cast<std::size_t>(i)];
    if (slot < 0) continue;
    slot = static_cast<std::int32_t>(columns_.size());
    const data::Variable* variable = dictionary.GetVariable(i);
    columns_.push_back({static_cast<std::size_t>(slot), variable, dictionary.CellOffset(i), variable->IsNumeric(),
                        !variable->Missing().Empty()});
  }
  tallies_.resize(columns_.size());
}

const VariableTally& ValueTally::Of(int variableIndex) const {
  static const VariableTally kNone;
  return Tallied(variableIndex) ? tallies_[static_cast<std::size_t>(slots_[static_cast<std::size_t>(variableIndex)])] : kNone;
}

template <typename Map, typename Key>
void ValueTally::Count(VariableTally& tally, Map& counts, const Key& key) const {
  const auto found = counts.find(key);
  if (found != counts.end()) {
    ++found->second;
  } else if (counts.size() < options_.maxValues) {
    counts.emplace(key, 1);
  } else {
    tally.tooManyValues = true;
  }
}

void ValueTally::Observe(const OBS* cells, double weight) {
  // A case whose weight is zero, negative or missing takes part in no
  // statistic; the unweighted counts are those of every case, as if the
  // cases were not weighted.
  ++cases_;
  const bool weighs = weight > 0 && std::isfinite(weight);
  if (weight_ != nullptr && !weighs) {
    const double raw = cells[weightOffset_].d;
    if (raw == kSysmis || !std::isfinite(raw) || weight_->IsMissing(cells + weightOffset_)) {
      ++weights_.missing;
    } else if (raw == 0) {
      ++weights_.zero;
    } else {
      ++weights_.negative;
    }
  }
  const bool countValues = options_.countValues;
  if (!weighs && !countValues) return;
  for (const Column& column : columns_) {
    VariableTally& tally = tallies_[column.slot];
    const OBS* value = cells + column.offset;
    bool missing = false;
    if (column.numeric) {
      const double number = value->d;
      const bool system = number == kSysmis || std::isnan(number);
      if (countValues && !system) Count(tally, tally.numberCounts, number);
      if (!weighs) continue;
      missing = system || (column.hasMissing && column.variable->IsMissing(value));
      if (!missing) {
        tally.min = std::min(tally.min, number);
        tally.max = std::max(tally.max, number);
      }
    } else {
      if (countValues) {
        std::string_view text = column.variable->StringValue(value);
        while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
        if (!text.empty() && text.front() == ' ') tally.leadingBlanks = true;
        Count(tally, tally.stringCounts, std::string(text));
      }
      if (!weighs) continue;
      missing = column.hasMissing && column.variable->IsMissing(value) != 0;
    }
    if (missing) {
      tally.missingWeight.Add(weight);
      ++tally.missingCases;
    } else {
      tally.validWeight.Add(weight);
      ++tally.validCases;
    }
  }
}

}  // namespace codebook::exporting
