#include "platform/syntax/tokenizer.h"

#include <climits>
#include <cstddef>
#include <cstdint>
#include <utility>

#include <utf8proc.h>

namespace codebook::syntax {
namespace {

bool IsAsciiLetter(unsigned char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }
bool IsDigit(unsigned char c) { return c >= '0' && c <= '9'; }
bool IsBlank(unsigned char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\f' || c == '\v'; }

// A decoded character: its code point and byte length (length 0: not UTF-8).
struct CodePoint {
  utf8proc_int32_t value = 0;
  std::size_t length = 0;
};

CodePoint Decode(std::string_view s, std::size_t pos) {
  CodePoint cp;
  const auto* p = reinterpret_cast<const utf8proc_uint8_t*>(s.data() + pos);
  utf8proc_ssize_t n = utf8proc_iterate(p, static_cast<utf8proc_ssize_t>(s.size() - pos), &cp.value);
  if (n > 0) cp.length = static_cast<std::size_t>(n);
  return cp;
}

bool IsUnicodeLetter(utf8proc_int32_t cp) {
  switch (utf8proc_category(cp)) {
    case UTF8PROC_CATEGORY_LU:
    case UTF8PROC_CATEGORY_LL:
    case UTF8PROC_CATEGORY_LT:
    case UTF8PROC_CATEGORY_LM:
    case UTF8PROC_CATEGORY_LO:
      return true;
    default:
      return false;
  }
}

// Letters go on with combining marks and digits of any script.
bool IsUnicodeNameChar(utf8proc_int32_t cp) {
  if (IsUnicodeLetter(cp)) return true;
  switch (utf8proc_category(cp)) {
    case UTF8PROC_CATEGORY_MN:
    case UTF8PROC_CATEGORY_MC:
    case UTF8PROC_CATEGORY_ND:
      return true;
    default:
      return false;
  }
}

class Scanner {
 public:
  explicit Scanner(std::string_view text) : s_(text) {}

  std::vector<ScannedCommand> Run() {
    // Editors may begin a UTF-8 file with a byte-order mark; it is no token.
    if (s_.substr(0, 3) == "\xEF\xBB\xBF") pos_ = lineStart_ = 3;
    while (pos_ < s_.size()) {
      const unsigned char c = At(pos_);
      if (c == '\n' || IsBlank(c)) {
        Advance();
      } else if (c == '*' && pos_ == lineStart_) {
        FinishCommand();
        ScanCommentCommand();
      } else if (c == '/' && At(pos_ + 1) == '*') {
        ScanBlockComment();
      } else if (c == '.' && IsTerminator(pos_)) {
        Advance();
        FinishCommand(true);
      } else {
        ScanToken();
      }
    }
    FinishCommand();
    return std::move(commands_);
  }

 private:
  unsigned char At(std::size_t p) const { return p < s_.size() ? static_cast<unsigned char>(s_[p]) : 0; }

  // Columns count characters: continuation bytes of UTF-8 take none. Lines and
  // columns saturate rather than overflow on absurd input.
  void Advance() {
    const unsigned char c = At(pos_++);
    if (c == '\n') {
      if (line_ < INT_MAX) ++line_;
      column_ = 1;
      lineStart_ = pos_;
    } else if ((c & 0xC0) != 0x80 && column_ < INT_MAX) {
      ++column_;
    }
  }
  void Advance(std::size_t n) {
    for (std::size_t i = 0; i < n && pos_ < s_.size(); ++i) Advance();
  }

  // A period ends the command when only blanks, and comments closed on the
  // same line, follow it up to the end of the line.
  bool IsTerminator(std::size_t p) const {
    ++p;
    while (p < s_.size()) {
      const unsigned char c = At(p);
      if (c == '\n') return true;
      if (IsBlank(c)) {
        ++p;
      } else if (c == '/' && At(p + 1) == '*') {
        std::size_t q = p + 2;
        while (q < s_.size() && At(q) != '\n' && !(At(q) == '*' && At(q + 1) == '/')) ++q;
        if (q >= s_.size() || At(q) == '\n') return false;
        p = q + 2;
      } else {
        return false;
      }
    }
    return true;
  }

  void OpenCommand() {
    if (open_) return;
    open_ = true;
    current_ = ScannedCommand{};
    current_.line = line_;
    current_.column = column_;
    start_ = pos_;
  }

  // terminated: the character just consumed is the period that ended it.
  void FinishCommand(bool terminated = false) {
    if (!open_) return;
    std::size_t end = terminated ? pos_ - 1 : pos_;
    while (end > start_ && (IsBlank(At(end - 1)) || At(end - 1) == '\n')) --end;
    current_.text.assign(s_.substr(start_, end - start_));
    if (current_.comment || !current_.tokens.empty()) commands_.push_back(std::move(current_));
    open_ = false;
  }

  void Emit(TokenInfoObj::Kind kind, std::size_t begin, std::string value, int line, int column) {
    current_.tokens.emplace_back(kind, std::string(s_.substr(begin, pos_ - begin)), std::move(value),
                                 line, column);
  }

  void ScanCommentCommand() {
    OpenCommand();
    current_.comment = true;
    while (pos_ < s_.size()) {
      if (At(pos_) == '.' && IsTerminator(pos_)) {
        Advance();
        FinishCommand(true);
        return;
      }
      Advance();
    }
    FinishCommand();
  }

  void ScanBlockComment() {
    const std::size_t begin = pos_;
    const int line = line_, column = column_;
    Advance(2);
    while (pos_ < s_.size()) {
      if (At(pos_) == '*' && At(pos_ + 1) == '/') {
        Advance(2);
        return;
      }
      Advance();
    }
    // Unterminated: it swallowed the rest of the input; say so in its command.
    if (!open_) {
      open_ = true;
      current_ = ScannedCommand{};
      current_.line = line;
      current_.column = column;
      start_ = begin;
    }
    current_.tokens.emplace_back(TokenInfoObj::kInvalid, "/*", "unterminated comment", line, column);
  }

  void ScanToken() {
    OpenCommand();
    const unsigned char c = At(pos_);
    if (IsAsciiLetter(c) || c == '@' || c == '#' || c == '$') {
      ScanIdentifier();
    } else if (IsDigit(c) || (c == '.' && IsDigit(At(pos_ + 1)))) {
      ScanNumber();
    } else if ((c == '-' || c == '+') && SignStartsNumber()) {
      ScanNumber();
    } else if (c == '\'' || c == '"') {
      ScanString(c);
    } else if (c < 0x80) {
      const std::size_t begin = pos_;
      const int line = line_, column = column_;
      Advance();
      Emit(TokenInfoObj::kPunct, begin, std::string(1, static_cast<char>(c)), line, column);
    } else {
      const CodePoint cp = Decode(s_, pos_);
      if (cp.length > 0 && IsUnicodeLetter(cp.value)) {
        ScanIdentifier();
        return;
      }
      const std::size_t begin = pos_;
      const int line = line_, column = column_;
      if (cp.length == 0) {
        Advance();
        Emit(TokenInfoObj::kInvalid, begin, "a byte that is not valid UTF-8", line, column);
      } else {
        Advance(cp.length);
        Emit(TokenInfoObj::kPunct, begin, std::string(s_.substr(begin, cp.length)), line, column);
      }
    }
  }

  void ScanIdentifier() {
    const std::size_t begin = pos_;
    const int line = line_, column = column_;
    Advance(pos_ < s_.size() && At(pos_) >= 0x80 ? Decode(s_, pos_).length : 1);
    while (pos_ < s_.size()) {
      const unsigned char c = At(pos_);
      if (IsAsciiLetter(c) || IsDigit(c) || c == '_' || c == '$' || c == '#' || c == '@') {
        Advance();
      } else if (c == '.') {
        if (IsTerminator(pos_)) break;
        Advance();
      } else if (c >= 0x80) {
        const CodePoint cp = Decode(s_, pos_);
        if (cp.length == 0 || !IsUnicodeNameChar(cp.value)) break;
        Advance(cp.length);
      } else {
        break;
      }
    }
    std::string text(s_.substr(begin, pos_ - begin));
    current_.tokens.emplace_back(TokenInfoObj::kIdentifier, text, text, line, column);
  }

  // "-5" is one token where a value is expected: at the start of a command,
  // after blanks, or right after "=", "(", "[", "," or "/"; "a-5" is not.
  bool SignStartsNumber() const {
    const unsigned char next = At(pos_ + 1);
    if (!(IsDigit(next) || (next == '.' && IsDigit(At(pos_ + 2))))) return false;
    if (current_.tokens.empty() || pos_ == 0) return true;
    const unsigned char before = At(pos_ - 1);
    return IsBlank(before) || before == '\n' || before == '=' || before == '(' || before == '[' ||
           before == ',' || before == '/';
  }

  void ScanNumber() {
    const std::size_t begin = pos_;
    const int line = line_, column = column_;
    if (At(pos_) == '-' || At(pos_) == '+') Advance();
    while (IsDigit(At(pos_))) Advance();
    if (At(pos_) == '.' && !IsTerminator(pos_)) {
      Advance();
      while (IsDigit(At(pos_))) Advance();
    }
    const unsigned char e = At(pos_);
    if (e == 'e' || e == 'E') {
      std::size_t q = pos_ + 1;
      if (At(q) == '+' || At(q) == '-') ++q;
      if (IsDigit(At(q))) {
        Advance(q - pos_);
        while (IsDigit(At(pos_))) Advance();
      }
    }
    std::string text(s_.substr(begin, pos_ - begin));
    current_.tokens.emplace_back(TokenInfoObj::kNumber, text, text, line, column);
  }

  // Strings do not span lines; one left open ends at the end of the line, or
  // before a period that ends the command, so the next command still parses.
  void ScanString(unsigned char quote) {
    const std::size_t begin = pos_;
    const int line = line_, column = column_;
    Advance();
    std::string value;
    while (pos_ < s_.size()) {
      const unsigned char c = At(pos_);
      if (c == '\n' || (c == '.' && IsTerminator(pos_))) break;
      if (c == quote) {
        if (At(pos_ + 1) == quote) {
          value.push_back(static_cast<char>(quote));
          Advance(2);
          continue;
        }
        Advance();
        Emit(TokenInfoObj::kString, begin, std::move(value), line, column);
        return;
      }
      value.push_back(static_cast<char>(c));
      Advance();
    }
    // Trailing blanks before the line end are not part of the bad token.
    std::size_t end = pos_;
    while (end > begin + 1 && IsBlank(At(end - 1))) --end;
    current_.tokens.emplace_back(TokenInfoObj::kInvalid, std::string(s_.substr(begin, end - begin)),
                                 "unterminated string", line, column);
  }

  std::string_view s_;
  std::size_t pos_ = 0;
  std::size_t lineStart_ = 0;  // where the current line's first character is
  int line_ = 1;
  int column_ = 1;
  bool open_ = false;
  std::size_t start_ = 0;
  ScannedCommand current_;
  std::vector<ScannedCommand> commands_;
};

}  // namespace

std::vector<ScannedCommand> ScanCommands(std::string_view text) { return Scanner(text).Run(); }

std::vector<TokenInfoObj> Tokenize(std::string_view text) {
  std::vector<ScannedCommand> commands = ScanCommands(text);
  std::size_t count = 0;
  for (const ScannedCommand& command : commands) count += command.tokens.size();
  std::vector<TokenInfoObj> tokens;
  tokens.reserve(count);
  for (ScannedCommand& command : commands) {
    for (TokenInfoObj& token : command.tokens) tokens.push_back(std::move(token));
  }
  return tokens;
}

}  // namespace codebook::syntax
