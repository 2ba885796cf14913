// The PDF codebook: a document laid out on pages by the program itself,
// drawn with Cairo and shaped with Pango, every font embedded.
#pragma once

#include <ctime>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>

#include "platform/output/document/document.h"

namespace codebook::output::pdf {

enum class Paper { kA4, kLetter };

struct PdfOptions {
  Paper paper = Paper::kA4;
  // The creation date written into the file's metadata; with
  // $SOURCE_DATE_EPOCH the caller passes that, so that two runs give the
  // same bytes.
  std::time_t created = 0;
  std::string creator = "codebook";  // the program and version, for the metadata
};

// "a4" or "letter", in any case.
std::optional<Paper> ParsePaper(std::string_view name);
// The paper the locale asks for (LC_PAPER) where the system says so: US
// letter when its size is letter's, else A4.
Paper LocalePaper();

// Writes the whole PDF to `out`. Throws std::runtime_error when the PDF
// could not be made (the stream failing included): the caller then keeps
// no file.
void RenderPdf(const Document& document, std::ostream& out, const PdfOptions& options = {});

}  // namespace codebook::output::pdf
