// The grammar of a command, declared by the procedure and read by the
// UniversalParser. Descriptors are values: adding one copies it.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/host_api.h"
#include "host/syntax/up_spec_types.h"

class HOST_API ParamDescriptor {
 public:
  // required: the parameter must be given; equalsOptional: "KEY value" is
  // accepted as well as "KEY=value".
  ParamDescriptor(std::string name, UPSpecTypes::ParamSpec spec, bool required,
                  bool equalsOptional, UPSpecTypes::BracketOptions brackets);

  void addQualifDesc(const std::string& keyword);
  void addQualifDesc(const ParamDescriptor& qualifier);
  void addStringValue(const std::string& value);

  const std::string& name() const { return name_; }
  UPSpecTypes::ParamSpec spec() const { return spec_; }
  bool required() const { return required_; }
  bool equalsOptional() const { return equalsOptional_; }
  const std::vector<ParamDescriptor>& qualifiers() const { return qualifiers_; }
  const std::vector<std::string>& stringValues() const { return stringValues_; }

 private:
  std::string name_;
  UPSpecTypes::ParamSpec spec_;
  bool required_;
  bool equalsOptional_;
  UPSpecTypes::BracketOptions brackets_;
  std::vector<ParamDescriptor> qualifiers_;  // a plain keyword qualifier has spec 1
  std::vector<std::string> stringValues_;
};

class HOST_API SubComDescriptor {
 public:
  // name "" is the unnamed leading part of the command. required: the
  // subcommand must be given; repeatable: it may be given more than once.
  SubComDescriptor(std::string name, UPSpecTypes::SubComSpec spec, bool required,
                   bool repeatable);

  void allowSubComEmpty(bool allow);
  void setExportParamDesc(UPSpecTypes::ParamSpec spec, bool required);
  void addParamDesc(const std::string& name, UPSpecTypes::ParamSpec spec, bool required,
                    bool equalsOptional, UPSpecTypes::BracketOptions brackets);
  void addParamDesc(const ParamDescriptor& param);

  const std::string& name() const { return name_; }
  bool required() const { return required_; }
  bool repeatable() const { return repeatable_; }
  bool emptyAllowed() const { return emptyAllowed_; }
  bool exportsTokens() const { return exports_; }
  // The exported parameter must get at least one token.
  bool exportRequired() const { return exportRequired_; }
  const std::vector<ParamDescriptor>& params() const { return params_; }

 private:
  std::string name_;
  UPSpecTypes::SubComSpec spec_;
  bool required_;
  bool repeatable_;
  bool emptyAllowed_ = false;
  bool exports_ = false;
  bool exportRequired_ = false;
  std::vector<ParamDescriptor> params_;
};

class HOST_API CommandDescriptor {
 public:
  explicit CommandDescriptor(const std::string& name);

  void addSubComDesc(const SubComDescriptor& subcommand);

  const std::string& name() const { return name_; }
  const std::vector<SubComDescriptor>& subcommands() const { return subcommands_; }

 private:
  std::string name_;
  std::vector<SubComDescriptor> subcommands_;
};
