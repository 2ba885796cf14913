#include "platform/output/render/pdf/chart_drawing.h"

#include <algorithm>
#include <cstdio>

namespace codebook::output::pdf {
namespace {

constexpr double kRow = 8.5;          // one bar's row
constexpr double kMaxChartWidth = 300;
constexpr double kPlotHeight = 42;

std::string Percent(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%.1f%%", value);
  return text;
}

}  // namespace

double BarChartHeight(TextEngine& text, const BarChartModel& model) {
  if (model.bars.empty()) return 0;
  return model.Rows() * kRow + 3 + (model.notDrawn > 0 ? text.LineHeight(Font::kSmall) : 0);
}

void DrawBarChart(Canvas& canvas, const BarChartModel& model, double x, double y, double width) {
  if (model.bars.empty() || !canvas.Drawing()) return;
  TextEngine& text = canvas.Text();
  width = std::min(width, kMaxChartWidth);
  const double labelWidth = std::min(100.0, width * 0.36);
  const double percentWidth = text.Measure(Font::kSmall, "100.0%").width + 3;
  const double full = width - labelWidth - 4 - percentWidth;
  const double small = text.LineHeight(Font::kSmall);
  for (std::size_t i = 0; i < model.bars.size(); ++i) {
    const ChartBar& bar = model.bars[i];
    const double top = y + 1.5 + model.RowOf(i) * kRow;
    const double textTop = top + (kRow - small) / 2;
    const TextSize label = text.MeasureLine(Font::kSmall, bar.label, labelWidth - 3);
    canvas.WriteLine(Font::kSmall, bar.label, x + labelWidth - 3 - label.width, textTop, labelWidth - 3,
                     colors::kMuted);
    const double length = model.Length(i, full);
    canvas.FillRect(x + labelWidth, top + 1, std::max(length, 0.3), kRow - 2,
                    bar.missing ? colors::kMissingBar : colors::kBar);
    canvas.Write(Font::kSmall, Percent(bar.percent), x + labelWidth + length + 2, textTop, colors::kMuted);
  }
  if (model.notDrawn > 0) {
    const std::string note = std::to_string(model.notDrawn) + " more categories not drawn";
    canvas.Write(Font::kSmall, note, x + labelWidth, y + 1.5 + model.Rows() * kRow, colors::kMuted);
  }
}

double HistogramHeight(TextEngine& text) { return kPlotHeight + 2 * text.LineHeight(Font::kSmall) + 4; }

void DrawHistogram(Canvas& canvas, const Histogram& histogram, double x, double y, double width) {
  if (histogram.weights.empty() || !canvas.Drawing()) return;
  TextEngine& text = canvas.Text();
  const double small = text.LineHeight(Font::kSmall);
  const double plotWidth = std::min(width, kMaxChartWidth) - 8;
  const double left = x + 4;
  const double top = y + small + 1;
  const double base = top + kPlotHeight;
  const HistogramModel model = MakeHistogram(histogram, plotWidth, kPlotHeight);
  for (const HistogramModel::Bin& bin : model.bins) {
    if (bin.height <= 0) continue;
    canvas.FillRect(left + bin.x, base - bin.height, std::max(bin.width - 0.6, 0.3), bin.height, colors::kBar);
  }
  canvas.Line(left, base, left + plotWidth, base, colors::kRule, 0.5);
  for (const HistogramModel::Quartile& quartile : model.quartiles) {
    const double at = left + quartile.x;
    canvas.Line(at, top - 1, at, base, colors::kText, 0.5, true);
    const double nameWidth = text.Measure(Font::kSmall, quartile.name).width;
    canvas.Write(Font::kSmall, quartile.name, at - nameWidth / 2, y, colors::kMuted);
  }
  const double axis = base + 1.5;
  canvas.WriteLine(Font::kSmall, model.low, left, axis, plotWidth / 2, colors::kMuted);
  const TextSize high = text.MeasureLine(Font::kSmall, model.high, plotWidth / 2 - 4);
  canvas.WriteLine(Font::kSmall, model.high, left + plotWidth - high.width, axis, plotWidth / 2 - 4, colors::kMuted);
}

}  // namespace codebook::output::pdf
