// Reading values out of data cells the way every table compares them.
#pragma once

#include <cmath>
#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string_view>
#include <vector>

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

// A string value as cells of a variable `width` bytes wide, blank-padded.
inline std::vector<OBS> PaddedCells(std::string_view value, std::size_t width) {
  std::vector<OBS> cells(CellCount(width));
  char* bytes = reinterpret_cast<char*>(cells.data());
  std::memset(bytes, ' ', cells.size() * sizeof(OBS));
  // An empty value may have no storage at all: memcpy must not see its null.
  if (!value.empty()) std::memcpy(bytes, value.data(), std::min(value.size(), cells.size() * sizeof(OBS)));
  return cells;
}

}  // namespace codebook::aggregate
