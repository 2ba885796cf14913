// Text for terminals. Each table: its title, then a box with a column of row
// labels (groups as their own lines, their categories indented two blanks
// per level) and one column per shown data column. Column widths fit the
// content up to a maximum, past which texts wrap at blanks and after
// punctuation. A screen too narrow for the columns without splitting words
// gets the table as a list inside its box (text_list.h).
//
// A codebook has a table per variable, so a table is laid out without a
// string per line: lines are views into the cell texts (copies are made only
// of texts that must be escaped or wrapped), and the box is written into one
// buffer per table.
#include <algorithm>
#include <deque>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "platform/output/render/file_summary_words.h"
#include "platform/output/render/renderers.h"
#include "platform/output/render/table_view.h"
#include "platform/output/render/terminal_text.h"
#include "platform/output/render/text_box.h"
#include "platform/output/render/text_list.h"
#include "platform/output/render/text_width.h"

namespace codebook::output {

namespace {

// Where a word too wide for its line is split: a mark the reader sees.
std::string_view SplitMark(const TextOptions& options) { return options.ascii ? kAsciiSplitMark : kSplitMark; }

// One printed line of a block: its text after `indent` blanks, and its
// display width with them.
struct Line {
  std::string_view text;
  int width = 0;
  int indent = 0;
};

// The lines of one column of a printed row: lines [first, first + count).
struct Block {
  std::uint32_t first = 0;
  std::uint32_t count = 0;
  bool rightAligned = false;
};

// The printed rows of a table: a block per column, row after row.
class Layout {
 public:
  void Clear(std::size_t columns) {
    columns_ = columns;
    lines_.clear();
    blocks_.clear();
    ruleBefore_.clear();
    kept_.clear();
  }
  std::size_t Rows() const { return ruleBefore_.size(); }
  std::size_t Columns() const { return columns_; }
  // Starts a row; `rule`: a rule is drawn above it.
  void AddRow(bool rule) {
    blocks_.resize(blocks_.size() + columns_);
    ruleBefore_.push_back(rule ? 1 : 0);
  }
  Block& At(std::size_t row, std::size_t column) { return blocks_[row * columns_ + column]; }
  const Block& At(std::size_t row, std::size_t column) const { return blocks_[row * columns_ + column]; }
  bool RuleBefore(std::size_t row) const { return ruleBefore_[row] != 0; }
  const Line& LineAt(std::size_t index) const { return lines_[index]; }

  // The text as a terminal may show it.
  std::string_view Escaped(std::string_view text) {
    if (!NeedsTerminalEscape(text)) return text;
    kept_.push_back(EscapeForTerminal(text));
    return kept_.back();
  }

  // What ends each piece of a word too wide for its column.
  void SetMark(std::string_view mark) { mark_ = mark; }

  // The lines of `text` (escaped already), each wrapped at `maxWidth`
  // columns less the indentation.
  Block MakeBlock(std::string_view text, bool right, int maxWidth, int indent = 0) {
    Block block;
    block.first = static_cast<std::uint32_t>(lines_.size());
    block.rightAligned = right;
    const int limit = std::max(1, maxWidth - indent);
    std::size_t start = 0;
    for (;;) {
      const std::size_t stop = text.find('\n', start);
      const std::string_view piece =
          text.substr(start, stop == std::string_view::npos ? std::string_view::npos : stop - start);
      const int width = DisplayWidth(piece);
      if (width <= limit) {
        lines_.push_back(Line{piece, indent + width, indent});
      } else {
        for (std::string& wrapped : WrapText(piece, limit, mark_)) {
          kept_.push_back(std::move(wrapped));
          lines_.push_back(Line{kept_.back(), indent + DisplayWidth(kept_.back()), indent});
        }
      }
      if (stop == std::string_view::npos) break;
      start = stop + 1;
      if (start == text.size()) break;  // a final line feed ends the text
    }
    block.count = static_cast<std::uint32_t>(lines_.size()) - block.first;
    return block;
  }

