// Reading values out of data cells the way every table compares them.
#pragma once

#include <cmath>
#include <cstddef>
#include <string_view>

#include "host/data/obs.h"

namespace codebook::aggregate {

// System-missing and NaN are no values; NaN can only come from a damaged or
// foreign file, and treating it as missing keeps it out of sorting.
inline bool IsSystemMissing(double x) { return x == kSysmis || std::isnan(x); }

// The key of a number: -0 and +0 are one category.
inline double NumericKey(double x) { return x + 0.0; }

// A string value without its trailing blanks: the form in which strings are
// compared, hashed and sorted.
inline std::string_view TrimmedString(const char* bytes, std::size_t width) {
  while (width > 0 && bytes[width - 1] == ' ') --width;
  return {bytes, width};
}

inline std::string_view TrimmedString(const OBS* cells, std::size_t width) {
  return TrimmedString(reinterpret_cast<const char*>(cells), width);
}

// Cells that a string of `width` bytes occupies (at least one).
inline std::size_t CellCount(std::size_t width) { return width == 0 ? 1 : (width + 7) / 8; }

}  // namespace codebook::aggregate
