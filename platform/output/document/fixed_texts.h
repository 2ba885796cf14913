// The procedure's own wording ("Standard Attributes", "Count", "Valid
// Values"...), which every table of a codebook repeats: kept once for the
// life of the process, and referred to by number from the tables.
#pragma once

#include <cstdint>
#include <string_view>

#include "platform/output/document/cell_content.h"

namespace bp {

// The shared content of the procedure text `text`, made on first use. Null
// when the text is too long or too many are kept already: the caller then
// keeps a content of its own.
const BpCellText::Content* FixedText(std::string_view text);
// A fixed text by its number (BpCellText::Content::fixedId).
const codebook::output::ContentView& FixedTextView(std::uint32_t id);
// A name that many tables carry (a subtype, a procedure), kept for the life
// of the process.
std::string_view SharedName(std::string_view name);

}  // namespace bp
