#include "platform/session/session.h"

#include <algorithm>
#include <exception>
#include <utility>

#include "platform/data/data_error.h"
#include "platform/output/render/terminal_text.h"
#include "platform/session/procedure_context.h"
#include "platform/session/progress_display.h"
#include "platform/syntax/current_command.h"
#include "platform/syntax/message_sink.h"
#include "platform/syntax/name_match.h"

namespace codebook::session {

namespace {

const syntax::CommandNames& KnownCommandNames() {
  static const syntax::CommandNames names{"N OF CASES"};
  return names;
}

// The pass reports progress through a plain function pointer; this is
// where it finds the session whose pass it is, and the total of that pass.
struct ActivePass {
  const std::function<bool(std::int64_t, std::int64_t)>* hook = nullptr;
  const std::atomic<bool>* stop = nullptr;
  std::int64_t total = -1;
  bool stopped = false;
};
thread_local ActivePass* activePass = nullptr;

void ReportToHook(std::int64_t casesRead) {
  ActivePass* pass = activePass;
  if (pass == nullptr) return;
  bool goOn = pass->stop == nullptr || !pass->stop->load(std::memory_order_relaxed);
  if (goOn && pass->hook != nullptr) {
    try {
      goOn = (*pass->hook)(casesRead, pass->total);
    } catch (...) {
      goOn = false;
    }
  }
  if (!goOn) {
    pass->stopped = true;
    // The one error a pass is built to stop for: it unwinds the procedure
    // and the case streams as a damaged file does.
    throw data::DataError("", casesRead, "the pass was interrupted");
  }
}

output::Severity ToOutput(syntax::Severity severity) {
  return severity == syntax::Severity::kError ? output::Severity::kError : output::Severity::kWarning;
}

}  // namespace

Session::Session(SessionOptions options)
    : options_(std::move(options)), document_(std::make_shared<output::Document>()) {}

Session::~Session() = default;

int Session::ExitStatus() const {
  if (datasetError_) return kExitDatasetError;
  if (commandError_) return kExitCommandError;
  return kExitOk;
}

std::string Session::MessageLine(output::Severity severity, const std::string& command, int line,
                                 const std::string& text) const {
  std::string out;
  if (!origin_.name.empty()) {
    if (line > 0) out = origin_.name + ":" + std::to_string(line) + ": ";
  } else if (!options_.programName.empty()) {
    // The program speaks for the commands it made up: a file it could not
    // open is named as the user named it, as other programs do.
    out = options_.programName + ": ";
    if (!(command == "GET" && severity == output::Severity::kError)) out += std::string(output::SeverityName(severity)) + ": ";
    return out + output::EscapeForTerminal(text) + '\n';
  }
  if (!command.empty()) out += command + ": ";
  out += std::string(output::SeverityName(severity)) + ": ";
  return out + output::EscapeForTerminal(text) + '\n';
}

void Session::Emit(const syntax::Message& message) {
  if (message.severity == syntax::Severity::kError) commandError_ = true;
  if (options_.messageStream != nullptr) {
    heldMessages_ += MessageLine(ToOutput(message.severity), message.command, message.line, message.text);
    if (!options_.holdMessages) WriteHeldMessages();
  }
  output::AddMessage(*document_, ToOutput(message.severity), message.command, message.line,
                     message.text);
  if (message.severity == syntax::Severity::kWarning) HintAtEmptySubcommand(message);
}

void Session::HintAtEmptySubcommand(const syntax::Message& warning) {
  for (const syntax::EmptySubcommand& empty : syntax::EmptySubcommands()) {
    // The procedure's warning names the subcommand first: "< FILEINFO > ...".
    if (warning.text.rfind("< " + empty.name + " >", 0) != 0 || empty.usage.empty()) continue;
    const std::string text = "/" + empty.name + " takes " + empty.usage + ".";
    if (options_.messageStream != nullptr) {
      heldMessages_ += MessageLine(output::Severity::kNote, warning.command, warning.line, text);
      if (!options_.holdMessages) WriteHeldMessages();
    }
    output::AddMessage(*document_, output::Severity::kNote, warning.command, warning.line, text);
    return;
  }
}

void Session::WriteHeldMessages() {
  if (heldMessages_.empty() || options_.messageStream == nullptr) return;
  EraseProgress();
  std::fwrite(heldMessages_.data(), 1, heldMessages_.size(), options_.messageStream);
  std::fflush(options_.messageStream);
  heldMessages_.clear();
}

void Session::Report(syntax::Severity severity, const std::string& command, int line,
                     const std::string& text) {
  syntax::Message message;
  message.severity = severity;
  message.command = command;
  message.text = text;
  message.line = line;
  Emit(message);
}

std::vector<int> CodebookCommandLines(std::string_view text) {
  std::vector<int> lines;
  for (const syntax::Command& command : syntax::SplitCommands(text, KnownCommandNames())) {
    if (!command.comment && command.name == "CODEBOOK") lines.push_back(command.line);
  }
  return lines;
}

void Session::RunSyntax(std::string_view text, const SyntaxOrigin& origin) {
  origin_ = origin;
  for (const syntax::Command& command : syntax::SplitCommands(text, KnownCommandNames())) {
    if (options_.stop != nullptr && options_.stop->load()) break;
    Run(command);
  }
  origin_ = {};
}

void Session::Run(const syntax::Command& command) {
  if (command.comment) return;
  const std::size_t firstItem = document_->Size();
  RunCommand(command);
  if (options_.afterCommand) options_.afterCommand(firstItem);
  WriteHeldMessages();
}

namespace {

// The command with its STATISTICS subcommand, if any, replaced by
// STATISTICS NONE: the dictionary without a pass over the cases.
syntax::Command WithoutStatistics(const syntax::Command& command) {
  syntax::Command described = command;
  described.tokens.clear();
  bool dropping = false;
  for (std::size_t i = 0; i < command.tokens.size(); ++i) {
    const TokenInfoObj& token = command.tokens[i];
    if (token.kind() == TokenInfoObj::kPunct && token.getString() == "/") {
      const TokenInfoObj* name = i + 1 < command.tokens.size() ? &command.tokens[i + 1] : nullptr;
      dropping = name != nullptr && name->kind() == TokenInfoObj::kIdentifier &&
                 syntax::MatchKeyword(name->getString(), {"STATISTICS"}).result == syntax::KeywordMatch::kFound;
    }
    if (!dropping) described.tokens.push_back(token);
  }
  const int line = command.tokens.empty() ? command.line : command.tokens.back().line();
  const int column = command.tokens.empty() ? command.column : command.tokens.back().column();
  described.tokens.emplace_back(TokenInfoObj::kPunct, "/", "/", line, column);
  described.tokens.emplace_back(TokenInfoObj::kIdentifier, "STATISTICS", "STATISTICS", line, column);
  described.tokens.emplace_back(TokenInfoObj::kIdentifier, "NONE", "NONE", line, column);
  return described;
}

}  // namespace

void Session::RunCommand(const syntax::Command& given) {
  const syntax::Command* chosen = &given;
  syntax::Command described;
  if (given.name == "CODEBOOK" && options_.describeEmptyFiles && selection_ && selection_->GetDataset() &&
      selection_->GetDataset()->GetCaseCount() == 0) {
    Report(syntax::Severity::kWarning, given.name, given.line,
           "The dataset has no cases: its dictionary is described, without counts or statistics.");
    described = WithoutStatistics(given);
    chosen = &described;
  }
  const syntax::Command& command = *chosen;
  syntax::CurrentCommand current;
  current.name = command.name;
  current.tokens = command.tokens;
  current.line = command.line;
  current.column = command.column;
  syntax::CurrentCommandScope scope(std::move(current));
  syntax::MessageSinkScope sink(*this);

  if (command.name == "CODEBOOK") {
    RunCodebook(command);
  } else if (command.name == "GET") {
    RunGet(command);
  } else if (command.name == "WEIGHT") {
    RunWeight(command);
  } else if (command.name == "FILTER") {
    RunFilter(command);
  } else if (command.name == "N OF CASES") {
    RunNOfCases(command);
  } else if (command.name.empty() && command.tokens.empty()) {
    // An empty command (a lone period) does nothing.
  } else {
    const std::string shown = command.name.empty() ? command.tokens.front().getString() : command.name;
    Report(syntax::Severity::kError, shown, command.line,
           "Unknown command " + shown +
               ". The commands are GET FILE, WEIGHT, FILTER, N OF CASES and CODEBOOK.");
  }
}

const ProcedureModule& Session::Module() {
  if (!module_) {
    const std::string path =
        options_.modulePath.empty() ? FindModule("libcodebook.so") : options_.modulePath;
    module_ = std::make_unique<ProcedureModule>(path, "codebook_");
  }
  return *module_;
}

void Session::RunCodebook(const syntax::Command& command) {
  if (!selection_) {
    Report(syntax::Severity::kError, command.name, command.line,
           "There is no active dataset. Open one with GET FILE first.");
    return;
  }
  const ProcedureModule* module = nullptr;
  try {
    module = &Module();
  } catch (const ModuleError& error) {
    Report(syntax::Severity::kError, command.name, command.line, error.what());
    return;
  }
  // The command's output is kept only when it runs to its end.
  const std::size_t before = document_->Size();
  CodebookRun run;
  run.firstItem = before;
  run.dataset = selection_->GetDataset();
  run.fileInfo = fileInfo_;
  run.weightIndex = selection_->WeightIndex();
  run.expectedCases = selection_->CaseCount();
  run.command = command.text;
  std::shared_ptr<const ProcedureDataSource::Selection> selection = selection_;
  if (options_.passObserver && run.dataset) {
    run.observer = options_.passObserver(*run.dataset, run.weightIndex);
    if (run.observer) {
      data::SelectionOptions observed = selection_->GetOptions();
      observed.observer = run.observer;
      selection = selection_->With(observed);
    }
  }
  // The cases a pass reads (a filter drops cases only after reading them).
  std::int64_t total = run.dataset ? run.dataset->GetCaseCount() : -1;
  const std::int64_t limit = selection_->CaseLimit();
  if (limit >= 0) total = total >= 0 ? std::min(total, limit) : -1;
  ProgressDisplay progress(options_.progress && !options_.onProgress ? options_.messageStream : nullptr, total,
                           ProgressDelay());
  ActivePass pass;
  pass.hook = options_.onProgress ? &options_.onProgress : nullptr;
  pass.stop = options_.stop;
  pass.total = total;
  ActivePass* const outer = activePass;
  activePass = &pass;
  try {
    ProcedureParts parts;
    parts.messages = this;
    parts.selection = std::move(selection);
    parts.document = document_;
    parts.progress = pass.hook != nullptr || pass.stop != nullptr ? ReportToHook : progress.Callback();
    const ProcedureContext context(std::move(parts));
    module->Run();
    run.completed = true;
  } catch (const data::DataError& error) {
    document_->Truncate(before);
    if (pass.stopped) {
      interrupted_ = true;
      commandError_ = true;
      Report(syntax::Severity::kError, command.name, command.line, "The pass over the cases was interrupted.");
    } else {
      datasetError_ = true;
      Report(syntax::Severity::kError, command.name, command.line, error.what());
    }
  } catch (const std::exception& error) {
    document_->Truncate(before);
    interrupted_ = interrupted_ || pass.stopped;
    Report(syntax::Severity::kError, command.name, command.line,
           pass.stopped ? "The pass over the cases was interrupted." : error.what());
  }
  activePass = outer;
  run.endItem = document_->Size();
  lastCodebook_ = std::move(run);
}

}  // namespace codebook::session
