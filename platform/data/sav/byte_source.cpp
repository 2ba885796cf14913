#include "platform/data/sav/byte_source.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "platform/data/sav/file_error.h"

namespace codebook::data::sav {
namespace {

class FileSource final : public ByteSource {
 public:
  FileSource(std::string name, int fd, std::uint64_t size)
      : ByteSource(std::move(name)), fd_(fd), size_(size) {}
  ~FileSource() override { ::close(fd_); }

  std::uint64_t Size() const override { return size_; }

  std::size_t ReadAt(std::uint64_t offset, std::span<std::uint8_t> out) const override {
    std::size_t done = 0;
    while (done < out.size()) {
      ssize_t n = ::pread(fd_, out.data() + done, out.size() - done,
                          static_cast<off_t>(offset + done));
      if (n < 0 && errno == EINTR) continue;
      if (n < 0) throw FileError(Name(), std::string("read error: ") + std::strerror(errno));
      if (n == 0) break;
      done += static_cast<std::size_t>(n);
    }
    return done;
  }

 private:
  int fd_;
  std::uint64_t size_;
};

class BufferSource final : public ByteSource {
 public:
  BufferSource(std::vector<std::uint8_t> bytes, std::string name)
      : ByteSource(std::move(name)), bytes_(std::move(bytes)) {}

  std::uint64_t Size() const override { return bytes_.size(); }

  std::size_t ReadAt(std::uint64_t offset, std::span<std::uint8_t> out) const override {
    if (offset >= bytes_.size() || out.empty()) return 0;
    std::size_t n = std::min<std::uint64_t>(out.size(), bytes_.size() - offset);
    std::memcpy(out.data(), bytes_.data() + offset, n);
    return n;
  }

 private:
  std::vector<std::uint8_t> bytes_;
};

}  // namespace

std::shared_ptr<const ByteSource> OpenFileSource(const std::string& path, const std::string& givenName) {
  const std::string& name = givenName.empty() ? path : givenName;
  int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) throw FileError(name, std::string("cannot open: ") + std::strerror(errno));
  struct stat st {};
  if (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) {
    ::close(fd);
    throw FileError(name, "cannot open: not a regular file");
  }
  return std::make_shared<FileSource>(name, fd, static_cast<std::uint64_t>(st.st_size));
}

std::shared_ptr<const ByteSource> MemorySource(std::vector<std::uint8_t> bytes, std::string name) {
  return std::make_shared<BufferSource>(std::move(bytes), std::move(name));
}

}  // namespace codebook::data::sav
