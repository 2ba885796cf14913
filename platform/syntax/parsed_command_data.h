// What the UniversalParser fills in behind CommandSpec, SubComObj and
// ParamObj. Platform-internal: the module sees only the host classes.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/syntax/command_spec.h"

struct ParamObj::Data {
  std::string name;  // the declared spelling ("" for the exported tokens)
  // Every token of the parameter as written, its name included; for the
  // exported parameter, the raw tokens.
  std::vector<TokenInfoObj> tokens;
  // The value token (KEY=value, or a qualifier's value in parentheses).
  bool hasValue = false;
  TokenInfoObj value;
  // The chosen qualifier or declared string value, named by its spelling.
  std::shared_ptr<const Data> qualifier;
};

struct SubComObj::Data {
  std::string name;  // the declared spelling; "" for the unnamed part
  int line = 0;      // of the subcommand's name (or its first token)
  int column = 0;
  std::vector<ParamObj> params;  // in the order given
  bool exports = false;
  // The tokens that matched no declared parameter; its data is shared with
  // getTokenObj() rather than copied, as a variable list may be huge.
  ParamObj exported;
  std::shared_ptr<const ParamObj::Data> exportedData;
};

struct CommandSpec::Data {
  // Every subcommand given, in order; a repeatable one may appear more than once.
  struct Entry {
    std::string name;
    SubComObj subcommand;
  };
  std::vector<Entry> subcommands;
};
