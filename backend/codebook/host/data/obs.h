// The host's data cell: eight bytes holding one number or eight characters of
// a string. A string of width w occupies ObsLength(w) consecutive cells,
// blank-padded.
#pragma once

union OBS {
  double d;
  char c[8];
};

static_assert(sizeof(OBS) == 8, "a data cell is eight bytes");

// The system-missing value of numeric cells.
inline constexpr double kSysmis = -1.7976931348623157e308;
