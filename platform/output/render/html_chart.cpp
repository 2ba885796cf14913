#include "platform/output/render/html_chart.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "platform/output/render/html_escape.h"

namespace codebook::output {
namespace {

// The groups whose rows are the item's categories. A scale variable's
// "Labeled Values" are not: they are a few of its values, valid and missing
// mixed with nothing to tell them apart, and its histogram pictures it.
bool IsCategoryGroup(std::string_view label) {
  return label == "Valid Values" || label == "Missing Values" || label == "Multiple Response Categories";
}

std::string Number(double value, const char* format) {
  char text[32];
  std::snprintf(text, sizeof text, format, value);
  return text;
}

// Chart labels are cut to what fits beside the bars.
std::string Shortened(const std::string& text) {
  constexpr std::size_t kMaxCharacters = 28;
  std::size_t characters = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if ((static_cast<unsigned char>(text[i]) & 0xC0) == 0x80) continue;
    if (++characters > kMaxCharacters) return text.substr(0, i) + "…";
  }
  return text;
}

}  // namespace

std::vector<ChartBar> ChartBars(const TableView& view) {
  int valueColumn = -1;
  int percentColumn = -1;
  for (std::size_t c = 0; c < view.columns().size(); ++c) {
    if (view.columns()[c]->text == "Value") valueColumn = static_cast<int>(c);
    if (view.columns()[c]->text == "Percent") percentColumn = static_cast<int>(c);
  }
  std::vector<ChartBar> bars;
  if (percentColumn < 0) return bars;
  std::string_view group;
  for (const ViewEntry& entry : view.entries()) {
    const ContentView* label = view.Label(entry.node);
    if (entry.group) {
      if (entry.depth == 0) group = label != nullptr ? std::string_view(label->text) : std::string_view();
      continue;
    }
    if (!IsCategoryGroup(group)) continue;
    const ContentView* percent = nullptr;
    const ContentView* value = nullptr;
    for (std::uint32_t i = entry.cellBegin; i < entry.cellEnd; ++i) {
      const ViewCell& cell = view.cells()[i];
      if (cell.column == percentColumn && percent == nullptr) percent = cell.content;
      if (cell.column == valueColumn && value == nullptr) value = cell.content;
    }
    if (percent == nullptr || std::isnan(percent->number)) continue;
    ChartBar bar;
    // The value's label when it has one, else the value itself.
    bar.label = value != nullptr && !value->text.empty() ? value->text : (label != nullptr ? label->text : std::string_view());
    bar.percent = std::max(0.0, percent->number);
    bar.missing = group == "Missing Values";
    bars.push_back(std::move(bar));
  }
  return bars;
}

void AppendBarChart(std::string& out, const std::vector<ChartBar>& allBars, const std::string& id,
                    const std::string& title) {
  if (allBars.empty()) return;
  const BarChartModel model = MakeBarChart(allBars);
  const std::vector<ChartBar>& bars = model.bars;
  const int height = model.Rows() * ChartLayout::kRowHeight + 4;
  out += "<svg class=\"chart\" role=\"img\" viewBox=\"0 0 " + std::to_string(ChartLayout::kWidth) + " " +
         std::to_string(height) + "\" width=\"" + std::to_string(ChartLayout::kWidth) + "\" height=\"" +
         std::to_string(height) + "\" aria-labelledby=\"" + id + "-t " + id + "-d\">";
  out += "<title id=\"" + id + "-t\">";
  AppendHtmlEscaped(out, title);
  out += "</title><desc id=\"" + id + "-d\">";
  for (std::size_t i = 0; i < bars.size(); ++i) {
    if (i > 0) out += i == model.validCount ? "; missing: " : ", ";
    AppendHtmlEscaped(out, bars[i].label);
    out += " " + Number(bars[i].percent, "%.1f") + "%";
  }
  if (model.notDrawn > 0) out += "; " + std::to_string(model.notDrawn) + " more categories not drawn";
  out += "</desc>\n";
  for (std::size_t i = 0; i < bars.size(); ++i) {
    const int y = 2 + model.RowOf(i) * ChartLayout::kRowHeight;
    const ChartBar& bar = bars[i];
    const double length = model.Length(i, ChartLayout::kBarWidth);
    out += "<text x=\"" + std::to_string(ChartLayout::kLabelWidth - 6) + "\" y=\"" +
           std::to_string(y + 13) + "\" text-anchor=\"end\">";
    AppendHtmlEscaped(out, Shortened(bar.label));
    out += "</text><rect class=\"bar" + std::string(bar.missing ? " missing" : "") + "\" x=\"" +
           std::to_string(ChartLayout::kLabelWidth) + "\" y=\"" + std::to_string(y + 2) + "\" width=\"" +
           Number(length, "%.2f") + "\" height=\"" + std::to_string(ChartLayout::kRowHeight - 4) +
           "\"/><text x=\"" + Number(ChartLayout::kLabelWidth + length + 4, "%.2f") + "\" y=\"" +
           std::to_string(y + 13) + "\">" + Number(bar.percent, "%.1f") + "%</text>\n";
  }
  out += "</svg>\n";
}

