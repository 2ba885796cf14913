// The platform's variable: everything the dictionary says about one column.
// The name and the widths are changed only through the Dictionary, which keeps
// its name index and case layout in step with them.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "host/data/variable.h"
#include "platform/data/missing_values.h"
#include "platform/data/value_label_set.h"

namespace codebook::data {

class Dictionary;

enum class Alignment { kLeft = 0, kRight = 1, kCenter = 2 };

class Variable final : public VELA_Variable {
 public:
  // A numeric variable.
  explicit Variable(std::string name);
  // A string variable of `width` bytes (1 or more) as the file declares it,
  // whose cells hold `cellWidth` bytes (default: the width; never less).
  // Throws std::invalid_argument for a width below 1.
  Variable(std::string name, int width, int cellWidth = 0);

  // VELA_Variable
  const char* GetName() const override { return name_.c_str(); }
  const char* GetLabel() const override { return label_ ? label_->c_str() : nullptr; }
  int GetType() const override { return cellWidth_; }
  void GetFormatEx(VELA_Format::FormatType& type, int& width, int& decimals) const override;
  VELA_Format GetWriteFormatEx() const override { return writeFormat_; }
  int GetMeasurementLevel() const override { return level_; }
  int GetRole() const override { return role_; }
  const DatasourceAttributes& GetAttributes() const override { return attributes_; }
  VELA_VLImplPointer GetValueLabels() const override { return VELA_VLImplPointer(valueLabels_); }
  int IsMissing(const OBS* value) const override;

  const std::string& Name() const { return name_; }
  const std::optional<std::string>& Label() const { return label_; }
  bool IsNumeric() const { return cellWidth_ == 0; }
  // The width the file declares (0 numeric) and the bytes the cells hold.
  int DeclaredWidth() const { return width_; }
  int CellWidth() const { return cellWidth_; }
  // Number of OBS cells a value occupies: 1 for a number, ceil(cellWidth/8).
  int cellCount() const { return cellWidth_ <= 8 ? 1 : (cellWidth_ + 7) / 8; }
  VELA_Format PrintFormat() const { return printFormat_; }
  VELA_Format WriteFormat() const { return writeFormat_; }
  int DisplayWidth() const { return displayWidth_; }
  Alignment GetAlignment() const { return alignment_; }
  const MissingValues& Missing() const { return missing_; }
  const std::shared_ptr<const ValueLabelSetImpl>& ValueLabels() const { return valueLabels_; }

  // The string value held in cells (all cellWidth bytes, blanks included).
  std::string_view StringValue(const OBS* cells) const;

  void SetLabel(std::optional<std::string> label);
  void SetPrintFormat(VELA_Format format) { printFormat_ = format; }
  void SetWriteFormat(VELA_Format format) { writeFormat_ = format; }
  // Levels outside 0..3 become unknown (0); roles outside 0..5 become input.
  void SetMeasurementLevel(int level);
  void SetRole(int role);
  void SetDisplayWidth(int width) { displayWidth_ = width < 0 ? 0 : width; }
  void SetAlignment(Alignment alignment) { alignment_ = alignment; }
  // Custom attributes. An attribute named $@Role is not kept: its value (an
  // integer, possibly quoted) sets the role.
  void SetAttributes(DatasourceAttributes attributes);
  // A string variable takes a copy of a set made for another cell width, so
  // that lookups never read past its own cells. A set of the other kind
  // (numeric labels on a string variable) throws std::invalid_argument.
  void SetValueLabels(std::shared_ptr<const ValueLabelSetImpl> labels);
  // Throws std::invalid_argument when the kind (numeric or string) differs.
  void SetMissingValues(MissingValues missing);

 private:
  friend class Dictionary;
  void SetName(std::string name) { name_ = std::move(name); }
  void SetWidths(int width, int cellWidth);

  std::string name_;
  std::optional<std::string> label_;
  int width_ = 0;
  int cellWidth_ = 0;
  VELA_Format printFormat_;
  VELA_Format writeFormat_;
  int level_ = kUnknown;
  int role_ = kInput;
  int displayWidth_ = 8;
  Alignment alignment_ = Alignment::kRight;
  DatasourceAttributes attributes_;
  std::shared_ptr<const ValueLabelSetImpl> valueLabels_;
  MissingValues missing_;
};

}  // namespace codebook::data
