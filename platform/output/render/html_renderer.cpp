// One self-contained HTML file: inline CSS, no script. The page opens with
// what made it (program, version, date) and, per dataset file, its name
// (never the folder it was read from unless the command asked for its
// location), label, documents, cases and weighting, its data-quality
// alerts and its overview, whose rows link to the items; then each item in
// a section of its own, anchored by its name (#var-q1), its alerts after
// its name. A link in the corner leads back to the contents.
//
// A wide file's report holds a hundred thousand sections, so what repeats
// is kept small: the style sheet says what every table shares, optional end
// tags are left out, percents carry their bar as a class, and sections off
// the screen are not laid out until they are scrolled to.
#include <algorithm>
#include <map>
#include <string>
#include <string_view>
#include <optional>
#include <unordered_map>
#include <utility>
#include <vector>

#include "platform/output/render/file_summary_words.h"
#include "platform/output/render/html_anchors.h"
#include "platform/output/render/html_chart.h"
#include "platform/output/render/html_escape.h"
#include "platform/output/render/html_style.h"
#include "platform/output/render/html_table.h"
#include "platform/output/render/renderers.h"
#include "platform/output/render/table_view.h"

namespace codebook::output {

namespace {

constexpr std::string_view kOverview = "Overview";
constexpr std::string_view kFileInformation = "FileInformation";

// What a contents entry says of one table: the values of its "Label" and
// "Measurement" (or a set's "Type") rows.
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

// The page: where each item is, its anchor, and which file's part it is in.
class Page {
 public:
  explicit Page(const Document& document) : document_(document) {
    const auto& items = document.Items();
    anchors_.resize(items.size());
    part_.resize(items.size(), 0);
    int part = -1;
    for (std::size_t i = 0; i < items.size(); ++i) {
      if (const auto* file = std::get_if<Document::FileItem>(&items[i])) {
        ++part;
        files_.push_back(file->get());
        anchors_[i] = names_.Make("file-", std::to_string(part + 1));
        if ((*file)->informationTable) lifted_.emplace((*file)->informationTable.get(), items.size());
      }
      part_[i] = std::max(part, 0);
      const auto* table = std::get_if<Document::Table>(&items[i]);
      if (table == nullptr) continue;
      view_.Build(**table);
      if (!view_.Visible()) continue;
      ++tables_;
      const std::string_view subtype = (*table)->subtype;
      anchors_[i] = names_.ForTable(subtype, view_.Title());
      if (const auto found = lifted_.find(table->get()); found != lifted_.end()) found->second = i;
      if (subtype == kOverview) {
        if (overview_.empty()) overview_ = anchors_[i];
        ++overviews_;
      } else {
        byTitle_.emplace(std::make_pair(part_[i], std::string(view_.Title())), i);
      }
    }
    for (const Alert& alert : document.Alerts()) {
      alertsOf_[{alert.file, alert.item}].push_back(&alert);
    }
  }

  const Document& document() const { return document_; }
  TableView& view() { return view_; }
  const std::string& Anchor(std::size_t item) const { return anchors_[item]; }
  int PartOf(std::size_t item) const { return part_[item]; }
  const std::vector<const FileSummary*>& Files() const { return files_; }
  int Tables() const { return tables_; }
  bool HasOverview() const { return overviews_ > 0; }
  // Where the link back to the contents leads.
  std::string ContentsAnchor() const {
    if (!HasOverview()) return "contents";
    return overviews_ == 1 && files_.size() <= 1 ? overview_ : std::string("top");
  }
  // A file's File Information table, which its summary shows: the item it
  // is, or none.
  std::optional<std::size_t> Lifted(const bp::TableNode* table) const {
    const auto found = lifted_.find(table);
    if (found == lifted_.end() || found->second >= anchors_.size()) return std::nullopt;
    return found->second;
  }
  // The anchor of the item of a file's part whose table has this title.
  std::string AnchorOf(int part, std::string_view title) const {
    const auto found = byTitle_.find(std::make_pair(part, std::string(title)));
    return found == byTitle_.end() ? std::string() : anchors_[found->second];
  }
  const std::vector<const Alert*>* AlertsOf(int part, std::string_view item) const {
    const auto found = alertsOf_.find({part, item});
    return found == alertsOf_.end() ? nullptr : &found->second;
  }

