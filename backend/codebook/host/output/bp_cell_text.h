// Texts of a pivot table: fixed wording, numbers, variables and data values.
#pragma once

#include <memory>
#include <string>

#include "host/data/obs.h"
#include "host/data/variable.h"
#include "host/host_api.h"
#include "host/output/bp_format_spec.h"

class HOST_API BpCellText {
 public:
  struct Content;  // the platform's cell content

  virtual ~BpCellText();
  const std::shared_ptr<const Content>& content() const { return content_; }

 protected:
  explicit BpCellText(std::shared_ptr<const Content> content);

 private:
  std::shared_ptr<const Content> content_;
};

class HOST_API BpString : public BpCellText {
 public:
  // procedureText: true for the procedure's own wording, false for text that
  // comes from the data (renderers never transform it).
  BpString(std::string text, bool procedureText);
};

class HOST_API BpNumber : public BpCellText {
 public:
  BpNumber(double value, BpFormatSpec format);
};

class HOST_API BpVariable : public BpCellText {
 public:
  enum Show { kName = 0, kLabel = 1 };  // kLabel falls back to the name
  BpVariable(const VELA_Variable& variable, Show show);
  BpVariable(const VELA_Variable& variable, int show)
      : BpVariable(variable, static_cast<Show>(show)) {}
};

class HOST_API BpDataValue : public BpCellText {
 public:
  // 0 and 2: the value in the variable's print format; 1: the label (the value
  // when there is none); 3: value and label.
  enum Preference { kValue = 0, kLabel = 1, kValueOnly = 2, kValueAndLabel = 3 };
  BpDataValue(const VELA_Variable& variable, const OBS* value, Preference preference);
  BpDataValue(const VELA_Variable& variable, const OBS* value, int preference)
      : BpDataValue(variable, value, static_cast<Preference>(preference)) {}
};
