#include "platform/output/render/pdf/text_engine.h"

#include <pango/pangocairo.h>

#include <cmath>
#include <cstring>

#include "platform/output/render/pdf/safe_text.h"

namespace codebook::output::pdf {
namespace {

// DejaVu Sans has Latin, Greek, Cyrillic, Arabic and Hebrew; fontconfig
// finds the Japanese and Chinese glyphs in another installed font.
constexpr const char* kFontNames[] = {
    "DejaVu Sans 7.5",          // kBody
    "DejaVu Sans Bold 7.5",     // kBold
    "DejaVu Sans 6.5",          // kSmall
    "DejaVu Sans Bold 10.5",    // kHeading
    "DejaVu Sans Bold 16",      // kTitle
};
static_assert(sizeof kFontNames / sizeof kFontNames[0] == static_cast<std::size_t>(Font::kCount));

constexpr std::size_t kMaxCached = 8192;

double Points(int pangoUnits) { return static_cast<double>(pangoUnits) / PANGO_SCALE; }

}  // namespace

TextEngine::TextEngine() {
  // One context for measuring and drawing alike, with metrics that do not
  // depend on any surface: the layout made in the first pass is the one
  // drawn in the second.
  context_ = pango_font_map_create_context(pango_cairo_font_map_get_default());
  cairo_font_options_t* options = cairo_font_options_create();
  cairo_font_options_set_hint_metrics(options, CAIRO_HINT_METRICS_OFF);
  cairo_font_options_set_hint_style(options, CAIRO_HINT_STYLE_NONE);
  pango_cairo_context_set_font_options(context_, options);
  cairo_font_options_destroy(options);
  pango_cairo_context_set_resolution(context_, 72);
  for (int f = 0; f < static_cast<int>(Font::kCount); ++f) {
    fonts_[f] = pango_font_description_from_string(kFontNames[f]);
    lineHeight_[f] = Measure(static_cast<Font>(f), "Ag").height;
  }
}

TextEngine::~TextEngine() {
  for (auto& [key, entry] : cache_) g_object_unref(entry.layout);
  for (PangoFontDescription* font : fonts_) pango_font_description_free(font);
  g_object_unref(context_);
}

const TextEngine::Entry& TextEngine::Lay(Font font, std::string_view text, double width, Mode mode) {
  // Most texts fit their column: the layout made without a width serves.
  if (mode == Mode::kWrap && width > 0) {
    const Entry& natural = Lay(font, text, 0, Mode::kWrap);
    if (natural.size.width <= width) return natural;
  }
  const std::string safe = SafeText(text);
  const int pangoWidth = width > 0 ? static_cast<int>(std::lround(width * PANGO_SCALE)) : -1;
  key_.clear();
  key_.push_back(static_cast<char>(font));
  key_.push_back(static_cast<char>(mode));
  key_.append(reinterpret_cast<const char*>(&pangoWidth), sizeof pangoWidth);
  key_ += safe;
  if (const auto found = cache_.find(key_); found != cache_.end()) return found->second;
  if (cache_.size() >= kMaxCached) {
    for (auto& [key, entry] : cache_) g_object_unref(entry.layout);
    cache_.clear();
  }
  PangoLayout* layout = pango_layout_new(context_);
  pango_layout_set_font_description(layout, fonts_[static_cast<int>(font)]);
  if (mode == Mode::kLine) {
    pango_layout_set_single_paragraph_mode(layout, TRUE);
    pango_layout_set_ellipsize(layout, PANGO_ELLIPSIZE_END);
  } else {
    pango_layout_set_wrap(layout, PANGO_WRAP_WORD_CHAR);
  }
  pango_layout_set_width(layout, pangoWidth);
  // A word broken between lines gets no hyphen that the text does not
  // have: copied or searched, the text is the file's.
  PangoAttrList* attributes = pango_attr_list_new();
  pango_attr_list_insert(attributes, pango_attr_insert_hyphens_new(FALSE));
  pango_layout_set_attributes(layout, attributes);
  pango_attr_list_unref(attributes);
  pango_layout_set_text(layout, safe.data(), static_cast<int>(safe.size()));
  int w = 0;
  int h = 0;
  pango_layout_get_size(layout, &w, &h);
  Entry entry{layout, {Points(w), Points(h)}};
  return cache_.emplace(key_, entry).first->second;
}

TextSize TextEngine::Measure(Font font, std::string_view text, double wrapWidth) {
  return Lay(font, text, wrapWidth, Mode::kWrap).size;
}

void TextEngine::Draw(cairo_t* cr, Font font, std::string_view text, double x, double y, double wrapWidth,
                      Align align, double boxWidth) {
  if (cr == nullptr || text.empty()) return;
  const Entry& entry = Lay(font, text, wrapWidth, Mode::kWrap);
  // The layout's lines are as wide as the text; aligning the whole block
  // right aligns a number's one line.
  const double shift = align == Align::kRight ? boxWidth - entry.size.width : 0;
  cairo_move_to(cr, x + shift, y);
  pango_cairo_show_layout(cr, entry.layout);
}

TextSize TextEngine::MeasureLine(Font font, std::string_view text, double width) {
  return Lay(font, text, width, Mode::kLine).size;
}

void TextEngine::DrawLine(cairo_t* cr, Font font, std::string_view text, double x, double y, double width) {
  if (cr == nullptr || text.empty()) return;
  const Entry& entry = Lay(font, text, width, Mode::kLine);
  cairo_move_to(cr, x, y);
  pango_cairo_show_layout(cr, entry.layout);
}

double TextEngine::LineHeight(Font font) { return lineHeight_[static_cast<int>(font)]; }

}  // namespace codebook::output::pdf
