// Temporary files go when the program is stopped by a signal: a child
// registers a file and is terminated, and the file must be gone, for the
// longest path the system can open (4095 bytes) as for a short one.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <string>

#include "cli/cleanup.h"

namespace codebook::cli {
namespace {

namespace fs = std::filesystem;

// Stops a child that registered `path`; whether the file is left.
bool LeftAfterTermination(const std::string& path) {
  std::ofstream(path) << "partial output";
  EXPECT_TRUE(fs::exists(path)) << path.size();
  const pid_t child = fork();
  if (child == 0) {
    InstallCleanupOnSignals();
    if (RegisterTemporaryFile(path) < 0) _exit(3);
    std::raise(SIGTERM);
    _exit(4);
  }
  int status = 0;
  waitpid(child, &status, 0);
  EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGTERM) << "status " << status;
  return fs::exists(path);
}

TEST(Cleanup, ATerminatedRunLeavesNoTemporaryFile) {
  const fs::path folder = fs::temp_directory_path() / ("codebook-cleanup-" + std::to_string(getpid()));
  fs::create_directories(folder);
  EXPECT_FALSE(LeftAfterTermination((folder / "short.tmp").string()));
  // Folders of 200 bytes down to a path of exactly 4095.
  fs::path deep = folder;
  while (deep.string().size() + 1 + 200 + 1 + 20 < 4095) deep /= std::string(200, 'd');
  fs::create_directories(deep);
  const std::size_t room = 4095 - deep.string().size() - 1;
  const std::string longest = (deep / std::string(room, 'f')).string();
  ASSERT_EQ(longest.size(), 4095u);
  EXPECT_FALSE(LeftAfterTermination(longest));
  fs::remove_all(folder);
}

}  // namespace
}  // namespace codebook::cli
