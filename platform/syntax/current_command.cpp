#include "platform/syntax/current_command.h"

#include <utility>

namespace codebook::syntax {
namespace {

// Per thread: a run is one thread's, and two runs on two threads do not meet.
std::optional<CurrentCommand>& Slot() {
  thread_local std::optional<CurrentCommand> slot;
  return slot;
}

}  // namespace

void SetCurrentCommand(CurrentCommand command) { Slot() = std::move(command); }

void ClearCurrentCommand() { Slot().reset(); }

const CurrentCommand* GetCurrentCommand() {
  const std::optional<CurrentCommand>& slot = Slot();
  return slot ? &*slot : nullptr;
}

CurrentCommandScope::CurrentCommandScope(CurrentCommand command) : previous_(std::move(Slot())) {
  Slot() = std::move(command);
}

CurrentCommandScope::~CurrentCommandScope() { Slot() = std::move(previous_); }

}  // namespace codebook::syntax
