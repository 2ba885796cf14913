// Histograms of scale variables for the HTML report, made from the distinct
// values and weights that the pass keeps for the quartiles (no second pass):
// a collector takes them while the percentiles are computed, and they are
// attached to the tables afterwards.
#pragma once

#include <map>
#include <span>

#include "platform/aggregate/distribution_sink.h"
#include "platform/data/dataset.h"
#include "platform/output/document/document.h"

namespace codebook::report {

constexpr int kHistogramBins = 20;

// Equal-width bins over the values with a positive weight.
output::Histogram MakeHistogram(std::span<const aggregate::WeightedValue> sorted, int bins = kHistogramBins);

class DistributionCollector final : public aggregate::DistributionSink {
 public:
  void Distribution(int varIndex, std::span<const aggregate::WeightedValue> sorted) override;
  const output::Histogram* Of(int varIndex) const;
  void Clear() { histograms_.clear(); }

 private:
  std::map<int, output::Histogram> histograms_;
};

// Gives each scale variable's table among items [first, end) its histogram,
// with the quartiles the table shows marked.
void AttachHistograms(output::Document& document, std::size_t first, std::size_t end, const data::Dataset& dataset,
                      const DistributionCollector& collector);

// Installs a collector for its lifetime.
class DistributionScope {
 public:
  explicit DistributionScope(DistributionCollector* collector) { aggregate::SetDistributionSink(collector); }
  ~DistributionScope() { aggregate::SetDistributionSink(nullptr); }
  DistributionScope(const DistributionScope&) = delete;
  DistributionScope& operator=(const DistributionScope&) = delete;
};

}  // namespace codebook::report
