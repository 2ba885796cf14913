#include "platform/api/codebook_api.h"

#include <dlfcn.h>
#include <iconv.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <sstream>

#include "platform/api/command_finisher.h"
#include "platform/api/provenance.h"
#include "platform/export/ddi_writer.h"
#include "platform/export/dictionary_csv.h"
#include "platform/export/xlsx_bytes.h"
#include "platform/output/render/pdf/pdf_renderer.h"
#include "platform/output/render/renderers.h"
#include "platform/report/distributions.h"
#include "platform/session/session.h"

namespace codebook::api {
namespace {

namespace fs = std::filesystem;

// The messages as the program prints them, gathered in memory.
class MessageBuffer {
 public:
  MessageBuffer() : stream_(::open_memstream(&data_, &size_)) {}
  ~MessageBuffer() {
    if (stream_ != nullptr) std::fclose(stream_);
    std::free(data_);
  }
  MessageBuffer(const MessageBuffer&) = delete;
  MessageBuffer& operator=(const MessageBuffer&) = delete;
  std::FILE* Stream() const { return stream_; }
  std::vector<std::string> Lines() {
    std::vector<std::string> lines;
    if (stream_ == nullptr) return lines;
    std::fflush(stream_);
    std::istringstream in(std::string(data_ != nullptr ? data_ : "", size_));
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
  }

 private:
  char* data_ = nullptr;
  std::size_t size_ = 0;
  std::FILE* stream_;
};

// The procedure module beside this library (in the build tree and where it
// is installed), unless $CODEBOOK_MODULE says where: the packages run in an
// interpreter, whose program is nowhere near it.
std::string ModuleBesideLibrary() {
  if (const char* explicitPath = std::getenv("CODEBOOK_MODULE"); explicitPath != nullptr && *explicitPath != '\0') {
    return {};
  }
  Dl_info info{};
  if (::dladdr(reinterpret_cast<void*>(&ModuleBesideLibrary), &info) == 0 || info.dli_fname == nullptr) return {};
  const fs::path module = fs::path(info.dli_fname).parent_path() / "libcodebook.so";
  std::error_code error;
  return fs::is_regular_file(module, error) ? module.string() : std::string();
}

// A name as the command's variable list takes it: on its own, so that no
// name can end the command or start a subcommand.
bool ListItemFits(const std::string& name) {
  return !name.empty() && name.find_first_of(" \t\r\n/.'\"=()") == std::string::npos;
}

std::string OneLine(std::string text) {
  for (char& c : text) c = (c == '\n' || c == '\r') ? ' ' : c;
  return text;
}

class Runner {
 public:
  Runner(const RunOptions& options, bool program, bool forceName)
      : options_(options), forceName_(forceName), finisher_(Choices(options)) {
    session::SessionOptions settings;
    settings.modulePath = options.modulePath.empty() ? ModuleBesideLibrary() : options.modulePath;
    settings.messageStream = messages_.Stream();
    if (program) settings.programName = "codebook";
    settings.encoding = options.encoding;
    settings.catalog = options.catalog;
    settings.onProgress = options.progress;
    settings.stop = options.cancel;
    // A file without cases still has its dictionary, which is what a
    // caller asking for the codebook as data wants (as the exports do).
    settings.describeEmptyFiles = true;
    settings.afterCommand = [this](std::size_t first) { AfterCommand(first); };
    settings.passObserver = [this](const data::Dataset& dataset, int weightIndex) {
      return finisher_.Observer(dataset, weightIndex);
    };
    session_ = std::make_unique<session::Session>(std::move(settings));
  }

  session::Session& Session() { return *session_; }
  void Name(std::string name) { name_ = std::move(name); }

  // The command the options describe.
  bool RunCommand(RunResult& result) {
    if (options_.weight) {
      if (options_.weight->empty()) {
        session_->RunSyntax("WEIGHT OFF.\n");
      } else if (!ListItemFits(*options_.weight)) {
        return Refuse(result, "weight: '" + OneLine(*options_.weight) + "' is not a variable name");
      } else {
        session_->RunSyntax("WEIGHT BY " + *options_.weight + ".\n");
      }
      // An unknown weight variable is the run's one error: no tables follow.
      if (session_->ExitStatus() != session::kExitOk) return true;
    }
    std::string command = "CODEBOOK";
    for (const std::string& name : options_.variables) {
      if (!ListItemFits(name)) return Refuse(result, "variables: '" + OneLine(name) + "' is not a variable or set name");
      command += " " + name;
    }
    if (options_.maxCategories != 200) command += " /OPTIONS MAXCATS=" + std::to_string(options_.maxCategories);
    command += " " + OneLine(options_.subcommands);
    while (!command.empty() && (command.back() == ' ' || command.back() == '.')) command.pop_back();
    session_->RunSyntax(command + ".\n");
    return true;
  }

