#include "platform/export/xlsx_bytes.h"

#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "platform/export/xlsx_writer.h"

namespace codebook::exporting {

bool XlsxBytes(const CodebookModel& model, std::string& bytes, std::string& error, std::time_t created,
               const TemporaryFileWatch& watch) {
  namespace fs = std::filesystem;
  std::error_code failure;
  fs::path folder = fs::temp_directory_path(failure);
  if (failure) folder = "/tmp";
  std::string path = (folder / "codebook-workbook-XXXXXX").string();
  const int fd = ::mkstemp(path.data());
  if (fd < 0) {
    error = "cannot make a temporary file in " + folder.string() + ": " + std::strerror(errno);
    return false;
  }
  ::close(fd);
  if (watch) watch(path, true);
  bool made = WriteXlsx(model, path, error, created);
  if (made) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream read;
    read << in.rdbuf();
    if (in.bad()) {
      error = "cannot read back the workbook made in " + path;
      made = false;
    }
    bytes = std::move(read).str();
  }
  fs::remove(path, failure);
  if (watch) watch(path, false);
  if (!made) bytes.clear();
  return made;
}

}  // namespace codebook::exporting
