#include "platform/api/table_frame.h"

#include <variant>

#include "platform/output/render/table_view.h"

namespace codebook::api {

TableFrame FrameOf(const bp::TableNode& table) {
  output::TableView view(table);
  TableFrame frame;
  frame.title = std::string(view.Title());
  frame.subtype = std::string(table.subtype);
  if (view.OneDimensional()) {
    frame.columns.emplace_back("Value");
  } else {
    for (const output::ContentView* column : view.columns()) {
      frame.columns.emplace_back(column != nullptr ? std::string(column->text) : std::string());
    }
  }
  frame.levels = static_cast<std::size_t>(view.MaxDepth()) + 1;
  const int columns = view.ValueColumnCount();
  std::vector<std::string> groups;  // the open groups' labels, by depth
  for (const output::ViewEntry& entry : view.entries()) {
    const output::ContentView* label = view.Label(entry.node);
    const std::string text = label != nullptr ? std::string(label->text) : std::string();
    const auto depth = static_cast<std::size_t>(entry.depth);
    groups.resize(depth);
    if (entry.group) {
      groups.push_back(text);
      continue;
    }
    std::vector<std::string> path = groups;
    path.push_back(text);
    path.resize(frame.levels);
    frame.index.push_back(std::move(path));
    std::vector<FrameCell> row(static_cast<std::size_t>(columns));
    for (int c = 0; c < columns; ++c) {
      FrameCell& cell = row[static_cast<std::size_t>(c)];
      cell.text = output::JoinedCellText(view, entry.cellBegin, entry.cellEnd, c);
      // A number only when the cell is one number: a cell of several
      // lines is text.
      int lines = 0;
      for (std::uint32_t i = entry.cellBegin; i < entry.cellEnd; ++i) {
        const output::ViewCell& viewCell = view.cells()[i];
        if (viewCell.column != c) continue;
        ++lines;
        cell.number = viewCell.content->number;
      }
      if (lines != 1) cell.number = std::numeric_limits<double>::quiet_NaN();
    }
    frame.cells.push_back(std::move(row));
  }
  return frame;
}

std::vector<TableFrame> FramesOf(const output::Document& document, std::size_t first, std::size_t end) {
  std::vector<TableFrame> frames;
  const auto& items = document.Items();
  for (std::size_t i = first; i < end && i < items.size(); ++i) {
    const auto* table = std::get_if<output::Document::Table>(&items[i]);
    if (table == nullptr || !*table) continue;
    TableFrame frame = FrameOf(**table);
    if (!frame.index.empty()) frames.push_back(std::move(frame));
  }
  return frames;
}

}  // namespace codebook::api
