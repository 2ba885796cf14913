#include "platform/output/render/pdf/canvas.h"

#include <cstdio>

namespace codebook::output::pdf {

void Canvas::FillRect(double x, double y, double width, double height, Color color) {
  if (cr_ == nullptr) return;
  SetColor(color);
  cairo_rectangle(cr_, x, y, width, height);
  cairo_fill(cr_);
}

void Canvas::Line(double x1, double y1, double x2, double y2, Color color, double width, bool dashed) {
  if (cr_ == nullptr) return;
  SetColor(color);
  cairo_set_line_width(cr_, width);
  if (dashed) {
    const double pattern[] = {2.5, 2.0};
    cairo_set_dash(cr_, pattern, 2, 0);
  }
  cairo_move_to(cr_, x1, y1);
  cairo_line_to(cr_, x2, y2);
  cairo_stroke(cr_);
  if (dashed) cairo_set_dash(cr_, nullptr, 0, 0);
}

void Canvas::Write(Font font, std::string_view text, double x, double y, Color color, double wrapWidth, Align align,
                   double boxWidth) {
  if (cr_ == nullptr) return;
  SetColor(color);
  text_.Draw(cr_, font, text, x, y, wrapWidth, align, boxWidth);
}

void Canvas::WriteLine(Font font, std::string_view text, double x, double y, double width, Color color) {
  if (cr_ == nullptr) return;
  SetColor(color);
  text_.DrawLine(cr_, font, text, x, y, width);
}

// Names are made by the renderer from item numbers ("item-12"): they need
// no quoting inside the attribute strings.
void Canvas::Destination(const std::string& name, double x, double y) {
  if (cr_ == nullptr) return;
  char attributes[128];
  std::snprintf(attributes, sizeof attributes, "name='%s' x=%.2f y=%.2f", name.c_str(), x, y);
  cairo_tag_begin(cr_, CAIRO_TAG_DEST, attributes);
  cairo_tag_end(cr_, CAIRO_TAG_DEST);
}

void Canvas::Link(const std::string& destination, double x, double y, double width, double height) {
  if (cr_ == nullptr) return;
  char attributes[160];
  std::snprintf(attributes, sizeof attributes, "rect=[%.2f %.2f %.2f %.2f] dest='%s'", x, y, width, height,
                destination.c_str());
  cairo_tag_begin(cr_, CAIRO_TAG_LINK, attributes);
  cairo_tag_end(cr_, CAIRO_TAG_LINK);
}

}  // namespace codebook::output::pdf
