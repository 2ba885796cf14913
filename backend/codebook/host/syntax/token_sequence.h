// The tokens of a command.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "host/host_api.h"
#include "host/syntax/command_spec.h"

class HOST_API TokenSequenceBase {
 public:
  virtual ~TokenSequenceBase();
  // The tokens after the command name, in order.
  virtual const std::vector<TokenInfoObj>& tokens() const = 0;
  // Name, line and column of the command, for messages.
  virtual const std::string& commandName() const = 0;
  virtual int line() const = 0;
  virtual int column() const = 0;
};

class HOST_API VELA_TokenSequence : public TokenSequenceBase {
 public:
  // current: the tokens of the command that the session is running (an empty
  // sequence when it runs none).
  explicit VELA_TokenSequence(bool current);
  // A sequence of given tokens (for tests and the session's own commands).
  VELA_TokenSequence(std::string commandName, std::vector<TokenInfoObj> tokens, int line,
                     int column);

  const std::vector<TokenInfoObj>& tokens() const override { return tokens_; }
  const std::string& commandName() const override { return name_; }
  int line() const override { return line_; }
  int column() const override { return column_; }

 private:
  std::string name_;
  std::vector<TokenInfoObj> tokens_;
  int line_ = 0;
  int column_ = 0;
};
