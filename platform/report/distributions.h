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

// What the overview says of a scale variable's values: how many distinct
// ones have a positive weight, and the least and greatest of them.
struct ValueRange {
  std::size_t distinct = 0;
  double low = 0;
  double high = 0;
};

// Takes each distribution once: the ranges always, the histograms only when
// asked for (the HTML report draws them).
class DistributionCollector final : public aggregate::DistributionSink {
 public:
  explicit DistributionCollector(bool histograms = true) : histograms_(histograms) {}
  void Distribution(int varIndex, std::span<const aggregate::WeightedValue> sorted) override;
  // Null when the variable's distribution was not seen (or histograms are
  // not kept).
  const output::Histogram* Of(int varIndex) const;
  const ValueRange* RangeOf(int varIndex) const;
  void KeepHistograms(bool keep) { histograms_ = keep; }
  void Clear() { seen_.clear(); }

 private:
  struct Seen {
    ValueRange range;
    output::Histogram histogram;
  };
  bool histograms_;
  std::map<int, Seen> seen_;
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
