#include "platform/data/variable.h"

#include <algorithm>
#include <charconv>
#include <stdexcept>

// Defined here so that the host class's vtable lives in this library.
VELA_Variable::~VELA_Variable() = default;

namespace codebook::data {

namespace {
constexpr const char* kRoleAttribute = "$@Role";
}

Variable::Variable(std::string name)
    : name_(std::move(name)),
      printFormat_(VELA_Format::F, 8, 2),
      writeFormat_(VELA_Format::F, 8, 2) {}

Variable::Variable(std::string name, int width, int cellWidth) : name_(std::move(name)) {
  if (width < 1) throw std::invalid_argument("a string variable is at least one byte wide");
  SetWidths(width, cellWidth);
  printFormat_ = VELA_Format(VELA_Format::A, width, 0);
  writeFormat_ = printFormat_;
  alignment_ = Alignment::kLeft;
}

void Variable::SetWidths(int width, int cellWidth) {
  width_ = width < 0 ? 0 : width;
  cellWidth_ = width_ == 0 ? 0 : std::max(cellWidth, width_);
  if (valueLabels_ && valueLabels_->IsString() && valueLabels_->CellWidth() != cellWidth_) {
    valueLabels_ = valueLabels_->WithCellWidth(cellWidth_);
  }
}

void Variable::SetLabel(std::optional<std::string> label) { label_ = std::move(label); }

void Variable::GetFormatEx(VELA_Format::FormatType& type, int& width, int& decimals) const {
  type = static_cast<VELA_Format::FormatType>(printFormat_.TypeEx());
  width = printFormat_.Width();
  decimals = printFormat_.Decimals();
}

int Variable::IsMissing(const OBS* value) const {
  if (value == nullptr || missing_.Empty()) return 0;
  if (IsNumeric()) return missing_.IsMissing(value->d) ? 1 : 0;
  return missing_.IsMissing(StringValue(value)) ? 1 : 0;
}

std::string_view Variable::StringValue(const OBS* cells) const {
  return std::string_view(reinterpret_cast<const char*>(cells),
                          static_cast<std::size_t>(cellWidth_));
}

void Variable::SetMeasurementLevel(int level) {
  level_ = (level >= kUnknown && level <= kScale) ? level : kUnknown;
}

void Variable::SetRole(int role) { role_ = (role >= kInput && role <= kSplit) ? role : kInput; }

void Variable::SetAttributes(DatasourceAttributes attributes) {
  bool hasRole = false;
  for (std::size_t i = 0; i < attributes.Size(); ++i) {
    if (attributes.Name(i) == kRoleAttribute) hasRole = true;
  }
  if (!hasRole) {
    attributes_ = std::move(attributes);
    return;
  }
  // The role travels in the file as an attribute; it becomes GetRole().
  std::vector<DatasourceAttributes::Attribute> kept;
  for (const auto& a : attributes.All()) {
    if (a.name != kRoleAttribute) {
      kept.push_back(a);
      continue;
    }
    if (a.values.empty()) continue;
    std::string_view text = a.values.front();
    while (!text.empty() && (text.front() == ' ' || text.front() == '\'')) text.remove_prefix(1);
    while (!text.empty() && (text.back() == ' ' || text.back() == '\'' || text.back() == '\n')) {
      text.remove_suffix(1);
    }
    int role = 0;
    const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), role);
    if (ec == std::errc() && end == text.data() + text.size()) SetRole(role);
  }
  attributes_ = DatasourceAttributes(std::move(kept));
}

void Variable::SetValueLabels(std::shared_ptr<const ValueLabelSetImpl> labels) {
  if (labels && labels->Size() > 0 && labels->IsString() == IsNumeric()) {
    throw std::invalid_argument("value labels of variable " + name_ +
                                (IsNumeric() ? " are strings but the variable is numeric"
                                             : " are numbers but the variable is a string"));
  }
  if (labels && labels->IsString() && labels->CellWidth() != cellWidth_) {
    labels = labels->WithCellWidth(cellWidth_);
  }
  valueLabels_ = std::move(labels);
}

void Variable::SetMissingValues(MissingValues missing) {
  const bool numericValues =
      !missing.Discrete().empty() || missing.GetRange().has_value() || missing.HasExtendedCodes();
  if ((IsNumeric() && missing.IsStringKind()) || (!IsNumeric() && numericValues)) {
    throw std::invalid_argument("missing values of variable " + name_ +
                                " are not of the variable's type");
  }
  missing_ = std::move(missing);
}

}  // namespace codebook::data
