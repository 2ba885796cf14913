#include "platform/output/render/text_list.h"

#include <algorithm>
#include <vector>

#include "platform/output/render/terminal_text.h"
#include "platform/output/render/text_width.h"

namespace codebook::output {

namespace {

std::string Shown(std::string_view text) {
  return NeedsTerminalEscape(text) ? EscapeForTerminal(text) : std::string(text);
}

// The lines inside the box, each after its indentation.
class ListLines {
 public:
  ListLines(std::string& out, const BoxChars& box, int inner, std::string_view mark)
      : out_(out), box_(box), inner_(inner), mark_(mark) {}

  void Line(int indent, std::string_view text) {
    out_ += box_.vertical;
    out_ += ' ';
    out_.append(static_cast<std::size_t>(indent), ' ');
    out_ += text;
    out_.append(static_cast<std::size_t>(std::max(0, inner_ - indent - DisplayWidth(text))), ' ');
    out_ += ' ';
    out_ += box_.vertical;
    out_ += '\n';
  }

  // The text wrapped after `indent` blanks, each of its lines apart.
  void Wrapped(int indent, std::string_view text) {
    std::size_t start = 0;
    for (;;) {
      const std::size_t stop = text.find('\n', start);
      const std::string_view piece = text.substr(start, stop == std::string_view::npos ? std::string_view::npos : stop - start);
      for (const std::string& line : WrapText(piece, std::max(1, inner_ - indent), mark_)) Line(indent, line);
      if (stop == std::string_view::npos || stop + 1 == text.size()) break;
      start = stop + 1;
    }
  }

  // Pieces joined by ", ", as many to a line as fit; a piece too long for a
  // line of its own is wrapped.
  void Packed(int indent, const std::vector<std::string>& pieces) {
    const int room = std::max(1, inner_ - indent);
    std::string line;
    for (std::size_t i = 0; i < pieces.size(); ++i) {
      const std::string& piece = pieces[i];
      // Room for the comma after a piece that is not the last.
      const int width = DisplayWidth(piece) + (i + 1 < pieces.size() ? 1 : 0);
      if (!line.empty() && DisplayWidth(line) + 2 + width <= room) {
        line += ", " + piece;
        continue;
      }
      if (!line.empty()) Line(indent, line + ",");
      line.clear();
      if (width <= room) {
        line = piece;
      } else {
        Wrapped(indent, piece);
      }
    }
    if (!line.empty()) Line(indent, line);
  }

  void Rule(std::string_view left, std::string_view right) {
    out_ += left;
    for (int i = 0; i < inner_ + 2; ++i) out_ += box_.horizontal;
    out_ += right;
    out_ += '\n';
  }

 private:
  std::string& out_;
  const BoxChars& box_;
  int inner_;
  std::string_view mark_;
};

}  // namespace

void RenderTableAsList(std::string& out, const TableView& view, const TextOptions& options, const BoxChars& box,
                       std::string_view mark) {
  const int inner = std::max(1, options.width - 4);
  if (!view.Title().empty()) AppendWrapped(out, Shown(view.Title()), options.width, 0, mark);
  ListLines lines(out, box, inner, mark);
  lines.Rule(box.topLeft, box.topRight);
  bool firstEntry = true;
  std::vector<std::string> labelled;
  for (const ViewEntry& entry : view.entries()) {
    if (!firstEntry && entry.group && entry.depth == 0) lines.Rule(box.teeLeft, box.teeRight);
    firstEntry = false;
    // Deep groups keep half the line for their text.
    const int indent = std::min(2 * entry.depth, inner / 2);
    const ContentView* labelContent = view.Label(entry.node);
    const std::string label = labelContent != nullptr ? Shown(labelContent->text) : std::string();
    // The first column's text goes with the label; the others' cells are
    // named by their columns.
    std::string bare;
    labelled.clear();
    for (int c = 0; c < view.ValueColumnCount() && !entry.group; ++c) {
      const std::string text = Shown(JoinedCellText(view, entry.cellBegin, entry.cellEnd, c));
      if (text.empty()) continue;
      if (c == 0) {
        bare = text;
      } else {
        const std::string heading = Shown(view.columns()[static_cast<std::size_t>(c)]->text);
        labelled.push_back(heading.empty() ? text : heading + " " + text);
      }
    }
    const bool oneLine = !bare.empty() && !label.empty() && bare.find('\n') == std::string::npos &&
                         label.find('\n') == std::string::npos &&
                         indent + DisplayWidth(label) + 2 + DisplayWidth(bare) <= inner;
    if (oneLine) {
      lines.Line(indent, label + ": " + bare);
    } else {
      if (!label.empty()) lines.Wrapped(indent, label);
      if (!bare.empty()) lines.Wrapped(label.empty() ? indent : std::min(indent + 2, inner / 2), bare);
    }
    if (!labelled.empty()) lines.Packed(label.empty() && bare.empty() ? indent : std::min(indent + 2, inner / 2), labelled);
  }
  lines.Rule(box.bottomLeft, box.bottomRight);
}

}  // namespace codebook::output
