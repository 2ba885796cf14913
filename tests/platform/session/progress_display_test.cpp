// The line of the progress display: what it says at each stage of a pass,
// and how it shortens to fit a narrow terminal.
#include <gtest/gtest.h>

#include <string>

#include "platform/session/progress_display.h"

namespace {

using codebook::session::ProgressText;

TEST(ProgressDisplay, SaysTheShareTheRateAndTheTimeLeft) {
  EXPECT_EQ(ProgressText(196608, 250000, 1.0, 0),
            "codebook: 196,608 of 250,000 cases (78%), 196,608 cases/s, 1 s left");
  EXPECT_EQ(ProgressText(1000000, 90000000, 10.0, 0),
            "codebook: 1,000,000 of 90,000,000 cases (1%), 100,000 cases/s, 14 min 50 s left");
  EXPECT_EQ(ProgressText(1000, 100000000, 10.0, 0),
            "codebook: 1,000 of 100,000,000 cases (0%), 100 cases/s, 277 h 46 min left");
  // Without a total, or past a total the header got wrong: a plain count.
  EXPECT_EQ(ProgressText(4096, -1, 2.0, 0), "codebook: 4,096 cases read, 2,048 cases/s");
  EXPECT_EQ(ProgressText(5000, 4000, 2.0, 0), "codebook: 5,000 cases read, 2,500 cases/s");
  // Before any time has passed there is no rate to tell.
  EXPECT_EQ(ProgressText(4096, 8192, 0.0, 0), "codebook: 4,096 of 8,192 cases (50%)");
}

TEST(ProgressDisplay, ShortensToTheTerminal) {
  const std::string full = ProgressText(196608, 250000, 1.0, 0);
  for (int width = 1; width <= 80; ++width) {
    const std::string line = ProgressText(196608, 250000, 1.0, width);
    EXPECT_LE(static_cast<int>(line.size()), width) << line;
    if (width >= static_cast<int>(full.size())) {
      EXPECT_EQ(line, full);
    }
  }
  EXPECT_EQ(ProgressText(196608, 250000, 1.0, 40), "196,608 of 250,000 cases (78%), 1 s left");
  EXPECT_EQ(ProgressText(196608, 250000, 1.0, 5), "78%");
}

}  // namespace
