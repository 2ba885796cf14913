#include "platform/session/session.h"

#include <chrono>
#include <exception>
#include <utility>

#include "platform/data/data_error.h"
#include "platform/data/progress.h"
#include "platform/output/render/terminal_text.h"
#include "platform/session/procedure_context.h"
#include "platform/syntax/current_command.h"
#include "platform/syntax/name_match.h"

namespace codebook::session {

namespace {

const syntax::CommandNames& KnownCommandNames() {
  static const syntax::CommandNames names{"N OF CASES"};
  return names;
}

// Progress of the pass of the command being run, shown on standard error
// once the pass has taken more than a second.
struct Progress {
  std::chrono::steady_clock::time_point start;
  bool shown = false;
};
Progress progress;

void ShowProgress(std::int64_t casesRead) {
  if (std::chrono::steady_clock::now() - progress.start < std::chrono::seconds(1)) return;
  std::fprintf(stderr, "\rCODEBOOK: %lld cases read", static_cast<long long>(casesRead));
  std::fflush(stderr);
  progress.shown = true;
}

// Installs the progress display for one command and clears its line after.
class ProgressScope {
 public:
  explicit ProgressScope(bool enabled) : enabled_(enabled) {
    if (enabled_) progress = {std::chrono::steady_clock::now(), false};
  }
  ~ProgressScope() {
    if (enabled_ && progress.shown) std::fputs("\r\033[K", stderr);
  }
  // What the run's context calls as cases are read.
  data::ProgressCallback Callback() const { return enabled_ ? ShowProgress : nullptr; }
  ProgressScope(const ProgressScope&) = delete;
  ProgressScope& operator=(const ProgressScope&) = delete;

 private:
  bool enabled_;
};

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

void Session::Emit(const syntax::Message& message) {
  if (message.severity == syntax::Severity::kError) commandError_ = true;
  if (options_.messageStream != nullptr) {
    std::string text;
    if (!origin_.name.empty() && message.line > 0) {
      text = origin_.name + ":" + std::to_string(message.line) + ": ";
    }
    text += output::EscapeForTerminal(syntax::FormatMessage(message));
    text += '\n';
    heldMessages_ += text;
    if (!options_.holdMessages) WriteHeldMessages();
  }
  output::AddMessage(*document_, ToOutput(message.severity), message.command, message.line,
                     message.text);
}

void Session::WriteHeldMessages() {
  if (heldMessages_.empty() || options_.messageStream == nullptr) return;
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
  ProgressScope showProgress(options_.progress);
  try {
    ProcedureParts parts;
    parts.messages = this;
    parts.selection = std::move(selection);
    parts.document = document_;
    parts.progress = showProgress.Callback();
    const ProcedureContext context(std::move(parts));
    module->Run();
    run.completed = true;
  } catch (const data::DataError& error) {
    document_->Truncate(before);
    datasetError_ = true;
    Report(syntax::Severity::kError, command.name, command.line, error.what());
  } catch (const std::exception& error) {
    document_->Truncate(before);
    Report(syntax::Severity::kError, command.name, command.line, error.what());
  }
  run.endItem = document_->Size();
  lastCodebook_ = std::move(run);
}

}  // namespace codebook::session
