#include "cli/output_target.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstring>
#include <filesystem>

#include "cli/cleanup.h"

namespace codebook::cli {
namespace {

namespace fs = std::filesystem;

// A process's open descriptor (/dev/stdout leads there): it is written as
// it is, never replaced, or a redirection's file would lose what the shell
// set up.
bool IsDescriptorPath(const fs::path& path) {
  const std::string text = path.lexically_normal().string();
  return text.rfind("/proc/", 0) == 0 && text.find("/fd/") != std::string::npos;
}

// Follows a chain of symlinks to the path it ends at, which need not exist
// yet (a dangling link names the file to create).
std::string FollowLinks(const std::string& path) {
  fs::path current(path);
  for (int hop = 0; hop < 40 && !IsDescriptorPath(current); ++hop) {
    struct stat st {};
    if (::lstat(current.c_str(), &st) != 0 || !S_ISLNK(st.st_mode)) break;
    std::error_code error;
    const fs::path next = fs::read_symlink(current, error);
    if (error) break;
    current = next.is_absolute() ? next : current.parent_path() / next;
  }
  return current.string();
}

bool SameFile(const std::string& a, const std::string& b) {
  struct stat sa {};
  struct stat sb {};
  return ::stat(a.c_str(), &sa) == 0 && ::stat(b.c_str(), &sb) == 0 && sa.st_dev == sb.st_dev &&
         sa.st_ino == sb.st_ino;
}

// The descriptor number of "/proc/self/fd/N", -1 for any other path.
int OwnDescriptor(const std::string& path) {
  constexpr std::string_view kPrefix = "/proc/self/fd/";
  if (path.rfind(kPrefix, 0) != 0) return -1;
  int fd = -1;
  const char* first = path.data() + kPrefix.size();
  const char* last = path.data() + path.size();
  const auto [end, failure] = std::from_chars(first, last, fd);
  return failure == std::errc() && end == last ? fd : -1;
}

mode_t NewFileMode() {
  const mode_t mask = ::umask(0);
  ::umask(mask);
  return 0666 & ~mask;
}

}  // namespace

bool WriteAll(int fd, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t written = ::write(fd, bytes.data(), bytes.size());
    if (written < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    if (written == 0) {
      errno = EIO;
      return false;
    }
    bytes.remove_prefix(static_cast<std::size_t>(written));
  }
  return true;
}

OutputTarget::OutputTarget(std::string path) : path_(path == "-" ? std::string() : std::move(path)) {}

OutputTarget::~OutputTarget() {
  if (fd_ >= 0) ::close(fd_);
  if (ownsPlaceFd_) ::close(placeFd_);
  if (!temporary_.empty()) ::unlink(temporary_.c_str());
  ReleaseTemporaryFile(slot_);
}

std::string OutputTarget::Failure(const std::string& what) const {
  return "cannot write " + (IsStandardOutput() ? std::string("standard output") : path_) + ": " + what;
}

bool OutputTarget::Refuse(const std::vector<std::string>& inputs, std::string& error) const {
  for (const std::string& input : inputs) {
    if (!input.empty() && SameFile(resolved_, input)) {
      error = "refusing to write the output to " + path_ + ": it is the input file " + input;
      return true;
    }
  }
  return false;
}

bool OutputTarget::Prepare(const std::vector<std::string>& inputs, std::string& error) {
  if (IsStandardOutput()) return true;
  resolved_ = FollowLinks(path_);
  if (Refuse(inputs, error)) return false;
  // The file standard output already goes to (-o /dev/stdout, or the file
  // of a redirection) is standard output: written there as it is made, each
  // command's messages after its tables.
  struct stat standardOutput {};
  struct stat target {};
  if (::fstat(STDOUT_FILENO, &standardOutput) == 0 && ::stat(resolved_.c_str(), &target) == 0 &&
      standardOutput.st_dev == target.st_dev && standardOutput.st_ino == target.st_ino) {
    path_.clear();
    resolved_.clear();
    return true;
  }

  struct stat st {};
  const bool exists = ::stat(resolved_.c_str(), &st) == 0;
  if (exists && S_ISDIR(st.st_mode)) {
    error = Failure("it is a folder");
    return false;
  }
  if (exists && (!S_ISREG(st.st_mode) || IsDescriptorPath(resolved_))) {
    // A device, a FIFO or an open descriptor cannot be replaced by a
    // rename; it receives the output itself, once the run has succeeded.
    if (::access(resolved_.c_str(), W_OK) != 0) {
      error = Failure(std::strerror(errno));
      return false;
    }
    inPlace_ = true;
    return true;
  }

  const fs::path folder = fs::path(resolved_).parent_path();
  std::string pattern = ((folder.empty() ? fs::path(".") : folder) / ".codebook-XXXXXX").string();
  fd_ = ::mkstemp(pattern.data());
  if (fd_ < 0) {
    error = Failure(std::strerror(errno));
    return false;
  }
  temporary_ = pattern;
  slot_ = RegisterTemporaryFile(temporary_);
  // A new file gets the mode any new file gets; a replaced one keeps its own.
  ::fchmod(fd_, exists ? (st.st_mode & 07777) : NewFileMode());
  return true;
}

bool OutputTarget::Open(const std::vector<std::string>& inputs, std::string& error) {
  if (!inPlace_ || placeFd_ >= 0) return true;
  if (Refuse(inputs, error)) return false;
  // Our own descriptor (-o /dev/stdout) is written where it stands: an
  // appending redirection keeps appending.
  if (const int own = OwnDescriptor(fs::path(resolved_).lexically_normal().string()); own >= 0) {
    placeFd_ = own;
  } else {
    placeFd_ = ::open(resolved_.c_str(), O_WRONLY | O_CLOEXEC);
    if (placeFd_ < 0) {
      error = Failure(std::strerror(errno));
      return false;
    }
    ownsPlaceFd_ = true;
  }
  const std::string held = std::move(pending_);
  pending_.clear();
  return Write(held, error);
}

bool OutputTarget::Write(std::string_view bytes, std::string& error) {
  if (IsStandardOutput()) {
    if (!WriteAll(STDOUT_FILENO, bytes)) {
      error = Failure(std::strerror(errno));
      return false;
    }
    return true;
  }
  if (inPlace_ && placeFd_ < 0) {
    pending_.append(bytes);
    return true;
  }
  if (!WriteAll(inPlace_ ? placeFd_ : fd_, bytes)) {
    error = Failure(std::strerror(errno));
    return false;
  }
  return true;
}

bool OutputTarget::Commit(const std::vector<std::string>& inputs, std::string& error) {
  if (IsStandardOutput()) return true;
  if (inPlace_) {
    if (!Open(inputs, error)) return false;
    if (!ownsPlaceFd_) return true;
    ownsPlaceFd_ = false;
    if (::close(placeFd_) != 0) {
      error = Failure(std::strerror(errno));
      return false;
    }
    return true;
  }
  if (Refuse(inputs, error)) return false;
  const int fd = fd_;
  fd_ = -1;
  if (::close(fd) != 0) {
    error = Failure(std::strerror(errno));
    return false;
  }
  if (::rename(temporary_.c_str(), resolved_.c_str()) != 0) {
    error = Failure(std::strerror(errno));
    return false;
  }
  temporary_.clear();
  ReleaseTemporaryFile(slot_);
  slot_ = -1;
  return true;
}

}  // namespace codebook::cli