 private:
  std::size_t columns_ = 0;
  std::vector<Line> lines_;
  std::vector<Block> blocks_;
  std::vector<char> ruleBefore_;
  std::deque<std::string> kept_;  // escaped and wrapped texts; a deque never moves them
  std::string_view mark_ = kSplitMark;
};

void AppendRow(std::string& out, const Layout& layout, std::size_t row, const std::vector<int>& widths,
               const BoxChars& box) {
  std::size_t height = 1;
  for (std::size_t c = 0; c < layout.Columns(); ++c) height = std::max<std::size_t>(height, layout.At(row, c).count);
  for (std::size_t l = 0; l < height; ++l) {
    out += box.vertical;
    for (std::size_t c = 0; c < widths.size(); ++c) {
      const Block& block = layout.At(row, c);
      const Line line = l < block.count ? layout.LineAt(block.first + l) : Line{};
      const auto padding = static_cast<std::size_t>(std::max(0, widths[c] - line.width));
      out += ' ';
      if (block.rightAligned) out.append(padding, ' ');
      out.append(static_cast<std::size_t>(line.indent), ' ');
      out += line.text;
      if (!block.rightAligned) out.append(padding, ' ');
      out += ' ';
      out += box.vertical;
    }
    out += '\n';
  }
}

// The printed rows of a table, each column's texts wrapped at its limit.
void BuildRows(Layout& layout, const TableView& view, const std::vector<int>& limits, bool fitted,
               const std::vector<char>& numericColumn) {
  const std::size_t columnCount = limits.size();
  layout.Clear(columnCount);
  if (!view.OneDimensional()) {
    layout.AddRow(false);
    const std::size_t header = layout.Rows() - 1;
    for (std::size_t c = 1; c < columnCount; ++c) {
      layout.At(header, c) =
          layout.MakeBlock(layout.Escaped(view.columns()[c - 1]->text), numericColumn[c] != 0, limits[c]);
    }
  }
  bool firstEntry = true;
  for (const ViewEntry& entry : view.entries()) {
    // A rule between the top-level groups of the body.
    layout.AddRow(!firstEntry && entry.group && entry.depth == 0);
    firstEntry = false;
    const std::size_t row = layout.Rows() - 1;
    const ContentView* label = view.Label(entry.node);
    // Unfitted, a label may take the full width beside its indentation;
    // fitted, the indentation comes out of the column's width.
    const int labelLimit = fitted ? std::max(limits[0], 2 * entry.depth + 1) : limits[0] + 2 * entry.depth;
    layout.At(row, 0) = layout.MakeBlock(label ? layout.Escaped(label->text) : std::string_view(), false,
                                         labelLimit, 2 * entry.depth);
    for (std::uint32_t i = entry.cellBegin; i < entry.cellEnd; ++i) {
      const ViewCell& cell = view.cells()[i];
      const auto column = static_cast<std::size_t>(cell.column) + 1;
      const Block added = layout.MakeBlock(layout.Escaped(cell.content->text), cell.content->numeric, limits[column]);
      Block& block = layout.At(row, column);
      if (block.count == 0) {
        block = added;
      } else {
        // The lines of one cell follow each other: a row's cells come in
        // column order, each column's lines made one after another.
        block.count += added.count;
        block.rightAligned = block.rightAligned && cell.content->numeric;
      }
    }
  }
}

std::vector<int> ColumnWidths(const Layout& layout) {
  std::vector<int> widths(layout.Columns(), 0);
  for (std::size_t r = 0; r < layout.Rows(); ++r) {
    for (std::size_t c = 0; c < layout.Columns(); ++c) {
      const Block& block = layout.At(r, c);
      for (std::uint32_t l = 0; l < block.count; ++l) widths[c] = std::max(widths[c], layout.LineAt(block.first + l).width);
    }
  }
  return widths;
}

int BoxWidth(const std::vector<int>& widths) {
  int total = 1;
  for (const int width : widths) total += width + 3;
  return total;
}

// Takes a column at a time off the widest of the columns `may` allows,
// never below its floor, until the box fits the screen.
template <typename May>
void Narrow(std::vector<int>& widths, const std::vector<int>& floors, int screen, May may) {
  int total = BoxWidth(widths);
  while (total > screen) {
    std::size_t widest = widths.size();
    for (std::size_t c = 0; c < widths.size(); ++c) {
      if (may(c) && widths[c] > floors[c] && (widest == widths.size() || widths[c] > widths[widest])) widest = c;
    }
    if (widest == widths.size()) break;
    --widths[widest];
    --total;
  }
}

// Narrows the columns until the box fits the screen without splitting a
// word, giving up readability a step at a time: the text columns down to a
// few words' width, then to their longest word (the row labels with their
// indentation), then the numeric columns down to their widest number or
// heading word. False when even that is too wide.
bool FitToScreen(std::vector<int>& widths, const std::vector<char>& textColumn, const std::vector<int>& words,
                 int screen) {
  constexpr int kReadable = 8;
  const std::size_t count = widths.size();
  const auto text = [&](std::size_t c) { return textColumn[c] != 0; };
  const auto numeric = [&](std::size_t c) { return textColumn[c] == 0; };
  std::vector<int> floors(count);
  for (std::size_t c = 0; c < count; ++c) floors[c] = std::max(kReadable, words[c]);
  Narrow(widths, floors, screen, text);
  Narrow(widths, words, screen, text);
  Narrow(widths, words, screen, numeric);
  return BoxWidth(widths) <= screen;
}

// The overview's rows as records, where its box cannot fit the screen: the
// item's name, then each column's title and value, as many to a line as
// fit; a field is broken only when it alone is wider than the screen.
void RenderRecords(std::string& out, const TableView& view, const TextOptions& options) {
  AppendWrapped(out, EscapeForTerminal(view.Title()), options.width, 0, SplitMark(options));
  const std::string_view indent = "    ";
  for (const ViewEntry& entry : view.entries()) {
    if (entry.group) continue;
    const ContentView* label = view.Label(entry.node);
    AppendWrapped(out, EscapeForTerminal(label != nullptr ? label->text : std::string_view()), options.width, 2, SplitMark(options));
    std::string line;
    for (std::uint32_t i = entry.cellBegin; i < entry.cellEnd;) {
      const int column = view.cells()[i].column;
      std::uint32_t end = i;
      while (end < entry.cellEnd && view.cells()[end].column == column) ++end;
      std::string field = view.OneDimensional() ? std::string()
                                                : std::string(view.columns()[static_cast<std::size_t>(column)]->text) + ": ";
      field = EscapeForTerminal(field + JoinedCellText(view, i, end, column));
      for (char& c : field) c = c == '\n' ? ' ' : c;
      i = end;
      const int room = options.width - static_cast<int>(indent.size());
      if (!line.empty() && DisplayWidth(line) + 3 + DisplayWidth(field) <= room) {
        line += "   " + field;
        continue;
      }
      if (!line.empty()) AppendWrapped(out, std::string(indent) + line, options.width, static_cast<int>(indent.size()), SplitMark(options));
      line = field;
    }
    if (!line.empty()) AppendWrapped(out, std::string(indent) + line, options.width, static_cast<int>(indent.size()), SplitMark(options));
  }
}

void RenderTable(std::string& out, Layout& layout, const TableView& view, const TextOptions& options) {
  const BoxChars& box = options.ascii ? kAsciiBox : kUnicodeBox;
  const std::string_view mark = SplitMark(options);
  layout.SetMark(mark);
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

  // The narrowest each column can be without splitting a word: its longest
  // word (the row labels' with their indentation), a number whole.
  std::vector<int> words(columnCount, 1);
  for (const ViewEntry& entry : view.entries()) {
    const ContentView* label = view.Label(entry.node);
    if (label != nullptr) words[0] = std::max(words[0], 2 * entry.depth + LongestWord(label->text));
  }
  for (const ViewCell& cell : view.cells()) {
    int& word = words[static_cast<std::size_t>(cell.column) + 1];
    const std::string_view text = cell.content->text;
    word = std::max(word, cell.content->numeric ? DisplayWidth(text) : LongestWord(text));
  }
  if (!view.OneDimensional()) {
    for (std::size_t c = 1; c < columnCount; ++c) words[c] = std::max(words[c], LongestWord(view.columns()[c - 1]->text));
  }
  // Without a screen to fit, a column is as wide as its longest word.
  std::vector<int> limits(columnCount, maxWidth);
  for (std::size_t c = 0; c < columnCount; ++c) limits[c] = std::max(limits[c], words[c]);
  BuildRows(layout, view, limits, false, numericColumn);
  std::vector<int> widths = ColumnWidths(layout);
  if (options.width > 0 && BoxWidth(widths) > options.width) {
    const std::vector<int> natural = widths;
    const bool fits = FitToScreen(widths, textColumn, words, options.width);
    // The overview has a column per fact: on a screen too narrow for its
    // box with words in it, it reads better as a record per item.
    if (view.table().subtype == "Overview") {
      bool squeezed = !fits;
      for (std::size_t c = 0; c < widths.size(); ++c) {
        squeezed = squeezed || (textColumn[c] != 0 && widths[c] < std::min(8, natural[c]));
      }
      if (squeezed) {
        RenderRecords(out, view, options);
        return;
      }
    }
    if (!fits) {
      // No grid fits: a column of rows, which keeps every word whole.
      RenderTableAsList(out, view, options, box, mark);
      return;
    }
    const std::vector<int> fitted = widths;
    BuildRows(layout, view, fitted, true, numericColumn);
    widths = ColumnWidths(layout);
  }

  if (!view.Title().empty()) AppendWrapped(out, layout.Escaped(view.Title()), options.width, 0, mark);
  AppendRule(out, widths, box, box.topLeft, box.teeDown, box.topRight);
  const std::size_t bodyStart = view.OneDimensional() ? 0 : 1;
  for (std::size_t r = 0; r < layout.Rows(); ++r) {
    if ((r == bodyStart && r > 0) || layout.RuleBefore(r)) AppendRule(out, widths, box, box.teeLeft, box.cross, box.teeRight);
    AppendRow(out, layout, r, widths, box);
  }
  AppendRule(out, widths, box, box.bottomLeft, box.teeUp, box.bottomRight);
}

// A file's summary: lines of text above the file's tables.
void RenderFile(std::string& out, const FileSummary& file, const TextOptions& options) {
  AppendWrapped(out, "File " + EscapeForTerminal(file.name) + ": " + CasesAndVariables(file), options.width, 2, SplitMark(options));
  if (!file.label.empty()) AppendWrapped(out, "Label: " + EscapeForTerminal(file.label), options.width, 2, SplitMark(options));
  if (!file.location.empty()) AppendWrapped(out, "Location: " + EscapeForTerminal(file.location), options.width, 2, SplitMark(options));
  if (!file.documents.empty()) {
    out += "Documents:\n";
    for (const std::string& line : file.documents) AppendWrapped(out, "  " + EscapeForTerminal(line), options.width, 2, SplitMark(options));
  }
  if (!file.weight.empty()) AppendWrapped(out, EscapeForTerminal(WeightingSentence(file)), options.width, 0, SplitMark(options));
}

}  // namespace

void WriteMessageText(const Message& message, std::ostream& out) {
  out << SeverityName(message.severity) << ": " << EscapeForTerminal(message.text);
}

void RenderText(const Document& document, std::ostream& out, const TextOptions& options) {
  const std::string_view mark = SplitMark(options);
  bool first = true;
  bool lastWasTable = false;
  TableView view;
  Layout layout;
  std::string buffer;
  for (const Document::Item& item : document.Items()) {
    buffer.clear();
    if (const auto* table = std::get_if<Document::Table>(&item)) {
      view.Build(**table);
      if (!view.Visible()) continue;
      if (!first) buffer += '\n';
      RenderTable(buffer, layout, view, options);
      lastWasTable = true;
    } else if (const auto* heading = std::get_if<Document::HeadingItem>(&item)) {
      if (!first) buffer += '\n';
      AppendWrapped(buffer, "==> " + EscapeForTerminal((*heading)->text) + " <==", options.width, 4, mark);
      lastWasTable = false;
    } else if (const auto* held = std::get_if<Document::MessageItem>(&item)) {
      if (lastWasTable) buffer += '\n';
      std::ostringstream message;
      WriteMessageText(**held, message);
      AppendWrapped(buffer, message.str(), options.width, 2, mark);
      lastWasTable = false;
    } else if (const auto* file = std::get_if<Document::FileItem>(&item)) {
      if (!first) buffer += '\n';
      RenderFile(buffer, **file, options);
      // A table after it stands apart, as after a table.
      lastWasTable = true;
    } else {
      continue;
    }
    out << buffer;
    first = false;
  }
  if (document.AlertsChecked() && !document.Alerts().empty()) {
    buffer.clear();
    if (!first) buffer += '\n';
    // With several files, the alerts of each under its name.
    const std::vector<const FileSummary*> files = FileSummaries(document);
    int shownFile = -1;
    if (files.size() <= 1) buffer += "Data-quality alerts\n";
    for (const Alert& alert : document.Alerts()) {
      if (files.size() > 1 && alert.file != shownFile) {
        shownFile = alert.file;
        const bool named = alert.file >= 0 && static_cast<std::size_t>(alert.file) < files.size();
        AppendWrapped(buffer, "Data-quality alerts" + (named ? " of " + EscapeForTerminal(files[static_cast<std::size_t>(alert.file)]->name) : std::string()),
                      options.width, 2, mark);
      }
      const std::string line = "  " + (alert.item.empty() ? std::string("(file)") : EscapeForTerminal(alert.item)) +
                               ": " + EscapeForTerminal(alert.text);
      AppendWrapped(buffer, line, options.width, 4, mark);
    }
    out << buffer;
  }
}

}  // namespace codebook::output
