// The progress of a long pass, on a terminal: after about a second, the
// cases read of the total the file declares, the share, the rate and the
// time left, redrawn in place at most ten times a second and erased when
// the pass ends; a plain count when the total is unknown.
//
//   ProgressDisplay display(stderr, total);   // -1: total unknown
//   parts.progress = display.Callback();      // what the case sources call
//
// One display is active on a thread at a time: the case sources report
// through a plain function pointer, so that the hot path pays one test.
#pragma once

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <string>

#include "platform/data/progress.h"

namespace codebook::session {

class ProgressDisplay {
 public:
  // Draws on `stream` (a terminal; null: nothing is drawn). The first line
  // waits `delay`.
  ProgressDisplay(std::FILE* stream, std::int64_t total,
                  std::chrono::milliseconds delay = std::chrono::seconds(1));
  ~ProgressDisplay();
  ProgressDisplay(const ProgressDisplay&) = delete;
  ProgressDisplay& operator=(const ProgressDisplay&) = delete;

  // Null when nothing is drawn.
  data::ProgressCallback Callback() const;
  void Update(std::int64_t casesRead);
  // Erases the line, if drawn, so that a message can be written; the next
  // update draws it again.
  void Erase();

 private:
  std::FILE* stream_;
  std::int64_t total_;
  std::chrono::steady_clock::time_point start_;
  std::chrono::steady_clock::time_point lastDrawn_;
  std::chrono::milliseconds delay_;
  bool shown_ = false;
  ProgressDisplay* previous_ = nullptr;
};

// Erases the line of the display active on this thread, if any: what
// writes messages to the terminal calls it first, lest a message start at
// the end of the progress line.
void EraseProgress();

// The line for `read` cases of `total` (-1: unknown) after `seconds`, at
// most `width` columns (0: any): "196,608 of 250,000 cases (79%),
// 180,000 cases/s, 0:01 left", shortened to fit.
std::string ProgressText(std::int64_t read, std::int64_t total, double seconds, int width);

// The delay before the first line: a second, or $CODEBOOK_PROGRESS_DELAY
// milliseconds (for tests, which cannot wait for a long pass).
std::chrono::milliseconds ProgressDelay();

}  // namespace codebook::session
