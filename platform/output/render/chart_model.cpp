#include "platform/output/render/chart_model.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "platform/output/format/value_format.h"

namespace codebook::output {
namespace {

// A value of the histogram's variable as its tables show it.
std::string ValueText(const Histogram& histogram, double value) {
  if (histogram.format && !histogram.format->IsString()) return FormatNumber(value, *histogram.format, FieldMode::kCell);
  char text[32];
  std::snprintf(text, sizeof text, "%g", value);
  return text;
}

}  // namespace

BarChartModel MakeBarChart(const std::vector<ChartBar>& allBars) {
  BarChartModel model;
  const auto limit = static_cast<std::size_t>(BarChartModel::kMaxBars);
  for (const ChartBar& bar : allBars) {
    if (!bar.missing && model.bars.size() < limit) model.bars.push_back(bar);
  }
  model.validCount = model.bars.size();
  for (const ChartBar& bar : allBars) {
    if (bar.missing && model.bars.size() < limit) model.bars.push_back(bar);
  }
  model.gap = model.validCount > 0 && model.validCount < model.bars.size();
  model.notDrawn = allBars.size() - model.bars.size();
  for (const ChartBar& bar : model.bars) model.largest = std::max(model.largest, bar.percent);
  return model;
}

HistogramModel MakeHistogram(const Histogram& histogram, double plotWidth, double plotHeight) {
  HistogramModel model;
  if (histogram.weights.empty()) return model;
  double largest = 0;
  for (const double weight : histogram.weights) {
    largest = std::max(largest, weight);
    model.total += weight;
  }
  const double barWidth = plotWidth / static_cast<double>(histogram.weights.size());
  model.bins.reserve(histogram.weights.size());
  for (std::size_t i = 0; i < histogram.weights.size(); ++i) {
    HistogramModel::Bin bin;
    bin.x = barWidth * static_cast<double>(i);
    bin.width = barWidth;
    bin.height = largest > 0 ? histogram.weights[i] / largest * plotHeight : 0.0;
    bin.weight = histogram.weights[i];
    model.bins.push_back(bin);
  }
  const double span = histogram.high - histogram.low;
  const double quartiles[] = {histogram.p25, histogram.p50, histogram.p75};
  const char* names[] = {"P25", "P50", "P75"};
  for (int q = 0; q < 3; ++q) {
    if (std::isnan(quartiles[q])) continue;
    HistogramModel::Quartile mark;
    mark.name = names[q];
    mark.x = span > 0 ? (quartiles[q] - histogram.low) / span * plotWidth : plotWidth / 2.0;
    mark.text = ValueText(histogram, quartiles[q]);
    model.quartiles.push_back(std::move(mark));
  }
  model.low = ValueText(histogram, histogram.low);
  model.high = ValueText(histogram, histogram.high);
  return model;
}

}  // namespace codebook::output
