// One self-contained HTML file: inline CSS, no script. Each table is a
// <table> with its title as <caption>, column headings in <thead>, a
// <tbody> per top-level row group whose heading row is a
// <th scope="rowgroup">, and a <th scope="row"> per category.
#include <algorithm>
#include <unordered_map>
#include <vector>
#include <string>
#include <string_view>

#include "platform/output/render/html_chart.h"
#include "platform/output/render/html_escape.h"
#include "platform/output/render/renderers.h"
#include "platform/output/render/table_view.h"

namespace codebook::output {

namespace {

constexpr int kMaxIndentClass = 8;

constexpr const char* kStyle =
    "body{font-family:system-ui,sans-serif;margin:1.5em;color:#222}\n"
    "table.pivot{border-collapse:collapse;margin:0 0 1.5em 0}\n"
    "table.pivot caption{text-align:left;font-weight:bold;padding:0 0 .4em 0}\n"
    "table.pivot th,table.pivot td{border:1px solid #bbb;padding:.2em .6em;vertical-align:top;"
    "text-align:left;white-space:pre-wrap}\n"
    "table.pivot thead th{background:#eee}\n"
    "table.pivot th[scope=rowgroup]{background:#f6f6f6}\n"
    "table.pivot th[scope=row]{font-weight:normal}\n"
    "table.pivot .num{text-align:right;font-variant-numeric:tabular-nums}\n"
    ".d1{padding-left:1.6em!important}.d2{padding-left:2.6em!important}"
    ".d3{padding-left:3.6em!important}.d4{padding-left:4.6em!important}"
    ".d5{padding-left:5.6em!important}.d6{padding-left:6.6em!important}"
    ".d7{padding-left:7.6em!important}.d8{padding-left:8.6em!important}\n"
    "p.warning{color:#8a5a00}p.error{color:#b00020}p.note{color:#555}\n"
    "nav.contents ol{columns:2 22em;padding-left:1.5em}nav.contents li{break-inside:avoid}\n"
    "nav.contents .label{color:#555}nav.contents .level{color:#777;font-size:.9em}\n"
    "svg.chart{display:block;max-width:100%;height:auto;margin:0 0 1.5em 0}\n"
    "svg.chart text{font:12px system-ui,sans-serif;fill:currentColor}\n"
    "svg.chart .bar{fill:#3b6ea5}svg.chart .bar.missing{fill:#c0842a}\n"
    "svg.chart .quartile{stroke:currentColor;stroke-dasharray:4 3}\n"
    "@media (prefers-color-scheme:dark){body{background:#161616;color:#ddd}"
    "table.pivot th,table.pivot td{border-color:#555}table.pivot thead th{background:#2a2a2a}"
    "table.pivot th[scope=rowgroup]{background:#202020}nav.contents .label{color:#aaa}"
    "svg.chart .bar{fill:#79a7dc}svg.chart .bar.missing{fill:#e0a85a}"
    "p.warning{color:#e0b050}p.error{color:#ff7080}a{color:#8ab4f8}}\n"
    "section.alerts table{border-collapse:collapse;margin:0 0 1.5em 0}"
    "section.alerts th,section.alerts td{border:1px solid #bbb;padding:.2em .6em;text-align:left;vertical-align:top}\n"
    "ul.item-alerts{margin:.2em 0 .6em 0;padding-left:1.2em;color:#8a5a00}\n"
    "ul.item-alerts li::marker{content:\"\\26A0  \"}\n"
    "@media print{body{margin:0}svg.chart .bar{fill:#444}svg.chart .bar.missing{fill:#aaa}"
    "section.item{break-inside:avoid}}\n";

// What the contents list says of one table: the row values of its
// "Label" and "Measurement" (or a set's "Type") rows.
void Escape(std::string& out, std::string_view text) { AppendHtmlEscaped(out, text); }

void IndentClass(std::string& out, int depth, bool numeric) {
  const int level = depth > kMaxIndentClass ? kMaxIndentClass : depth;
  if (level <= 0 && !numeric) return;
  out += " class=\"";
  if (level > 0) out += "d" + std::to_string(level);
  if (numeric) out += level > 0 ? " num" : "num";
  out += "\"";
}

void RenderTable(std::string& out, const TableView& view) {
  const int valueColumns = view.ValueColumnCount();
  out += "<table class=\"pivot\">\n<caption>";
  Escape(out, view.Title());
  out += "</caption>\n";
  if (!view.OneDimensional()) {
    out += "<thead><tr><td></td>";
    for (const ContentView* column : view.columns()) {
      out += "<th scope=\"col\">";
      Escape(out, column->text);
      out += "</th>";
    }
    out += "</tr></thead>\n";
  }
  bool bodyOpen = false;
  for (const ViewEntry& entry : view.entries()) {
    const ContentView* label = view.Label(entry.node);
    const std::string_view labelText = label ? label->text : std::string_view();
    if (entry.group && entry.depth == 0) {
      if (bodyOpen) out += "</tbody>\n";
      out += "<tbody>\n";
      bodyOpen = true;
    } else if (!bodyOpen) {
      out += "<tbody>\n";
      bodyOpen = true;
    }
    if (entry.group) {
      out += "<tr><th scope=\"rowgroup\" colspan=\"" + std::to_string(valueColumns + 1) + "\"";
      IndentClass(out, entry.depth, false);
      out += ">";
      Escape(out, labelText);
      out += "</th></tr>\n";
      continue;
    }
    out += "<tr><th scope=\"row\"";
    IndentClass(out, entry.depth, false);
    out += ">";
    Escape(out, labelText);
    out += "</th>";
    std::uint32_t i = entry.cellBegin;
    for (int column = 0; column < valueColumns; ++column) {
      const std::uint32_t begin = i;
      bool numeric = true;
      for (; i < entry.cellEnd && view.cells()[i].column == column; ++i) {
        numeric = numeric && view.cells()[i].content->numeric;
      }
      const bool any = i > begin;
      std::string cell;
      bool firstLine = true;
      ForEachCellLine(view, begin, i, column, [&](std::string_view line) {
        if (!firstLine) cell += "<br>";
        Escape(cell, line);
        firstLine = false;
      });
      out += "<td";
      IndentClass(out, 0, any && numeric);
      out += ">";
      out += cell;
      out += "</td>";
    }
    out += "</tr>\n";
  }
  if (bodyOpen) out += "</tbody>\n";
  out += "</table>\n";
}

struct ContentsEntry {
  std::string label;
  std::string level;
};

ContentsEntry DescribeTable(const TableView& view) {
  ContentsEntry entry;
  for (const ViewEntry& row : view.entries()) {
    if (row.group || row.cellBegin == row.cellEnd) continue;
    const ContentView* label = view.Label(row.node);
    if (label == nullptr) continue;
    const std::string_view value = view.cells()[row.cellBegin].content->text;
    if (label->text == "Label" && entry.label.empty()) entry.label = value;
    if ((label->text == "Measurement" || label->text == "Type") &&
        (entry.level.empty() || label->text == "Measurement")) {
      entry.level = value;
    }
  }
  if (entry.label == "<none>") entry.label.clear();
  return entry;
}

void RenderContents(std::string& out, const Document& document, TableView& view) {
  // Made while the tables are counted: a contents list is shown only for
  // two tables or more.
  std::string list;
  int tables = 0;
  std::size_t index = 0;
  for (const Document::Item& item : document.Items()) {
    ++index;
    if (const auto* heading = std::get_if<Document::HeadingItem>(&item)) {
      list += "</ol>\n<h3>";
      AppendHtmlEscaped(list, (*heading)->text);
      list += "</h3>\n<ol>\n";
      continue;
    }
    const auto* table = std::get_if<Document::Table>(&item);
    if (table == nullptr) continue;
    view.Build(**table);
    if (!view.Visible()) continue;
    ++tables;
    const ContentsEntry entry = DescribeTable(view);
    list += "<li><a href=\"#item-" + std::to_string(index) + "\">";
    AppendHtmlEscaped(list, view.Title());
    list += "</a>";
    if (!entry.label.empty()) {
      list += " <span class=\"label\">";
      AppendHtmlEscaped(list, entry.label);
      list += "</span>";
    }
    if (!entry.level.empty()) {
      list += " <span class=\"level\">";
      AppendHtmlEscaped(list, entry.level);
      list += "</span>";
    }
    list += "</li>\n";
  }
  if (tables < 2) return;
  out += "<nav class=\"contents\" aria-label=\"Contents\">\n<h2>Contents</h2>\n<ol>\n";
  out += list;
  out += "</ol>\n</nav>\n";
}

// The alerts of each item, in order, by the title they name.
using AlertsByItem = std::unordered_map<std::string_view, std::vector<const Alert*>>;

// The alerts first: a table of every alert, each item linked.
void RenderAlertSummary(std::string& out, const Document& document,
                        const std::unordered_map<std::string_view, std::size_t>& anchors) {
  if (!document.AlertsChecked()) return;
  out += "<section class=\"alerts\" id=\"alerts\">\n<h2>Data-quality alerts</h2>\n";
  if (document.Alerts().empty()) {
    out += "<p>None found.</p>\n</section>\n";
    return;
  }
  out += "<table>\n<thead><tr><th scope=\"col\">Item</th><th scope=\"col\">Alert</th></tr></thead>\n<tbody>\n";
  for (const Alert& alert : document.Alerts()) {
    out += "<tr><th scope=\"row\">";
    const auto anchor = anchors.find(alert.item);
    if (alert.item.empty()) {
      out += "(file)";
    } else if (anchor != anchors.end()) {
      out += "<a href=\"#item-" + std::to_string(anchor->second) + "\">";
      AppendHtmlEscaped(out, alert.item);
      out += "</a>";
    } else {
      AppendHtmlEscaped(out, alert.item);
    }
    out += "</th><td>";
    AppendHtmlEscaped(out, alert.text);
    out += "</td></tr>\n";
  }
  out += "</tbody>\n</table>\n</section>\n";
}

// The marker on an affected item: its alerts, above its table.
void RenderItemAlerts(std::string& out, const AlertsByItem& alerts, std::string_view title) {
  const auto found = alerts.find(title);
  if (found == alerts.end()) return;
  out += "<ul class=\"item-alerts\" aria-label=\"Alerts\">\n";
  for (const Alert* alert : found->second) {
    out += "<li>";
    AppendHtmlEscaped(out, alert->text);
    out += "</li>\n";
  }
  out += "</ul>\n";
}

// A table in its section, with its alerts above it and its pictures below.
void RenderItem(std::string& out, const Document& document, const Document::Table& table, const TableView& view,
                std::size_t index, const AlertsByItem& alerts) {
  const std::string id = "item-" + std::to_string(index);
  out += "<section class=\"item\" id=\"" + id + "\">\n";
  RenderItemAlerts(out, alerts, view.Title());
  RenderTable(out, view);
  AppendBarChart(out, ChartBars(view), id + "-chart", "Percents of " + std::string(view.Title()));
  if (const Histogram* histogram = document.HistogramOf(table)) {
    AppendHistogram(out, *histogram, id + "-histogram", "Distribution of " + std::string(view.Title()));
  }
  out += "</section>\n";
}

bool IsFileInformation(const Document::Table& table) { return table->subtype == "FileInformation"; }

void RenderFileSummary(std::string& out, const FileSummary& file) {
  out += "<section class=\"file\">\n<table class=\"pivot\">\n<caption>File</caption>\n<tbody>\n";
  const auto row = [&](const char* name, const std::string& value, bool numeric) {
    out += "<tr><th scope=\"row\">";
    out += name;
    out += numeric ? "</th><td class=\"num\">" : "</th><td>";
    AppendHtmlEscaped(out, value);
    out += "</td></tr>\n";
  };
  row("Name", file.name, false);
  row("Cases", file.cases >= 0 ? std::to_string(file.cases) : std::string("not stated in the file"), file.cases >= 0);
  row("Variables", std::to_string(file.variables), true);
  row("Weight", file.weight.empty() ? std::string("none") : file.weight, false);
  out += "</tbody>\n</table>\n</section>\n";
}

// The report begins with its files: each one's File Information table, or
// a short summary where the command made none. Returns the tables shown
// here, which are not shown again in their place.
std::vector<const bp::TableNode*> RenderFiles(std::string& out, const Document& document, TableView& view,
                                              const AlertsByItem& alerts) {
  std::vector<std::pair<const bp::TableNode*, std::size_t>> informationTables;  // and their items
  std::size_t index = 0;
  for (const Document::Item& item : document.Items()) {
    ++index;
    const auto* table = std::get_if<Document::Table>(&item);
    if (table != nullptr && IsFileInformation(*table)) informationTables.emplace_back(table->get(), index);
  }
  std::vector<const bp::TableNode*> shown;
  const auto show = [&](const bp::TableNode* table) {
    for (const auto& [candidate, position] : informationTables) {
      if (candidate != table || std::find(shown.begin(), shown.end(), table) != shown.end()) continue;
      const Document::Table& held = std::get<Document::Table>(document.Items()[position - 1]);
      view.Build(*held);
      if (view.Visible()) RenderItem(out, document, held, view, position, alerts);
      shown.push_back(table);
      return true;
    }
    return false;
  };
  for (const Document::Item& item : document.Items()) {
    const auto* file = std::get_if<Document::FileItem>(&item);
    if (file == nullptr) continue;
    if (!(*file)->informationTable || !show((*file)->informationTable.get())) RenderFileSummary(out, **file);
  }
  for (const auto& [table, position] : informationTables) show(table);
  return shown;
}

// The page's title names what it describes.
std::string PageTitle(const Document& document) {
  std::string names;
  for (const Document::Item& item : document.Items()) {
    const auto* file = std::get_if<Document::FileItem>(&item);
    if (file == nullptr) continue;
    const std::string& name = (*file)->name;
    const std::size_t slash = name.rfind('/');
    names += (names.empty() ? "" : ", ") + (slash == std::string::npos ? name : name.substr(slash + 1));
  }
  return names.empty() ? std::string("Codebook") : "Codebook of " + names;
}

}  // namespace

void RenderHtml(const Document& document, std::ostream& out) {
  std::string buffer = "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n<title>";
  AppendHtmlEscaped(buffer, PageTitle(document));
  buffer += "</title>\n<style>\n";
  buffer += kStyle;
  buffer += "</style>\n</head>\n<body>\n";
  TableView view;
  AlertsByItem alerts;
  for (const Alert& alert : document.Alerts()) alerts[alert.item].push_back(&alert);
  // Where the first table of each item with alerts is, for the summary's
  // links.
  std::unordered_map<std::string_view, std::size_t> anchors;
  std::size_t position = 0;
  for (const Document::Item& item : document.Items()) {
    ++position;
    if (alerts.empty()) break;
    if (const auto* table = std::get_if<Document::Table>(&item)) {
      view.Build(**table);
      if (const auto found = alerts.find(view.Title()); found != alerts.end()) {
        anchors.emplace(found->first, position);
      }
    }
  }
  // The files first, then what is wrong with them, then what they hold.
  const std::vector<const bp::TableNode*> lifted = RenderFiles(buffer, document, view, alerts);
  RenderAlertSummary(buffer, document, anchors);
  RenderContents(buffer, document, view);
  out << buffer;
  std::size_t index = 0;
  for (const Document::Item& item : document.Items()) {
    buffer.clear();
    ++index;
    if (const auto* table = std::get_if<Document::Table>(&item)) {
      if (std::find(lifted.begin(), lifted.end(), table->get()) != lifted.end()) continue;
      view.Build(**table);
      if (!view.Visible()) continue;
      RenderItem(buffer, document, *table, view, index, alerts);
    } else if (const auto* heading = std::get_if<Document::HeadingItem>(&item)) {
      buffer += "<h1>";
      Escape(buffer, (*heading)->text);
      buffer += "</h1>\n";
    } else if (const auto* held = std::get_if<Document::MessageItem>(&item)) {
      const Message& message = **held;
      buffer += "<p class=\"";
      buffer += SeverityName(message.severity);
      buffer += "\">";
      buffer += SeverityName(message.severity);
      buffer += ": ";
      Escape(buffer, message.text);
      buffer += "</p>\n";
    }
    out << buffer;
  }
  out << "</body>\n</html>\n";
}

}  // namespace codebook::output
