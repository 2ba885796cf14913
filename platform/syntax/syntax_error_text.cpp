#include "platform/syntax/syntax_error_text.h"

#include <climits>

namespace codebook::syntax {
namespace {

// Beyond this many characters a token is cut in messages: a megabyte string
// must not make a megabyte message.
constexpr int kShownCharacters = 40;

std::string Printable(std::string_view text) {
  static const char kHex[] = "0123456789ABCDEF";
  std::string out;
  int shown = 0;
  std::size_t i = 0;
  while (i < text.size()) {
    if (shown == kShownCharacters) {
      out += "...";
      break;
    }
    const unsigned char c = static_cast<unsigned char>(text[i]);
    std::size_t length = 1;
    bool valid = true;
    if (c >= 0x80) {
      length = c >= 0xF0 && c <= 0xF4 ? 4 : c >= 0xE0 ? 3 : c >= 0xC2 && c < 0xE0 ? 2 : 0;
      valid = length > 0 && i + length <= text.size();
      for (std::size_t k = 1; valid && k < length; ++k) {
        valid = (static_cast<unsigned char>(text[i + k]) & 0xC0) == 0x80;
      }
      if (!valid) length = 1;
    } else {
      valid = c >= 0x20 && c != 0x7F;
    }
    if (valid) {
      out.append(text.substr(i, length));
    } else {
      out += "\\x";
      out += kHex[c >> 4];
      out += kHex[c & 0xF];
    }
    i += length;
    ++shown;
  }
  return out;
}

bool IsGrammarPunct(std::string_view text) {
  return text.size() == 1 && std::string_view("/=[](),").find(text[0]) != std::string_view::npos;
}

}  // namespace

std::string SyntaxErrorText(std::string_view command, int line, int column, std::string_view what,
                            std::string_view expected) {
  std::string text = "Syntax error at line " + std::to_string(line) + ", column " + std::to_string(column) +
                     " of " + std::string(command) + ": " + std::string(what);
  if (!expected.empty()) text += "; expected " + std::string(expected);
  text += '.';
  return text;
}

std::string DescribeUnexpected(const TokenInfoObj* token) {
  if (!token) return "unexpected end of command";
  const std::string shown = "\"" + Printable(token->getString()) + "\"";
  if (token->kind() == TokenInfoObj::kInvalid) return token->getValue() + " " + shown;
  if (IsBadToken(*token)) return "unexpected character " + shown;
  return "unexpected " + shown;
}

bool IsBadToken(const TokenInfoObj& token) {
  return token.kind() == TokenInfoObj::kInvalid ||
         (token.kind() == TokenInfoObj::kPunct && !IsGrammarPunct(token.getString()));
}

std::string JoinNames(const std::vector<std::string_view>& names) {
  std::string out;
  for (std::string_view name : names) {
    if (!out.empty()) out += ", ";
    out += name;
  }
  return out;
}

int CharacterCount(std::string_view text) {
  int n = 0;
  for (char c : text) {
    if ((static_cast<unsigned char>(c) & 0xC0) != 0x80 && n < INT_MAX) ++n;
  }
  return n;
}

}  // namespace codebook::syntax
