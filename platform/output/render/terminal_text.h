// Text from a dataset made safe for a terminal: control characters and
// escape sequences in labels, values or documents must not move the cursor,
// recolour the screen or retitle the window.
#pragma once

#include <string>
#include <string_view>

namespace codebook::output {

// Replaces every C0 control but the line feed, DEL, every C1 control and
// every byte that is not part of valid UTF-8 by a visible escape: "\x1B" for
// a byte, "\u009B" for a C1 character. Other text comes back unchanged.
std::string EscapeForTerminal(std::string_view text);

// True when EscapeForTerminal would change the text (the common case is no).
bool NeedsTerminalEscape(std::string_view text);

}  // namespace codebook::output
