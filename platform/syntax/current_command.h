// The command the session is running: VELA_TokenSequence(true) reads its
// tokens and a default ParserMessage its name and place. One slot per
// process; commands run one at a time on the session's thread.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/syntax/command_spec.h"

namespace codebook::syntax {

struct CurrentCommand {
  std::string name;                  // upper case, words separated by one blank
  std::vector<TokenInfoObj> tokens;  // the tokens after the name
  int line = 0;
  int column = 0;
};

// Noted by the parser: a named subcommand of the current command given
// without anything after it, with what it takes (grammar_text.h), so that
// the session can say so after the procedure's warning.
struct EmptySubcommand {
  std::string name;
  std::string usage;
};

void SetCurrentCommand(CurrentCommand command);
void ClearCurrentCommand();
// The command being run, or null.
const CurrentCommand* GetCurrentCommand();
// Notes a subcommand given empty on the command being run (none: nothing);
// a command made current starts with none.
void NoteEmptySubcommand(std::string name, std::string usage);
const std::vector<EmptySubcommand>& EmptySubcommands();

// Makes a command current for its lifetime, then restores the one before.
class CurrentCommandScope {
 public:
  explicit CurrentCommandScope(CurrentCommand command);
  ~CurrentCommandScope();
  CurrentCommandScope(const CurrentCommandScope&) = delete;
  CurrentCommandScope& operator=(const CurrentCommandScope&) = delete;

 private:
  std::optional<CurrentCommand> previous_;
  std::vector<EmptySubcommand> previousEmpty_;
};

}  // namespace codebook::syntax
