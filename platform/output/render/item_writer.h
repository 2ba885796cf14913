// The walk over a document shared by the line-oriented renderers: every
// visible table, message, heading and file summary, in order, a separator
// between items, each item built in a buffer and written whole.
#pragma once

#include <ostream>
#include <string>
#include <string_view>
#include <variant>

#include "platform/output/document/document.h"
#include "platform/output/render/table_view.h"

namespace codebook::output {

template <typename WriteTable, typename WriteMessage, typename WriteHeading, typename WriteFile>
void WriteItems(const Document& document, std::ostream& out, std::string_view separator,
                WriteTable writeTable, WriteMessage writeMessage, WriteHeading writeHeading, WriteFile writeFile) {
  std::string buffer;
  bool first = true;
  TableView view;
  for (const Document::Item& item : document.Items()) {
    buffer.clear();
    if (const auto* table = std::get_if<Document::Table>(&item)) {
      view.Build(**table);
      if (!view.Visible()) continue;
      if (!first) buffer += separator;
      writeTable(buffer, view);
    } else if (const auto* heading = std::get_if<Document::HeadingItem>(&item)) {
      if (!first) buffer += separator;
      writeHeading(buffer, **heading);
    } else if (const auto* message = std::get_if<Document::MessageItem>(&item)) {
      if (!first) buffer += separator;
      writeMessage(buffer, **message);
    } else if (const auto* file = std::get_if<Document::FileItem>(&item)) {
      if (!first) buffer += separator;
      writeFile(buffer, **file);
    } else {
      continue;
    }
    first = false;
    out << buffer;
  }
}

}  // namespace codebook::output
