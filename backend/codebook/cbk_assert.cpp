#include "cbk_assert.h"

#include <cstdio>
#include <cstdlib>

namespace {
// The host's exit status for an internal assertion.
constexpr int kAssertionExitStatus = 70;
}  // namespace

void CbkAssertionFailed(const char* condition, const char* function, const char* source, int line) {
  std::fprintf(stderr, "codebook: internal assertion failed: %s in %s (%s, line %d)\n", condition,
               function, source, line);
  std::fflush(stderr);
  // quick_exit: the host's quick-exit handlers (removing temporary files)
  // run, but no destructor of state that may be broken.
  std::quick_exit(kAssertionExitStatus);
}
