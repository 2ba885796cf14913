// Reads the tokens of a command against its descriptor. One forward pass
// over the tokens, no recursion: deep parentheses and long commands cost
// linear time. The first syntax error is reported and ends the parse.
#include "host/syntax/universal_parser.h"

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "host/syntax/parser_message.h"
#include "platform/syntax/current_command.h"
#include "platform/syntax/grammar_text.h"
#include "platform/syntax/name_match.h"
#include "platform/syntax/parsed_command_data.h"
#include "platform/syntax/syntax_error_text.h"

namespace {

using codebook::syntax::KeywordMatch;
using codebook::syntax::MatchKeyword;

bool IsPunct(const TokenInfoObj& token, char c) {
  return token.kind() == TokenInfoObj::kPunct && token.getString().size() == 1 && token.getString()[0] == c;
}

bool IsValueToken(const TokenInfoObj& token) {
  return token.kind() == TokenInfoObj::kIdentifier || token.kind() == TokenInfoObj::kNumber ||
         token.kind() == TokenInfoObj::kString;
}

std::vector<std::string_view> NamesOf(const std::vector<ParamDescriptor>& params) {
  std::vector<std::string_view> names;
  names.reserve(params.size());
  for (const ParamDescriptor& p : params) names.push_back(p.name());
  return names;
}

class Parser {
 public:
  Parser(const TokenSequenceBase& sequence, const CommandDescriptor& descriptor)
      : t_(sequence.tokens()),
        descriptor_(descriptor),
        command_(sequence.commandName().empty() ? descriptor.name() : sequence.commandName()),
        line_(sequence.line()),
        column_(sequence.column()) {}

  bool Run(CommandSpec::Data& out) {
    out_ = &out;
    const std::vector<SubComDescriptor>& subs = descriptor_.subcommands();
    std::vector<std::string_view> named;
    std::vector<std::size_t> namedIndex;
    const SubComDescriptor* unnamed = nullptr;
    for (std::size_t k = 0; k < subs.size(); ++k) {
      if (subs[k].name().empty()) {
        if (!unnamed) unnamed = &subs[k];
      } else {
        named.push_back(subs[k].name());
        namedIndex.push_back(k);
      }
    }
    std::vector<bool> given(subs.size(), false);

    if (i_ < t_.size() && !IsPunct(t_[i_], '/')) {
      if (!unnamed) {
        return Fail(At(i_), Unexpected(At(i_)) + " before the first subcommand",
                    "\"/\" and one of " + codebook::syntax::JoinNames(named));
      }
      if (!ParseBody(*unnamed, t_[i_])) return false;
      given[static_cast<std::size_t>(unnamed - subs.data())] = true;
    }
    while (i_ < t_.size()) {
      // Here t_[i_] is "/": the body before stopped at it.
      ++i_;
      const TokenInfoObj* name = At(i_);
      if (!name || name->kind() != TokenInfoObj::kIdentifier) {
        return Fail(name, Unexpected(name) + " after \"/\"", "one of " + codebook::syntax::JoinNames(named));
      }
      const KeywordMatch match = MatchKeyword(name->getString(), named);
      if (match.result == KeywordMatch::kAmbiguous) {
        return Fail(name, "\"" + name->getString() + "\" abbreviates more than one subcommand",
                    "one of " + codebook::syntax::JoinNames(Pick(named, match.candidates)));
      }
      if (match.result == KeywordMatch::kNone) {
        return Fail(name, Unexpected(name) + " after \"/\"", "one of " + codebook::syntax::JoinNames(named));
      }
      const std::size_t k = namedIndex[match.index];
      if (given[k] && !subs[k].repeatable()) {
        return Fail(name, "subcommand " + subs[k].name() + " is given more than once",
                    "each subcommand at most once");
      }
      given[k] = true;
      ++i_;
      if (i_ < t_.size() && IsPunct(t_[i_], '=')) ++i_;
      if (!ParseBody(subs[k], *name)) return false;
    }
    for (std::size_t k = 0; k < subs.size(); ++k) {
      if (subs[k].required() && !given[k]) {
        if (subs[k].name().empty()) return Fail(nullptr, Unexpected(nullptr), "a name or a value");
        return Fail(nullptr, "missing subcommand " + subs[k].name(), "/" + subs[k].name());
      }
    }
    return true;
  }

