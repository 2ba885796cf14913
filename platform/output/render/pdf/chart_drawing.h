// The report's pictures drawn as vectors: the bar chart of a table's
// percents and the histogram of a scale variable, from the same chart
// model as the HTML report's.
#pragma once

#include "platform/output/render/chart_model.h"
#include "platform/output/render/pdf/canvas.h"

namespace codebook::output::pdf {

double BarChartHeight(TextEngine& text, const BarChartModel& model);
void DrawBarChart(Canvas& canvas, const BarChartModel& model, double x, double y, double width);

double HistogramHeight(TextEngine& text);
void DrawHistogram(Canvas& canvas, const Histogram& histogram, double x, double y, double width);

}  // namespace codebook::output::pdf
