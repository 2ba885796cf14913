// The texts of pivot tables: each Bp text is made into its shown form at
// once, keeping the raw number or data value for JSON.
#include <memory>
#include <string>
#include <string_view>

#include "host/data/value_labels.h"
#include "platform/output/document/cell_content.h"
#include "platform/output/document/fixed_texts.h"
#include "platform/output/format/table_number.h"
#include "platform/output/format/value_format.h"

using Content = BpCellText::Content;

namespace {

std::shared_ptr<const Content> TextContent(std::string text, bool procedureText) {
  // The procedure's own wording is shared, not copied: the pointer owns
  // nothing, the fixed text lives as long as the process.
  if (procedureText) {
    if (const Content* fixed = bp::FixedText(text)) return std::shared_ptr<const Content>(std::shared_ptr<const Content>(), fixed);
  }
  auto content = std::make_shared<Content>();
  content->text = std::move(text);
  content->procedureText = procedureText;
  return content;
}

std::shared_ptr<const Content> NumberContent(double value, const BpFormatSpec& format) {
  auto content = std::make_shared<Content>();
  content->kind = Content::Kind::kNumber;
  content->text = codebook::output::FormatTableNumber(value, format);
  content->number = value;
  content->numeric = true;
  content->procedureText = true;
  return content;
}

std::shared_ptr<const Content> VariableContent(const VELA_Variable& variable, BpVariable::Show show) {
  auto content = std::make_shared<Content>();
  content->kind = Content::Kind::kVariable;
  const char* name = variable.GetName();
  const char* label = variable.GetLabel();
  // An empty label has nothing to show either: fall back to the name.
  if (show == BpVariable::kLabel && label != nullptr && *label != '\0') {
    content->text = label;
  } else {
    content->text = name != nullptr ? name : "";
  }
  return content;
}

VELA_Format PrintFormat(const VELA_Variable& variable) {
  VELA_Format::FormatType type = VELA_Format::kNone;
  int width = 0;
  int decimals = 0;
  variable.GetFormatEx(type, width, decimals);
  return VELA_Format(type, width < 0 ? 0 : width, decimals < 0 ? 0 : decimals);
}

std::shared_ptr<const Content> DataValueContent(const VELA_Variable& variable, const OBS* value,
                                                BpDataValue::Preference preference) {
  using codebook::output::FieldMode;
  auto content = std::make_shared<Content>();
  content->kind = Content::Kind::kDataValue;
  if (value == nullptr) return content;

  const VELA_Format format = PrintFormat(variable);
  const int cellBytes = variable.GetType();
  std::string valueText;
  if (cellBytes <= 0) {
    content->dataValue = value->d;
    valueText = codebook::output::FormatNumber(value->d, format, FieldMode::kCell);
    content->numeric = true;
  } else {
    const std::string_view bytes(value->c, static_cast<std::size_t>(cellBytes));
    const VELA_Format plain(VELA_Format::A, cellBytes, 0);
    std::string raw = codebook::output::FormatString(bytes, plain, FieldMode::kCell);
    valueText = format.TypeEx() == VELA_Format::AHEX
                    ? codebook::output::FormatString(bytes, format, FieldMode::kCell)
                    : raw;
    content->dataValue = std::move(raw);
  }

  const char* label = nullptr;
  if (preference == BpDataValue::kLabel || preference == BpDataValue::kValueAndLabel) {
    VELA_ValueLabelMap labels(variable.GetValueLabels());
    label = labels.GetLabel(value);
  }
  if (label != nullptr && preference == BpDataValue::kLabel) {
    content->text = label;
    content->numeric = false;
  } else if (label != nullptr && preference == BpDataValue::kValueAndLabel) {
    content->text = valueText + " " + label;
    content->numeric = false;
  } else {
    content->text = std::move(valueText);
  }
  return content;
}

}  // namespace

BpCellText::BpCellText(std::shared_ptr<const Content> content) : content_(std::move(content)) {}
BpCellText::~BpCellText() = default;

BpString::BpString(std::string text, bool procedureText)
    : BpCellText(TextContent(std::move(text), procedureText)) {}

BpNumber::BpNumber(double value, BpFormatSpec format) : BpCellText(NumberContent(value, format)) {}

BpVariable::BpVariable(const VELA_Variable& variable, Show show)
    : BpCellText(VariableContent(variable, show)) {}

BpDataValue::BpDataValue(const VELA_Variable& variable, const OBS* value, Preference preference)
    : BpCellText(DataValueContent(variable, value, preference)) {}
