// The pictures of the HTML report, drawn from the numbers the tables
// already show: the bars of a table's category percents (which the report
// draws behind the percents themselves) and a scale variable's histogram
// as inline SVG.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/output/document/document.h"
#include "platform/output/render/chart_model.h"
#include "platform/output/render/table_view.h"

namespace codebook::output {

// The groups whose rows are an item's categories: "Valid Values", "Missing
// Values", "Multiple Response Categories". A scale variable's "Labeled
// Values" are not: a few of its values, valid and missing mixed.
bool IsCategoryGroup(std::string_view label);

// The bars of a table: the rows of its category groups that have a
// percent. Empty when the table shows no percents.
std::vector<ChartBar> ChartBars(const TableView& view);

// The histogram's geometry.
struct HistogramLayout {
  static constexpr int kWidth = 520;
  static constexpr int kLeft = 10;
  static constexpr int kPlotWidth = 500;
  static constexpr int kTop = 16;
  static constexpr int kPlotHeight = 100;
  static constexpr int kHeight = 140;
};

// Appends an accessible SVG histogram (role="img", its description in
// aria-label): the bins as one path, heights proportional to their weights
// (listed in data-weights), the quartiles marked by dashed lines; the ends
// of the axis and the quartiles of the description shown in the variable's
// format. `title` names what is drawn.
void AppendHistogram(std::string& out, const Histogram& histogram, const std::string& title);

}  // namespace codebook::output
