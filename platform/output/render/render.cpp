#include <stdexcept>
#include <string>

#include "platform/output/render/renderers.h"

namespace codebook::output {

std::optional<OutputFormat> ParseOutputFormat(std::string_view name) {
  std::string lower(name);
  for (char& c : lower) c = static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
  if (lower == "text") return OutputFormat::kText;
  if (lower == "ascii") return OutputFormat::kAscii;
  if (lower == "html") return OutputFormat::kHtml;
  if (lower == "json") return OutputFormat::kJson;
  if (lower == "markdown" || lower == "md") return OutputFormat::kMarkdown;
  if (lower == "csv") return OutputFormat::kCsv;
  if (lower == "pdf") return OutputFormat::kPdf;
  return std::nullopt;
}

void Render(const Document& document, OutputFormat format, std::ostream& out, const TextOptions& text) {
  TextOptions ascii = text;
  ascii.ascii = true;
  switch (format) {
    case OutputFormat::kText: RenderText(document, out, text); break;
    case OutputFormat::kAscii: RenderText(document, out, ascii); break;
    case OutputFormat::kHtml: RenderHtml(document, out); break;
    case OutputFormat::kJson: RenderJson(document, out); break;
    case OutputFormat::kMarkdown: RenderMarkdown(document, out); break;
    case OutputFormat::kCsv: RenderCsv(document, out); break;
    case OutputFormat::kPdf: throw std::logic_error("PDF output is made by pdf::RenderPdf");
  }
}

}  // namespace codebook::output
