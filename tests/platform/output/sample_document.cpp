#include "tests/platform/output/sample_document.h"

#include <cstring>
#include <string>

#include "host/output/bp_procedure.h"
#include "platform/output/document/table_model.h"
#include "platform/data/active_dataset.h"
#include "platform/output/current_output.h"
#include "testing/dataset_builder.h"

namespace codebook::output::testing {

namespace {

BpString Fixed(const char* text) { return BpString(text, true); }
BpString Data(std::string text) { return BpString(std::move(text), false); }

void FileInformation(BpProcedure& procedure) {
  BpPivotTable table = procedure.PivotTable(Fixed("File Information"), Data("FileInformation"), true);
  table.MinDataColumnWidth(200);
  BpDimension rows = table.Dimension(Fixed("Attributes"), 2);
  rows.Position(0, 1, true, false);
  rows.Category(Fixed("File Name")).Cell(Data("survey.sav"));
  rows.Category(Fixed("Location")).Cell(Data("/data/2024"));
  rows.Category(Fixed("Label")).Cell(Data("Household survey, wave 3"));
  BpCategory documents = rows.Category(Fixed("Documents"));
  documents.Cell(Data("Collected in spring.Weighted to the census.\n"));
  documents.Cell(Data("Second note.\n"));
  rows.Category(Fixed("Weight Variable")).Cell(Fixed("<none>"));
  BpGroup cases = rows.Group(Fixed("Number of Cases"), true, 2);
  cases.Category(Fixed("Unweighted")).Cell(BpNumber(30, procedure.Count()));
  cases.Category(Fixed("Weighted")).Cell(BpNumber(30, procedure.Count()));
  BpGroup custom = rows.Group(Fixed("Custom Attributes"), true, 2);
  custom.Category(Data("Source[1]")).Cell(Data("Field office"));
  custom.Category(Data("Source[2]")).Cell(Data("Panel \"B\" | <web>"));
  rows.Group(Fixed("Reserved Attributes"), true, 2);  // nothing qualifies: not shown
}

struct VariableTable {
  BpPivotTable table;
  BpGroup attributes;
  BpCategory value;
  BpCategory count;
  BpCategory percent;
};

VariableTable OpenVariableTable(BpProcedure& procedure, const char* name) {
  BpPivotTable table = procedure.PivotTable(Data(name), Data("Variable Information"), false);
  BpDimension rows = table.Dimension(Fixed("Attributes"), 2);
  rows.Position(0, 1, true, false);
  BpDimension columns = table.Dimension(Fixed("Values"), 2);
  columns.Position(1, 1, true, false);
  BpCategory value = columns.Category(Fixed("Value"));
  BpCategory count = columns.Category(Fixed("Count"));
  BpCategory percent = columns.Category(Fixed("Percent"));
  return VariableTable{table, rows, value, count, percent};
}

void StandardAttributes(VariableTable& t, BpProcedure& procedure, int position, const char* label,
                        const char* type, const char* format, const char* level) {
  BpGroup standard = t.attributes.Group(Fixed("Standard Attributes"), true, 2);
  standard.Category(Fixed("Position"));
  t.value.Cell(BpNumber(position, procedure.Count()));
  standard.Category(Fixed("Label"));
  t.value.Cell(Data(label));
  standard.Category(Fixed("Type"));
  t.value.Cell(Fixed(type));
  standard.Category(Fixed("Format"));
  t.value.Cell(Data(format));
  standard.Category(Fixed("Measurement"));
  t.value.Cell(Fixed(level));
  standard.Category(Fixed("Role"));
  t.value.Cell(Fixed("Input"));
}

void SexTable(BpProcedure& procedure, const VELA_Variable& sex) {
  VariableTable t = OpenVariableTable(procedure, "sex");
  StandardAttributes(t, procedure, 1, "Sex of respondent", "Numeric", "F1", "Nominal");
  t.attributes.Group(Fixed("Custom Attributes"), true, 2);  // no attributes: not shown
  BpGroup valid = t.attributes.Group(Fixed("Valid Values"), true, 2);
  BpGroup missing = t.attributes.Group(Fixed("Missing Values"), true, 2);
  const double total = 30;
  struct Row {
    double value;
    const char* label;
    double count;
    bool missing;
  };
  const Row rows[] = {{1, "Male", 12, false}, {2, "Female", 15, false}, {9, "No answer", 2, true}};
  for (const Row& row : rows) {
    OBS cell;
    cell.d = row.value;
    (row.missing ? missing : valid).Category(BpDataValue(sex, &cell, 0));
    t.value.Cell(Data(row.label));
    t.count.Cell(BpNumber(row.count, procedure.Count()));
    t.percent.Cell(BpNumber(row.count / total * 100, procedure.Percent()));
  }
  missing.Category(Fixed("System"));
  t.count.Cell(BpNumber(1, procedure.Count()));
  t.percent.Cell(BpNumber(1 / total * 100, procedure.Percent()));
}

void IncomeTable(BpProcedure& procedure, const VELA_Variable& income) {
  VariableTable t = OpenVariableTable(procedure, "income");
  StandardAttributes(t, procedure, 2, "Monthly household income, after taxes and transfers, in euros",
                     "Numeric", "COMMA10.2", "Scale");
  BpGroup n = t.attributes.Group(Fixed("N"), true, 2);
  n.Category(Fixed("Valid"));
  t.value.Cell(BpNumber(28, procedure.Count()));
  n.Category(Fixed("Missing"));
  t.value.Cell(BpNumber(2, procedure.Count()));
  BpGroup central = t.attributes.Group(Fixed("Central Tendency and Dispersion"), true, 2);
  central.Category(Fixed("Mean"));
  t.value.Cell(BpNumber(2718.281828, procedure.Mean(1)));
  central.Category(Fixed("Standard Deviation"));
  t.value.Cell(BpNumber(1234.5, procedure.StdDev(1)));
  central.Category(Fixed("Percentile 50"));
  t.value.Cell(BpNumber(2500, procedure.Mean(1)));
  BpGroup labeled = t.attributes.Group(Fixed("Labeled Values"), true, 2);
  OBS zero;
  zero.d = 0;
  labeled.Category(BpDataValue(income, &zero, 0));
  t.value.Cell(Data("No income"));
  t.count.Cell(BpNumber(3, procedure.Count()));
  // No percent cell anywhere in this table: the column is not shown.
}

// What the program puts at the head of a command's output: an overview
// row per item, as platform/report makes it (here by hand: the output
// library's tests see no report library).
std::shared_ptr<const bp::TableNode> Overview() {
  auto table = std::make_shared<bp::TableNode>();
  table->subtype = "Overview";
  const auto text = [](const char* words, bool fixed) { return *BpString(words, fixed).content(); };
  table->SetTitle(text("Overview", true));
  const int rows = table->AddDimension(text("Variable", true));
  const int columns = table->AddDimension(text("Statistics", true));
  table->Position(rows, 0, 0, true, true);
  table->Position(columns, 1, 0, false, true);
  const int label = table->AddChild(columns, bp::NodeKind::kCategory, text("Label", true), true);
  const int valid = table->AddChild(columns, bp::NodeKind::kCategory, text("Valid", true), true);
  const int distinct = table->AddChild(columns, bp::NodeKind::kCategory, text("Distinct Values", true), true);
  const BpFormatSpec count(BpFormatSpec::kCount, VELA_Format());
  table->AddChild(rows, bp::NodeKind::kCategory, text("sex", false), true);
  table->SetCell(label, text("Sex of respondent", false));
  table->SetCell(valid, *BpNumber(27, count).content());
  table->SetCell(distinct, *BpNumber(2, count).content());
  table->AddChild(rows, bp::NodeKind::kCategory, text("income", false), true);
  table->SetCell(valid, *BpNumber(28, count).content());
  table->SetCell(distinct, text("more than 200", false));
  table->Seal();
  return table;
}

}  // namespace

std::shared_ptr<Document> BuildSampleCodebook() {
  auto dataset = data::DatasetBuilder()
                     .Numeric("sex").Label("Sex of respondent").Format(VELA_Format::F, 1, 0).Level(1)
                     .ValueLabel(1, "Male").ValueLabel(2, "Female").ValueLabel(9, "No answer")
                     .MissingDiscrete({9})
                     .Numeric("income").Format(VELA_Format::COMMA, 10, 2).Level(3).ValueLabel(0.0, "No income")
                     .Build();
  data::SetActiveSelection(std::make_shared<ProcedureDataSource::Selection>(dataset));
  auto document = std::make_shared<Document>();
  {
    ScopedCurrentDocument scope(document);
    BpProcedure procedure("Codebook", 1);
    FileInformation(procedure);
    SexTable(procedure, *dataset->GetVariable(0));
    IncomeTable(procedure, *dataset->GetVariable(1));
  }
  AddMessage(*document, Severity::kWarning, "CODEBOOK", 3, "No Variable Information for x .");
  data::SetActiveSelection(nullptr);

  FileSummary file;
  file.name = "survey.sav";
  file.label = "Household survey, wave 3";
  file.documents = {"Collected in spring.", "Weighted to the census."};
  file.cases = 30;
  file.weightedCases = 29.5;
  file.variables = 2;
  file.weight = "w";
  file.informationTable = std::get<Document::Table>(document->Items().front());
  document->Insert(0, std::move(file));
  document->Insert(1, Overview());
  document->SetProvenance({"codebook", "1.0", "2026-01-31"});
  document->SetAlertsChecked();
  document->AddAlert({"sex", "unused-label", "Value labels with no cases: 3 \"Unused\".", 0});
  return document;
}

}  // namespace codebook::output::testing
