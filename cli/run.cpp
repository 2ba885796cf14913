#include "cli/run.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "cli/cleanup.h"
#include "cli/output_target.h"
#include "cli/standard_input.h"
#include "cli/target_stream.h"
#include "platform/api/command_finisher.h"
#include "platform/api/provenance.h"
#include "platform/export/ddi_writer.h"
#include "platform/export/dictionary_csv.h"
#include "platform/output/render/pdf/pdf_renderer.h"
#include "platform/export/xlsx_bytes.h"
#include "platform/output/render/renderers.h"
#include "platform/output/render/terminal_text.h"
#include "platform/report/distributions.h"
#include "platform/report/hidden_values.h"
#include "platform/session/session.h"

namespace codebook::cli {

namespace {

namespace fs = std::filesystem;
using codebook::output::Document;
using codebook::output::OutputFormat;
using codebook::report::DistributionScope;
namespace session = codebook::session;

int Fail(int status, const std::string& text) {
  const std::string line = "codebook: " + codebook::output::EscapeForTerminal(text) + "\n";
  codebook::cli::WriteAll(STDERR_FILENO, line);
  return status;
}

// Text, Markdown and CSV carry tables only: their messages go to standard
// error. HTML, JSON and PDF documents keep them.
bool CarriesMessages(OutputFormat format) {
  return format == OutputFormat::kHtml || format == OutputFormat::kJson || format == OutputFormat::kPdf;
}

// The reports with pictures and a file summary at their head.
bool IsReport(OutputFormat format) { return format == OutputFormat::kHtml || format == OutputFormat::kPdf; }

// `errors`: the errors are carried in every format, so that a file's part
// of a batch says what went wrong with it.
void AppendItems(Document& to, const Document& from, std::size_t first, OutputFormat format, bool errors = false) {
  const auto& items = from.Items();
  for (std::size_t i = first; i < items.size(); ++i) {
    if (const auto* table = std::get_if<Document::Table>(&items[i])) {
      to.Append(*table);
      if (const codebook::output::Histogram* histogram = from.HistogramOf(*table)) to.SetHistogram(*table, *histogram);
    } else if (const auto* heading = std::get_if<Document::HeadingItem>(&items[i])) {
      to.Append(**heading);
    } else if (const auto* file = std::get_if<Document::FileItem>(&items[i])) {
      to.Append(**file);
    } else if (const auto& message = std::get<Document::MessageItem>(items[i]);
               CarriesMessages(format) || (errors && message->severity == codebook::output::Severity::kError)) {
      to.Append(*message);
    }
  }
}

// What a separately rendered part needs before it to read as one document.
const char* Separator(OutputFormat format) { return format == OutputFormat::kCsv ? "\r\n" : "\n"; }

// Text tables fit the screen: --width, else $COLUMNS, else the terminal's
// size; output that goes to a file or a pipe is not narrowed unless asked.
// A screen narrower than the output can be made for gets the narrowest.
int ScreenWidth(const Options& options, bool toStandardOutput) {
  constexpr int kMinimum = codebook::output::TextOptions::kMinimumWidth;
  if (options.width >= 0) return options.width;
  if (!toStandardOutput) return 0;
  if (const char* columns = std::getenv("COLUMNS"); columns != nullptr && *columns != '\0') {
    int width = 0;
    const char* end = columns + std::strlen(columns);
    const auto [stop, failure] = std::from_chars(columns, end, width);
    if (failure == std::errc() && stop == end && width > 0) return std::max(width, kMinimum);
  }
  winsize size{};
  if (::isatty(STDOUT_FILENO) != 0 && ::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) {
    return std::max<int>(size.ws_col, kMinimum);
  }
  return 0;
}

}  // namespace

// One run of the program: the jobs (a syntax file, or one dataset file at a
// time), their output sent to the target as it is made or kept to the end.
class Run::Impl {
 public:
  Impl(const Options& options, OutputFormat format, codebook::cli::OutputTarget& target)
      : options_(options), format_(format), target_(target), finisher_(Choices(options, format)) {
    textOptions_.width = ScreenWidth(options, target.IsStandardOutput());
    // Text-like output to standard output is shown command by command, each
    // command's closing messages after its tables.
    exporting_ = options.exportFormat != codebook::cli::ExportFormat::kNone;
    streaming_ = target.IsStandardOutput() && !CarriesMessages(format) && !exporting_;
  }

