// A command as the UniversalParser read it: the subcommands given, their
// parameters and the raw tokens.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/host_api.h"

class ParamDescriptor;
class ParserMessage;

// One token of a command, with its place for messages.
class HOST_API TokenInfoObj {
 public:
  // kInvalid: text the scanner could not read (an unterminated string or
  // comment, a byte that is not UTF-8); getValue() says what is wrong.
  enum Kind { kIdentifier, kNumber, kString, kPunct, kInvalid };

  TokenInfoObj() = default;
  TokenInfoObj(Kind kind, std::string text, std::string value, int line, int column);

  // The token as written (a string keeps its quotes).
  const std::string& getString() const { return text_; }
  // getString() in upper case (ASCII letters).
  std::string getUpperString() const;
  // A string's contents without quotes; a number's or identifier's text.
  const std::string& getValue() const { return value_; }
  Kind kind() const { return kind_; }
  int line() const { return line_; }
  int column() const { return column_; }

 private:
  Kind kind_ = kPunct;
  std::string text_;
  std::string value_;
  int line_ = 0;
  int column_ = 0;
};

// One parameter given in a subcommand, or a qualifier chosen for one.
class HOST_API ParamObj {
 public:
  struct Data;  // the platform's parsed parameter

  ParamObj();
  explicit ParamObj(std::shared_ptr<const Data> data);
  ~ParamObj();
  ParamObj(const ParamObj&);
  ParamObj& operator=(const ParamObj&);

  // The parameter's (or qualifier's) declared name.
  std::string getParamName() const;
  // True and the value when the parameter holds an integral number in int range.
  bool getIntegerValue(int& value) const;
  // The string value (a qualifier's value in parentheses, or KEY=value).
  bool getStringGeneric(std::string& value) const;
  // The chosen qualifier, or the chosen declared string value, as a parameter
  // named by its declared spelling. The descriptor and message sink may be null.
  bool getStringAndQual(ParamObj& qualifier, const ParamDescriptor* descriptor,
                        const ParserMessage* messages) const;
  // All tokens of the parameter (for the exported parameter: the raw tokens).
  bool getTokenList(std::vector<TokenInfoObj>& tokens) const;

 private:
  std::shared_ptr<const Data> data_;
};

class HOST_API SubComObj {
 public:
  struct Data;

  explicit SubComObj(std::shared_ptr<const Data> data);
  ~SubComObj();

  // The parameter given under this name, or null.
  const ParamObj* getParamObj(const std::string& name) const;
  // The exported parameter (the tokens that matched no declared parameter),
  // or null when the subcommand exports none.
  const ParamObj* exportParamObj() const;
  // The exported tokens.
  unsigned long getTokenListSize() const;
  const TokenInfoObj* getTokenObj(unsigned long i) const;

 private:
  std::shared_ptr<const Data> data_;
};

class HOST_API CommandSpec {
 public:
  struct Data;

  CommandSpec();
  ~CommandSpec();
  CommandSpec(const CommandSpec&) = delete;
  CommandSpec& operator=(const CommandSpec&) = delete;

  // The subcommand given under this name ("" for the unnamed one), or null.
  const SubComObj* getSubComObj(const std::string& name) const;

  // For the parser that fills it.
  Data& data() { return *data_; }
  const Data& data() const { return *data_; }

 private:
  std::unique_ptr<Data> data_;
};
