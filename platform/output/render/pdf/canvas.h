// What the layout code draws on: a Cairo context in the drawing pass, none
// in the measuring pass (every call then does nothing), so that both passes
// run the same code and agree on where everything falls.
#pragma once

#include <cairo.h>

#include <string>
#include <string_view>

#include "platform/output/render/pdf/text_engine.h"

namespace codebook::output::pdf {

struct Color {
  double r = 0, g = 0, b = 0;
};

namespace colors {
inline constexpr Color kText{0.13, 0.13, 0.13};
inline constexpr Color kMuted{0.38, 0.38, 0.38};
inline constexpr Color kRule{0.72, 0.72, 0.72};
inline constexpr Color kHeaderFill{0.92, 0.92, 0.92};
inline constexpr Color kGroupFill{0.965, 0.965, 0.965};
inline constexpr Color kBar{0.23, 0.43, 0.65};
inline constexpr Color kMissingBar{0.75, 0.52, 0.16};
inline constexpr Color kWarning{0.54, 0.35, 0.0};
inline constexpr Color kError{0.69, 0.0, 0.13};
inline constexpr Color kLink{0.10, 0.30, 0.60};
}  // namespace colors

class Canvas {
 public:
  Canvas(cairo_t* cr, TextEngine& text) : cr_(cr), text_(text) {}

  bool Drawing() const { return cr_ != nullptr; }
  cairo_t* Context() const { return cr_; }
  TextEngine& Text() { return text_; }

  void FillRect(double x, double y, double width, double height, Color color);
  void Line(double x1, double y1, double x2, double y2, Color color, double width = 0.5, bool dashed = false);
  void Write(Font font, std::string_view text, double x, double y, Color color = colors::kText,
             double wrapWidth = 0, Align align = Align::kLeft, double boxWidth = 0);
  void WriteLine(Font font, std::string_view text, double x, double y, double width, Color color = colors::kText);

  // A named place to link to, at (x, y) on the current page.
  void Destination(const std::string& name, double x, double y);
  // A link from the rectangle to a named place.
  void Link(const std::string& destination, double x, double y, double width, double height);

 private:
  void SetColor(Color color) { cairo_set_source_rgb(cr_, color.r, color.g, color.b); }

  cairo_t* cr_;
  TextEngine& text_;
};

}  // namespace codebook::output::pdf
