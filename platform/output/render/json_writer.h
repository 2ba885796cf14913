// JSON scalars: strings always valid UTF-8 (invalid bytes become U+FFFD),
// numbers in their shortest exact form, non-finite and system-missing as null.
#pragma once

#include <ostream>
#include <string_view>

namespace codebook::output {

void WriteJsonString(std::ostream& out, std::string_view text);
void WriteJsonNumber(std::ostream& out, double value);

}  // namespace codebook::output