  // A dataset file; `heading` introduces its part when there are several.
  // Each part stands alone: a file that cannot be read, or whose command
  // fails, has its error in its part, and the other parts are written.
  void Dataset(const std::string& file, bool heading) {
    if (writeFailed_) return;
    batch_ = batch_ || heading;
    const DistributionScope distributions(Distributions());
    if (heading) {
      Document part;
      part.Append(codebook::output::Heading{file});
      Part(part);
    }
    session::Session session(SessionOptions());
    current_ = &session;
    bool opened = false;
    readingStandardInput_ = file == codebook::cli::kStandardStream;
    if (readingStandardInput_) {
      codebook::cli::StandardInput input;
      std::string error;
      const std::string path = input.Path(error);
      if (path.empty()) {
        Fail(session::kExitDatasetError, error);
        Worsen(session::kExitDatasetError);
        Document part;
        codebook::output::AddMessage(part, codebook::output::Severity::kError, "", 0, error);
        Part(part);
        return;
      }
      // The file information shows a path split at its last slash: standard
      // input is shown by the path that names it.
      opened = session.GetFile(path, 0, "standard input", std::string("/dev/stdin"));
    } else {
      opened = session.GetFile(file);
    }
    fileName_ = file == codebook::cli::kStandardStream ? std::string("standard input") : file;
    if (!opened) {
      // No command ran to show the error with its part.
      if (streaming_) Emit(*session.Document(), 0);
      Finish(session);
      return;
    }
    if (!options_.weight.empty() || options_.noWeight) {
      // An unknown weight variable is the run's one error: no tables follow.
      // The name stays on one line, so that it cannot end the command.
      std::string weight = options_.weight;
      for (char& c : weight) c = (c == '\n' || c == '\r') ? ' ' : c;
      session.RunSyntax(options_.noWeight ? std::string("WEIGHT OFF.\n") : "WEIGHT BY " + weight + ".\n");
      if (session.ExitStatus() != session::kExitOk) {
        Finish(session);
        return;
      }
    }
    session.RunSyntax(codebook::cli::BuildCodebookSyntax(options_.codebookArguments));
    Finish(session);
  }

  void Syntax(const std::string& text, const std::string& file) {
    const DistributionScope distributions(Distributions());
    session::Session session(SessionOptions());
    current_ = &session;
    session::SyntaxOrigin origin;
    origin.name = file;
    std::error_code error;
    origin.folder = fs::absolute(file, error).parent_path();
    session.RunSyntax(text, origin);
    if (session.OpenedFiles().empty()) {
      fileName_.clear();
    } else {
      fileName_ = session.OpenedFiles().back();
    }
    Finish(session);
  }

  // Writes what was kept to the end; returns the program's status.
  int End() {
    std::string error;
    if (!writeFailed_ && !streaming_) {
      // A batch in which some file's part was made is written with the
      // errors of the others in their parts; otherwise a failed run leaves
      // the target as it was.
      const bool written = status_ == session::kExitOk || (batch_ && goodParts_ > 0);
      if (!target_.IsStandardOutput() && !written) {
        Fail(status_, "output not written to " + target_.Path() + " because of the errors above");
        return status_;
      }
      // An export is written whole or not at all, to standard output too.
      if (exporting_ && status_ != session::kExitOk) return status_;
      // The run has succeeded (or writes to standard output anyway): the
      // output goes to its target as it is rendered.
      if (!target_.Open(opened_, error)) {
        writeFailed_ = true;
        writeError_ = error;
      } else {
        codebook::cli::TargetStreamBuffer buffer(target_);
        std::ostream out(&buffer);
        if (exporting_) {
          out.write(exported_.data(), static_cast<std::streamsize>(exported_.size()));
        } else {
          combined_.SetProvenance({"codebook", CODEBOOK_VERSION, codebook::api::ProductionDate()});
          if (format_ == OutputFormat::kPdf) {
            RenderPdf(out);
          } else {
            codebook::output::Render(combined_, format_, out, textOptions_);
          }
        }
        if (!pdfError_.empty()) {
          // Nothing of a PDF that could not be made is kept.
          writeFailed_ = true;
          writeError_ = pdfError_;
        } else if (!buffer.Finish(error) || !target_.Commit(opened_, error)) {
          writeFailed_ = true;
          writeError_ = error;
        }
      }
    }
    if (writeFailed_) {
      Fail(session::kExitUsage, writeError_);
      return std::max<int>(status_, session::kExitUsage);
    }
    return status_;
  }

