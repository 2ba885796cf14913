// A dataset made from columns held in memory (a data frame's), with the
// dictionary a frame can carry: variable labels, value labels, missing
// values and measurement levels. Its cases are read from the columns as a
// pass asks for them; nothing is written to a file.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/data/dataset.h"

namespace codebook::api {

struct FrameColumn {
  // How a numeric column's values read: as numbers, or as dates, date-times
  // or durations given in seconds (dates and date-times since 14 October
  // 1582, the dataset files' origin).
  enum class Kind { kNumber, kDate, kDateTime, kDuration };

  std::string name;
  bool numeric = true;
  Kind kind = Kind::kNumber;
  std::vector<double> numbers;       // NaN: system-missing
  std::vector<std::string> strings;  // of a string column, as UTF-8
  std::optional<std::string> label;
  std::vector<std::pair<double, std::string>> numberLabels;
  std::vector<std::pair<std::string, std::string>> stringLabels;
  // At most three discrete values, or a range (LO and HI: infinite ends)
  // and at most one discrete value; strings: at most three values.
  std::vector<double> missingNumbers;
  std::optional<std::pair<double, double>> missingRange;
  std::vector<std::string> missingStrings;
  int level = 0;  // 0 unknown, 1 nominal, 2 ordinal, 3 scale
};

struct FrameFile {
  std::optional<std::string> label;
  std::string weight;  // a column that weights the cases; empty: none
};

// The dataset, or an exception (std::invalid_argument) naming the column
// and what is wrong with it: a name that is no variable name or is used
// twice, columns of different lengths, a string past 32,767 bytes, missing
// values past what a variable holds, a label on a value of the wrong type.
std::shared_ptr<data::Dataset> MakeFrameDataset(std::vector<FrameColumn> columns, const FrameFile& file = {});

}  // namespace codebook::api
