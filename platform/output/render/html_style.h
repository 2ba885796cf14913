// The HTML report's one style sheet, shared by every table instead of
// repeated on each: light and dark colours, narrow screens (tables wrap, or
// scroll in their own box when they cannot), print (variables packed, not a
// page each), and the percent bars drawn behind the table's own numbers.
#pragma once

#include <string>

namespace codebook::output {

// Appends the style sheet's rules.
void AppendHtmlStyle(std::string& out);

// The class of a percent bar of `share` (0..1) of the longest: "w0" to
// "w50", one per 2 percent.
std::string BarClass(double share);

}  // namespace codebook::output
