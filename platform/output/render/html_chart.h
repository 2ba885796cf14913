// The pictures of the HTML report: a bar chart of each table's category
// percents, drawn as inline SVG from the numbers the table already shows.
#pragma once

#include <string>
#include <vector>

#include "platform/output/document/document.h"
#include "platform/output/render/chart_model.h"
#include "platform/output/render/table_view.h"

namespace codebook::output {

// The bars of a table: the rows of its category groups ("Valid Values",
// "Missing Values", "Multiple Response Categories") that have a percent;
// not a scale variable's "Labeled Values". Empty when the table shows no
// percents.
std::vector<ChartBar> ChartBars(const TableView& view);

// The chart's geometry, for drawing and for tests.
struct ChartLayout {
  static constexpr int kWidth = 520;
  static constexpr int kLabelWidth = 190;
  static constexpr int kBarWidth = 250;  // the longest bar
  static constexpr int kRowHeight = 18;
  static constexpr int kMaxBars = BarChartModel::kMaxBars;
};

// Appends an accessible SVG bar chart (role="img", a title and a text
// description). `id` makes the element ids unique in the page; `title`
// names what is drawn. Bar lengths are proportional to the percents.
void AppendBarChart(std::string& out, const std::vector<ChartBar>& bars, const std::string& id,
                    const std::string& title);

// The histogram's geometry.
struct HistogramLayout {
  static constexpr int kWidth = 520;
  static constexpr int kLeft = 10;
  static constexpr int kPlotWidth = 500;
  static constexpr int kTop = 16;
  static constexpr int kPlotHeight = 100;
  static constexpr int kHeight = 140;
};

// Appends an accessible SVG histogram: one bar per bin, heights
// proportional to the bins' weights (each bar's weight in data-weight), the
// quartiles marked by dashed lines; the ends of the axis and the quartiles
// of the text description shown in the variable's format.
void AppendHistogram(std::string& out, const Histogram& histogram, const std::string& id, const std::string& title);

}  // namespace codebook::output
