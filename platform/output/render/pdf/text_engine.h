// Text on the page: Pango lays it out (shaping every script, falling back
// to another installed font for what the main one lacks), Cairo draws it.
// Layouts are kept for the texts seen most, since a codebook repeats the
// same few words and numbers in every table.
#pragma once

#include <cairo.h>
#include <pango/pango.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>

namespace codebook::output::pdf {

enum class Font { kBody, kBold, kSmall, kHeading, kTitle, kCount };

enum class Align { kLeft, kRight };

struct TextSize {
  double width = 0;
  double height = 0;
};

class TextEngine {
 public:
  TextEngine();
  ~TextEngine();
  TextEngine(const TextEngine&) = delete;
  TextEngine& operator=(const TextEngine&) = delete;

  // The size of `text` (made safe first) laid out in `font`, wrapped at
  // word boundaries (inside words where a word is longer) to `wrapWidth`
  // when it is positive, else on as many lines as it has line feeds.
  TextSize Measure(Font font, std::string_view text, double wrapWidth = 0);
  // Draws it with its top left corner at (x, y); kRight aligns its lines to
  // x + boxWidth. Nothing happens without a cairo context.
  void Draw(cairo_t* cr, Font font, std::string_view text, double x, double y, double wrapWidth = 0,
            Align align = Align::kLeft, double boxWidth = 0);
  // One line cut with an ellipsis to `width`.
  TextSize MeasureLine(Font font, std::string_view text, double width);
  void DrawLine(cairo_t* cr, Font font, std::string_view text, double x, double y, double width);
  // The height of one line of plain text.
  double LineHeight(Font font);

 private:
  struct Entry {
    PangoLayout* layout = nullptr;
    TextSize size;
  };
  enum class Mode : char { kWrap = 'w', kLine = 'l' };
  const Entry& Lay(Font font, std::string_view text, double width, Mode mode);

  PangoContext* context_ = nullptr;
  PangoFontDescription* fonts_[static_cast<int>(Font::kCount)] = {};
  double lineHeight_[static_cast<int>(Font::kCount)] = {};
  // Bounded: emptied whole when full, so memory stays small on any file.
  std::unordered_map<std::string, Entry> cache_;
  std::string key_;
};

}  // namespace codebook::output::pdf
