// Reads the tokens of a command against its descriptor into a CommandSpec.
#pragma once

#include "host/host_api.h"
#include "host/syntax/command_descriptor.h"
#include "host/syntax/command_spec.h"
#include "host/syntax/token_sequence.h"

class HOST_API UniversalParser {
 public:
  UniversalParser(TokenSequenceBase& tokens, CommandSpec& spec, const CommandDescriptor& descriptor);

  // 0 on success. Otherwise a syntax error naming the command, the offending
  // token with its line and column, and what was expected has been reported
  // through the message sink, and the result is non-zero.
  int getCommandSpecifications();

 private:
  TokenSequenceBase& tokens_;
  CommandSpec& spec_;
  const CommandDescriptor& descriptor_;
};