 private:
  static codebook::api::FinishChoices Choices(const Options& options, OutputFormat format) {
    codebook::api::FinishChoices choices;
    choices.exporting = options.exportFormat != codebook::cli::ExportFormat::kNone;
    // HTML and JSON always carry alerts; text and Markdown when asked.
    choices.alerts = !choices.exporting && (CarriesMessages(format) || (options.alerts && format != OutputFormat::kCsv));
    choices.overview = !choices.exporting && options.overview;
    choices.histograms = IsReport(format);
    choices.hide = codebook::report::ParseHideRequest(options.hideValues);
    return choices;
  }

  codebook::report::DistributionCollector* Distributions() { return finisher_.Distributions(); }

  session::SessionOptions SessionOptions() {
    session::SessionOptions result;
    result.progress = !options_.quiet && ::isatty(STDERR_FILENO) != 0;
    // Without a syntax file the user typed no command: the program speaks.
    if (options_.syntaxFile.empty()) result.programName = "codebook";
    result.encoding = options_.encoding;
    result.catalog = options_.catalog;
    result.holdMessages = streaming_;
    // A dictionary-only file exports its dictionary; its codebook is the
    // procedure's error.
    result.describeEmptyFiles = exporting_;
    result.afterCommand = [this](std::size_t first) {
      Document alerts;
      PostProcess(*current_, first, alerts);
      if (streaming_) Emit(*current_->Document(), first, alerts);
    };
    result.passObserver = [this](const codebook::data::Dataset& dataset, int weightIndex) {
      return finisher_.Observer(dataset, weightIndex);
    };
    return result;
  }

  // After a CODEBOOK command that ran whole: its alerts (into `alerts`,
  // and into the combined document when the output is made at the end),
  // its hidden values, its file's summary and overview.
  void PostProcess(session::Session& session, std::size_t first, Document& alerts) {
    const std::string shown = readingStandardInput_ ? std::string("standard input") : fileName_;
    codebook::api::CommandFinisher::Finished finished = finisher_.Finish(session, first, shown, readingStandardInput_);
    if (!finished.done) return;
    for (const std::string& name : finished.unknownHidden) {
      Fail(session::kExitOk, "warning: --hide-values: the dataset has no variable " + name);
    }
    if (finished.alertsChecked) {
      alerts.SetAlertsChecked();
      combined_.SetAlertsChecked();
    }
    // Each part of the output shown as it is made holds one file; the
    // combined document holds them all, in order.
    for (codebook::output::Alert& alert : finished.alerts) {
      alert.file = 0;
      alerts.AddAlert(alert);
      alert.file = files_;
      if (!streaming_) combined_.AddAlert(std::move(alert));
    }
    if (!exporting_) ++files_;
  }

  // The export of the session's last CODEBOOK command, when it ran whole.
  void Export(const session::Session& session) {
    const auto& run = session.LastCodebook();
    if (!run || !run->completed || !run->dataset) return;
    const codebook::exporting::ExportInput input = finisher_.ExportInputOf(session, fileName_, CODEBOOK_VERSION);
    if (options_.exportFormat == codebook::cli::ExportFormat::kXlsx) {
      ExportWorkbook(input);
      return;
    }
    std::ostringstream text;
    if (options_.exportFormat == codebook::cli::ExportFormat::kDdi) {
      codebook::exporting::WriteDdi(input, text);
    } else {
      codebook::exporting::WriteDictionaryCsv(input, text);
    }
    exported_ = std::move(text).str();
  }

