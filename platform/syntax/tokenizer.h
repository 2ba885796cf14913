// The scanner of the command language: splits a syntax text into commands
// and their tokens in one linear pass.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "host/syntax/command_spec.h"

namespace codebook::syntax {

// One command as the scanner found it in a syntax text.
struct ScannedCommand {
  // Every token, the command's name included; the period that ends the
  // command is not a token. Empty for a comment command.
  std::vector<TokenInfoObj> tokens;
  // The command's source text, without the period that ends it.
  std::string text;
  // Where the command starts (1-based; columns count characters, not bytes).
  int line = 1;
  int column = 1;
  // A comment command: a line whose first character is "*" starts one.
  bool comment = false;
};

// Commands end with a period that is the last non-blank character of a line
// (blanks and /* */ comments may follow it), or at the end of the input.
// Nothing in the text makes this fail: what cannot be read becomes a token of
// kind kInvalid for the parser to report.
std::vector<ScannedCommand> ScanCommands(std::string_view text);

// The tokens of every command of the text, in order (comment commands and
// command-ending periods contribute none).
std::vector<TokenInfoObj> Tokenize(std::string_view text);

}  // namespace codebook::syntax
