// The message sink of a command: errors and warnings, with the command's
// place. A default-constructed sink reports for the session's current command.
#pragma once

#include <string>

#include "host/host_api.h"

class HOST_API ParserMessage {
 public:
  enum Severity { kWarning = 1, kError = 2 };

  ParserMessage();
  // A sink for an explicit command and place.
  ParserMessage(std::string command, int line, int column);

  // Issue an error or a warning. "^1".."^5" in the text take the arguments in
  // order; a null argument leaves its placeholder empty.
  void GenericError(const char* text, const char* a1 = nullptr, const char* a2 = nullptr,
                    const char* a3 = nullptr, const char* a4 = nullptr,
                    const char* a5 = nullptr) const;
  void GenericWarning(const char* text, const char* a1 = nullptr, const char* a2 = nullptr,
                      const char* a3 = nullptr, const char* a4 = nullptr,
                      const char* a5 = nullptr) const;

  // Error: the keyword excludes any other keyword in the subcommand.
  void ParamExclAnyOther(const char* keyword, const char* subcommand) const;
  // Error: improper use of a keyword inside a variable list.
  void KeywordImproperVarList(const char* keyword, const char* a2, const char* a3) const;

  // Issue a message of any severity at an explicit place (line/column 0: the
  // command's own place).
  void Report(Severity severity, const std::string& text, int line = 0, int column = 0) const;

  const std::string& command() const { return command_; }

 private:
  std::string command_;
  int line_ = 0;
  int column_ = 0;
};

// Replaces ^1..^5 in text with the arguments (null leaves the placeholder
// empty).
HOST_API std::string SubstituteMessageArgs(const std::string& text, const char* a1,
                                           const char* a2, const char* a3, const char* a4,
                                           const char* a5);
