#include "platform/output/render/pdf/page_flow.h"

#include <algorithm>

namespace codebook::output::pdf {

void PageFlow::Reset() {
  column_ = 0;
  sectionTop_ = page_.Top();
  y_[0] = y_[1] = page_.Top();
  empty_ = true;
}

Spot PageFlow::Here(bool wide) const {
  if (wide) return {page_.Left(), column_ == 0 ? y_[0] : std::max(y_[0], y_[1]), page_.BodyWidth()};
  return {page_.ColumnX(column_), y_[column_], page_.ColumnWidth()};
}

bool PageFlow::AtTop(bool wide) const { return Here(wide).y <= page_.Top(); }

void PageFlow::Advance(double height, bool wide) {
  empty_ = false;
  if (wide) {
    const double top = Here(true).y;
    column_ = 0;
    sectionTop_ = y_[0] = y_[1] = top + height;
    return;
  }
  y_[column_] += height;
}

void PageFlow::Break(bool wide) {
  if (!wide && column_ == 0) {
    column_ = 1;
    y_[1] = sectionTop_;
    return;
  }
  if (empty_) return;
  EndPage();
  ++number_;
  Reset();
}

void PageFlow::NewPage() {
  if (empty_) return;
  EndPage();
  ++number_;
  Reset();
}

void PageFlow::Finish() { EndPage(); }

void PageFlow::EndPage() {
  if (!canvas_.Drawing()) return;
  const double y = page_.height - page_.footer;
  const double width = page_.BodyWidth();
  canvas_.Line(page_.Left(), y - 3, page_.Left() + width, y - 3, colors::kRule, 0.4);
  std::string number = "page " + std::to_string(number_);
  if (totalPages_ > 0) number += " of " + std::to_string(totalPages_);
  TextEngine& text = canvas_.Text();
  const double numberWidth = text.Measure(Font::kSmall, number).width;
  canvas_.WriteLine(Font::kSmall, footerName_, page_.Left(), y, width - numberWidth - 12, colors::kMuted);
  canvas_.Write(Font::kSmall, number, page_.Left() + width - numberWidth, y, colors::kMuted);
  cairo_show_page(canvas_.Context());
}

}  // namespace codebook::output::pdf
