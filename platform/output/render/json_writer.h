// JSON scalars: strings always valid UTF-8 (invalid bytes become U+FFFD),
// numbers as the shortest text that reads back to the same value rounded to
// 15 significant digits (format/number_text.h), non-finite and
// system-missing as null.
#pragma once

#include <ostream>
#include <string>
#include <string_view>

namespace codebook::output {

void AppendJsonString(std::string& out, std::string_view text);
void AppendJsonNumber(std::string& out, double value);
void WriteJsonString(std::ostream& out, std::string_view text);
void WriteJsonNumber(std::ostream& out, double value);

}  // namespace codebook::output
