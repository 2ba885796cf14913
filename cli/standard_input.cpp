#include "cli/standard_input.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <vector>

#include "cli/cleanup.h"
#include "cli/output_target.h"

namespace codebook::cli {

StandardInput::~StandardInput() { Opened(); }

std::string StandardInput::Path(std::string& error) {
  if (::isatty(STDIN_FILENO) != 0) {
    error = "standard input is a terminal: pipe a dataset into it or name a file";
    return {};
  }
  struct stat st {};
  if (::fstat(STDIN_FILENO, &st) == 0 && S_ISREG(st.st_mode)) return "/dev/stdin";

  std::error_code ignored;
  const std::filesystem::path folder = std::filesystem::temp_directory_path(ignored);
  std::string pattern = ((folder.empty() ? std::filesystem::path("/tmp") : folder) / "codebook-stdin-XXXXXX").string();
  const int fd = ::mkstemp(pattern.data());
  if (fd < 0) {
    error = "cannot copy standard input to a temporary file: " + std::string(std::strerror(errno));
    return {};
  }
  temporary_ = pattern;
  slot_ = RegisterTemporaryFile(temporary_);
  std::vector<char> buffer(1 << 20);
  for (;;) {
    const ssize_t got = ::read(STDIN_FILENO, buffer.data(), buffer.size());
    if (got == 0) break;
    if (got < 0 && errno == EINTR) continue;
    if (got < 0 || !WriteAll(fd, std::string_view(buffer.data(), static_cast<std::size_t>(got)))) {
      error = "cannot copy standard input to a temporary file: " + std::string(std::strerror(errno));
      ::close(fd);
      return {};
    }
  }
  if (::close(fd) != 0) {
    error = "cannot copy standard input to a temporary file: " + std::string(std::strerror(errno));
    return {};
  }
  return temporary_;
}

void StandardInput::Opened() {
  if (!temporary_.empty()) ::unlink(temporary_.c_str());
  temporary_.clear();
  ReleaseTemporaryFile(slot_);
  slot_ = -1;
}

}  // namespace codebook::cli
