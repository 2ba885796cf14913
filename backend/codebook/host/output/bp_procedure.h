// The output context of one procedure run. Tables opened on it go into the
// session's output document.
#pragma once

#include <memory>
#include <string>

#include "host/host_api.h"
#include "host/output/bp_cell_text.h"
#include "host/output/bp_format_spec.h"
#include "host/output/bp_pivot_table.h"

class HOST_API BpHeading {
 public:
  virtual ~BpHeading();
  // Opens a new pivot table: a visible title, a fixed identifier of the kind of
  // table, and whether the table's title is shown.
  BpPivotTable PivotTable(const BpCellText& title, const BpCellText& subtype, bool showTitle);

 protected:
  BpHeading() = default;
  std::string procedureName_;
};

class HOST_API BpProcedure : public BpHeading {
 public:
  BpProcedure(std::string name, int flags);
  ~BpProcedure() override;
  BpProcedure(const BpProcedure&) = delete;
  BpProcedure& operator=(const BpProcedure&) = delete;

  BpFormatSpec Count() const;
  BpFormatSpec Percent() const;
  BpFormatSpec Coefficient() const;
  // Formats for the mean and the standard deviation of the variable at this
  // position of the active dataset.
  BpFormatSpec Mean(int varIndex) const;
  BpFormatSpec StdDev(int varIndex) const;
};
