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
#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "cli/cleanup.h"
#include "cli/output_target.h"
#include "cli/standard_input.h"
#include "cli/target_stream.h"
#include "platform/export/ddi_writer.h"
#include "platform/export/dictionary_csv.h"
#include "platform/output/render/pdf/pdf_renderer.h"
#include "platform/export/xlsx_writer.h"
#include "platform/output/render/renderers.h"
#include "platform/output/render/terminal_text.h"
#include "platform/report/alerts.h"
#include "platform/report/distributions.h"
#include "platform/report/file_summary.h"
#include "platform/report/hidden_values.h"
#include "platform/report/overview.h"
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

// The time of production: $SOURCE_DATE_EPOCH when set (reproducible
// output), else now.
std::time_t ProductionTime() {
  std::time_t now = std::time(nullptr);
  if (const char* epoch = std::getenv("SOURCE_DATE_EPOCH"); epoch != nullptr && *epoch != '\0') {
    long long seconds = 0;
    const char* end = epoch + std::strlen(epoch);
    if (const auto [stop, failure] = std::from_chars(epoch, end, seconds); failure == std::errc() && stop == end) {
      now = static_cast<std::time_t>(seconds);
    }
  }
  return now;
}

// The date of production as YYYY-MM-DD.
std::string ProductionDate() {
  const std::time_t now = ProductionTime();
  std::tm utc{};
  gmtime_r(&now, &utc);
  char text[16];
  std::strftime(text, sizeof text, "%Y-%m-%d", &utc);
  return text;
}

}  // namespace

// One run of the program: the jobs (a syntax file, or one dataset file at a
// time), their output sent to the target as it is made or kept to the end.
class Run::Impl {
 public:
  Impl(const Options& options, OutputFormat format, codebook::cli::OutputTarget& target)
      : options_(options), format_(format), target_(target) {
    textOptions_.width = ScreenWidth(options, target.IsStandardOutput());
    // Text-like output to standard output is shown command by command, each
    // command's closing messages after its tables.
    exporting_ = options.exportFormat != codebook::cli::ExportFormat::kNone;
    streaming_ = target.IsStandardOutput() && !CarriesMessages(format) && !exporting_;
    // HTML and JSON always carry alerts; text and Markdown when asked.
    alerts_ = !exporting_ && (CarriesMessages(format) ||
                              (options.alerts && format != OutputFormat::kCsv));
    overview_ = !exporting_ && options.overview;
    hide_ = codebook::report::ParseHideRequest(options.hideValues);
    // The overview takes the scale variables' distinct values and range
    // from the quartiles' distributions; only the reports draw their histograms.
    distributions_.KeepHistograms(IsReport(format));
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
          combined_.SetProvenance({"codebook", CODEBOOK_VERSION, ProductionDate()});
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
  codebook::report::DistributionCollector* Distributions() {
    return IsReport(format_) || overview_ ? &distributions_ : nullptr;
  }

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
    result.passObserver = [this](const codebook::data::Dataset& dataset,
                                 int weightIndex) -> std::shared_ptr<codebook::data::CaseObserver> {
      // Alerts and the file's weighted total need only the weights; hiding
      // counts the values of the variables it may hide (up to a limit); the
      // overview and the exports tally every variable (the valid and
      // missing cases, the least and greatest value of an item whose table
      // lists no values), an export counting all values when there are
      // weights. Unweighted text without any of these needs no tally.
      if (!exporting_ && !alerts_ && hide_.Empty() && !overview_ && weightIndex < 0) return nullptr;
      codebook::exporting::TallyOptions tally = codebook::report::AlertTallyOptions();
      if (!hide_.Empty()) tally = codebook::report::HideTallyOptions(hide_, dataset);
      if (overview_) tally.allVariables = true;
      if (exporting_) {
        tally.allVariables = true;
        tally.countValues = tally.countValues || weightIndex >= 0;
        tally.maxValues = static_cast<std::size_t>(-1);
      }
      return std::make_shared<codebook::exporting::ValueTally>(dataset, weightIndex, tally);
    };
    return result;
  }

  // After a CODEBOOK command that ran whole: finds its alerts (into
  // `alerts`, and into the combined document when the output is made at the
  // end), then hides the values asked to be hidden in its tables, then puts
  // the file's summary and the overview at the head of its output. The
  // alerts read the tables before any value is hidden, so that they are the
  // same whatever is hidden; they name no value of a hidden variable. The
  // overview reads them after, so that it shows nothing they hide.
  void PostProcess(session::Session& session, std::size_t first, Document& alerts) {
    const auto& run = session.LastCodebook();
    if (!run || run->firstItem != first || !run->completed || !run->dataset) return;
    auto* tally = dynamic_cast<codebook::exporting::ValueTally*>(run->observer.get());
    if (tally != nullptr && run->expectedCases >= 0 && tally->Cases() < run->expectedCases) tally->SetPartial();
    // Histograms first: a table whose values are hidden is replaced, and its
    // histogram goes with it.
    if (IsReport(format_)) {
      codebook::report::AttachHistograms(*session.Document(), run->firstItem, run->endItem, *run->dataset, distributions_);
    }
    hidden_.clear();
    if (!hide_.Empty()) {
      std::vector<std::string> unknown;
      hidden_ = codebook::report::ChooseHidden(hide_, *run->dataset, tally, unknown);
      for (const std::string& name : unknown) {
        Fail(session::kExitOk, "warning: --hide-values: the dataset has no variable " + name);
      }
    }
    if (alerts_) CollectAlerts(session, *run, tally, alerts);
    if (!hidden_.empty()) {
      codebook::report::HideValues(*session.Document(), run->firstItem, run->endItem, *run->dataset, hidden_, tally);
    }
    if (!exporting_) Head(session, *run, tally);
    distributions_.Clear();
  }