 private:
  const TokenInfoObj* At(std::size_t i) const { return i < t_.size() ? &t_[i] : nullptr; }

  static std::vector<std::string_view> Pick(const std::vector<std::string_view>& names,
                                            const std::vector<std::size_t>& which) {
    std::vector<std::string_view> picked;
    for (std::size_t k : which) picked.push_back(names[k]);
    return picked;
  }

  static std::string Unexpected(const TokenInfoObj* token) { return codebook::syntax::DescribeUnexpected(token); }

  std::string Where(const SubComDescriptor& sub) const {
    return sub.name().empty() ? " before the first subcommand" : " in subcommand " + sub.name();
  }

  // What a subcommand accepts where a parameter may begin.
  static std::string Expected(const SubComDescriptor& sub) {
    const std::vector<std::string_view> names = NamesOf(sub.params());
    if (!sub.exportsTokens()) return "one of " + codebook::syntax::JoinNames(names);
    if (names.empty()) return "a name, a number or a quoted string";
    return "one of " + codebook::syntax::JoinNames(names) + ", or a name, a number or a quoted string";
  }

  // Reports at the token, or just after the last token when it is null.
  bool Fail(const TokenInfoObj* at, const std::string& what, const std::string& expected) {
    int line = line_, column = column_;
    if (at) {
      line = at->line();
      column = at->column();
    } else if (!t_.empty()) {
      line = t_.back().line();
      column = t_.back().column() + codebook::syntax::CharacterCount(t_.back().getString());
    }
    const std::string text = codebook::syntax::SyntaxErrorText(command_, line, column, what, expected);
    ParserMessage(command_, line_, column_).Report(ParserMessage::kError, text, line, column);
    return false;
  }

  bool ParseBody(const SubComDescriptor& sub, const TokenInfoObj& start) {
    auto data = std::make_shared<SubComObj::Data>();
    data->name = sub.name();
    data->line = start.line();
    data->column = start.column();
    data->exports = sub.exportsTokens();
    auto exported = std::make_shared<ParamObj::Data>();
    if (sub.exportsTokens()) {
      // At most the tokens up to the next "/": one reservation, no regrowth.
      std::size_t end = i_;
      while (end < t_.size() && !IsPunct(t_[end], '/')) ++end;
      exported->tokens.reserve(end - i_);
    }

    const std::vector<ParamDescriptor>& params = sub.params();
    const std::vector<std::string_view> names = NamesOf(params);
    std::vector<bool> given(params.size(), false);
    std::vector<std::size_t> openParens;  // exported "(" not yet closed

    while (i_ < t_.size() && !IsPunct(t_[i_], '/')) {
      const TokenInfoObj& token = t_[i_];
      if (codebook::syntax::IsBadToken(token)) return Fail(&token, Unexpected(&token) + Where(sub), Expected(sub));
      if (token.kind() == TokenInfoObj::kIdentifier && !params.empty()) {
        const KeywordMatch match = MatchKeyword(token.getString(), names);
        if (match.result == KeywordMatch::kAmbiguous) {
          return Fail(&token, "\"" + token.getString() + "\" abbreviates more than one keyword" + Where(sub),
                      "one of " + codebook::syntax::JoinNames(Pick(names, match.candidates)));
        }
        if (match.result == KeywordMatch::kFound) {
          if (given[match.index]) {
            return Fail(&token, "keyword " + params[match.index].name() + " is given more than once" + Where(sub),
                        "each keyword at most once");
          }
          given[match.index] = true;
          if (!ParseParam(sub, params[match.index], names, *data)) return false;
          continue;
        }
      }
      if (!sub.exportsTokens()) return Fail(&token, Unexpected(&token) + Where(sub), Expected(sub));
      if (IsPunct(token, '(')) {
        openParens.push_back(i_);
      } else if (IsPunct(token, ')')) {
        if (openParens.empty()) return Fail(&token, Unexpected(&token) + Where(sub), "no \")\" without its \"(\"");
        openParens.pop_back();
      }
      exported->tokens.push_back(token);
      ++i_;
    }
    if (!openParens.empty()) {
      const TokenInfoObj& open = t_[openParens.front()];
      return Fail(At(i_), Unexpected(At(i_)) + Where(sub),
                  "\")\" to close the \"(\" at line " + std::to_string(open.line()) + ", column " +
                      std::to_string(open.column()));
    }
    if (data->params.empty() && exported->tokens.empty() && !sub.emptyAllowed()) {
      return Fail(At(i_), Unexpected(At(i_)) + Where(sub), Expected(sub));
    }
    for (std::size_t k = 0; k < params.size(); ++k) {
      if (params[k].required() && !given[k]) {
        return Fail(&start, "keyword " + params[k].name() + " is missing" + Where(sub), params[k].name());
      }
    }
    if (sub.exportsTokens() && sub.exportRequired() && exported->tokens.empty()) {
      return Fail(At(i_), Unexpected(At(i_)) + Where(sub), "a name, a number or a quoted string");
    }
    if (data->params.empty() && exported->tokens.empty() && !sub.name().empty()) {
      codebook::syntax::NoteEmptySubcommand(sub.name(), codebook::syntax::SubcommandUsage(sub));
    }
    if (sub.exportsTokens()) data->exportedData = exported;
    data->exported = ParamObj(std::move(exported));
    out_->subcommands.push_back({sub.name(), SubComObj(std::move(data))});
    return true;
  }

