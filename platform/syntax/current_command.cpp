#include "platform/syntax/current_command.h"

#include <utility>

namespace codebook::syntax {
namespace {

// Per thread: a run is one thread's, and two runs on two threads do not meet.
std::optional<CurrentCommand>& Slot() {
  thread_local std::optional<CurrentCommand> slot;
  return slot;
}

std::vector<EmptySubcommand>& Empty() {
  thread_local std::vector<EmptySubcommand> empty;
  return empty;
}

}  // namespace

void SetCurrentCommand(CurrentCommand command) {
  Slot() = std::move(command);
  Empty().clear();
}

void ClearCurrentCommand() {
  Slot().reset();
  Empty().clear();
}

const CurrentCommand* GetCurrentCommand() {
  const std::optional<CurrentCommand>& slot = Slot();
  return slot ? &*slot : nullptr;
}

void NoteEmptySubcommand(std::string name, std::string usage) {
  if (Slot()) Empty().push_back({std::move(name), std::move(usage)});
}

const std::vector<EmptySubcommand>& EmptySubcommands() { return Empty(); }

CurrentCommandScope::CurrentCommandScope(CurrentCommand command)
    : previous_(std::move(Slot())), previousEmpty_(std::move(Empty())) {
  Slot() = std::move(command);
  Empty().clear();
}

CurrentCommandScope::~CurrentCommandScope() {
  Slot() = std::move(previous_);
  Empty() = std::move(previousEmpty_);
}

}  // namespace codebook::syntax