  RunResult Finish(RunResult result) {
    const std::vector<std::string> lines = messages_.Lines();
    std::size_t n = 0;
    for (const output::Document::Item& item : session_->Document()->Items()) {
      const auto* message = std::get_if<output::Document::MessageItem>(&item);
      if (message == nullptr) continue;
      ++n;
    }
    const bool matched = n == lines.size();
    std::size_t line = 0;
    for (const output::Document::Item& item : session_->Document()->Items()) {
      const auto* message = std::get_if<output::Document::MessageItem>(&item);
      if (message == nullptr) continue;
      Message entry;
      entry.severity = (*message)->severity;
      entry.text = (*message)->text;
      entry.printed = matched ? lines[line] : std::string(output::SeverityName(entry.severity)) + ": " + entry.text;
      ++line;
      result.messages.push_back(std::move(entry));
    }
    result.commands = std::move(commands_);
    result.status = std::max(result.status, session_->ExitStatus());
    result.interrupted = session_->Interrupted() || (options_.cancel != nullptr && options_.cancel->load());
    if (result.interrupted && result.status == 0) result.status = session::kExitCommandError;
    return result;
  }

  report::DistributionCollector* Distributions() { return finisher_.Distributions(); }

 private:
  static FinishChoices Choices(const RunOptions& options) {
    FinishChoices choices;
    choices.alerts = options.alerts;
    choices.overview = options.overview;
    // Every value is counted, as for an export: the packages' values carry
    // their unweighted counts, and the exports are made from the same run.
    choices.exporting = false;
    choices.countAll = true;
    choices.histograms = true;
    choices.hide = report::ParseHideRequest(options.hide);
    return choices;
  }

  bool Refuse(RunResult& result, const std::string& text) {
    Message message;
    message.severity = output::Severity::kError;
    message.text = text;
    message.printed = "codebook: " + text;
    result.messages.push_back(message);
    result.status = session::kExitUsage;
    return false;
  }

  void AfterCommand(std::size_t first) {
    session::Session& session = *session_;
    const std::string shown = name_.empty() && !session.OpenedFiles().empty() ? session.OpenedFiles().back() : name_;
    CommandFinisher::Finished finished = finisher_.Finish(session, first, shown, forceName_);
    if (!finished.done) return;
    for (const std::string& name : finished.unknownHidden) {
      output::AddMessage(*session.Document(), output::Severity::kWarning, "", 0,
                         "hide: the dataset has no variable " + name);
      if (messages_.Stream() != nullptr) {
        std::fprintf(messages_.Stream(), "codebook: warning: hide: the dataset has no variable %s\n", name.c_str());
      }
    }
    // A command the procedure refused (an unknown name in its list) ran
    // whole but made no codebook: no result of it.
    const auto& said = session.Document()->Items();
    for (std::size_t i = first; i < said.size(); ++i) {
      const auto* message = std::get_if<output::Document::MessageItem>(&said[i]);
      if (message != nullptr && (*message)->severity == output::Severity::kError) return;
    }
    CommandResult command;
    exporting::ExportInput input = finisher_.ExportInputOf(session, shown, CODEBOOK_VERSION);
    if (input.dataset != nullptr) command.model = exporting::MakeCodebookModel(input);
    auto document = std::make_shared<output::Document>();
    const output::Document& from = *session.Document();
    const auto& items = from.Items();
    for (std::size_t i = first; i < items.size(); ++i) {
      if (const auto* table = std::get_if<output::Document::Table>(&items[i])) {
        document->Append(*table);
        if (const output::Histogram* histogram = from.HistogramOf(*table)) document->SetHistogram(*table, *histogram);
      } else if (const auto* heading = std::get_if<output::Document::HeadingItem>(&items[i])) {
        document->Append(**heading);
      } else if (const auto* file = std::get_if<output::Document::FileItem>(&items[i])) {
        document->Append(**file);
      } else if (const auto* message = std::get_if<output::Document::MessageItem>(&items[i])) {
        document->Append(**message);
      }
    }
    if (finished.alertsChecked) document->SetAlertsChecked();
    for (output::Alert alert : finished.alerts) {
      alert.file = 0;
      document->AddAlert(alert);
    }
    document->SetProvenance({"codebook", CODEBOOK_VERSION, ProductionDate()});
    command.alerts = std::move(finished.alerts);
    command.document = std::move(document);
    commands_.push_back(std::move(command));
  }

