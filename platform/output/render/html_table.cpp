#include "platform/output/render/html_table.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "platform/output/render/html_chart.h"
#include "platform/output/render/html_escape.h"
#include "platform/output/render/html_style.h"

namespace codebook::output {
namespace {

constexpr int kMaxIndent = 8;

// The style sheet indents a category as deep as it usually is and a group
// not at all; other depths say theirs.
void Indent(std::string& out, int depth, bool group, int usualDepth) {
  const int level = std::min(depth, kMaxIndent);
  if (group ? level == 0 : level == usualDepth) return;
  out += " class=\"d" + std::to_string(level) + "\"";
}

// The percent column, and the largest percent of a category row (which
// draws the longest bar); -1 when the table has no percents to draw.
std::pair<int, double> PercentBars(const TableView& view) {
  int column = -1;
  for (std::size_t c = 0; c < view.columns().size(); ++c) {
    if (view.columns()[c]->text == "Percent") column = static_cast<int>(c);
  }
  double largest = 0;
  if (column >= 0) {
    for (const ChartBar& bar : ChartBars(view)) largest = std::max(largest, bar.percent);
  }
  return {largest > 0 ? column : -1, largest};
}

}  // namespace

void AppendHtmlTable(std::string& out, const TableView& view, const HtmlTableParts& parts) {
  const int valueColumns = view.ValueColumnCount();
  const auto [percentColumn, largest] = PercentBars(view);
  out += "<table class=\"";
  out += parts.classes;
  out += "\">\n";
  if (parts.caption) {
    out += "<caption>";
    AppendHtmlWrappable(out, view.Title());
    out += parts.captionExtra;
    out += "</caption>\n";
  }
  if (!view.OneDimensional()) {
    out += "<thead><tr><td>";
    for (const ContentView* column : view.columns()) {
      out += "<th scope=\"col\"";
      if (parts.columnClasses) {
        out += " class=\"";
        for (const char c : column->text) {
          if ((c >= 'a' && c <= 'z') || (c >= '0' && c <= '9')) out += c;
          if (c >= 'A' && c <= 'Z') out += static_cast<char>(c - 'A' + 'a');
          if (c == ' ') out += '-';
        }
        out += "\"";
      }
      out += ">";
      AppendHtmlEscaped(out, column->text);
    }
    out += "</thead>\n";
  }
  bool bodyOpen = false;
  bool bars = false;  // the rows of the current group draw bars
  std::string cell;
  const std::size_t endEntry = std::min(parts.endEntry, view.entries().size());
  for (std::size_t e = parts.firstEntry; e < endEntry; ++e) {
    const ViewEntry& entry = view.entries()[e];
    const ContentView* label = view.Label(entry.node);
    const std::string_view labelText = label ? label->text : std::string_view();
    if (entry.group && entry.depth == 0) {
      if (bodyOpen) out += "</tbody>\n";
      out += labelText == "Missing Values" ? "<tbody class=\"m\">\n" : "<tbody>\n";
      bodyOpen = true;
      bars = percentColumn >= 0 && IsCategoryGroup(labelText);
    } else if (!bodyOpen) {
      out += "<tbody>\n";
      bodyOpen = true;
    }
    if (entry.group) {
      out += "<tr><th scope=\"rowgroup\" colspan=\"" + std::to_string(valueColumns + 1) + "\"";
      Indent(out, entry.depth, true, parts.usualDepth);
      out += ">";
      AppendHtmlEscaped(out, labelText);
      out += "</tr>\n";
      continue;
    }
    out += "<tr><th";
    Indent(out, entry.depth, false, parts.usualDepth);
    out += ">";
    const std::string link = parts.rowLink ? parts.rowLink(labelText) : std::string();
    if (!link.empty()) {
      out += "<a href=\"#" + link + "\">";
      AppendHtmlWrappable(out, labelText);
      out += "</a>";
    } else {
      AppendHtmlWrappable(out, labelText);
    }
    std::uint32_t i = entry.cellBegin;
    for (int column = 0; column < valueColumns; ++column) {
      const std::uint32_t begin = i;
      bool numeric = true;
      for (; i < entry.cellEnd && view.cells()[i].column == column; ++i) {
        numeric = numeric && view.cells()[i].content->numeric;
      }
      const bool any = i > begin;
      cell.clear();
      bool firstLine = true;
      ForEachCellLine(view, begin, i, column, [&](std::string_view line) {
        if (!firstLine) cell += "<br>";
        AppendHtmlWrappable(cell, line);
        firstLine = false;
      });
      out += "<td";
      if (any && numeric) {
        const ContentView* content = view.cells()[begin].content;
        if (bars && column == percentColumn && !std::isnan(content->number)) {
          out += " class=\"n b " + BarClass(std::max(0.0, content->number) / largest) + "\"";
        } else {
          out += " class=\"n\"";
        }
      }
      out += ">";
      out += cell;
    }
    out += "</tr>\n";
  }
  if (bodyOpen) out += "</tbody>\n";
  out += "</table>\n";
}

}  // namespace codebook::output
