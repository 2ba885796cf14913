#include "platform/syntax/grammar_text.h"

namespace codebook::syntax {

namespace {

std::string ParamUsage(const ParamDescriptor& param) {
  using namespace UPSpecTypes;
  switch (param.spec()) {
    case kParamKeyword: return param.name();
    case kParamInteger: return param.name() + "=n";
    case kParamExportTokens: return "names";
    case kParamString: {
      if (param.stringValues().empty()) return param.name() + "='text'";
      std::string text = param.name() + "={";
      for (std::size_t i = 0; i < param.stringValues().size(); ++i) {
        text += (i > 0 ? "|" : "") + param.stringValues()[i];
      }
      return text + "}";
    }
    case kParamQualifiedKey: {
      std::string text = param.name() + "={";
      for (std::size_t i = 0; i < param.qualifiers().size(); ++i) {
        const ParamDescriptor& qualifier = param.qualifiers()[i];
        text += i > 0 ? "|" : "";
        // A qualifier that takes a value names what it takes.
        text += qualifier.spec() == kParamKeyword ? qualifier.name() : qualifier.name() + "(name)";
      }
      return text + "}";
    }
  }
  return param.name();
}

}  // namespace

std::string SubcommandUsage(const SubComDescriptor& subcommand) {
  std::string text;
  for (const ParamDescriptor& param : subcommand.params()) {
    text += (text.empty() ? "" : ", ") + ParamUsage(param);
  }
  if (subcommand.params().empty() && subcommand.exportsTokens()) text = "names";
  return text;
}

}  // namespace codebook::syntax
