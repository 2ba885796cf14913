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

void SetCurrentCommand(CurrentCommand command);
void ClearCurrentCommand();
// The command being run, or null.
const CurrentCommand* GetCurrentCommand();

// Makes a command current for its lifetime, then restores the one before.
class CurrentCommandScope {
 public:
  explicit CurrentCommandScope(CurrentCommand command);
  ~CurrentCommandScope();
  CurrentCommandScope(const CurrentCommandScope&) = delete;
  CurrentCommandScope& operator=(const CurrentCommandScope&) = delete;

 private:
  std::optional<CurrentCommand> previous_;
};

}  // namespace codebook::syntax
