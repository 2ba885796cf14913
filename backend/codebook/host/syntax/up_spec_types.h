// Kinds of subcommands and parameters that a command descriptor declares.
#pragma once

namespace UPSpecTypes {

enum SubComSpec {
  kSubComKeywords = 1,  // a subcommand made of parameters
};

enum ParamSpec {
  kParamKeyword = 1,        // a plain keyword: present or not
  kParamExportTokens = 2,   // every token that matches no declared parameter, in order
  kParamString = 3,         // KEY=value, or a qualifier's value in parentheses
  kParamInteger = 9,        // KEY=n
  kParamQualifiedKey = 27,  // KEY=one of the declared qualifiers
};

enum BracketOptions {
  kNoBrackets = 0,
};

}  // namespace UPSpecTypes
