// Renderers: an output document written to a stream in one of five forms.
// Tables that have no row are left out by every renderer.
#pragma once

#include <optional>
#include <ostream>
#include <string_view>

#include "platform/output/document/document.h"

namespace codebook::output {

struct TextOptions {
  // The narrowest screen text output is made for: a codebook's table keeps
  // a few characters per column there, and narrower it would be unreadable.
  static constexpr int kMinimumWidth = 30;
  bool ascii = false;       // '-', '|' and '+' instead of box drawing
  int maxColumnWidth = 40;  // longer cell texts wrap
  // The screen's columns (kMinimumWidth or more), which every line fits
  // into: tables, their titles, messages and alerts; 0: no limit.
  int width = 0;
};

// For terminals: each table under its title in a box, row groups shown by
// indentation, numbers right-aligned; messages as "warning: text" lines.
void RenderText(const Document& document, std::ostream& out, const TextOptions& options = {});
// One self-contained HTML file: inline CSS, no script.
void RenderHtml(const Document& document, std::ostream& out);
// The stable JSON interface (docs/json-output.md).
void RenderJson(const Document& document, std::ostream& out);
// A heading and a pipe table per table.
void RenderMarkdown(const Document& document, std::ostream& out);
// RFC 4180: one block per table, a blank line between blocks.
void RenderCsv(const Document& document, std::ostream& out);

// One message as the text renderer writes it ("warning: text"), without a
// line end; for a session that shows messages as they are issued.
void WriteMessageText(const Message& message, std::ostream& out);

// kPdf is drawn by the PDF library (platform/output/render/pdf/), which
// only the program links: Render() does not make it.
enum class OutputFormat { kText, kAscii, kHtml, kJson, kMarkdown, kCsv, kPdf };
// "text", "ascii", "html", "json", "markdown" (or "md"), "csv", "pdf".
std::optional<OutputFormat> ParseOutputFormat(std::string_view name);
// `text` applies to the text formats (kAscii sets its ascii flag).
void Render(const Document& document, OutputFormat format, std::ostream& out, const TextOptions& text = {});

}  // namespace codebook::output
