// The platform's value-label set (the host forward-declares it in the global
// namespace). Labels are kept sorted ascending by value, numbers numerically
// and strings byte-wise without trailing blanks, and every value is also kept
// as blank-padded cells of the variable's cell width, so that iteration can
// hand out `const OBS*` that stay valid as long as the set does.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "host/data/obs.h"

class ValueLabelSetImpl {
 public:
  struct NumericLabel {
    double value;
    std::string label;
  };
  struct StringLabel {
    std::string value;
    std::string label;
  };

  // An empty numeric set.
  ValueLabelSetImpl() = default;
  // A numeric set. When a value occurs twice, the later label wins.
  explicit ValueLabelSetImpl(std::vector<NumericLabel> labels);
  // A string set for values of `cellWidth` bytes (at least 1). Values are
  // compared without trailing blanks; a value longer than the cell width is
  // cut at a character boundary. When a value occurs twice, the later label
  // wins.
  ValueLabelSetImpl(int cellWidth, std::vector<StringLabel> labels);

  bool IsString() const { return isString_; }
  int CellWidth() const { return cellWidth_; }
  int CellsPerValue() const { return cellsPerValue_; }
  std::size_t Size() const { return labels_.size(); }

  // Adds or replaces one label, keeping the order (linear in the set's size).
  void Set(double value, std::string label);
  void Set(std::string_view value, std::string label);

  // The same labels for a variable whose cells hold `cellWidth` bytes.
  std::shared_ptr<ValueLabelSetImpl> WithCellWidth(int cellWidth) const;

  // Lookup in O(log n). A numeric value matches exactly; a string value is
  // read as CellWidth() bytes and compared without trailing blanks.
  const std::string* Find(const OBS* value) const;
  const std::string* Find(double value) const;
  const std::string* FindString(std::string_view value) const;
  // Lookup by text: for a numeric set the whole text (blanks around it
  // allowed) must be a number; for a string set the text is the value.
  const std::string* FindText(std::string_view text) const;

  // The i-th pair in ascending order of value.
  const OBS* ValueCells(std::size_t i) const;
  const std::string& Label(std::size_t i) const { return labels_[i]; }
  double NumericValue(std::size_t i) const { return numbers_[i]; }
  std::string_view StringValue(std::size_t i) const { return strings_[i]; }

 private:
  void RebuildCells();
  std::ptrdiff_t IndexOf(double value) const;
  std::ptrdiff_t IndexOf(std::string_view value) const;

  bool isString_ = false;
  int cellWidth_ = 0;
  int cellsPerValue_ = 1;
  std::vector<double> numbers_;       // numeric sets: sorted values
  std::vector<std::string> strings_;  // string sets: sorted values, no trailing blanks
  std::vector<std::string> labels_;   // parallel to the values
  std::vector<OBS> cells_;            // cellsPerValue_ cells per value
};
