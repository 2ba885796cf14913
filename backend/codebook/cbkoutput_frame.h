// The frame shared by the variable and set tables: a row dimension
// "Attributes", a column dimension "Values" with the columns "Value",
// "Count" and "Percent", and the group "Standard Attributes".
#pragma once

#include <string>

#include "host/output/bp_procedure.h"

struct InfoTableFrame {
  BpPivotTable table;
  BpDimension attributes;
  BpDimension values;
  BpCategory valueColumn;
  BpCategory countColumn;
  BpCategory percentColumn;
  BpGroup standard;
};

inline InfoTableFrame OpenInfoTable(BpProcedure& procedure, const std::string& title, bool showTitle) {
  BpPivotTable table =
      procedure.PivotTable(BpString(title, false), BpString("Variable Information", false), showTitle);
  BpDimension attributes = table.Dimension(BpString("Attributes", true), BpPivotTable::kSortAsGiven);
  attributes.Position(BpDimension::kRows, 1, true, false);
  BpDimension values = table.Dimension(BpString("Values", true), BpPivotTable::kSortAsGiven);
  values.Position(BpDimension::kColumns, 1, true, false);
  BpCategory valueColumn = values.Category(BpString("Value", true));
  BpCategory countColumn = values.Category(BpString("Count", true));
  BpCategory percentColumn = values.Category(BpString("Percent", true));
  BpGroup standard = attributes.Group(BpString("Standard Attributes", true), true, BpGroup::kSortAsGiven);
  return {table, attributes, values, valueColumn, countColumn, percentColumn, standard};
}
