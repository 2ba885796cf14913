// Internal invariants of the procedure. A broken invariant is not a user
// error: it reports the condition, the function and the source, and ends the
// process with the host's status for internal assertions.
#pragma once

[[noreturn]] void CbkAssertionFailed(const char* condition, const char* function, const char* source,
                                     int line);

inline void CbkAssert(bool holds, const char* condition, const char* function, const char* source,
                      int line) {
  if (!holds) CbkAssertionFailed(condition, function, source, line);
}
