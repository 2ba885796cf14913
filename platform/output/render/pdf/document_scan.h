// What the layout needs to know of the whole document before it places
// its first line: the files' parts, each part's summary, the tables the
// summaries show in their place, where each name of an overview links to,
// the contents' entries, and the alerts of each item.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "platform/output/document/document.h"
#include "platform/output/render/pdf/table_block.h"
#include "platform/output/render/table_view.h"

namespace codebook::output::pdf {

// A dataset file's part: from its heading (or the document's start) to
// the next heading.
struct Part {
  std::size_t begin = 0;  // its first item
  std::size_t end = 0;
  const FileSummary* summary = nullptr;  // null: none in the part
  std::string heading;                   // empty for a document of one part
  TableBlock::Links links;               // an overview's names to their items' places
};

struct ContentsEntry {
  std::size_t item = 0;
  std::size_t part = 0;
  std::string title;
  std::string label;  // the item's label, if its table shows one
  bool overview = false;
};

struct DocumentScan {
  std::vector<Part> parts;
  std::vector<ContentsEntry> contents;
  std::vector<const bp::TableNode*> lifted;  // shown with their file's summary
  std::unordered_map<std::string_view, std::vector<const Alert*>> alerts;  // by item title
  std::vector<const Alert*> fileAlerts;

  bool Lifted(const bp::TableNode* table) const;
};

DocumentScan ScanDocument(const Document& document);

// The name of an item's place in the PDF ("item-12").
std::string ItemDestination(std::size_t item);

}  // namespace codebook::output::pdf