  void RenderPdf(std::ostream& out) {
    namespace pdf = codebook::output::pdf;
    pdf::PdfOptions pdfOptions;
    pdfOptions.paper = options_.paper.empty() ? pdf::LocalePaper() : pdf::ParsePaper(options_.paper).value_or(pdf::Paper::kA4);
    pdfOptions.created = codebook::api::ProductionTime();
    pdfOptions.creator = std::string("codebook ") + CODEBOOK_VERSION;
    try {
      pdf::RenderPdf(combined_, out, pdfOptions);
    } catch (const std::exception& failure) {
      pdfError_ = failure.what();
    }
  }

  // The workbook, held like the other exports until the run's status is
  // known; its temporary file is removed on a signal too.
  void ExportWorkbook(const codebook::exporting::ExportInput& input) {
    int slot = -1;
    const auto watch = [&slot](const std::string& path, bool exists) {
      if (exists) slot = codebook::cli::RegisterTemporaryFile(path);
      else codebook::cli::ReleaseTemporaryFile(slot);
    };
    std::string error;
    if (!codebook::exporting::XlsxBytes(codebook::exporting::MakeCodebookModel(input), exported_, error,
                                        codebook::api::ProductionTime(), watch)) {
      Worsen(Fail(session::kExitUsage, error));
    }
  }

  void Emit(const Document& document, std::size_t first, const Document& alerts = {}) {
    if (writeFailed_) return;
    Document part;
    AppendItems(part, document, first, format_, batch_);
    if (alerts.AlertsChecked()) part.SetAlertsChecked();
    for (const codebook::output::Alert& alert : alerts.Alerts()) part.AddAlert(alert);
    codebook::cli::TargetStreamBuffer buffer(target_);
    if (wroteSomething_) buffer.SetPrefix(Separator(format_));
    std::ostream out(&buffer);
    codebook::output::Render(part, format_, out, textOptions_);
    std::string error;
    if (!buffer.Finish(error)) {
      writeFailed_ = true;
      writeError_ = error;
    }
    wroteSomething_ = wroteSomething_ || buffer.WroteAny();
  }

  void Finish(session::Session& session) {
    if (exporting_) {
      Export(session);
    } else if (!streaming_) {
      AppendItems(combined_, *session.Document(), 0, format_, batch_);
    }
    for (const std::string& file : session.OpenedFiles()) opened_.push_back(file);
    if (session.ExitStatus() == session::kExitOk) ++goodParts_;
    Worsen(session.ExitStatus());
  }

  // What introduces a file's part, or stands for it: shown now when the
  // output is shown as it is made, else kept for the end.
  void Part(const Document& part) {
    if (streaming_) {
      Emit(part, 0);
    } else {
      AppendItems(combined_, part, 0, format_, true);
    }
  }

  void Worsen(int status) { status_ = std::max(status_, status); }

  const Options& options_;
  OutputFormat format_;
  codebook::cli::OutputTarget& target_;
  codebook::output::TextOptions textOptions_;
  bool streaming_ = false;
  bool exporting_ = false;
  int files_ = 0;  // the file summaries made so far
  codebook::api::CommandFinisher finisher_;
  std::string fileName_;  // the dataset as the user named it
  bool readingStandardInput_ = false;
  std::string exported_;  // the export, once made
  Document combined_;
  std::vector<std::string> opened_;
  int status_ = session::kExitOk;
  bool batch_ = false;    // several dataset files, a part each
  int goodParts_ = 0;     // the files whose part was made without error
  bool wroteSomething_ = false;
  bool writeFailed_ = false;
  std::string writeError_;
  std::string pdfError_;
  // The session whose commands are running, for the streaming callback.
  session::Session* current_ = nullptr;
};


Run::Run(const Options& options, OutputFormat format, OutputTarget& target)
    : impl_(std::make_unique<Impl>(options, format, target)) {}
Run::~Run() = default;
void Run::Dataset(const std::string& file, bool heading) { impl_->Dataset(file, heading); }
void Run::Syntax(const std::string& text, const std::string& file) { impl_->Syntax(text, file); }
int Run::End() { return impl_->End(); }

}  // namespace codebook::cli
