// Feeds arbitrary text to the command language against the demo dataset:
// as the CODEBOOK arguments of the command line (first byte even) or as a
// whole syntax file (first byte odd). Every input must end in tables or
// messages, never in a crash, an internal assertion, a hang or a runaway
// allocation.
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>

#include "platform/session/session.h"

namespace {

namespace fs = std::filesystem;

const std::string& Demo() {
  static const std::string path = CODEBOOK_SOURCE_DIR "/data/demo.sav";
  return path;
}

codebook::session::SessionOptions Quiet() {
  codebook::session::SessionOptions options;
  options.messageStream = nullptr;
  return options;
}

// GET FILE with a relative path looks here, and finds nothing.
const fs::path& EmptyFolder() {
  static const fs::path folder = [] {
    fs::path path = fs::temp_directory_path() / ("codebook-syntax-fuzz-" + std::to_string(::getpid()));
    fs::create_directories(path);
    return path;
  }();
  return folder;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  // Keeps the procedure module loaded between inputs.
  static codebook::session::Session keeper(Quiet());
  if (!keeper.GetFile(Demo())) std::abort();
  keeper.RunSyntax("CODEBOOK age.");
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const bool arguments = (data[0] & 1) == 0;
  std::string text(reinterpret_cast<const char*>(data + 1), size - 1);
  codebook::session::Session session(Quiet());
  if (!session.GetFile(Demo())) std::abort();
  if (arguments) {
    // As the program builds the command from the shell's arguments.
    for (char& c : text) c = (c == '\n' || c == '\r') ? ' ' : c;
    text = "CODEBOOK " + text + ".\n";
  }
  codebook::session::SyntaxOrigin origin;
  origin.name = "fuzz.sps";
  origin.folder = EmptyFolder();
  session.RunSyntax(text, origin);
  return 0;
}
