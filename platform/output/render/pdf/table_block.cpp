#include "platform/output/render/pdf/table_block.h"

#include <algorithm>
#include <numeric>

namespace codebook::output::pdf {
namespace {

constexpr double kPadX = 3;
constexpr double kPadY = 1.1;
constexpr double kIndent = 7;       // per level of row groups
constexpr double kMinColumn = 44;   // narrower, a column reads a word or two a line
constexpr Font kCellFont = Font::kBody;
constexpr Font kHeadFont = Font::kBold;

}  // namespace

TableBlock::TableBlock(TextEngine& text, const TableView& view, double maxWidth, const Links* links)
    : text_(text), view_(view), links_(links) {
  const int valueColumns = view.ValueColumnCount();
  std::vector<double> natural(static_cast<std::size_t>(valueColumns) + 1, 2 * kPadX);
  if (!view.OneDimensional()) {
    for (int c = 0; c < valueColumns; ++c) {
      const ContentView* label = view.columns()[static_cast<std::size_t>(c)];
      const double width = text.Measure(kHeadFont, label != nullptr ? label->text : std::string_view()).width;
      natural[static_cast<std::size_t>(c) + 1] = std::max(natural[static_cast<std::size_t>(c) + 1], width + 2 * kPadX);
    }
  }
  for (const ViewEntry& entry : view.entries()) {
    if (entry.group) continue;  // a group's label spans the table
    const ContentView* label = view.Label(entry.node);
    const double labelWidth = text.Measure(kCellFont, label != nullptr ? label->text : std::string_view()).width;
    natural[0] = std::max(natural[0], labelWidth + 2 * kPadX + Indent(entry));
    for (int c = 0; c < valueColumns; ++c) {
      const double width = text.Measure(kCellFont, CellText(entry, c)).width;
      natural[static_cast<std::size_t>(c) + 1] = std::max(natural[static_cast<std::size_t>(c) + 1], width + 2 * kPadX);
    }
  }
  FitColumns(natural, maxWidth);

  if (!view.OneDimensional()) {
    double tallest = text.LineHeight(kHeadFont);
    for (int c = 0; c < valueColumns; ++c) {
      const ContentView* label = view.columns()[static_cast<std::size_t>(c)];
      const double inner = columnWidths_[static_cast<std::size_t>(c) + 1] - 2 * kPadX;
      tallest = std::max(tallest, text.Measure(kHeadFont, label != nullptr ? label->text : "", inner).height);
    }
    headerHeight_ = tallest + 2 * kPadY;
  }
  rowHeights_.reserve(view.entries().size());
  for (const ViewEntry& entry : view.entries()) {
    const ContentView* label = view.Label(entry.node);
    const std::string_view labelText = label != nullptr ? label->text : std::string_view();
    double tallest = 0;
    if (entry.group) {
      tallest = text.Measure(kHeadFont, labelText, width_ - 2 * kPadX - Indent(entry)).height;
    } else {
      tallest = text.Measure(kCellFont, labelText, columnWidths_[0] - 2 * kPadX - Indent(entry)).height;
      for (int c = 0; c < valueColumns; ++c) {
        const double inner = columnWidths_[static_cast<std::size_t>(c) + 1] - 2 * kPadX;
        tallest = std::max(tallest, text.Measure(kCellFont, CellText(entry, c), inner).height);
      }
    }
    rowHeights_.push_back(tallest + 2 * kPadY);
  }
}

// The widths: natural where they fit; else the widest columns are cut to
// one common width (the narrower keep theirs) so that the table fills
// `maxWidth`, none below kMinColumn unless even that does not fit.
void TableBlock::FitColumns(const std::vector<double>& natural, double maxWidth) {
  columnWidths_ = natural;
  const double total = std::accumulate(natural.begin(), natural.end(), 0.0);
  if (total > maxWidth) {
    double floor = 0;
    for (const double width : natural) floor += std::min(width, kMinColumn);
    if (floor > maxWidth) {
      fits_ = false;
      for (double& width : columnWidths_) width = std::min(width, kMinColumn) * maxWidth / floor;
    } else {
      // The common width of the cut columns, found by halving.
      double low = kMinColumn;
      double high = *std::max_element(natural.begin(), natural.end());
      for (int step = 0; step < 40; ++step) {
        const double cap = (low + high) / 2;
        double sum = 0;
        for (const double width : natural) sum += std::min(width, std::max(cap, std::min(width, kMinColumn)));
        (sum > maxWidth ? high : low) = cap;
      }
      for (double& width : columnWidths_) width = std::min(width, std::max(low, std::min(width, kMinColumn)));
    }
  }
  width_ = std::accumulate(columnWidths_.begin(), columnWidths_.end(), 0.0);
}

double TableBlock::Height() const {
  return headerHeight_ + std::accumulate(rowHeights_.begin(), rowHeights_.end(), 0.0);
}

double TableBlock::Indent(const ViewEntry& entry) const { return kIndent * std::min(entry.depth, 8); }

std::string TableBlock::CellText(const ViewEntry& entry, int column) const {
  std::string text = JoinedCellText(view_, entry.cellBegin, entry.cellEnd, column);
  // A line feed that ends the last line opens no empty one.
  while (!text.empty() && text.back() == '\n') text.pop_back();
  return text;
}

bool TableBlock::Numeric(const ViewEntry& entry, int column) const {
  bool any = false;
  for (std::uint32_t i = entry.cellBegin; i < entry.cellEnd; ++i) {
    const ViewCell& cell = view_.cells()[i];
    if (cell.column != column) continue;
    if (!cell.content->numeric) return false;
    any = true;
  }
  return any;
}

void TableBlock::DrawHeader(Canvas& canvas, double x, double y) const {
  if (headerHeight_ <= 0) return;
  canvas.FillRect(x, y, width_, headerHeight_, colors::kHeaderFill);
  double left = x + columnWidths_[0];
  for (std::size_t c = 0; c < view_.columns().size(); ++c) {
    const ContentView* label = view_.columns()[c];
    const double inner = columnWidths_[c + 1] - 2 * kPadX;
    canvas.Write(kHeadFont, label != nullptr ? label->text : "", left + kPadX, y + kPadY, colors::kText, inner);
    left += columnWidths_[c + 1];
  }
  canvas.Line(x, y + headerHeight_, x + width_, y + headerHeight_, colors::kRule, 0.6);
}

void TableBlock::DrawRow(Canvas& canvas, std::size_t row, double x, double y) const {
  const ViewEntry& entry = view_.entries()[row];
  const double height = rowHeights_[row];
  const ContentView* label = view_.Label(entry.node);
  const std::string_view labelText = label != nullptr ? label->text : std::string_view();
  const double indent = Indent(entry);
  if (entry.group) {
    canvas.FillRect(x, y, width_, height, colors::kGroupFill);
    canvas.Write(kHeadFont, labelText, x + kPadX + indent, y + kPadY, colors::kText, width_ - 2 * kPadX - indent);
  } else {
    const double inner = columnWidths_[0] - 2 * kPadX - indent;
    const Links::const_iterator link =
        links_ != nullptr ? links_->find(labelText) : Links::const_iterator();
    const bool linked = links_ != nullptr && link != links_->end();
    canvas.Write(kCellFont, labelText, x + kPadX + indent, y + kPadY, linked ? colors::kLink : colors::kText, inner);
    if (linked) {
      const TextSize size = text_.Measure(kCellFont, labelText, inner);
      canvas.Link(link->second, x + kPadX + indent, y + kPadY, size.width, size.height);
    }
    double left = x + columnWidths_[0];
    for (int c = 0; c < view_.ValueColumnCount(); ++c) {
      const double columnWidth = columnWidths_[static_cast<std::size_t>(c) + 1];
      const std::string text = CellText(entry, c);
      if (!text.empty()) {
        const bool numeric = Numeric(entry, c);
        canvas.Write(kCellFont, text, left + kPadX, y + kPadY, colors::kText, columnWidth - 2 * kPadX,
                     numeric ? Align::kRight : Align::kLeft, columnWidth - 2 * kPadX);
      }
      left += columnWidth;
    }
  }
  canvas.Line(x, y + height, x + width_, y + height, colors::kRule, 0.25);
}

}  // namespace codebook::output::pdf