void AppendHistogram(std::string& out, const Histogram& histogram, const std::string& id, const std::string& title) {
  if (histogram.weights.empty()) return;
  using L = HistogramLayout;
  const HistogramModel model = MakeHistogram(histogram, L::kPlotWidth, L::kPlotHeight);
  out += "<svg class=\"chart histogram\" role=\"img\" viewBox=\"0 0 " + std::to_string(L::kWidth) + " " +
         std::to_string(L::kHeight) + "\" width=\"" + std::to_string(L::kWidth) + "\" height=\"" +
         std::to_string(L::kHeight) + "\" aria-labelledby=\"" + id + "-t " + id + "-d\">";
  out += "<title id=\"" + id + "-t\">";
  AppendHtmlEscaped(out, title);
  out += "</title><desc id=\"" + id + "-d\">" + std::to_string(model.bins.size()) + " bins from ";
  AppendHtmlEscaped(out, model.low);
  out += " to ";
  AppendHtmlEscaped(out, model.high);
  out += ", " + Number(model.total, "%g") + " valid cases (weighted)";
  if (model.quartiles.size() == 3) {
    out += "; quartiles ";
    AppendHtmlEscaped(out, model.quartiles[0].text);
    out += ", ";
    AppendHtmlEscaped(out, model.quartiles[1].text);
    out += " and ";
    AppendHtmlEscaped(out, model.quartiles[2].text);
  }
  out += "</desc>\n";
  for (const HistogramModel::Bin& bin : model.bins) {
    out += "<rect class=\"bar\" x=\"" + Number(L::kLeft + bin.x, "%.2f") + "\" y=\"" +
           Number(L::kTop + L::kPlotHeight - bin.height, "%.2f") + "\" width=\"" + Number(bin.width - 1, "%.2f") +
           "\" height=\"" + Number(bin.height, "%.2f") + "\" data-weight=\"" + Number(bin.weight, "%.17g") +
           "\"/>\n";
  }
  for (const HistogramModel::Quartile& quartile : model.quartiles) {
    const std::string x = Number(L::kLeft + quartile.x, "%.2f");
    out += "<line class=\"quartile\" x1=\"" + x + "\" x2=\"" + x + "\" y1=\"" + std::to_string(L::kTop - 4) +
           "\" y2=\"" + std::to_string(L::kTop + L::kPlotHeight) + "\"/><text x=\"" + x + "\" y=\"" +
           std::to_string(L::kTop - 6) + "\" text-anchor=\"middle\">" + quartile.name + "</text>\n";
  }
  const int axis = L::kTop + L::kPlotHeight + 16;
  out += "<text x=\"" + std::to_string(L::kLeft) + "\" y=\"" + std::to_string(axis) + "\">";
  AppendHtmlEscaped(out, model.low);
  out += "</text><text x=\"" + std::to_string(L::kLeft + L::kPlotWidth) + "\" y=\"" + std::to_string(axis) +
         "\" text-anchor=\"end\">";
  AppendHtmlEscaped(out, model.high);
  out += "</text>\n</svg>\n";
}

}  // namespace codebook::output
