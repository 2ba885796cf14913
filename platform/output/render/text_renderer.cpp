// Text for terminals. Each table: its title, then a box with a column of row
// labels (groups as their own lines, their categories indented two blanks
// per level) and one column per shown data column. Column widths fit the
// content up to a maximum, past which texts wrap at blanks.
#include <algorithm>
#include <string>
#include <vector>

#include "platform/output/render/renderers.h"
#include "platform/output/render/table_view.h"
#include "platform/output/render/terminal_text.h"
#include "platform/output/render/text_width.h"

namespace codebook::output {

namespace {

struct BoxChars {
  const char* horizontal;
  const char* vertical;
  const char* topLeft;
  const char* topRight;
  const char* bottomLeft;
  const char* bottomRight;
  const char* teeLeft;   // ├
  const char* teeRight;  // ┤
  const char* teeDown;   // ┬
  const char* teeUp;     // ┴
  const char* cross;     // ┼
};

constexpr BoxChars kUnicodeBox{"─", "│", "┌", "┐", "└", "┘", "├", "┤", "┬", "┴", "┼"};
constexpr BoxChars kAsciiBox{"-", "|", "+", "+", "+", "+", "+", "+", "+", "+", "+"};

struct Block {
  std::vector<std::string> lines;
  std::vector<int> widths;  // display width of each line
  bool rightAligned = false;
};

// One printed row of the box: a block per column.
using Row = std::vector<Block>;

Block MakeBlock(std::string_view text, bool right, int maxWidth, int indent = 0) {
  Block block;
  block.rightAligned = right;
  const std::string pad(static_cast<std::size_t>(indent), ' ');
  std::size_t start = 0;
  for (;;) {
    const std::size_t stop = text.find('\n', start);
    const std::string_view piece = text.substr(start, stop == std::string_view::npos ? std::string_view::npos : stop - start);
    for (std::string& line : WrapText(piece, std::max(1, maxWidth - indent))) {
      block.widths.push_back(indent + DisplayWidth(line));
      block.lines.push_back(indent > 0 ? pad + line : std::move(line));
    }
    if (stop == std::string_view::npos) break;
    start = stop + 1;
    if (start == text.size()) break;  // a final line feed ends the text
  }
  return block;
}

void AppendLines(Block& block, const Block& more) {
  block.lines.insert(block.lines.end(), more.lines.begin(), more.lines.end());
  block.widths.insert(block.widths.end(), more.widths.begin(), more.widths.end());
}

void WriteRule(std::ostream& out, const std::vector<int>& widths, const BoxChars& box,
               const char* left, const char* middle, const char* right) {
  std::string line = left;
  for (std::size_t c = 0; c < widths.size(); ++c) {
    if (c > 0) line += middle;
    for (int i = 0; i < widths[c] + 2; ++i) line += box.horizontal;
  }
  line += right;
  out << line << '\n';
}

void WriteRow(std::ostream& out, const Row& row, const std::vector<int>& widths, const BoxChars& box) {
  std::size_t height = 1;
  for (const Block& block : row) height = std::max(height, block.lines.size());
  for (std::size_t l = 0; l < height; ++l) {
    std::string line = box.vertical;
    for (std::size_t c = 0; c < widths.size(); ++c) {
      const Block& block = row[c];
      static const std::string kNone;
      const std::string& text = l < block.lines.size() ? block.lines[l] : kNone;
      const int padding = std::max(0, widths[c] - (l < block.widths.size() ? block.widths[l] : 0));
      line += ' ';
      if (block.rightAligned) line.append(static_cast<std::size_t>(padding), ' ');
      line += text;
      if (!block.rightAligned) line.append(static_cast<std::size_t>(padding), ' ');
      line += ' ';
      line += box.vertical;
    }
    out << line << '\n';
  }
}

// The printed rows of a table, each column's texts wrapped at its limit.
std::vector<Row> BuildRows(const TableView& view, const std::vector<int>& limits, bool fitted,
                           const std::vector<char>& numericColumn, std::vector<char>& ruleBefore) {
  const std::size_t columnCount = limits.size();
  std::vector<Row> rows;
  ruleBefore.clear();
  rows.reserve(view.entries().size() + 1);
  if (!view.OneDimensional()) {
    Row header(columnCount);
    for (std::size_t c = 1; c < columnCount; ++c) {
      header[c] = MakeBlock(EscapeForTerminal(view.columns()[c - 1]->text), numericColumn[c] != 0, limits[c]);
    }
    rows.push_back(std::move(header));
    ruleBefore.push_back(0);
  }
  bool firstEntry = true;
  for (const ViewEntry& entry : view.entries()) {
    Row row(columnCount);
    const ContentView* label = view.Label(entry.node);
    // Unfitted, a label may take the full width beside its indentation;
    // fitted, the indentation comes out of the column's width.
    const int labelLimit = fitted ? std::max(limits[0], 2 * entry.depth + 1) : limits[0] + 2 * entry.depth;
    row[0] = MakeBlock(label ? EscapeForTerminal(label->text) : std::string(), false, labelLimit,
                       2 * entry.depth);
    for (std::uint32_t i = entry.cellBegin; i < entry.cellEnd; ++i) {
      const ViewCell& cell = view.cells()[i];
      const auto column = static_cast<std::size_t>(cell.column) + 1;
      Block& block = row[column];
      const bool wasEmpty = block.lines.empty();
      AppendLines(block, MakeBlock(EscapeForTerminal(cell.content->text), cell.content->numeric, limits[column]));
      block.rightAligned = wasEmpty ? cell.content->numeric : block.rightAligned && cell.content->numeric;
    }
    // A rule between the top-level groups of the body.
    ruleBefore.push_back(!firstEntry && entry.group && entry.depth == 0);
    firstEntry = false;
    rows.push_back(std::move(row));
  }
  return rows;
}

std::vector<int> ColumnWidths(const std::vector<Row>& rows, std::size_t columnCount) {
  std::vector<int> widths(columnCount, 0);
  for (const Row& row : rows) {
    for (std::size_t c = 0; c < columnCount; ++c) {
      for (const int width : row[c].widths) widths[c] = std::max(widths[c], width);
    }
  }
  return widths;
}

// Narrows the text columns, widest first, until the box fits the screen or
// no text column can give more. Numbers are never wrapped.
bool FitToScreen(std::vector<int>& widths, const std::vector<char>& textColumn, int screen) {
  constexpr int kNarrowest = 8;
  int total = 1;
  for (const int width : widths) total += width + 3;
  bool changed = false;
  while (total > screen) {
    std::size_t widest = widths.size();
    for (std::size_t c = 0; c < widths.size(); ++c) {
      if (textColumn[c] != 0 && widths[c] > kNarrowest && (widest == widths.size() || widths[c] > widths[widest])) {
        widest = c;
      }
    }
    if (widest == widths.size()) break;
    --widths[widest];
    --total;
    changed = true;
  }
  return changed;
}

void RenderTable(std::ostream& out, const TableView& view, const TextOptions& options) {
  const BoxChars& box = options.ascii ? kAsciiBox : kUnicodeBox;
  const int maxWidth = std::max(4, options.maxColumnWidth);
  const std::size_t columnCount = 1 + static_cast<std::size_t>(view.ValueColumnCount());

  // Numeric columns get right-aligned headings; only text columns wrap to
  // fit the screen (the row labels are text).
  std::vector<int> numericCells(columnCount, 0);
  std::vector<int> textCells(columnCount, 0);
  for (const ViewCell& cell : view.cells()) {
    (cell.content->numeric ? numericCells : textCells)[static_cast<std::size_t>(cell.column) + 1]++;
  }
  std::vector<char> numericColumn(columnCount, 0);
  std::vector<char> textColumn(columnCount, 0);
  for (std::size_t c = 0; c < columnCount; ++c) {
    numericColumn[c] = numericCells[c] > 0 && textCells[c] == 0;
    textColumn[c] = c == 0 || textCells[c] > 0;
  }

  const std::vector<int> limits(columnCount, maxWidth);
  std::vector<char> ruleBefore;
  std::vector<Row> rows = BuildRows(view, limits, false, numericColumn, ruleBefore);
  std::vector<int> widths = ColumnWidths(rows, columnCount);
  if (options.width > 0 && FitToScreen(widths, textColumn, options.width)) {
    rows = BuildRows(view, widths, true, numericColumn, ruleBefore);
    widths = ColumnWidths(rows, columnCount);
  }

  if (!view.Title().empty()) out << EscapeForTerminal(view.Title()) << '\n';
  WriteRule(out, widths, box, box.topLeft, box.teeDown, box.topRight);
  const std::size_t bodyStart = view.OneDimensional() ? 0 : 1;
  for (std::size_t r = 0; r < rows.size(); ++r) {
    if ((r == bodyStart && r > 0) || ruleBefore[r]) WriteRule(out, widths, box, box.teeLeft, box.cross, box.teeRight);
    WriteRow(out, rows[r], widths, box);
  }
  WriteRule(out, widths, box, box.bottomLeft, box.teeUp, box.bottomRight);
}

}  // namespace

void WriteMessageText(const Message& message, std::ostream& out) {
  out << SeverityName(message.severity) << ": " << EscapeForTerminal(message.text);
}

void RenderText(const Document& document, std::ostream& out, const TextOptions& options) {
  bool first = true;
  bool lastWasTable = false;
  TableView view;
  for (const Document::Item& item : document.Items()) {
    if (const auto* table = std::get_if<Document::Table>(&item)) {
      view.Build(**table);
      if (!view.Visible()) continue;
      if (!first) out << '\n';
      RenderTable(out, view, options);
      lastWasTable = true;
    } else if (const auto* heading = std::get_if<Heading>(&item)) {
      if (!first) out << '\n';
      out << "==> " << EscapeForTerminal(heading->text) << " <==\n";
      lastWasTable = false;
    } else {
      if (lastWasTable) out << '\n';
      WriteMessageText(std::get<Message>(item), out);
      out << '\n';
      lastWasTable = false;
    }
    first = false;
  }
  if (document.AlertsChecked() && !document.Alerts().empty()) {
    if (!first) out << '\n';
    out << "Data-quality alerts\n";
    for (const Alert& alert : document.Alerts()) {
      out << "  " << (alert.item.empty() ? std::string("(file)") : EscapeForTerminal(alert.item)) << ": "
          << EscapeForTerminal(alert.text) << '\n';
    }
  }
}

}  // namespace codebook::output
