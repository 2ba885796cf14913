// The wording of syntax errors: where, what was found, what was expected.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "host/syntax/command_spec.h"

namespace codebook::syntax {

// "Syntax error at line L, column C of COMMAND: WHAT; expected EXPECTED."
std::string SyntaxErrorText(std::string_view command, int line, int column, std::string_view what,
                            std::string_view expected);

// "unexpected \"FOO\"", "unexpected character \"%\"", "unterminated string
// \"'ab\"", or "unexpected end of command" for null. Long tokens are cut and
// bytes that cannot be printed are written as \xNN.
std::string DescribeUnexpected(const TokenInfoObj* token);

// A token no grammar accepts: unreadable text or a stray character.
bool IsBadToken(const TokenInfoObj& token);

// "A, B, C".
std::string JoinNames(const std::vector<std::string_view>& names);

// The number of characters (UTF-8 code points) of a text.
int CharacterCount(std::string_view text);

}  // namespace codebook::syntax
