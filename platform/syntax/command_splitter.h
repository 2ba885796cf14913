// Splits a syntax text into commands, each with its name and the tokens
// after the name.
#pragma once

#include <cstddef>
#include <initializer_list>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "host/syntax/command_spec.h"

namespace codebook::syntax {

// The command names of several words that the session knows ("N OF CASES").
// A command whose leading words match none of them is named by its first word.
class CommandNames {
 public:
  CommandNames() = default;
  CommandNames(std::initializer_list<std::string_view> names);

  // Words are separated by blanks; matching ignores ASCII case.
  void Add(std::string_view name);

  // The number of leading tokens that form the longest known name (0: none),
  // with that name in upper case, words separated by one blank.
  std::size_t Match(std::span<const TokenInfoObj> tokens, std::string& name) const;

 private:
  std::vector<std::vector<std::string>> names_;
};

struct Command {
  // Upper case. Empty when the command does not begin with a word; then
  // every token, the first included, is in tokens. "*" for a comment command.
  std::string name;
  std::vector<TokenInfoObj> tokens;  // after the name
  int line = 1;                      // where the command starts
  int column = 1;
  bool comment = false;
  std::string text;  // the source text, without the period that ends it
};

std::vector<Command> SplitCommands(std::string_view text, const CommandNames& names = {});

}  // namespace codebook::syntax
