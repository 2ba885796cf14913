// codebook: the data dictionary of a dataset file, from the command line.
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

#include "cli/options.h"
#include "platform/output/render/renderers.h"
#include "platform/session/session.h"

namespace {

namespace fs = std::filesystem;
using codebook::cli::Options;
using codebook::output::OutputFormat;

int Fail(int status, const std::string& text) {
  std::fprintf(stderr, "codebook: %s\n", text.c_str());
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

// Text, Markdown and CSV carry tables only: their messages have gone to
// standard error already. HTML and JSON documents keep them.
codebook::output::Document ForRendering(const codebook::output::Document& document,
                                        OutputFormat format) {
  if (format == OutputFormat::kHtml || format == OutputFormat::kJson) return document;
  codebook::output::Document tables;
  for (const auto& item : document.Items()) {
    if (const auto* table = std::get_if<codebook::output::Document::Table>(&item)) tables.Append(*table);
  }
  return tables;
}

// An output file is written whole or not at all: into a temporary file in
// the same folder, renamed over the target only when the run succeeded.
class OutputFile {
 public:
  explicit OutputFile(std::string target) : target_(std::move(target)) {}
  ~OutputFile() {
    if (!temporary_.empty()) std::remove(temporary_.c_str());
  }

  bool Open(std::string& error) {
    const fs::path folder = fs::path(target_).parent_path();
    std::string pattern = ((folder.empty() ? fs::path(".") : folder) / ".codebook-XXXXXX").string();
    std::vector<char> name(pattern.begin(), pattern.end());
    name.push_back('\0');
    const int fd = mkstemp(name.data());
    if (fd < 0) {
      error = "cannot write " + target_ + ": " + std::strerror(errno);
      return false;
    }
    close(fd);
    temporary_ = name.data();
    if (fs::is_directory(target_)) {
      error = "cannot write " + target_ + ": it is a folder";
      return false;
    }
    return true;
  }

  bool Commit(const std::string& contents, std::string& error) {
    {
      std::ofstream out(temporary_, std::ios::binary | std::ios::trunc);
      out << contents;
      out.close();
      if (!out) {
        error = "cannot write " + target_ + ": " + std::strerror(errno);
        return false;
      }
    }
    if (std::rename(temporary_.c_str(), target_.c_str()) != 0) {
      error = "cannot write " + target_ + ": " + std::strerror(errno);
      return false;
    }
    temporary_.clear();
    return true;
  }

 private:
  std::string target_;
  std::string temporary_;
};

}  // namespace

int main(int argc, char** argv) {
  std::string error;
  const std::optional<Options> parsed =
      codebook::cli::ParseOptions(std::vector<std::string>(argv + 1, argv + argc), error);
  if (!parsed) return Fail(codebook::session::kExitUsage, error);
  const Options& options = *parsed;
  if (options.help) {
    std::fputs(codebook::cli::kUsage, stdout);
    return 0;
  }
  if (options.version) {
    std::printf("codebook %s\n", CODEBOOK_VERSION);
    return 0;
  }

  std::string syntax;
  std::string dataFile = options.dataFile;
  if (!options.syntaxFile.empty()) {
    std::ifstream in(options.syntaxFile, std::ios::binary);
    if (!in) {
      return Fail(codebook::session::kExitUsage,
                  "cannot read syntax file " + options.syntaxFile + ": " + std::strerror(errno));
    }
    std::ostringstream text;
    text << in.rdbuf();
    syntax = text.str();
  } else {
    if (options.demo) {
      dataFile = FindDemo();
      if (dataFile.empty()) return Fail(codebook::session::kExitDatasetError, "the demo dataset is not installed");
    }
    syntax = codebook::cli::BuildSyntax(options.weight, options.codebookArguments);
  }

  std::unique_ptr<OutputFile> outputFile;
  if (!options.outputFile.empty()) {
    outputFile = std::make_unique<OutputFile>(options.outputFile);
    if (!outputFile->Open(error)) return Fail(codebook::session::kExitUsage, error);
  }

  codebook::session::SessionOptions sessionOptions;
  sessionOptions.progress = isatty(STDERR_FILENO) != 0;
  codebook::session::Session session(sessionOptions);
  // A dataset that cannot be read ends the run: its one error says why.
  if (!dataFile.empty() && !session.GetFile(dataFile)) return session.ExitStatus();
  session.RunSyntax(syntax);
  const int status = session.ExitStatus();

  const OutputFormat format =
      options.ascii && options.format == OutputFormat::kText ? OutputFormat::kAscii : options.format;
  const codebook::output::Document document = ForRendering(*session.Document(), format);
  if (!outputFile) {
    codebook::output::Render(document, format, std::cout);
    std::cout.flush();
    return status;
  }
  if (status != codebook::session::kExitOk) {
    Fail(status, "output not written to " + options.outputFile + " because of the errors above");
    return status;
  }
  std::ostringstream rendered;
  codebook::output::Render(document, format, rendered);
  if (!outputFile->Commit(rendered.str(), error)) return Fail(codebook::session::kExitUsage, error);
  return status;
}
