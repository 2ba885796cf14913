#include "platform/api/frame_dataset.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <stdexcept>

#include "host/data/obs.h"
#include "host/data/text.h"
#include "platform/data/case_stream.h"
#include "platform/data/value_label_set.h"

namespace codebook::api {
namespace {

constexpr std::size_t kMaxStringWidth = 32767;

// The columns themselves, shared by every pass over them.
struct Columns {
  std::vector<FrameColumn> columns;
  std::vector<int> offsets;  // each column's first cell within a case
  int cellsPerCase = 0;
  std::size_t cases = 0;
};

// Lays out one case at a time from the columns, as a file's stream does.
class FrameCases final : public data::CaseStream {
 public:
  explicit FrameCases(std::shared_ptr<const Columns> columns)
      : columns_(std::move(columns)), cells_(static_cast<std::size_t>(std::max(columns_->cellsPerCase, 1))) {}

  const OBS* Next() override {
    if (next_ >= columns_->cases) return nullptr;
    const std::size_t row = next_++;
    for (std::size_t c = 0; c < columns_->columns.size(); ++c) {
      const FrameColumn& column = columns_->columns[c];
      OBS* cell = cells_.data() + columns_->offsets[c];
      if (column.numeric) {
        const double value = column.numbers[row];
        cell->d = std::isnan(value) ? kSysmis : value;
        continue;
      }
      const std::size_t width = c + 1 < columns_->offsets.size()
                                    ? static_cast<std::size_t>(columns_->offsets[c + 1] - columns_->offsets[c])
                                    : static_cast<std::size_t>(columns_->cellsPerCase - columns_->offsets[c]);
      char* bytes = reinterpret_cast<char*>(cell);
      std::memset(bytes, ' ', width * sizeof(OBS));
      const std::string& text = column.strings[row];
      std::memcpy(bytes, text.data(), text.size());
    }
    return cells_.data();
  }

