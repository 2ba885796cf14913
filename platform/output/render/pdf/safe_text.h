// Text from a dataset file made fit for a page.
#pragma once

#include <string>
#include <string_view>

namespace codebook::output::pdf {

// Valid UTF-8 that shows everything it held: each byte that does not
// belong to a well-formed sequence becomes U+FFFD; control characters
// become the visible escapes the other outputs use ("\x1B" for C0 controls
// but tab and line feed, and DEL; "\u0085" for C1 controls); a carriage
// return before a line feed goes, another becomes a line feed; a tab is a
// space.
std::string SafeText(std::string_view text);

}  // namespace codebook::output::pdf