  // "KEY" then "=" (optional when the descriptor says so).
  bool ParseEquals(const SubComDescriptor& sub, const ParamDescriptor& param, bool& hadEquals) {
    hadEquals = i_ < t_.size() && IsPunct(t_[i_], '=');
    if (hadEquals) {
      ++i_;
      return true;
    }
    if (param.equalsOptional()) return true;
    return Fail(At(i_), Unexpected(At(i_)) + Where(sub), "\"=\" after " + param.name());
  }

  // A keyword chosen from a closed list (declared values or qualifiers).
  bool ParseChoice(const SubComDescriptor& sub, const ParamDescriptor& param,
                   const std::vector<std::string_view>& choices, std::size_t& chosen) {
    const TokenInfoObj* token = At(i_);
    const std::string expected = "one of " + codebook::syntax::JoinNames(choices);
    if (!token || token->kind() != TokenInfoObj::kIdentifier) {
      return Fail(token, Unexpected(token) + " as the value of " + param.name() + Where(sub), expected);
    }
    const KeywordMatch match = MatchKeyword(token->getString(), choices);
    if (match.result != KeywordMatch::kFound) {
      return Fail(token, Unexpected(token) + " as the value of " + param.name() + Where(sub),
                  match.result == KeywordMatch::kAmbiguous
                      ? "one of " + codebook::syntax::JoinNames(Pick(choices, match.candidates))
                      : expected);
    }
    chosen = match.index;
    ++i_;
    return true;
  }

  // "(" then a name or a quoted string then ")".
  bool ParseParenthesized(const SubComDescriptor& sub, const std::string& owner, ParamObj::Data& into) {
    const TokenInfoObj* open = At(i_);
    if (!open || !IsPunct(*open, '(')) return Fail(open, Unexpected(open) + Where(sub), "\"(\" after " + owner);
    ++i_;
    const TokenInfoObj* value = At(i_);
    if (!value || (value->kind() != TokenInfoObj::kIdentifier && value->kind() != TokenInfoObj::kString)) {
      return Fail(value, Unexpected(value) + " in " + owner + "(...)" + Where(sub),
                  "a name or a quoted string");
    }
    into.hasValue = true;
    into.value = *value;
    ++i_;
    const TokenInfoObj* close = At(i_);
    if (!close || !IsPunct(*close, ')')) {
      return Fail(close, Unexpected(close) + " in " + owner + "(...)" + Where(sub),
                  "\")\" to close the \"(\" at line " + std::to_string(open->line()) + ", column " +
                      std::to_string(open->column()));
    }
    ++i_;
    return true;
  }

