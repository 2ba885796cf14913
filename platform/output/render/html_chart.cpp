#include "platform/output/render/html_chart.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "platform/output/format/value_format.h"
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

// A value of the histogram's variable as its tables show it.
std::string ValueText(const Histogram& histogram, double value) {
  if (histogram.format && !histogram.format->IsString()) return FormatNumber(value, *histogram.format, FieldMode::kCell);
  return Number(value, "%g");
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
  // Valid categories first, missing ones apart below them.
  std::vector<ChartBar> bars;
  for (const ChartBar& bar : allBars) {
    if (!bar.missing && bars.size() < static_cast<std::size_t>(ChartLayout::kMaxBars)) bars.push_back(bar);
  }
  const std::size_t validCount = bars.size();
  for (const ChartBar& bar : allBars) {
    if (bar.missing && bars.size() < static_cast<std::size_t>(ChartLayout::kMaxBars)) bars.push_back(bar);
  }
  const bool gap = validCount > 0 && validCount < bars.size();
  double largest = 0;
  for (const ChartBar& bar : bars) largest = std::max(largest, bar.percent);

  const int height = static_cast<int>(bars.size()) * ChartLayout::kRowHeight + (gap ? ChartLayout::kRowHeight : 0) + 4;
  out += "<svg class=\"chart\" role=\"img\" viewBox=\"0 0 " + std::to_string(ChartLayout::kWidth) + " " +
         std::to_string(height) + "\" width=\"" + std::to_string(ChartLayout::kWidth) + "\" height=\"" +
         std::to_string(height) + "\" aria-labelledby=\"" + id + "-t " + id + "-d\">";
  out += "<title id=\"" + id + "-t\">";
  AppendHtmlEscaped(out, title);
  out += "</title><desc id=\"" + id + "-d\">";
  for (std::size_t i = 0; i < bars.size(); ++i) {
    if (i > 0) out += i == validCount ? "; missing: " : ", ";
    AppendHtmlEscaped(out, bars[i].label);
    out += " " + Number(bars[i].percent, "%.1f") + "%";
  }
  if (bars.size() < allBars.size()) {
    out += "; " + std::to_string(allBars.size() - bars.size()) + " more categories not drawn";
  }
  out += "</desc>\n";
  int y = 2;
  for (std::size_t i = 0; i < bars.size(); ++i) {
    if (gap && i == validCount) y += ChartLayout::kRowHeight;
    const ChartBar& bar = bars[i];
    const double length = largest > 0 ? bar.percent / largest * ChartLayout::kBarWidth : 0.0;
    out += "<text x=\"" + std::to_string(ChartLayout::kLabelWidth - 6) + "\" y=\"" +
           std::to_string(y + 13) + "\" text-anchor=\"end\">";
    AppendHtmlEscaped(out, Shortened(bar.label));
    out += "</text><rect class=\"bar" + std::string(bar.missing ? " missing" : "") + "\" x=\"" +
           std::to_string(ChartLayout::kLabelWidth) + "\" y=\"" + std::to_string(y + 2) + "\" width=\"" +
           Number(length, "%.2f") + "\" height=\"" + std::to_string(ChartLayout::kRowHeight - 4) +
           "\"/><text x=\"" + Number(ChartLayout::kLabelWidth + length + 4, "%.2f") + "\" y=\"" +
           std::to_string(y + 13) + "\">" + Number(bar.percent, "%.1f") + "%</text>\n";
    y += ChartLayout::kRowHeight;
  }
  out += "</svg>\n";
}

void AppendHistogram(std::string& out, const Histogram& histogram, const std::string& id, const std::string& title) {
  if (histogram.weights.empty()) return;
  using L = HistogramLayout;
  double largest = 0;
  double total = 0;
  for (const double weight : histogram.weights) {
    largest = std::max(largest, weight);
    total += weight;
  }
  const double span = histogram.high - histogram.low;
  const auto xOf = [&](double value) {
    return L::kLeft + (span > 0 ? (value - histogram.low) / span * L::kPlotWidth : L::kPlotWidth / 2.0);
  };
  out += "<svg class=\"chart histogram\" role=\"img\" viewBox=\"0 0 " + std::to_string(L::kWidth) + " " +
         std::to_string(L::kHeight) + "\" width=\"" + std::to_string(L::kWidth) + "\" height=\"" +
         std::to_string(L::kHeight) + "\" aria-labelledby=\"" + id + "-t " + id + "-d\">";
  out += "<title id=\"" + id + "-t\">";
  AppendHtmlEscaped(out, title);
  out += "</title><desc id=\"" + id + "-d\">" + std::to_string(histogram.weights.size()) + " bins from ";
  AppendHtmlEscaped(out, ValueText(histogram, histogram.low));
  out += " to ";
  AppendHtmlEscaped(out, ValueText(histogram, histogram.high));
  out += ", " + Number(total, "%g") + " valid cases (weighted)";
  const double quartiles[] = {histogram.p25, histogram.p50, histogram.p75};
  if (!std::isnan(histogram.p50)) {
    out += "; quartiles ";
    AppendHtmlEscaped(out, ValueText(histogram, histogram.p25));
    out += ", ";
    AppendHtmlEscaped(out, ValueText(histogram, histogram.p50));
    out += " and ";
    AppendHtmlEscaped(out, ValueText(histogram, histogram.p75));
  }
  out += "</desc>\n";
  const double barWidth = static_cast<double>(L::kPlotWidth) / static_cast<double>(histogram.weights.size());
  for (std::size_t i = 0; i < histogram.weights.size(); ++i) {
    const double height = largest > 0 ? histogram.weights[i] / largest * L::kPlotHeight : 0.0;
    out += "<rect class=\"bar\" x=\"" + Number(L::kLeft + barWidth * static_cast<double>(i), "%.2f") + "\" y=\"" +
           Number(L::kTop + L::kPlotHeight - height, "%.2f") + "\" width=\"" + Number(barWidth - 1, "%.2f") +
           "\" height=\"" + Number(height, "%.2f") + "\" data-weight=\"" + Number(histogram.weights[i], "%.17g") +
           "\"/>\n";
  }
  const char* names[] = {"P25", "P50", "P75"};
  for (int q = 0; q < 3; ++q) {
    if (std::isnan(quartiles[q])) continue;
    const std::string x = Number(xOf(quartiles[q]), "%.2f");
    out += "<line class=\"quartile\" x1=\"" + x + "\" x2=\"" + x + "\" y1=\"" + std::to_string(L::kTop - 4) +
           "\" y2=\"" + std::to_string(L::kTop + L::kPlotHeight) + "\"/><text x=\"" + x + "\" y=\"" +
           std::to_string(L::kTop - 6) + "\" text-anchor=\"middle\">" + names[q] + "</text>\n";
  }
  const int axis = L::kTop + L::kPlotHeight + 16;
  out += "<text x=\"" + std::to_string(L::kLeft) + "\" y=\"" + std::to_string(axis) + "\">";
  AppendHtmlEscaped(out, ValueText(histogram, histogram.low));
  out += "</text><text x=\"" + std::to_string(L::kLeft + L::kPlotWidth) + "\" y=\"" + std::to_string(axis) +
         "\" text-anchor=\"end\">";
  AppendHtmlEscaped(out, ValueText(histogram, histogram.high));
  out += "</text>\n</svg>\n";
}

}  // namespace codebook::output
