// The parsed command as the procedure reads it.
#include "host/syntax/command_spec.h"

#include <charconv>
#include <cmath>
#include <limits>
#include <system_error>
#include <utility>

#include "host/syntax/command_descriptor.h"
#include "host/syntax/parser_message.h"
#include "platform/syntax/name_match.h"
#include "platform/syntax/parsed_command_data.h"

TokenInfoObj::TokenInfoObj(Kind kind, std::string text, std::string value, int line, int column)
    : kind_(kind), text_(std::move(text)), value_(std::move(value)), line_(line), column_(column) {}

std::string TokenInfoObj::getUpperString() const { return codebook::syntax::ToUpperAscii(text_); }

ParamObj::ParamObj() = default;
ParamObj::ParamObj(std::shared_ptr<const Data> data) : data_(std::move(data)) {}
ParamObj::~ParamObj() = default;
ParamObj::ParamObj(const ParamObj&) = default;
ParamObj& ParamObj::operator=(const ParamObj&) = default;

std::string ParamObj::getParamName() const { return data_ ? data_->name : std::string(); }

// Only an integral number in int range: 2.5, -5e20, names and strings fail,
// and the procedure's own check decides what to say about them.
bool ParamObj::getIntegerValue(int& value) const {
  if (!data_ || !data_->hasValue || data_->value.kind() != TokenInfoObj::kNumber) return false;
  std::string_view text = data_->value.getString();
  if (!text.empty() && text.front() == '+') text.remove_prefix(1);
  double number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size()) return false;
  if (!std::isfinite(number) || number != std::floor(number)) return false;
  if (number < static_cast<double>(std::numeric_limits<int>::min()) ||
      number > static_cast<double>(std::numeric_limits<int>::max()))
    return false;
  value = static_cast<int>(number);
  return true;
}

bool ParamObj::getStringGeneric(std::string& value) const {
  if (!data_) return false;
  if (data_->qualifier && !data_->hasValue) {
    value = data_->qualifier->name;
    return true;
  }
  if (!data_->hasValue) return false;
  value = data_->value.getValue();
  return true;
}

bool ParamObj::getStringAndQual(ParamObj& qualifier, const ParamDescriptor* descriptor,
                                const ParserMessage* messages) const {
  if (data_ && data_->qualifier) {
    qualifier = ParamObj(data_->qualifier);
    return true;
  }
  if (messages) {
    const std::string name = descriptor ? descriptor->name() : getParamName();
    messages->GenericError("No keyword was chosen for ^1.", name.c_str());
  }
  return false;
}

bool ParamObj::getTokenList(std::vector<TokenInfoObj>& tokens) const {
  if (!data_) return false;
  tokens = data_->tokens;
  return true;
}

SubComObj::SubComObj(std::shared_ptr<const Data> data) : data_(std::move(data)) {}
SubComObj::~SubComObj() = default;

const ParamObj* SubComObj::getParamObj(const std::string& name) const {
  if (!data_) return nullptr;
  for (const ParamObj& param : data_->params) {
    if (codebook::syntax::EqualsIgnoreCase(param.getParamName(), name)) return &param;
  }
  return nullptr;
}

const ParamObj* SubComObj::exportParamObj() const {
  return data_ && data_->exports ? &data_->exported : nullptr;
}

unsigned long SubComObj::getTokenListSize() const {
  return data_ && data_->exportedData ? data_->exportedData->tokens.size() : 0;
}

const TokenInfoObj* SubComObj::getTokenObj(unsigned long i) const {
  if (!data_ || !data_->exportedData || i >= data_->exportedData->tokens.size()) return nullptr;
  return &data_->exportedData->tokens[i];
}

CommandSpec::CommandSpec() : data_(std::make_unique<Data>()) {}
CommandSpec::~CommandSpec() = default;

const SubComObj* CommandSpec::getSubComObj(const std::string& name) const {
  for (const Data::Entry& entry : data_->subcommands) {
    if (codebook::syntax::EqualsIgnoreCase(entry.name, name)) return &entry.subcommand;
  }
  return nullptr;
}