 private:
  std::shared_ptr<const Columns> columns_;
  std::vector<OBS> cells_;
  std::size_t next_ = 0;
};

std::invalid_argument ColumnError(const FrameColumn& column, const std::string& what) {
  return std::invalid_argument("column '" + column.name + "': " + what);
}

// The format that shows a column's values: a date as a date, a number with
// the decimals it needs (up to 4) in the width its largest value needs.
VELA_Format FormatOf(const FrameColumn& column) {
  switch (column.kind) {
    case FrameColumn::Kind::kDate: return VELA_Format(VELA_Format::DATE, 11, 0);
    case FrameColumn::Kind::kDateTime: return VELA_Format(VELA_Format::DATETIME, 20, 0);
    case FrameColumn::Kind::kDuration: return VELA_Format(VELA_Format::TIME, 10, 0);
    case FrameColumn::Kind::kNumber: break;
  }
  int decimals = 0;
  double largest = 0;
  for (const double value : column.numbers) {
    if (!std::isfinite(value)) continue;
    largest = std::max(largest, std::fabs(value));
    for (int d = decimals; d < 4 && std::fabs(value * std::pow(10.0, d) - std::round(value * std::pow(10.0, d))) > 1e-9;
         ++d) {
      decimals = d + 1;
    }
  }
  const int digits = largest >= 1 ? static_cast<int>(std::floor(std::log10(largest))) + 1 : 1;
  const int width = std::clamp(digits + 1 + (decimals > 0 ? decimals + 1 : 0), 8, 40);
  return VELA_Format(VELA_Format::F, width, decimals);
}

std::unique_ptr<data::Variable> MakeVariable(const FrameColumn& column, std::size_t cases) {
  if (ValidateVELAName(column.name.c_str()) != 0) {
    throw ColumnError(column, "not a variable name (1 to 64 bytes, a letter or @ # $ first, then letters, digits "
                              "and . _ $ # @, no reserved word): rename the column");
  }
  std::unique_ptr<data::Variable> variable;
  if (column.numeric) {
    if (column.numbers.size() != cases) throw ColumnError(column, "its length differs from the first column's");
    if (!column.stringLabels.empty() || !column.missingStrings.empty()) {
      throw ColumnError(column, "a numeric column takes numeric value labels and missing values");
    }
    variable = std::make_unique<data::Variable>(column.name);
    const VELA_Format format = FormatOf(column);
    variable->SetPrintFormat(format);
    variable->SetWriteFormat(format);
  } else {
    if (column.strings.size() != cases) throw ColumnError(column, "its length differs from the first column's");
    if (!column.numberLabels.empty() || !column.missingNumbers.empty() || column.missingRange) {
      throw ColumnError(column, "a string column takes string value labels and missing values");
    }
    std::size_t width = 1;
    for (const std::string& text : column.strings) width = std::max(width, text.size());
    if (width > kMaxStringWidth) {
      throw ColumnError(column, "a value is longer than the 32,767 bytes a string variable holds");
    }
    variable = std::make_unique<data::Variable>(column.name, static_cast<int>(width));
  }
  if (column.label) variable->SetLabel(column.label);
  if (column.level < 0 || column.level > 3) throw ColumnError(column, "the measurement level is not 0 to 3");
  variable->SetMeasurementLevel(column.level);
  try {
    if (!column.missingNumbers.empty() || column.missingRange) {
      std::optional<data::MissingValues::Range> range;
      if (column.missingRange) range = data::MissingValues::Range{column.missingRange->first, column.missingRange->second};
      variable->SetMissingValues(data::MissingValues::Numeric(column.missingNumbers, range));
    } else if (!column.missingStrings.empty()) {
      variable->SetMissingValues(data::MissingValues::Strings(column.missingStrings));
    }
  } catch (const std::invalid_argument& error) {
    throw ColumnError(column, std::string("missing values: ") + error.what());
  }
  if (!column.numberLabels.empty()) {
    std::vector<ValueLabelSetImpl::NumericLabel> labels;
    for (const auto& [value, label] : column.numberLabels) labels.push_back({value, label});
    variable->SetValueLabels(std::make_shared<ValueLabelSetImpl>(std::move(labels)));
  } else if (!column.stringLabels.empty()) {
    std::vector<ValueLabelSetImpl::StringLabel> labels;
    for (const auto& [value, label] : column.stringLabels) labels.push_back({value, label});
    variable->SetValueLabels(std::make_shared<ValueLabelSetImpl>(variable->CellWidth(), std::move(labels)));
  }
  return variable;
}

}  // namespace

std::shared_ptr<data::Dataset> MakeFrameDataset(std::vector<FrameColumn> columns, const FrameFile& file) {
  auto shared = std::make_shared<Columns>();
  shared->cases = columns.empty() ? 0
                  : columns.front().numeric ? columns.front().numbers.size()
                                            : columns.front().strings.size();
  data::Dictionary dictionary;
  dictionary.Reserve(columns.size());
  for (const FrameColumn& column : columns) {
    std::unique_ptr<data::Variable> variable = MakeVariable(column, shared->cases);
    try {
      const int index = dictionary.AddVariable(std::move(variable));
      shared->offsets.push_back(dictionary.CellOffset(index));
    } catch (const std::exception& error) {
      throw ColumnError(column, error.what());
    }
  }
  shared->cellsPerCase = dictionary.CellsPerCase();
  if (file.label) dictionary.SetFileLabel(file.label);
  dictionary.SetEncoding("UTF-8");
  if (!file.weight.empty()) {
    const int index = dictionary.FindVarIndex(file.weight);
    if (index < 0) throw std::invalid_argument("the weight '" + file.weight + "' is not a column");
    if (!dictionary.GetVariable(index)->IsNumeric()) {
      throw std::invalid_argument("the weight '" + file.weight + "' is not a numeric column");
    }
    dictionary.SetWeightIndex(index);
  }
  shared->columns = std::move(columns);
  const auto cases = static_cast<std::int64_t>(shared->cases);
  std::shared_ptr<const Columns> held = shared;
  auto factory = [held]() -> std::unique_ptr<data::CaseStream> { return std::make_unique<FrameCases>(held); };
  return std::make_shared<data::Dataset>(std::move(dictionary), cases, std::move(factory));
}

}  // namespace codebook::api
