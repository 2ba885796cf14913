#include "platform/output/render/pdf/document_layout.h"

#include <algorithm>
#include <optional>

#include "platform/output/render/chart_model.h"
#include "platform/output/render/html_chart.h"
#include "platform/output/render/pdf/chart_drawing.h"
#include "platform/output/render/pdf/safe_text.h"

namespace codebook::output::pdf {
namespace {

constexpr Font kTitleFont = Font::kBold;
constexpr double kChartGap = 3;
// A table split between columns keeps its title, header and this many
// rows together.
constexpr std::size_t kRowsKept = 3;

std::string AlertLine(const Alert& alert) { return "\u26A0 " + alert.text; }

}  // namespace

DocumentLayout::DocumentLayout(const Document& document, const DocumentScan& scan, Canvas& canvas, PageFlow& flow,
                               cairo_surface_t* surface, std::vector<int> itemPages)
    : document_(document),
      scan_(scan),
      canvas_(canvas),
      text_(canvas.Text()),
      flow_(flow),
      surface_(surface),
      known_(std::move(itemPages)),
      pages_(document.Items().size(), 0),
      partOutline_(scan.parts.size(), 0) {}

void DocumentLayout::Ensure(double height, bool wide) {
  for (int step = 0; step < 3 && flow_.Room(wide) < height && !flow_.AtTop(wide); ++step) flow_.Break(wide);
}

void DocumentLayout::Outline(std::size_t index, const std::string& title) {
  if (surface_ == nullptr) return;
  const int parent = partOutline_[currentPart_];
  const std::string attributes = "dest='" + ItemDestination(index) + "'";
  cairo_pdf_surface_add_outline(surface_, parent, SafeText(title).c_str(), attributes.c_str(),
                                static_cast<cairo_pdf_outline_flags_t>(0));
}

void DocumentLayout::Run() {
  const auto& items = document_.Items();
  if (scan_.parts.size() > 1) {
    Cover();
  } else {
    flow_.SetFooterName(scan_.parts[0].summary != nullptr ? scan_.parts[0].summary->name : std::string("Codebook"));
    TitleBlock(scan_.parts[0]);
  }
  Contents();
  for (std::size_t p = 0; p < scan_.parts.size(); ++p) {
    const Part& part = scan_.parts[p];
    currentPart_ = p;
    if (scan_.parts.size() > 1) StartPart(part.begin, part);
    for (std::size_t i = part.begin; i < part.end; ++i) {
      if (const auto* table = std::get_if<Document::Table>(&items[i])) {
        if (!scan_.Lifted(table->get())) PlaceTable(i, *table, part);
      } else if (const auto* message = std::get_if<Document::MessageItem>(&items[i])) {
        PlaceMessage(**message);
      }
    }
  }
}

void DocumentLayout::StartPart(std::size_t index, const Part& part) {
  flow_.NewPage();
  flow_.SetFooterName(part.summary != nullptr ? part.summary->name : part.heading);
  const std::string destination = "part-" + std::to_string(index);
  const Spot spot = flow_.Here(true);
  canvas_.Destination(destination, spot.x, spot.y);
  if (surface_ != nullptr) {
    const std::string attributes = "dest='" + destination + "'";
    partOutline_[currentPart_] = cairo_pdf_surface_add_outline(
        surface_, CAIRO_PDF_OUTLINE_ROOT, SafeText(part.heading).c_str(), attributes.c_str(),
        static_cast<cairo_pdf_outline_flags_t>(0));
  }
  Paragraph(Font::kHeading, part.heading, colors::kText, 4);
  TitleBlock(part);
}

void DocumentLayout::PlaceMessage(const Message& message) {
  const Color color = message.severity == Severity::kError     ? colors::kError
                      : message.severity == Severity::kWarning ? colors::kWarning
                                                               : colors::kMuted;
  std::string line = message.command.empty() ? std::string() : message.command + ": ";
  line += std::string(SeverityName(message.severity)) + ": " + message.text;
  Paragraph(Font::kBody, line, color, flow_.Geometry().blockGap);
}

void DocumentLayout::PlaceTable(std::size_t index, const Document::Table& table, const Part& part) {
  view_.Build(*table);
  if (!view_.Visible()) return;
  const PageGeometry& page = flow_.Geometry();
  const bool overview = table->subtype == "Overview";
  const TableBlock::Links* links = overview ? &part.links : nullptr;
  // Narrow when the table reads well in a column; else across the page.
  std::optional<TableBlock> block;
  bool wide = overview;
  if (!wide) {
    block.emplace(text_, view_, page.ColumnWidth(), links);
    wide = !block->Fits();
  }
  if (wide) block.emplace(text_, view_, page.BodyWidth(), links);
  const double width = wide ? page.BodyWidth() : page.ColumnWidth();

  const std::string title(view_.Title());
  const double titleHeight = text_.Measure(kTitleFont, title, width).height + 1.5;
  std::vector<const Alert*> alerts;
  if (const auto found = scan_.alerts.find(title); found != scan_.alerts.end()) alerts = found->second;
  double alertsHeight = 0;
  for (const Alert* alert : alerts) alertsHeight += text_.Measure(Font::kSmall, AlertLine(*alert), width).height;
  const double head = titleHeight + alertsHeight + (alerts.empty() ? 0 : 1.5);

  const BarChartModel chart = MakeBarChart(ChartBars(view_));
  const double chartHeight = BarChartHeight(text_, chart);
  const Histogram* histogram = document_.HistogramOf(table);
  const double histogramHeight = histogram != nullptr && !histogram->weights.empty() ? HistogramHeight(text_) : 0;

  double kept = head + block->HeaderHeight();
  for (std::size_t r = 0; r < std::min(block->Rows(), kRowsKept); ++r) kept += block->RowHeight(r);
  const double whole = head + block->Height() + (chartHeight > 0 ? kChartGap + chartHeight : 0) +
                       (histogramHeight > 0 ? kChartGap + histogramHeight : 0);
  Ensure(whole <= flow_.EmptyHeight() ? whole : kept, wide);

  Spot spot = flow_.Here(wide);
  pages_[index] = flow_.Page();
  canvas_.Destination(ItemDestination(index), spot.x, spot.y);
  Outline(index, title);
  canvas_.Write(kTitleFont, title, spot.x, spot.y, colors::kText, width);
  double y = spot.y + titleHeight;
  for (const Alert* alert : alerts) {
    const std::string line = AlertLine(*alert);
    canvas_.Write(Font::kSmall, line, spot.x, y, colors::kWarning, width);
    y += text_.Measure(Font::kSmall, line, width).height;
  }
  flow_.Advance(head, wide);
  spot = flow_.Here(wide);
  block->DrawHeader(canvas_, spot.x, spot.y);
  flow_.Advance(block->HeaderHeight(), wide);
  for (std::size_t r = 0; r < block->Rows(); ++r) {
    if (block->RowHeight(r) > flow_.Room(wide) && !flow_.AtTop(wide)) {
      flow_.Break(wide);
      // The rest under the title again, marked as going on, and the
      // column headers repeated.
      const std::string more = title + " (continued)";
      const double moreHeight = text_.Measure(Font::kSmall, more, width).height + 1;
      spot = flow_.Here(wide);
      canvas_.Write(Font::kSmall, more, spot.x, spot.y, colors::kMuted, width);
      block->DrawHeader(canvas_, spot.x, spot.y + moreHeight);
      flow_.Advance(moreHeight + block->HeaderHeight(), wide);
    }
    spot = flow_.Here(wide);
    block->DrawRow(canvas_, r, spot.x, spot.y);
    flow_.Advance(block->RowHeight(r), wide);
  }
  if (chartHeight > 0) {
    Ensure(kChartGap + chartHeight, wide);
    spot = flow_.Here(wide);
    DrawBarChart(canvas_, chart, spot.x, spot.y + kChartGap, width);
    flow_.Advance(kChartGap + chartHeight, wide);
  }
  if (histogramHeight > 0) {
    Ensure(kChartGap + histogramHeight, wide);
    spot = flow_.Here(wide);
    DrawHistogram(canvas_, *histogram, spot.x, spot.y + kChartGap, width);
    flow_.Advance(kChartGap + histogramHeight, wide);
  }
  flow_.Advance(page.blockGap, wide);
}

}  // namespace codebook::output::pdf
