#include "platform/export/value_tally.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <functional>

#include "platform/aggregate/hash.h"

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
    const std::size_t cells = variable->IsNumeric() ? 1 : (static_cast<std::size_t>(variable->GetType()) + 7) / 8;
    columns_.push_back({static_cast<std::size_t>(slot), variable, dictionary.CellOffset(i), variable->IsNumeric(),
                        !variable->Missing().Empty(), std::max<std::size_t>(cells, 1)});
  }
  tallies_.resize(columns_.size());
}

const VariableTally& ValueTally::Of(int variableIndex) const {
  static const VariableTally kNone;
  return Tallied(variableIndex) ? tallies_[static_cast<std::size_t>(slots_[static_cast<std::size_t>(variableIndex)])] : kNone;
}

namespace {

using aggregate::MixBits;

// A value's sampling level: the trailing zero bits of its hash, the same
// for the value wherever it is met.
int Level(double value) {
  if (value == 0) value = 0;  // -0 is 0
  std::uint64_t bits = 0;
  std::memcpy(&bits, &value, sizeof bits);
  return std::countr_zero(MixBits(bits) | (1ULL << 63));
}
int Level(const std::string& value) {
  return std::countr_zero(MixBits(std::hash<std::string>{}(value)) | (1ULL << 63));
}

}  // namespace

template <typename Map, typename Key>
void ValueTally::Count(VariableTally& tally, Map& counts, const Key& key) const {
  ++tally.countedCases;
  const auto found = counts.find(key);
  if (found != counts.end()) {
    ++found->second;
    return;
  }
  // A value not held now was never met while it would have been kept: once
  // sampling, a value enters only with its first case, so that every value
  // held is counted over all its cases.
  if (tally.tooManyValues && Level(key) < tally.sampleLevel) return;
  if (counts.size() >= options_.maxValues) {
    tally.tooManyValues = true;
    while (counts.size() >= options_.maxValues && tally.sampleLevel < 63) {
      ++tally.sampleLevel;
      std::erase_if(counts, [&](const auto& entry) { return Level(entry.first) < tally.sampleLevel; });
    }
    if (Level(key) < tally.sampleLevel) return;
  }
  counts.emplace(key, 1);
}

void ValueTally::ObserveWeights(const data::CaseBatch& batch) {
  const std::vector<double>& weights = batch.weights();
  for (std::size_t r = 0; r < batch.cases(); ++r) {
    if (weights[r] > 0 && std::isfinite(weights[r])) weightedCases_.Add(weights[r]);
  }
  if (weight_ == nullptr) return;
  const OBS* raw = batch.Column(static_cast<std::size_t>(weightOffset_));
  for (std::size_t r = 0; r < batch.cases(); ++r) {
    const double weight = weights[r];
    if (weight > 0 && std::isfinite(weight)) continue;
    const double value = raw[r].d;
    if (value == kSysmis || !std::isfinite(value) || weight_->IsMissing(&raw[r])) {
      ++weights_.missing;
    } else if (value == 0) {
      ++weights_.zero;
    } else {
      ++weights_.negative;
    }
  }
}

// Every case of the batch weighs 1 and no value is counted (the overview
// of an unweighted file): the valid and missing cases are counted and
// added once a batch, the least and greatest value found in one sweep. The
// sums are those of adding 1 a case, exactly.
void ValueTally::ObserveUnitWeights(const Column& column, const data::CaseBatch& batch) {
  VariableTally& tally = tallies_[column.slot];
  const std::size_t cases = batch.cases();
  const OBS* first = batch.Column(static_cast<std::size_t>(column.offset));
  std::int64_t missing = 0;
  if (column.numeric) {
    double low = tally.min;
    double high = tally.max;
    for (std::size_t r = 0; r < cases; ++r) {
      const double number = first[r].d;
      if (number == kSysmis || std::isnan(number) || (column.hasMissing && column.variable->IsMissing(&first[r]))) {
        ++missing;
        continue;
      }
      low = std::min(low, number);
      high = std::max(high, number);
    }
    tally.min = low;
    tally.max = high;
  } else if (column.hasMissing) {
    for (std::size_t r = 0; r < cases; ++r) {
      value_.resize(column.cells);
      for (std::size_t k = 0; k < column.cells; ++k) value_[k] = batch.Column(static_cast<std::size_t>(column.offset) + k)[r];
      if (column.variable->IsMissing(value_.data()) != 0) ++missing;
    }
  }
  const auto valid = static_cast<std::int64_t>(cases) - missing;
  tally.validCases += valid;
  tally.missingCases += missing;
  tally.validWeight.Add(static_cast<double>(valid));
  tally.missingWeight.Add(static_cast<double>(missing));
}

void ValueTally::Observe(const data::CaseBatch& batch) {
  // A case whose weight is zero, negative or missing takes part in no
  // statistic; the unweighted counts are those of every case, as if the
  // cases were not weighted.
  const std::size_t cases = batch.cases();
  cases_ += static_cast<std::int64_t>(cases);
  ObserveWeights(batch);
  const std::vector<double>& weights = batch.weights();
  const bool countValues = options_.countValues;
  if (!countValues && std::all_of(weights.begin(), weights.begin() + static_cast<std::ptrdiff_t>(cases),
                                  [](double weight) { return weight == 1.0; })) {
    for (const Column& column : columns_) ObserveUnitWeights(column, batch);
    return;
  }
  for (const Column& column : columns_) {
    VariableTally& tally = tallies_[column.slot];
    const OBS* first = batch.Column(static_cast<std::size_t>(column.offset));
    for (std::size_t r = 0; r < cases; ++r) {
      const double weight = weights[r];
      const bool weighs = weight > 0 && std::isfinite(weight);
      if (!weighs && !countValues) continue;
      bool missing = false;
      if (column.numeric) {
        const OBS* value = &first[r];
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
        value_.resize(column.cells);
        for (std::size_t k = 0; k < column.cells; ++k) value_[k] = batch.Column(static_cast<std::size_t>(column.offset) + k)[r];
        const OBS* value = value_.data();
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
}

}  // namespace codebook::exporting
