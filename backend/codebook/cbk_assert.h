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

// The condition is reported as it is written, so the message cannot drift
// from what is checked: its spelling is the message. The caller's file
// defines kSource. CBK_ASSERT_AT gives the line the report names.
#define CBK_ASSERT(condition) CbkAssert(static_cast<bool>(condition), #condition, __func__, kSource, __LINE__)
#define CBK_ASSERT_AT(condition, line) CbkAssert(static_cast<bool>(condition), #condition, __func__, kSource, line)
