// The grammar descriptors are plain values; the parser reads them.
#include <utility>

#include "host/syntax/command_descriptor.h"

ParamDescriptor::ParamDescriptor(std::string name, UPSpecTypes::ParamSpec kind, bool required,
                                 bool equalsOptional, UPSpecTypes::BracketOptions brackets)
    : name_(std::move(name)),
      spec_(kind),
      required_(required),
      equalsOptional_(equalsOptional),
      brackets_(brackets) {}

void ParamDescriptor::addQualifDesc(const std::string& keyword) {
  qualifiers_.emplace_back(keyword, UPSpecTypes::kParamKeyword, false, true, UPSpecTypes::kNoBrackets);
}

void ParamDescriptor::addQualifDesc(const ParamDescriptor& qualifier) { qualifiers_.push_back(qualifier); }

void ParamDescriptor::addStringValue(const std::string& value) { stringValues_.push_back(value); }

SubComDescriptor::SubComDescriptor(std::string name, UPSpecTypes::SubComSpec kind, bool required,
                                   bool repeatable)
    : name_(std::move(name)), spec_(kind), required_(required), repeatable_(repeatable) {}

void SubComDescriptor::allowSubComEmpty(bool allow) { emptyAllowed_ = allow; }

// The exported parameter is always of kind 2; a required one must get a token.
void SubComDescriptor::setExportParamDesc(UPSpecTypes::ParamSpec, bool required) {
  exports_ = true;
  exportRequired_ = required;
}

void SubComDescriptor::addParamDesc(const std::string& name, UPSpecTypes::ParamSpec kind,
                                    bool required, bool equalsOptional,
                                    UPSpecTypes::BracketOptions brackets) {
  params_.emplace_back(name, kind, required, equalsOptional, brackets);
}

void SubComDescriptor::addParamDesc(const ParamDescriptor& param) { params_.push_back(param); }

CommandDescriptor::CommandDescriptor(const std::string& name) : name_(name) {}

void CommandDescriptor::addSubComDesc(const SubComDescriptor& subcommand) {
  subcommands_.push_back(subcommand);
}
