// What comes before the tables: each file's title block (its label or
// name, documents, cases, weight, and who made the document when) and the
// contents list with page numbers.
#include <algorithm>
#include <cmath>
#include <cstdio>

#include "platform/output/render/pdf/document_layout.h"

namespace codebook::output::pdf {
namespace {

// 1234567 as "1,234,567".
std::string Grouped(std::int64_t value) {
  std::string digits = std::to_string(value < 0 ? -value : value);
  for (int at = static_cast<int>(digits.size()) - 3; at > 0; at -= 3) {
    digits.insert(static_cast<std::size_t>(at), ",");
  }
  return value < 0 ? "-" + digits : digits;
}

// A weighted count with at most two decimals, the zeros after them dropped.
std::string Weighted(double value) {
  if (std::isfinite(value) && std::fabs(value) < 9e15 && value == std::floor(value)) {
    return Grouped(static_cast<std::int64_t>(value));
  }
  char text[64];
  std::snprintf(text, sizeof text, "%.2f", value);
  std::string result = text;
  while (!result.empty() && result.back() == '0') result.pop_back();
  if (!result.empty() && result.back() == '.') result.pop_back();
  return result;
}

std::string Made(const Document& document) {
  const auto& provenance = document.GetProvenance();
  if (!provenance) return {};
  std::string line = "Made by " + provenance->program;
  if (!provenance->version.empty()) line += " " + provenance->version;
  if (!provenance->date.empty()) line += " on " + provenance->date;
  return line + ".";
}

}  // namespace

void DocumentLayout::Paragraph(Font font, const std::string& text, Color color, double after) {
  const double width = flow_.Geometry().BodyWidth();
  const double height = text_.Measure(font, text, width).height;
  Ensure(height, true);
  const Spot spot = flow_.Here(true);
  canvas_.Write(font, text, spot.x, spot.y, color, width);
  flow_.Advance(height + after, true);
}

void DocumentLayout::TitleBlock(const Part& part) {
  const FileSummary* file = part.summary;
  if (file == nullptr) return;
  Paragraph(Font::kTitle, file->label.empty() ? file->name : file->label, colors::kText, 3);
  if (!file->label.empty()) Paragraph(Font::kBody, "File: " + file->name, colors::kMuted, 1);
  if (!file->location.empty()) Paragraph(Font::kBody, "Location: " + file->location, colors::kMuted, 1);
  if (file->informationTable) {
    flow_.Advance(4, true);
    const auto& items = document_.Items();
    for (std::size_t i = part.begin; i < part.end; ++i) {
      const auto* table = std::get_if<Document::Table>(&items[i]);
      if (table != nullptr && table->get() == file->informationTable.get()) {
        PlaceTable(i, *table, part);
        break;
      }
    }
  } else {
    if (!file->documents.empty()) {
      flow_.Advance(3, true);
      Paragraph(Font::kBold, "Documents", colors::kText, 1);
      for (const std::string& line : file->documents) Paragraph(Font::kBody, line.empty() ? " " : line, colors::kText, 0);
    }
    flow_.Advance(4, true);
    std::string cases;
    if (file->cases >= 0) cases = Grouped(file->cases) + (file->cases == 1 ? " case" : " cases");
    if (!std::isnan(file->weightedCases)) {
      cases = "Weighted cases: " + Weighted(file->weightedCases) + (cases.empty() ? "" : " (" + cases + " unweighted)");
    }
    if (!cases.empty()) Paragraph(Font::kBody, cases, colors::kText, 1);
    Paragraph(Font::kBody, Grouped(file->variables) + (file->variables == 1 ? " variable" : " variables"),
              colors::kText, 1);
    if (!file->weight.empty()) Paragraph(Font::kBody, "Counts are weighted by " + file->weight + ".", colors::kText, 1);
  }
  const std::string made = Made(document_);
  if (!made.empty()) Paragraph(Font::kSmall, made, colors::kMuted, 2);
  if (scan_.parts.size() == 1) {
    for (const Alert* alert : scan_.fileAlerts) Paragraph(Font::kSmall, "\u26A0 " + alert->text, colors::kWarning, 1);
  }
  flow_.Advance(flow_.Geometry().blockGap, true);
}

void DocumentLayout::Cover() {
  flow_.SetFooterName("Codebook");
  Paragraph(Font::kTitle, "Codebook", colors::kText, 3);
  std::string files;
  for (const Part& part : scan_.parts) {
    const std::string& name = part.summary != nullptr ? part.summary->name : part.heading;
    if (name.empty()) continue;
    files += (files.empty() ? "" : ", ") + name;
  }
  if (!files.empty()) Paragraph(Font::kBody, "Files: " + files, colors::kText, 2);
  const std::string made = Made(document_);
  if (!made.empty()) Paragraph(Font::kSmall, made, colors::kMuted, 2);
  for (const Alert* alert : scan_.fileAlerts) Paragraph(Font::kSmall, "\u26A0 " + alert->text, colors::kWarning, 1);
  flow_.Advance(flow_.Geometry().blockGap, true);
}

void DocumentLayout::Contents() {
  if (scan_.contents.size() < 2) return;
  Paragraph(Font::kHeading, "Contents", colors::kText, 3);
  const double lineHeight = text_.LineHeight(Font::kBody) + 1.2;
  const double numberWidth = text_.Measure(Font::kBody, "000000").width;
  // A list that fits in what is left of both columns is shared evenly
  // between them; a longer one fills column after column.
  const std::size_t total = scan_.contents.size() + (scan_.parts.size() > 1 ? 2 * scan_.parts.size() : 0);
  const auto perColumn = static_cast<std::size_t>(std::max(0.0, flow_.Room(false)) / lineHeight);
  const std::size_t breakAt = total <= 2 * perColumn ? (total + 1) / 2 : static_cast<std::size_t>(-1);
  std::size_t lines = 0;
  bool balanced = false;
  std::size_t part = static_cast<std::size_t>(-1);
  for (const ContentsEntry& entry : scan_.contents) {
    if (!balanced && lines >= breakAt) {
      flow_.Break(false);
      balanced = true;
    }
    ++lines;
    if (entry.part != part && scan_.parts.size() > 1) {
      const std::string& heading = scan_.parts[entry.part].heading;
      Ensure(2 * lineHeight + 3, false);
      const Spot spot = flow_.Here(false);
      canvas_.WriteLine(Font::kBold, heading, spot.x, spot.y + 3, spot.width);
      flow_.Advance(lineHeight + 3, false);
      lines += 2;
    }
    part = entry.part;
    Ensure(lineHeight, false);
    const Spot spot = flow_.Here(false);
    const double room = spot.width - numberWidth - 4;
    const double titleRoom = entry.label.empty() ? room : room * 0.45;
    const double titleWidth = text_.MeasureLine(Font::kBody, entry.title, titleRoom).width;
    canvas_.WriteLine(Font::kBody, entry.title, spot.x, spot.y, titleRoom, colors::kLink);
    if (!entry.label.empty() && room - titleWidth > 20) {
      canvas_.WriteLine(Font::kBody, entry.label, spot.x + titleWidth + 6, spot.y, room - titleWidth - 6,
                        colors::kMuted);
    }
    if (!known_.empty() && known_[entry.item] > 0) {
      const std::string number = std::to_string(known_[entry.item]);
      const double width = text_.Measure(Font::kBody, number).width;
      canvas_.Write(Font::kBody, number, spot.x + spot.width - width, spot.y);
    }
    canvas_.Link(ItemDestination(entry.item), spot.x, spot.y, spot.width, lineHeight);
    flow_.Advance(lineHeight, false);
  }
  flow_.Advance(flow_.Geometry().blockGap, true);
}

}  // namespace codebook::output::pdf
