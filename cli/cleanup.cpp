#include "cli/cleanup.h"

#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <cstring>

namespace codebook::cli {
namespace {

// Fixed storage: a signal handler may neither allocate nor take locks.
constexpr int kSlots = 8;
constexpr std::size_t kPathMax = 4096;
char paths[kSlots][kPathMax];
std::atomic<bool> used[kSlots];

void RemoveRegistered() {
  for (int slot = 0; slot < kSlots; ++slot) {
    if (used[slot].load()) ::unlink(paths[slot]);
  }
}

void RemoveAndReraise(int signal) {
  RemoveRegistered();
  std::signal(signal, SIG_DFL);
  std::raise(signal);
}

}  // namespace

void InstallCleanupOnSignals() {
  struct sigaction action {};
  action.sa_handler = RemoveAndReraise;
  sigemptyset(&action.sa_mask);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) sigaction(signal, &action, nullptr);
  // An internal assertion ends the program with quick_exit: no destructor
  // runs then, but these handlers do.
  std::at_quick_exit(RemoveRegistered);
}

int RegisterTemporaryFile(const std::string& path) {
  if (path.size() >= kPathMax) return -1;
  for (int slot = 0; slot < kSlots; ++slot) {
    if (used[slot].load()) continue;
    std::memcpy(paths[slot], path.c_str(), path.size() + 1);
    used[slot].store(true);
    return slot;
  }
  return -1;
}

void ReleaseTemporaryFile(int slot) {
  if (slot >= 0 && slot < kSlots) used[slot].store(false);
}

}  // namespace codebook::cli