  bool ParseParam(const SubComDescriptor& sub, const ParamDescriptor& param,
                  const std::vector<std::string_view>& siblings, SubComObj::Data& into) {
    const std::size_t first = i_++;
    auto data = std::make_shared<ParamObj::Data>();
    data->name = param.name();
    bool hadEquals = false;
    switch (param.spec()) {
      case UPSpecTypes::kParamString:
        if (param.stringValues().empty() && i_ < t_.size() && IsPunct(t_[i_], '(')) {
          if (!ParseParenthesized(sub, param.name(), *data)) return false;
          break;
        }
        if (!ParseEquals(sub, param, hadEquals)) return false;
        if (!param.stringValues().empty()) {
          std::vector<std::string_view> values(param.stringValues().begin(), param.stringValues().end());
          std::size_t chosen = 0;
          if (!ParseChoice(sub, param, values, chosen)) return false;
          auto value = std::make_shared<ParamObj::Data>();
          value->name = param.stringValues()[chosen];
          value->tokens.push_back(t_[i_ - 1]);
          data->qualifier = std::move(value);
        } else if (!ParseValue(sub, param, siblings, hadEquals, "a name or a quoted string", *data)) {
          return false;
        }
        break;
      case UPSpecTypes::kParamInteger:
        if (!ParseEquals(sub, param, hadEquals)) return false;
        if (!ParseValue(sub, param, siblings, hadEquals, "an integer", *data)) return false;
        break;
      case UPSpecTypes::kParamQualifiedKey: {
        if (!ParseEquals(sub, param, hadEquals)) return false;
        const std::vector<std::string_view> choices = NamesOf(param.qualifiers());
        std::size_t chosen = 0;
        const std::size_t qualifierFirst = i_;
        if (!ParseChoice(sub, param, choices, chosen)) return false;
        const ParamDescriptor& qualifier = param.qualifiers()[chosen];
        auto value = std::make_shared<ParamObj::Data>();
        value->name = qualifier.name();
        if (qualifier.spec() == UPSpecTypes::kParamString &&
            !ParseParenthesized(sub, qualifier.name(), *value)) {
          return false;
        }
        value->tokens.assign(t_.begin() + static_cast<std::ptrdiff_t>(qualifierFirst),
                             t_.begin() + static_cast<std::ptrdiff_t>(i_));
        data->qualifier = std::move(value);
        break;
      }
      default:  // a plain keyword: present or not
        break;
    }
    data->tokens.assign(t_.begin() + static_cast<std::ptrdiff_t>(first),
                        t_.begin() + static_cast<std::ptrdiff_t>(i_));
    into.params.emplace_back(std::move(data));
    return true;
  }

  // One value token. Without "=", a keyword of the same subcommand is not
  // taken for the value: "MAXCATS SORT=..." lacks MAXCATS's value.
  bool ParseValue(const SubComDescriptor& sub, const ParamDescriptor& param,
                  const std::vector<std::string_view>& siblings, bool hadEquals, const char* kind,
                  ParamObj::Data& into) {
    const TokenInfoObj* token = At(i_);
    bool ok = token && IsValueToken(*token);
    if (ok && !hadEquals && token->kind() == TokenInfoObj::kIdentifier) {
      ok = MatchKeyword(token->getString(), siblings).result == KeywordMatch::kNone;
    }
    if (!ok) {
      return Fail(token, Unexpected(token) + Where(sub), std::string(kind) + " value for " + param.name());
    }
    into.hasValue = true;
    into.value = *token;
    ++i_;
    return true;
  }

  const std::vector<TokenInfoObj>& t_;
  const CommandDescriptor& descriptor_;
  std::string command_;
  int line_;
  int column_;
  std::size_t i_ = 0;
  CommandSpec::Data* out_ = nullptr;
};

}  // namespace

UniversalParser::UniversalParser(TokenSequenceBase& tokens, CommandSpec& command,
                                 const CommandDescriptor& descriptor)
    : tokens_(tokens), spec_(command), descriptor_(descriptor) {}

int UniversalParser::getCommandSpecifications() {
  CommandSpec::Data& out = spec_.data();
  out.subcommands.clear();
  if (Parser(tokens_, descriptor_).Run(out)) return 0;
  // A failed parse leaves nothing for the procedure to decode by mistake.
  out.subcommands.clear();
  return 1;
}