  // What heads the output of the command: the file's summary (its File
  // Information table, if the command made one, says it instead in HTML)
  // and the overview of its items.
  void Head(session::Session& session, const session::CodebookRun& run, const codebook::exporting::ValueTally* tally) {
    Document& document = *session.Document();
    codebook::report::FileFacts facts;
    facts.dataset = run.dataset.get();
    facts.shownName = readingStandardInput_ ? std::string("standard input") : run.dataset->FileSpec().value_or(fileName_);
    facts.weightIndex = run.weightIndex;
    facts.tally = tally;
    facts.expectedCases = run.expectedCases;
    codebook::output::FileSummary file = codebook::report::SummarizeFile(document, run.firstItem, run.endItem, facts);
    Document::Table overview;
    if (overview_) {
      codebook::report::OverviewSources sources;
      sources.dataset = run.dataset.get();
      sources.tally = tally;
      sources.distributions = &distributions_;
      sources.hidden = hidden_;
      sources.maxCategories = codebook::report::MaxCategories(run.command);
      overview = codebook::report::MakeOverview(document, run.firstItem, run.endItem, sources);
    }
    document.Insert(run.firstItem, std::move(file));
    if (overview) document.Insert(run.firstItem + 1, overview);
    ++files_;
  }

  void CollectAlerts(session::Session& session, const session::CodebookRun& run,
                     const codebook::exporting::ValueTally* tally, Document& alerts) {
    alerts.SetAlertsChecked();
    combined_.SetAlertsChecked();
    // One item's facts at a time: the facts of all the items together
    // would hold a copy of every table's values.
    std::vector<codebook::output::Alert> found;
    codebook::exporting::ForEachItemFacts(*session.Document(), run.firstItem, run.endItem,
                                          [&](const codebook::exporting::ItemFacts& item, std::size_t) {
                                            codebook::report::AddItemAlerts(item, *run.dataset, hidden_, found);
                                          });
    codebook::report::AddFileAlerts(*run.dataset, tally, run.weightIndex, found);
    // Each part of the output shown as it is made holds one file; the
    // combined document holds them all, in order.
    for (codebook::output::Alert& alert : found) {
      alert.file = 0;
      alerts.AddAlert(alert);
      alert.file = files_;
      if (!streaming_) combined_.AddAlert(std::move(alert));
    }
  }

  // The export of the session's last CODEBOOK command, when it ran whole.
  void Export(const session::Session& session) {
    const auto& run = session.LastCodebook();
    if (!run || !run->completed || !run->dataset) return;
    codebook::exporting::ExportInput input;
    input.dataset = run->dataset.get();
    input.fileInfo = run->fileInfo;
    input.fileName = fileName_;
    input.items = codebook::exporting::ReadItemFacts(*session.Document(), run->firstItem, run->endItem);
    input.weightIndex = run->weightIndex;
    input.tally = dynamic_cast<const codebook::exporting::ValueTally*>(run->observer.get());
    input.hidden = hidden_;
    input.version = CODEBOOK_VERSION;
    input.date = ProductionDate();
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
    pdfOptions.created = ProductionTime();
    pdfOptions.creator = std::string("codebook ") + CODEBOOK_VERSION;
    try {
      pdf::RenderPdf(combined_, out, pdfOptions);
    } catch (const std::exception& failure) {
      pdfError_ = failure.what();
    }
  }

  // The workbook library writes only to files: the workbook is made in a
  // temporary file (removed on every way out, a signal included) and held
  // like the other exports until the run's status is known.
  void ExportWorkbook(const codebook::exporting::ExportInput& input) {
    std::error_code failure;
    fs::path folder = fs::temp_directory_path(failure);
    if (failure) folder = "/tmp";
    std::string path = (folder / "codebook-workbook-XXXXXX").string();
    const int fd = ::mkstemp(path.data());
    if (fd < 0) {
      Worsen(Fail(session::kExitUsage, "cannot make a temporary file in " + folder.string() + ": " + std::strerror(errno)));
      return;
    }
    ::close(fd);
    const int slot = codebook::cli::RegisterTemporaryFile(path);
    std::string error;
    if (codebook::exporting::WriteXlsx(input, path, error)) {
      std::ifstream in(path, std::ios::binary);
      std::ostringstream bytes;
      bytes << in.rdbuf();
      if (in.bad()) error = "cannot read back the workbook made in " + path;
      exported_ = std::move(bytes).str();
    }
    fs::remove(path, failure);
    codebook::cli::ReleaseTemporaryFile(slot);
    if (!error.empty()) {
      exported_.clear();
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
  bool alerts_ = false;
  bool overview_ = false;
  int files_ = 0;  // the file summaries made so far
  codebook::report::HideRequest hide_;
  std::set<int> hidden_;  // of the last CODEBOOK command
  codebook::report::DistributionCollector distributions_;  // of the command running
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
