#include "platform/output/render/pdf/document_scan.h"

#include <algorithm>

namespace codebook::output::pdf {
namespace {

// The label a variable's table shows ("<none>" is no label).
std::string TableLabel(const TableView& view) {
  for (const ViewEntry& row : view.entries()) {
    if (row.group || row.cellBegin == row.cellEnd) continue;
    const ContentView* label = view.Label(row.node);
    if (label == nullptr || label->text != "Label") continue;
    const std::string_view value = view.cells()[row.cellBegin].content->text;
    return value == "<none>" ? std::string() : std::string(value);
  }
  return {};
}

}  // namespace

std::string ItemDestination(std::size_t item) { return "item-" + std::to_string(item); }

bool DocumentScan::Lifted(const bp::TableNode* table) const {
  return std::find(lifted.begin(), lifted.end(), table) != lifted.end();
}

DocumentScan ScanDocument(const Document& document) {
  DocumentScan scan;
  const auto& items = document.Items();
  scan.parts.push_back(Part{});
  for (std::size_t i = 0; i < items.size(); ++i) {
    if (const auto* heading = std::get_if<Document::HeadingItem>(&items[i])) {
      // A heading before anything else opens the first part.
      if (i > 0) {
        scan.parts.back().end = i;
        scan.parts.push_back(Part{});
        scan.parts.back().begin = i;
      }
      scan.parts.back().heading = (*heading)->text;
    } else if (const auto* file = std::get_if<Document::FileItem>(&items[i])) {
      Part& part = scan.parts.back();
      if (part.summary == nullptr) {
        part.summary = file->get();
        if ((*file)->informationTable) scan.lifted.push_back((*file)->informationTable.get());
      }
    }
  }
  scan.parts.back().end = items.size();

  TableView view;
  for (std::size_t p = 0; p < scan.parts.size(); ++p) {
    Part& part = scan.parts[p];
    for (std::size_t i = part.begin; i < part.end; ++i) {
      const auto* table = std::get_if<Document::Table>(&items[i]);
      if (table == nullptr) continue;
      view.Build(**table);
      if (!view.Visible()) continue;
      const std::string_view title = view.Title();
      const bool overview = (*table)->subtype == "Overview";
      scan.contents.push_back(ContentsEntry{i, p, std::string(title), overview ? std::string() : TableLabel(view), overview});
    }
  }
  // Links point into the contents' titles, which stay put from here on.
  // The overview names items, not itself; the first table of a title is
  // the item's.
  for (const ContentsEntry& entry : scan.contents) {
    if (entry.overview) continue;
    Part& part = scan.parts[entry.part];
    part.links.emplace(std::string_view(entry.title), ItemDestination(entry.item));
  }
  for (const Alert& alert : document.Alerts()) {
    if (alert.item.empty()) {
      scan.fileAlerts.push_back(&alert);
    } else {
      scan.alerts[alert.item].push_back(&alert);
    }
  }
  return scan;
}

}  // namespace codebook::output::pdf
