// codebook: the data dictionary of a dataset file, from the command line.
#include <iconv.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "cli/cleanup.h"
#include "cli/options.h"
#include "cli/output_target.h"
#include "cli/run.h"
#include "cli/target_stream.h"
#include "platform/output/render/terminal_text.h"
#include "platform/session/session.h"

namespace {

namespace fs = std::filesystem;
using codebook::cli::Options;
using codebook::output::OutputFormat;
namespace session = codebook::session;

int Fail(int status, const std::string& text) {
  const std::string line = "codebook: " + codebook::output::EscapeForTerminal(text) + "\n";
  codebook::cli::WriteAll(STDERR_FILENO, line);
  return status;
}

// The bundled demo dataset: $CODEBOOK_DEMO, then installed beside the
// program, then the source tree it was built from.
std::string FindDemo() {
  std::vector<fs::path> places;
  if (const char* explicitPath = std::getenv("CODEBOOK_DEMO"); explicitPath && *explicitPath) {
    places.emplace_back(explicitPath);
  }
  std::error_code error;
  const fs::path program = fs::read_symlink("/proc/self/exe", error).parent_path();
  if (!error) places.push_back(program / ".." / "share" / "codebook" / "demo.sav");
  places.emplace_back(CODEBOOK_INSTALL_DATADIR "/codebook/demo.sav");
  places.emplace_back(CODEBOOK_SOURCE_DIR "/data/demo.sav");
  for (const fs::path& place : places) {
    if (fs::is_regular_file(place, error)) return place.lexically_normal().string();
  }
  return {};
}

// Standard output written through stdio (help, version) must reach its
// destination too.
int FinishStandardOutput(int status) {
  if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
    return Fail(session::kExitUsage, std::string("cannot write standard output: ") + std::strerror(errno));
  }
  return status;
}

// An export describes what one CODEBOOK command shows, of one dataset: a
// syntax file with several (on several datasets, or the same one seen
// differently) or none has no one document to give, which is said before
// anything runs rather than describing one of them silently.
bool OneCodebookCommand(const std::string& syntax, const Options& options, std::string& error) {
  const std::vector<int> lines = session::CodebookCommandLines(syntax);
  if (lines.size() == 1) return true;
  const std::string what = options.exportFormat == codebook::cli::ExportFormat::kDdi          ? "DDI"
                           : options.exportFormat == codebook::cli::ExportFormat::kDictionary ? "dictionary"
                                                                                              : "workbook";
  error = options.syntaxFile + ": " + what + " output describes one CODEBOOK command, and this file has ";
  if (lines.empty()) {
    error += "none";
    return false;
  }
  error += std::to_string(lines.size()) + " (lines ";
  for (std::size_t i = 0; i < lines.size(); ++i) {
    error += (i == 0 ? "" : i + 1 == lines.size() ? " and " : ", ") + std::to_string(lines[i]);
  }
  error += "); export them from one syntax file each";
  return false;
}

}  // namespace

int main(int argc, char** argv) {
  // A reader that goes away (`codebook ... | head`) makes writes fail with
  // EPIPE instead of ending the program where it stands: the failure is
  // reported with status 2 and no temporary file stays behind.
  std::signal(SIGPIPE, SIG_IGN);
  std::string error;
  const std::optional<Options> parsed =
      codebook::cli::ParseOptions(std::vector<std::string>(argv + 1, argv + argc), error);
  if (!parsed) return Fail(session::kExitUsage, error);
  Options options = *parsed;
  if (options.help) {
    std::fputs(codebook::cli::Usage().c_str(), stdout);
    return FinishStandardOutput(0);
  }
  if (options.version) {
    std::printf("codebook %s\n", CODEBOOK_VERSION);
    return FinishStandardOutput(0);
  }
  if (!options.encoding.empty()) {
    // A name the converter does not know is the user's mistake, not the file's.
    const iconv_t converter = ::iconv_open("UTF-8", options.encoding.c_str());
    if (converter == reinterpret_cast<iconv_t>(-1)) {
      return Fail(session::kExitUsage, "unknown encoding '" + options.encoding + "' (see iconv --list)");
    }
    ::iconv_close(converter);
  }
  codebook::cli::InstallCleanupOnSignals();

  std::string syntax;
  if (!options.syntaxFile.empty()) {
    std::ifstream in(options.syntaxFile, std::ios::binary);
    if (!in) {
      return Fail(session::kExitUsage,
                  "cannot read syntax file " + options.syntaxFile + ": " + std::strerror(errno));
    }
    std::ostringstream text;
    text << in.rdbuf();
    syntax = text.str();
  } else if (options.demo) {
    const std::string demo = FindDemo();
    if (demo.empty()) return Fail(session::kExitDatasetError, "the demo dataset is not installed");
    options.dataFiles = {demo};
  }

  if (options.exportFormat != codebook::cli::ExportFormat::kNone && !options.syntaxFile.empty()) {
    if (!OneCodebookCommand(syntax, options, error)) return Fail(session::kExitUsage, error);
  }
  // A workbook is a zip archive: on a terminal it would be noise.
  const bool toStandardOutput = options.outputFile.empty() || options.outputFile == codebook::cli::kStandardStream;
  if (options.exportFormat == codebook::cli::ExportFormat::kXlsx && toStandardOutput && ::isatty(STDOUT_FILENO) != 0) {
    return Fail(session::kExitUsage, "a workbook is not shown on a terminal: give -o FILE.xlsx or redirect the output");
  }

  // The output may never replace what it is made from.
  std::vector<std::string> inputs;
  for (const std::string& file : options.dataFiles) {
    if (file != codebook::cli::kStandardStream) inputs.push_back(file);
  }
  if (!options.syntaxFile.empty()) inputs.push_back(options.syntaxFile);
  codebook::cli::OutputTarget target(options.outputFile);
  if (!target.Prepare(inputs, error)) return Fail(session::kExitUsage, error);

  const OutputFormat format =
      options.ascii && options.format == OutputFormat::kText ? OutputFormat::kAscii : options.format;
  codebook::cli::Run run(options, format, target);
  if (!options.syntaxFile.empty()) {
    run.Syntax(syntax, options.syntaxFile);
  } else {
    const bool headings = options.dataFiles.size() > 1;
    for (const std::string& file : options.dataFiles) run.Dataset(file, headings);
  }
  return run.End();
}
