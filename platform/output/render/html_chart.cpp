#include "platform/output/render/html_chart.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>

#include "platform/output/render/html_escape.h"

namespace codebook::output {
namespace {

std::string Number(double value, const char* format) {
  char text[32];
  std::snprintf(text, sizeof text, format, value);
  return text;
}

// A coordinate of a picture, to a tenth: "116", "98.6".
std::string Coordinate(double value) {
  std::string text = Number(value, "%.1f");
  if (text.size() > 2 && text.compare(text.size() - 2, 2, ".0") == 0) text.resize(text.size() - 2);
  return text == "-0" ? "0" : text;
}

}  // namespace

bool IsCategoryGroup(std::string_view label) {
  return label == "Valid Values" || label == "Missing Values" || label == "Multiple Response Categories";
}

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

void AppendHistogram(std::string& out, const Histogram& histogram, const std::string& title) {
  if (histogram.weights.empty()) return;
  using L = HistogramLayout;
  const HistogramModel model = MakeHistogram(histogram, L::kPlotWidth, L::kPlotHeight);
  std::string label = title + ": " + std::to_string(model.bins.size()) + " bins from " + model.low + " to " +
                      model.high + ", " + Number(model.total, "%g") + " valid cases (weighted)";
  if (model.quartiles.size() == 3) {
    label += "; quartiles " + model.quartiles[0].text + ", " + model.quartiles[1].text + " and " +
             model.quartiles[2].text;
  }
  out += "<svg class=\"chart\" role=\"img\" viewBox=\"0 0 " + std::to_string(L::kWidth) + " " +
         std::to_string(L::kHeight) + "\" width=\"" + std::to_string(L::kWidth) + "\" height=\"" +
         std::to_string(L::kHeight) + "\" aria-label=\"";
  AppendHtmlEscaped(out, label);
  out += "\" data-weights=\"";
  char shortest[32];
  for (std::size_t i = 0; i < model.bins.size(); ++i) {
    if (i > 0) out += ' ';
    const auto [end, error] = std::to_chars(shortest, shortest + sizeof shortest, model.bins[i].weight);
    out.append(shortest, error == std::errc() ? end : shortest);
  }
  // The bins as one outline from the axis up and along their tops.
  const int axis = L::kTop + L::kPlotHeight;
  out += "\">\n<path class=\"bar\" d=\"M" + std::to_string(L::kLeft) + " " + std::to_string(axis);
  for (const HistogramModel::Bin& bin : model.bins) {
    out += "V" + Coordinate(axis - bin.height) + "H" + Coordinate(L::kLeft + bin.x + bin.width);
  }
  out += "V" + std::to_string(axis) + "z\"/>\n";
  std::string lines;
  for (const HistogramModel::Quartile& quartile : model.quartiles) {
    const std::string x = Coordinate(L::kLeft + quartile.x);
    lines += "M" + x + " " + std::to_string(L::kTop - 4) + "V" + std::to_string(axis);
    out += "<text x=\"" + x + "\" y=\"" + std::to_string(L::kTop - 6) + "\" text-anchor=\"middle\">" +
           quartile.name + "</text>";
  }
  if (!lines.empty()) out += "<path class=\"q\" d=\"" + lines + "\"/>";
  const int below = axis + 16;
  out += "\n<text x=\"" + std::to_string(L::kLeft) + "\" y=\"" + std::to_string(below) + "\">";
  AppendHtmlEscaped(out, model.low);
  out += "</text><text x=\"" + std::to_string(L::kLeft + L::kPlotWidth) + "\" y=\"" + std::to_string(below) +
         "\" text-anchor=\"end\">";
  AppendHtmlEscaped(out, model.high);
  out += "</text>\n</svg>\n";
}

}  // namespace codebook::output