  const RunOptions& options_;
  bool forceName_;
  std::string name_;
  MessageBuffer messages_;
  CommandFinisher finisher_;
  std::unique_ptr<session::Session> session_;
  std::vector<CommandResult> commands_;
};

}  // namespace

namespace {

// An encoding the converter does not know is the caller's mistake, refused
// as the program refuses it, not the file's (whose reader would warn and
// use the file's own).
bool RefusedEncoding(const RunOptions& options, RunResult& result) {
  if (options.encoding.empty()) return false;
  const iconv_t converter = ::iconv_open("UTF-8", options.encoding.c_str());
  if (converter != reinterpret_cast<iconv_t>(-1)) {
    ::iconv_close(converter);
    return false;
  }
  Message message;
  message.severity = output::Severity::kError;
  message.text = "unknown encoding '" + OneLine(options.encoding) + "' (see iconv --list)";
  message.printed = "codebook: " + message.text;
  result.messages.push_back(message);
  result.status = session::kExitUsage;
  return true;
}

}  // namespace

std::string RunResult::ErrorText() const {
  std::string text;
  for (const Message& message : messages) {
    if (message.severity != output::Severity::kError) continue;
    text += (text.empty() ? "" : "\n") + message.printed;
  }
  if (text.empty() && interrupted) text = "the run was interrupted";
  if (text.empty() && status != 0) text = "the run failed (status " + std::to_string(status) + ")";
  return text;
}

RunResult ReadFile(const std::string& path, const RunOptions& options) {
  if (RunResult refused; RefusedEncoding(options, refused)) return refused;
  Runner runner(options, true, false);
  runner.Name(path);
  const report::DistributionScope distributions(runner.Distributions());
  RunResult result;
  if (runner.Session().GetFile(path)) runner.RunCommand(result);
  return runner.Finish(std::move(result));
}

RunResult RunSyntax(const std::string& text, const RunOptions& options, const std::string& folder) {
  if (RunResult refused; RefusedEncoding(options, refused)) return refused;
  Runner runner(options, false, false);
  const report::DistributionScope distributions(runner.Distributions());
  session::SyntaxOrigin origin;
  std::error_code error;
  origin.folder = folder.empty() ? fs::current_path(error) : fs::path(folder);
  runner.Session().RunSyntax(text, origin);
  return runner.Finish({});
}

RunResult ReadDataset(std::shared_ptr<data::Dataset> dataset, const std::string& name, const RunOptions& options) {
  Runner runner(options, true, true);
  runner.Name(name);
  const report::DistributionScope distributions(runner.Distributions());
  RunResult result;
  data::FileInfo info;
  info.encoding = "UTF-8";
  runner.Session().UseDataset(std::move(dataset), name, info);
  runner.RunCommand(result);
  return runner.Finish(std::move(result));
}

const std::vector<std::string>& FormatNames() {
  static const std::vector<std::string> names = {"text", "ascii", "html", "json", "markdown",
                                                 "csv",  "pdf",   "ddi",  "dictionary", "xlsx"};
  return names;
}

bool Render(const CommandResult& result, const std::string& format, std::string& bytes, std::string& error,
            int width) {
  bytes.clear();
  if (!result.document) {
    error = "nothing to render";
    return false;
  }
  std::ostringstream out;
  if (format == "ddi") {
    exporting::WriteDdi(result.model, out);
  } else if (format == "dictionary") {
    exporting::WriteDictionaryCsv(result.model, out);
  } else if (format == "xlsx") {
    return exporting::XlsxBytes(result.model, bytes, error, ProductionTime());
  } else if (format == "pdf") {
    output::pdf::PdfOptions options;
    options.paper = output::pdf::LocalePaper();
    options.created = ProductionTime();
    options.creator = std::string("codebook ") + CODEBOOK_VERSION;
    try {
      output::pdf::RenderPdf(*result.document, out, options);
    } catch (const std::exception& failure) {
      error = failure.what();
      return false;
    }
  } else if (const auto parsed = output::ParseOutputFormat(format); parsed && *parsed != output::OutputFormat::kPdf) {
    output::TextOptions text;
    text.width = width > 0 ? std::max(width, output::TextOptions::kMinimumWidth) : 0;
    output::Render(*result.document, *parsed, out, text);
  } else {
    error = "unknown format '" + format + "' (the formats: text, ascii, html, json, markdown, csv, pdf, ddi, "
            "dictionary, xlsx)";
    return false;
  }
  bytes = std::move(out).str();
  return true;
}

}  // namespace codebook::api
