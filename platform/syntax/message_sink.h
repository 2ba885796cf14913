// Where the errors and warnings of commands go. The session installs a sink;
// without one, messages go to standard error.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace codebook::syntax {

enum class Severity { kWarning = 1, kError = 2 };

struct Message {
  Severity severity = Severity::kError;
  std::string command;  // the command's name, e.g. "CODEBOOK"
  std::string text;
  int line = 0;  // 1-based place in the syntax text; 0 when unknown
  int column = 0;
};

class MessageSink {
 public:
  virtual ~MessageSink();
  virtual void Emit(const Message& message) = 0;
};

// Keeps every message, in order (for tests and for callers that report later).
class MessageCollector : public MessageSink {
 public:
  void Emit(const Message& message) override { messages_.push_back(message); }
  const std::vector<Message>& messages() const { return messages_; }
  std::size_t errorCount() const;
  std::size_t warningCount() const;
  void clear() { messages_.clear(); }

 private:
  std::vector<Message> messages_;
};

// The current sink (not owned; null: standard error).
void SetMessageSink(MessageSink* sink);
MessageSink* GetMessageSink();

// Installs a sink for its lifetime, then restores the one before.
class MessageSinkScope {
 public:
  explicit MessageSinkScope(MessageSink& sink);
  ~MessageSinkScope();
  MessageSinkScope(const MessageSinkScope&) = delete;
  MessageSinkScope& operator=(const MessageSinkScope&) = delete;

 private:
  MessageSink* previous_;
};

// "CODEBOOK: warning: text" (no prefix when the command is unnamed).
std::string FormatMessage(const Message& message);

// Sends to the current sink, or writes FormatMessage() to standard error.
void EmitMessage(const Message& message);

}  // namespace codebook::syntax
