// Invariants of the platform's own code, as opposed to errors in what users
// give it (those are reported, never asserted). CB_ASSERT names the
// condition as written, the function and the place, and ends the process.
// It is checked in debug builds and in the sanitizer builds, and costs
// nothing in release builds.
#pragma once

#include <cstdio>
#include <cstdlib>

namespace codebook {

[[noreturn]] inline void InvariantFailed(const char* condition, const char* function, const char* file, int line) {
  std::fprintf(stderr, "codebook: platform invariant failed: %s in %s (%s:%d)\n", condition, function, file, line);
  std::fflush(stderr);
  std::abort();
}

}  // namespace codebook

#if !defined(NDEBUG) || defined(CODEBOOK_CHECK_INVARIANTS)
#define CB_ASSERT(condition) \
  ((condition) ? static_cast<void>(0) : ::codebook::InvariantFailed(#condition, __func__, __FILE__, __LINE__))
#else
#define CB_ASSERT(condition) static_cast<void>(sizeof(condition))
#endif
