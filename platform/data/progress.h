// Progress of passes over the cases. The session installs a callback to show
// progress of long passes; case sources report through it every few
// thousand cases (about a batch), often enough for a display redrawn ten
// times a second, rarely enough that the hot path pays one test and branch.
#pragma once

#include <cstdint>

namespace codebook::data {

// Called with the number of cases read so far in the current pass. Null: no
// reporting.
using ProgressCallback = void (*)(std::int64_t casesRead);

void SetProgressCallback(ProgressCallback callback);

namespace detail {
extern thread_local ProgressCallback progressCallback;
}  // namespace detail

// Cases between two reports; a power of two.
inline constexpr std::int64_t kProgressInterval = 1 << 12;

inline void ReportProgress(std::int64_t casesRead) {
  if ((casesRead & (kProgressInterval - 1)) == 0 && detail::progressCallback != nullptr) {
    detail::progressCallback(casesRead);
  }
}

// The same for a batch of cases that took the count from `before` to
// `after`: one report when the batch passed a multiple of the interval.
inline void ReportProgress(std::int64_t before, std::int64_t after) {
  if (detail::progressCallback != nullptr && (before / kProgressInterval) != (after / kProgressInterval)) {
    detail::progressCallback(after);
  }
}

}  // namespace codebook::data
