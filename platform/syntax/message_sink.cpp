#include "platform/syntax/message_sink.h"

#include <cstdio>

namespace codebook::syntax {
namespace {

// Per thread, as every slot of a run.
MessageSink*& Slot() {
  thread_local MessageSink* sink = nullptr;
  return sink;
}

}  // namespace

MessageSink::~MessageSink() = default;

std::size_t MessageCollector::errorCount() const {
  std::size_t n = 0;
  for (const Message& m : messages_) n += m.severity == Severity::kError ? 1 : 0;
  return n;
}

std::size_t MessageCollector::warningCount() const { return messages_.size() - errorCount(); }

void SetMessageSink(MessageSink* sink) { Slot() = sink; }

MessageSink* GetMessageSink() { return Slot(); }

MessageSinkScope::MessageSinkScope(MessageSink& sink) : previous_(Slot()) { Slot() = &sink; }

MessageSinkScope::~MessageSinkScope() { Slot() = previous_; }

std::string FormatMessage(const Message& message) {
  std::string out;
  if (!message.command.empty()) out += message.command + ": ";
  out += message.severity == Severity::kError ? "error: " : "warning: ";
  out += message.text;
  return out;
}

void EmitMessage(const Message& message) {
  if (MessageSink* sink = Slot()) {
    sink->Emit(message);
    return;
  }
  const std::string line = FormatMessage(message) + "\n";
  std::fwrite(line.data(), 1, line.size(), stderr);
}

}  // namespace codebook::syntax
