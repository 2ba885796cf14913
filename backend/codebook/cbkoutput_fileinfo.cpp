// The "File Information" table.
#include <cmath>
#include <string>

#include "cbkoutput.h"
#include "cbkoutput_attributes.h"

bool IsHidden(const std::string& name) {
  return name.compare(0, 1, "@") == 0 || name.compare(0, 2, "$@") == 0;
}

void BuildAttrName(const std::string& name, int index, int count, std::string& out) {
  if (count == 1) {
    out = name;
    return;
  }
  // The text of "[%0*d]" with the digit count of `count` as the width.
  const int digits = static_cast<int>(std::floor(std::log10(static_cast<double>(count)))) + 1;
  std::string number = std::to_string(index + 1);
  if (static_cast<int>(number.size()) < digits) {
    number.insert(0, static_cast<std::size_t>(digits) - number.size(), '0');
  }
  out = name + "[" + number + "]";
}

namespace {

void SetRowValue(BpCategory& row, const BpCellText& text) { row.Cell(text); }

}  // namespace

void CbkOutput::DisplayFileInfoTable(double weightedCaseCount) {
  BpPivotTable table = fProcedure.PivotTable(BpString("File Information", true),
                                             BpString("FileInformation", false), true);
  table.MinDataColumnWidth(200);
  BpDimension rows = table.Dimension(BpString("Attributes", true), BpPivotTable::kSortAsGiven);
  rows.Position(BpDimension::kRows, 1, true, false);

  std::string path;
  int slash = -1;
  if (const char* fileSpec = fDataSource.GetFileSpec()) {
    path = fileSpec;
    const std::size_t found = path.rfind('/');
    slash = found == std::string::npos ? -1 : static_cast<int>(found);
  }
  // A path without a slash beyond its first character shows "<none>" for
  // both, even when it names a file; intended.
  const bool split = slash > 0;

  if (fRequest->GetFileName()) {
    BpCategory row = rows.Category(BpString("File Name", true));
    if (split) {
      row.Cell(BpString(path.substr(static_cast<std::size_t>(slash) + 1), false));
    } else {
      row.Cell(BpString("<none>", true));
    }
  }
  if (fRequest->GetFileLocation()) {
    BpCategory row = rows.Category(BpString("Location", true));
    if (split) {
      row.Cell(BpString(path.substr(0, static_cast<std::size_t>(slash)), false));
    } else {
      row.Cell(BpString("<none>", true));
    }
  }
  if (fRequest->GetFileLabel()) {
    BpCategory row = rows.Category(BpString("Label", true));
    if (const char* label = fDataSource.GetLabel()) {
      row.Cell(BpString(label, false));
    } else {
      row.Cell(BpString("<none>", true));
    }
  }
  if (fRequest->GetFileDocuments()) {
    BpCategory row = rows.Category(BpString("Documents", true));
    for (const DSDocument& document : GetDocuments(fDataSource)) {
      // The first line runs into the second; every later line ends with a
      // line feed. This joining is the required form.
      std::string text;
      for (int j = 0; j < document.Size(); ++j) {
        text += document[j];
        if (j > 0) text += '\n';
      }
      row.Cell(BpString(text, false));
    }
  }
  if (fRequest->GetFileWeight()) {
    BpCategory row = rows.Category(BpString("Weight Variable", true));
    const int weight = fDataSource.GetWeightVarIndex();
    const VELA_Variable* variable = weight >= 0 ? fDataSource.GetVariable(weight) : nullptr;
    if (variable != nullptr) {
      row.Cell(BpString(variable->GetName(), false));
    } else {
      row.Cell(BpString("<none>", true));
    }
  }
  if (fRequest->GetFileCaseCount()) {
    const VELA_DataSource* parent = fDataSource.Parent();
    const int count = static_cast<int>(parent != nullptr ? parent->GetCaseCount()
                                                         : fDataSource.GetCaseCount());
    BpGroup group = rows.Group(BpString("Number of Cases", true), true, BpGroup::kSortAsGiven);
    BpCategory unweighted = group.Category(BpString("Unweighted", true));
    if (count < 0) {
      unweighted.Cell(BpString("<unknown>", true));
    } else {
      unweighted.Cell(BpNumber(count, fProcedure.Count()));
    }
    BpCategory weighted = group.Category(BpString("Weighted", true));
    if (weightedCaseCount <= 0.0) {
      weighted.Cell(BpString("<unknown>", true));
    } else {
      weighted.Cell(BpNumber(weightedCaseCount, fProcedure.Count()));
    }
  }
  const DatasourceAttributes& attributes = fDataSource.GetAttributes();
  if (fRequest->GetFileAttribute()) {
    BpGroup group = rows.Group(BpString("Custom Attributes", true), true, BpGroup::kSortAsGiven);
    // The hidden-name test is not applied here: "@" names are listed.
    AddAttributeRows(group, attributes,
                     [](const std::string& name) { return name.compare(0, 1, "$") != 0; }, SetRowValue);
  }
  if (fRequest->GetFileReservedAttributes()) {
    BpGroup group = rows.Group(BpString("Reserved Attributes", true), true, BpGroup::kSortAsGiven);
    AddAttributeRows(group, attributes, [](const std::string& name) {
      return name.compare(0, 1, "$") == 0 && !IsHidden(name);
    }, SetRowValue);
  }
}
