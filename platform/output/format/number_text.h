// Numbers written for programs to read back (JSON, the exports): the
// shortest text that reads back to the same value after rounding to 15
// significant digits. Fifteen digits is what a double holds for certain, so
// the noise of binary arithmetic (2488.4584000000095) never shows, while
// every value the tables could tell apart stays apart. Numbers from 1e-5 up
// to 1e15 are written without an exponent (300000, not 3e+05); others as
// 1.5e+20 or 2e-07. Zero is "0", never "-0".
#pragma once

#include <string>

namespace codebook::output {

// The value must be finite.
void AppendNumberText(std::string& out, double value);
std::string NumberText(double value);

}  // namespace codebook::output
