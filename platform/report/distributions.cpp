#include "platform/report/distributions.h"

#include <algorithm>
#include <cmath>

#include "platform/export/item_facts.h"

namespace codebook::report {

output::Histogram MakeHistogram(std::span<const aggregate::WeightedValue> sorted, int bins) {
  output::Histogram histogram;
  bool any = false;
  for (const aggregate::WeightedValue& entry : sorted) {
    if (!(entry.weight > 0)) continue;
    if (!any) histogram.low = entry.value;
    histogram.high = entry.value;
    any = true;
  }
  if (!any) return histogram;
  const bool single = histogram.high <= histogram.low;
  histogram.weights.assign(single ? 1 : static_cast<std::size_t>(std::max(1, bins)), 0.0);
  const double width = single ? 1.0 : (histogram.high - histogram.low) / static_cast<double>(histogram.weights.size());
  for (const aggregate::WeightedValue& entry : sorted) {
    if (!(entry.weight > 0)) continue;
    auto bin = static_cast<std::size_t>(std::floor((entry.value - histogram.low) / width));
    bin = std::min(bin, histogram.weights.size() - 1);  // the greatest value closes the last bin
    histogram.weights[bin] += entry.weight;
  }
  return histogram;
}

void DistributionCollector::Distribution(int varIndex, std::span<const aggregate::WeightedValue> sorted) {
  // Asked once per percentile; the first time is enough.
  if (seen_.count(varIndex) != 0) return;
  Seen& seen = seen_[varIndex];
  bool any = false;
  for (const aggregate::WeightedValue& entry : sorted) {
    if (!(entry.weight > 0)) continue;
    // Sorted, so a value equal to the last one met is the same value again.
    if (!any || entry.value != seen.range.high) ++seen.range.distinct;
    if (!any) seen.range.low = entry.value;
    seen.range.high = entry.value;
    any = true;
  }
  if (histograms_) seen.histogram = MakeHistogram(sorted);
}

const output::Histogram* DistributionCollector::Of(int varIndex) const {
  const auto found = seen_.find(varIndex);
  return found == seen_.end() || !histograms_ ? nullptr : &found->second.histogram;
}

const ValueRange* DistributionCollector::RangeOf(int varIndex) const {
  const auto found = seen_.find(varIndex);
  return found == seen_.end() ? nullptr : &found->second.range;
}

void AttachHistograms(output::Document& document, std::size_t first, std::size_t end, const data::Dataset& dataset,
                      const DistributionCollector& collector) {
  // Marked first, attached after the walk: the document is not changed
  // while its tables are read.
  std::vector<std::pair<std::size_t, output::Histogram>> marked;
  exporting::ForEachItemFacts(document, first, end, [&](const exporting::ItemFacts& item, std::size_t index) {
    if (item.IsSet()) return;
    const int variable = dataset.FindVarIndex(item.name.c_str(), 0);
    const output::Histogram* histogram = collector.Of(variable);
    if (histogram == nullptr || histogram->weights.empty()) return;
    output::Histogram copy = *histogram;
    copy.format = dataset.GetDictionary().GetVariable(variable)->PrintFormat();
    const auto nan = std::numeric_limits<double>::quiet_NaN();
    copy.p25 = item.p25.value_or(nan);
    copy.p50 = item.p50.value_or(nan);
    copy.p75 = item.p75.value_or(nan);
    marked.emplace_back(index, std::move(copy));
  });
  for (auto& [index, histogram] : marked) {
    document.SetHistogram(std::get<output::Document::Table>(document.Items()[index]), std::move(histogram));
  }
}

}  // namespace codebook::report