 private:
  const Document& document_;
  TableView view_;
  AnchorNames names_;
  std::vector<std::string> anchors_;  // by item: its section's id
  std::vector<int> part_;             // by item: the file summary it follows
  std::vector<const FileSummary*> files_;
  std::map<std::pair<int, std::string>, std::size_t> byTitle_;
  std::map<std::pair<int, std::string_view>, std::vector<const Alert*>> alertsOf_;
  std::unordered_map<const bp::TableNode*, std::size_t> lifted_;
  std::string overview_;
  int overviews_ = 0;
  int tables_ = 0;
};

// The page's title names what it describes.
std::string PageTitle(const Page& page) {
  std::string names;
  for (const FileSummary* file : page.Files()) names += (names.empty() ? "" : ", ") + file->name;
  return names.empty() ? std::string("Codebook") : "Codebook of " + names;
}

// Without an overview, a list of every table.
void AppendContents(std::string& out, Page& page) {
  std::string list;
  const auto& items = page.document().Items();
  for (std::size_t i = 0; i < items.size(); ++i) {
    if (const auto* heading = std::get_if<Document::HeadingItem>(&items[i])) {
      list += "</ol>\n<h3>";
      AppendHtmlEscaped(list, (*heading)->text);
      list += "</h3>\n<ol>\n";
      continue;
    }
    const auto* table = std::get_if<Document::Table>(&items[i]);
    if (table == nullptr || page.Anchor(i).empty()) continue;
    page.view().Build(**table);
    const ContentsEntry entry = DescribeTable(page.view());
    list += "<li><a href=\"#" + page.Anchor(i) + "\">";
    AppendHtmlEscaped(list, page.view().Title());
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
    list += "\n";
  }
  out += "<nav class=\"contents\" id=\"contents\" aria-label=\"Contents\">\n<h2>Contents</h2>\n<ol>\n";
  out += list;
  out += "</ol>\n</nav>\n";
}

// What made the page, the files it describes and, without an overview,
// the contents.
void AppendHeader(std::string& out, Page& page) {
  out += "<header id=\"top\">\n<h1>";
  AppendHtmlEscaped(out, PageTitle(page));
  out += "</h1>\n";
  if (const auto& provenance = page.document().GetProvenance()) {
    out += "<p class=\"made\">Made with ";
    AppendHtmlEscaped(out, provenance->program + (provenance->version.empty() ? "" : " " + provenance->version));
    if (!provenance->date.empty()) {
      out += " on ";
      AppendHtmlEscaped(out, provenance->date);
    }
    out += ".</p>\n";
  }
  if (page.Files().size() > 1) {
    out += "<nav class=\"files\" aria-label=\"Files\">\n<ol>\n";
    for (std::size_t f = 0; f < page.Files().size(); ++f) {
      out += "<li><a href=\"#file-" + std::to_string(f + 1) + "\">";
      AppendHtmlEscaped(out, page.Files()[f]->name);
      out += "</a>\n";
    }
    out += "</ol>\n</nav>\n";
  }
  if (!page.HasOverview() && page.Tables() >= 2) AppendContents(out, page);
  out += "</header>\n";
}

// A file's alerts, each item linked to its section.
void AppendAlerts(std::string& out, const Page& page, int part) {
  const Document& document = page.document();
  if (!document.AlertsChecked()) return;
  out += "<section class=\"alerts\" id=\"alerts-" + std::to_string(part + 1) + "\">\n<h3>Data-quality alerts</h3>\n";
  std::string rows;
  for (const Alert& alert : document.Alerts()) {
    if (alert.file != part) continue;
    rows += "<tr><th scope=\"row\">";
    const std::string anchor = alert.item.empty() ? std::string() : page.AnchorOf(part, alert.item);
    if (alert.item.empty()) {
      rows += "(file)";
    } else if (!anchor.empty()) {
      rows += "<a href=\"#" + anchor + "\">";
      AppendHtmlWrappable(rows, alert.item);
      rows += "</a>";
    } else {
      AppendHtmlWrappable(rows, alert.item);
    }
    rows += "<td>";
    AppendHtmlWrappable(rows, alert.text);
    rows += "</tr>\n";
  }
  if (rows.empty()) {
    out += "<p>None found.</p>\n</section>\n";
    return;
  }
  out += "<table>\n<thead><tr><th scope=\"col\">Item<th scope=\"col\">Alert</thead>\n<tbody>\n";
  out += rows;
  out += "</tbody>\n</table>\n</section>\n";
}

// An item's alerts, after its name in the caption.
std::string ItemAlerts(const Page& page, int part, std::string_view title) {
  const std::vector<const Alert*>* alerts = page.AlertsOf(part, title);
  if (alerts == nullptr) return {};
  std::string out = "<ul class=\"alerts\" aria-label=\"Alerts\">";
  for (const Alert* alert : *alerts) {
    out += "<li>";
    AppendHtmlWrappable(out, alert->text);
  }
  out += "</ul>";
  return out;
}

// A table in its section, its alerts after its name, its picture below.
void AppendItem(std::string& out, Page& page, const Document::Table& table, std::size_t index) {
  const TableView& view = page.view();
  const int part = page.PartOf(index);
  out += "<section id=\"" + page.Anchor(index) + "\">\n";
  const std::string alerts = ItemAlerts(page, part, view.Title());
  AppendHtmlTable(out, view, HtmlTableParts{"pivot", 1, alerts, {}});
  if (const Histogram* histogram = page.document().HistogramOf(table)) {
    AppendHistogram(out, *histogram, "Distribution of " + std::string(view.Title()));
  }
  out += "</section>\n";
}

// The overview, in a box of its own that scrolls sideways on a narrow
// screen; each row links to its item. A long one (a wide file's) is cut
// into parts of a few hundred rows with the same column widths, so that
// the browser lays out only the parts on the screen: a single table of ten
// thousand rows would be laid out whole before the page is loaded.
void AppendOverview(std::string& out, Page& page, std::size_t index) {
  constexpr std::size_t kPartRows = 250;
  const int part = page.PartOf(index);
  const TableView& view = page.view();
  out += "<section class=\"overview\" id=\"" + page.Anchor(index) + "\">\n";
  HtmlTableParts parts{"pivot overview", 0, {}, [&](std::string_view name) { return page.AnchorOf(part, name); }};
  const std::size_t rows = view.entries().size();
  if (rows <= kPartRows) {
    out += "<div class=\"wide\">\n";
    AppendHtmlTable(out, view, parts);
    out += "</div>\n</section>\n";
    return;
  }
  parts.classes = "pivot overview fixed";
  parts.columnClasses = true;
  out += "<div class=\"wide\">\n";
  for (std::size_t first = 0; first < rows; first += kPartRows) {
    if (first > 0) out += "<div class=\"part\">\n";
    parts.firstEntry = first;
    parts.endEntry = first + kPartRows;
    parts.caption = first == 0;
    AppendHtmlTable(out, view, parts);
    if (first > 0) out += "</div>\n";
  }
  out += "</div>\n</section>\n";
}

// A file's part begins: its name, label, documents, cases and weighting,
// its File Information table where the command made one, and its alerts.
void AppendFile(std::string& out, Page& page, const FileSummary& file, std::size_t index) {
  const int part = page.PartOf(index);
  out += "<section class=\"file\" id=\"" + page.Anchor(index) + "\">\n<h2>";
  AppendHtmlEscaped(out, file.name);
  out += "</h2>\n";
  if (!file.label.empty()) {
    out += "<p class=\"label\">";
    AppendHtmlEscaped(out, file.label);
    out += "</p>\n";
  }
  if (!file.documents.empty()) {
    out += "<pre class=\"documents\" aria-label=\"Documents\">";
    for (std::size_t i = 0; i < file.documents.size(); ++i) {
      if (i > 0) out += '\n';
      AppendHtmlEscaped(out, file.documents[i]);
    }
    out += "</pre>\n";
  }
  out += "<dl class=\"facts\">\n";
  const auto fact = [&](const char* name, const std::string& value) {
    out += "<dt>";
    out += name;
    out += "<dd>";
    AppendHtmlEscaped(out, value);
    out += "\n";
  };
  if (!file.location.empty()) fact("Location", file.location);
  fact("Cases", file.cases >= 0 ? std::to_string(file.cases) : std::string("not stated in the file"));
  fact("Variables", std::to_string(file.variables));
  fact("Weight", file.weight.empty() ? std::string("none") : file.weight);
  out += "</dl>\n";
  if (const std::optional<WeightingWords> words = Weighting(file)) {
    out += "<p class=\"weighting\">";
    AppendHtmlEscaped(out, words->before);
    out += "<code>";
    AppendHtmlEscaped(out, words->name);
    out += "</code>";
    AppendHtmlEscaped(out, words->after);
    out += "</p>\n";
  }
  const std::optional<std::size_t> information =
      file.informationTable ? page.Lifted(file.informationTable.get()) : std::nullopt;
  if (information && !page.Anchor(*information).empty()) {
    page.view().Build(*file.informationTable);
    if (page.view().Visible()) {
      out += "<section id=\"" + page.Anchor(*information) + "\">\n";
      AppendHtmlTable(out, page.view(), HtmlTableParts{"pivot", 1, ItemAlerts(page, part, page.view().Title()), {}});
      out += "</section>\n";
    }
  }
  AppendAlerts(out, page, part);
  out += "</section>\n";
}

}  // namespace

void RenderHtml(const Document& document, std::ostream& stream) {
  Page page(document);
  std::string out = "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
                    "<meta name=\"viewport\" content=\"width=device-width,initial-scale=1\">\n<title>";
  AppendHtmlEscaped(out, PageTitle(page));
  out += "</title>\n<style>\n";
  AppendHtmlStyle(out);
  out += "</style>\n</head>\n<body>\n";
  AppendHeader(out, page);
  if (page.Tables() >= 2) out += "<a class=\"top\" href=\"#" + page.ContentsAnchor() + "\">&#8593; Contents</a>\n";
  out += "<main>\n";
  // A document without a file summary (made by a test, say) still shows
  // its alerts first.
  if (page.Files().empty()) AppendAlerts(out, page, 0);
  stream << out;
  // Items go in groups of a few dozen sections, each laid out only when on
  // the screen: one group per item would have the browser check ten
  // thousand elements against the screen each time it lays out a page
  // still arriving, which grows with the square of the items.
  constexpr int kGroupItems = 40;
  int grouped = 0;  // items in the group open; 0: none open
  const auto closeGroup = [&] {
    if (grouped > 0) out += "</div>\n";
    grouped = 0;
  };
  const auto& items = document.Items();
  for (std::size_t i = 0; i < items.size(); ++i) {
    out.clear();
    if (const auto* table = std::get_if<Document::Table>(&items[i])) {
      if (page.Anchor(i).empty() || page.Lifted(table->get())) continue;  // shown with its file
      page.view().Build(**table);
      if ((*table)->subtype == kOverview) {
        closeGroup();
        AppendOverview(out, page, i);
      } else {
        if (grouped == kGroupItems) closeGroup();
        if (grouped++ == 0) out += "<div class=\"group\">\n";
        AppendItem(out, page, *table, i);
      }
    } else if (const auto* file = std::get_if<Document::FileItem>(&items[i])) {
      closeGroup();
      AppendFile(out, page, **file, i);
    } else if (const auto* heading = std::get_if<Document::HeadingItem>(&items[i])) {
      // The file's own part names it; a heading stands alone only before a
      // file that could not be read.
      if (i + 1 < items.size() && std::holds_alternative<Document::FileItem>(items[i + 1])) continue;
      closeGroup();
      out += "<h2 class=\"part\">";
      AppendHtmlEscaped(out, (*heading)->text);
      out += "</h2>\n";
    } else if (const auto* held = std::get_if<Document::MessageItem>(&items[i])) {
      const Message& message = **held;
      closeGroup();
      out += "<p class=\"";
      out += SeverityName(message.severity);
      out += "\">";
      out += SeverityName(message.severity);
      out += ": ";
      AppendHtmlEscaped(out, message.text);
      out += "</p>\n";
    }
    stream << out;
  }
  out.clear();
  closeGroup();
  stream << out;
  stream << "</main>\n</body>\n</html>\n";
}

}  // namespace codebook::output
