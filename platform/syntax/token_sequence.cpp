// The token sequences of commands.
#include <utility>

#include "host/syntax/command_spec.h"
#include "host/syntax/token_sequence.h"
#include "platform/syntax/current_command.h"
#include "platform/syntax/name_match.h"

TokenSequenceBase::~TokenSequenceBase() = default;

VELA_TokenSequence::VELA_TokenSequence(bool current) {
  if (!current) return;
  if (const codebook::syntax::CurrentCommand* command = codebook::syntax::GetCurrentCommand()) {
    name_ = command->name;
    tokens_ = command->tokens;
    line_ = command->line;
    column_ = command->column;
  }
}

VELA_TokenSequence::VELA_TokenSequence(std::string commandName, std::vector<TokenInfoObj> tokens,
                                       int line, int column)
    : name_(std::move(commandName)), tokens_(std::move(tokens)), line_(line), column_(column) {}
