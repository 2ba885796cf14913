// What the report's pictures show, apart from how they are drawn: the bars
// of a table's percents and the bins and quartiles of a histogram, with
// their lengths worked out once for every renderer that draws them (the
// HTML report's SVG, the PDF's vectors).
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "platform/output/document/document.h"

namespace codebook::output {

// One bar: a category's label and percent, and whether it is a missing
// value (drawn apart, after the valid ones).
struct ChartBar {
  std::string label;
  double percent = 0;
  bool missing = false;
};

// The bars as drawn: valid categories first, then the missing ones after a
// row left empty, at most kMaxBars of them.
struct BarChartModel {
  static constexpr int kMaxBars = 40;  // more categories are left out of the picture
  std::vector<ChartBar> bars;
  std::size_t validCount = 0;
  bool gap = false;            // an empty row between the valid and the missing bars
  std::size_t notDrawn = 0;    // categories left out
  double largest = 0;          // the longest bar's percent
  // Rows the picture takes, the gap included, and the row of bar i.
  int Rows() const { return static_cast<int>(bars.size()) + (gap ? 1 : 0); }
  int RowOf(std::size_t i) const { return static_cast<int>(i) + (gap && i >= validCount ? 1 : 0); }
  // Bar i's length when the longest is `full` long.
  double Length(std::size_t i, double full) const {
    return largest > 0 ? bars[i].percent / largest * full : 0.0;
  }
};

BarChartModel MakeBarChart(const std::vector<ChartBar>& bars);

// A histogram in a plot of the given size: one bar per bin, heights
// proportional to the bins' weights, the quartiles where they fall, and the
// ends of the axis and the quartiles named in the variable's format.
struct HistogramModel {
  struct Bin {
    double x = 0;  // from the plot's left
    double width = 0;
    double height = 0;  // from the plot's base
    double weight = 0;
  };
  struct Quartile {
    const char* name = "";  // "P25", "P50", "P75"
    double x = 0;
    std::string text;
  };
  std::vector<Bin> bins;
  std::vector<Quartile> quartiles;  // those the table shows
  std::string low;   // the least valid value, as the tables show it
  std::string high;  // the greatest
  double total = 0;  // the summed weights
};

HistogramModel MakeHistogram(const Histogram& histogram, double plotWidth, double plotHeight);

}  // namespace codebook::output
