#include "platform/export/value_tally.h"

#include <cmath>

namespace codebook::exporting {

ValueTally::ValueTally(const data::Dataset& dataset, bool countValues) : countValues_(countValues) {
  const data::Dictionary& dictionary = dataset.GetDictionary();
  const int count = dataset.ColumnCount();
  columns_.reserve(static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i) {
    const data::Variable* variable = dictionary.GetVariable(i);
    columns_.push_back({variable, dictionary.CellOffset(i), variable->IsNumeric(), !variable->Missing().Empty()});
  }
  tallies_.resize(columns_.size());
}

void ValueTally::Observe(const OBS* cells, double weight) {
  // A case whose weight is zero, negative or missing takes part in no
  // statistic; the unweighted counts are those of every case, as if the
  // cases were not weighted.
  const bool weighs = weight > 0 && std::isfinite(weight);
  if (!weighs && !countValues_) return;
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    const Column& column = columns_[i];
    VariableTally& tally = tallies_[i];
    const OBS* value = cells + column.offset;
    bool missing = false;
    if (column.numeric) {
      const double number = value->d;
      const bool system = number == kSysmis || std::isnan(number);
      if (countValues_ && !system) ++tally.numberCounts[number];
      if (!weighs) continue;
      missing = system || (column.hasMissing && column.variable->IsMissing(value));
      if (!missing) {
        tally.min = std::min(tally.min, number);
        tally.max = std::max(tally.max, number);
      }
    } else {
      if (countValues_) {
        std::string_view text = column.variable->StringValue(value);
        while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
        ++tally.stringCounts[std::string(text)];
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
