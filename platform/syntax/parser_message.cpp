// ParserMessage: the procedure's way to report, through the current sink.
#include "host/syntax/parser_message.h"

#include <utility>

#include "platform/syntax/current_command.h"
#include "platform/syntax/message_sink.h"

namespace {

const char kParamExclAnyOther[] = "^1 cannot be combined with any other keyword on the ^2 subcommand.";
const char kKeywordImproperVarList[] = "The keyword ^1 is used improperly in a variable list.";

}  // namespace

std::string SubstituteMessageArgs(const std::string& text, const char* a1, const char* a2,
                                  const char* a3, const char* a4, const char* a5) {
  const char* args[] = {a1, a2, a3, a4, a5};
  std::string out;
  out.reserve(text.size());
  // One pass, so an argument that itself contains "^2" is copied as it is.
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '^' && i + 1 < text.size() && text[i + 1] >= '1' && text[i + 1] <= '5') {
      if (const char* arg = args[text[i + 1] - '1']) out += arg;
      ++i;
    } else {
      out += text[i];
    }
  }
  return out;
}

ParserMessage::ParserMessage() {
  if (const codebook::syntax::CurrentCommand* command = codebook::syntax::GetCurrentCommand()) {
    command_ = command->name;
    line_ = command->line;
    column_ = command->column;
  }
}

ParserMessage::ParserMessage(std::string command, int line, int column)
    : command_(std::move(command)), line_(line), column_(column) {}

void ParserMessage::GenericError(const char* text, const char* a1, const char* a2, const char* a3,
                                 const char* a4, const char* a5) const {
  Report(kError, SubstituteMessageArgs(text ? text : "", a1, a2, a3, a4, a5));
}

void ParserMessage::GenericWarning(const char* text, const char* a1, const char* a2, const char* a3,
                                   const char* a4, const char* a5) const {
  Report(kWarning, SubstituteMessageArgs(text ? text : "", a1, a2, a3, a4, a5));
}

void ParserMessage::ParamExclAnyOther(const char* keyword, const char* subcommand) const {
  GenericError(kParamExclAnyOther, keyword, subcommand);
}

// The two further arguments have no place in the text; callers pass null.
void ParserMessage::KeywordImproperVarList(const char* keyword, const char*, const char*) const {
  GenericError(kKeywordImproperVarList, keyword);
}

void ParserMessage::Report(Severity severity, const std::string& text, int line, int column) const {
  codebook::syntax::Message message;
  message.severity =
      severity == kWarning ? codebook::syntax::Severity::kWarning : codebook::syntax::Severity::kError;
  message.command = command_;
  message.text = text;
  const bool own = line == 0 && column == 0;
  message.line = own ? line_ : line;
  message.column = own ? column_ : column;
  codebook::syntax::EmitMessage(message);
}
