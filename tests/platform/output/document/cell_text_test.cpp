// What the Bp texts show: variables, data values in their print formats,
// value labels by preference, and the number formats of BpProcedure.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "host/output/bp_procedure.h"
#include "platform/data/active_dataset.h"
#include "platform/output/document/cell_content.h"
#include "testing/dataset_builder.h"

namespace codebook::output {
namespace {

std::shared_ptr<data::Dataset> Sample() {
  return data::DatasetBuilder()
      .Numeric("sex").Label("Sex").Format(VELA_Format::F, 1, 0).ValueLabel(1, "Male")
      .Numeric("born").Format(VELA_Format::DATE, 11, 0)
      .String("name", 12).ValueLabel("Ann", "Annie")
      .String("code", 4).PrintFormat(VELA_Format(VELA_Format::AHEX, 8, 0))
      .Numeric("nolabel").Label("")
      .Numeric("income").Format(VELA_Format::COMMA, 10, 2)
      .Numeric("took").Format(VELA_Format::TIME, 8, 0)
      .Build();
}

// The cells of a string value, blank-padded like the dataset's.
std::vector<OBS> StringCells(const std::string& text, int bytes) {
  std::vector<OBS> cells(static_cast<std::size_t>((bytes + 7) / 8));
  std::memset(cells.data(), ' ', cells.size() * sizeof(OBS));
  std::memcpy(cells.data(), text.data(), text.size());
  return cells;
}

const CellContent& C(const BpCellText& text) { return *text.content(); }

TEST(CellText, VariablesShowNameOrLabel) {
  auto ds = Sample();
  EXPECT_EQ(C(BpVariable(*ds->GetVariable(0), 0)).text, "sex");
  EXPECT_EQ(C(BpVariable(*ds->GetVariable(0), 1)).text, "Sex");
  EXPECT_EQ(C(BpVariable(*ds->GetVariable(1), 1)).text, "born");     // no label
  EXPECT_EQ(C(BpVariable(*ds->GetVariable(4), 1)).text, "nolabel");  // empty label
}

TEST(CellText, NumericDataValuesByPreference) {
  auto ds = Sample();
  const VELA_Variable& sex = *ds->GetVariable(0);
  OBS one;
  one.d = 1;
  OBS two;
  two.d = 2;
  EXPECT_EQ(C(BpDataValue(sex, &one, 0)).text, "1");
  EXPECT_EQ(C(BpDataValue(sex, &one, 1)).text, "Male");
  EXPECT_EQ(C(BpDataValue(sex, &one, 2)).text, "1");
  EXPECT_EQ(C(BpDataValue(sex, &one, 3)).text, "1 Male");
  EXPECT_EQ(C(BpDataValue(sex, &two, 1)).text, "2");  // no label: the value
  EXPECT_EQ(C(BpDataValue(sex, &two, 3)).text, "2");
  EXPECT_TRUE(C(BpDataValue(sex, &one, 0)).numeric);
  EXPECT_FALSE(C(BpDataValue(sex, &one, 1)).numeric);
  EXPECT_EQ(std::get<double>(C(BpDataValue(sex, &one, 1)).dataValue), 1.0);

  OBS missing;
  missing.d = kSysmis;
  EXPECT_EQ(C(BpDataValue(sex, &missing, 0)).text, ".");
  OBS day;
  day.d = 13928544000.0;
  EXPECT_EQ(C(BpDataValue(*ds->GetVariable(1), &day, 0)).text, "29-FEB-2024");
  OBS money;
  money.d = 1234567.891;
  EXPECT_EQ(C(BpDataValue(*ds->GetVariable(5), &money, 0)).text, "1,234,567.89");
  EXPECT_EQ(C(BpDataValue(sex, nullptr, 0)).text, "");
}

TEST(CellText, StringDataValuesWithoutTrailingBlanks) {
  auto ds = Sample();
  const VELA_Variable& name = *ds->GetVariable(2);
  std::vector<OBS> ann = StringCells("Ann", name.GetType());
  EXPECT_EQ(C(BpDataValue(name, ann.data(), 0)).text, "Ann");
  EXPECT_EQ(C(BpDataValue(name, ann.data(), 1)).text, "Annie");
  EXPECT_EQ(C(BpDataValue(name, ann.data(), 3)).text, "Ann Annie");
  EXPECT_EQ(std::get<std::string>(C(BpDataValue(name, ann.data(), 0)).dataValue), "Ann");
  EXPECT_FALSE(C(BpDataValue(name, ann.data(), 0)).numeric);
  std::vector<OBS> blank = StringCells("", name.GetType());
  EXPECT_EQ(C(BpDataValue(name, blank.data(), 0)).text, "");

  const VELA_Variable& code = *ds->GetVariable(3);
  std::vector<OBS> ab = StringCells("AB", code.GetType());
  EXPECT_EQ(C(BpDataValue(code, ab.data(), 0)).text, "41422020");
  EXPECT_EQ(std::get<std::string>(C(BpDataValue(code, ab.data(), 0)).dataValue), "AB");
}

TEST(CellText, MeanAndStdDevFollowTheActiveDatasetsVariable) {
  auto ds = Sample();
  data::SetActiveSelection(std::make_shared<ProcedureDataSource::Selection>(ds));
  BpProcedure procedure("Codebook", 1);
  EXPECT_EQ(C(BpNumber(1.5, procedure.Mean(0))).text, "1.50");              // F1 -> 2 decimals
  EXPECT_EQ(C(BpNumber(12345.6789, procedure.Mean(5))).text, "12,345.6789");  // COMMA10.2 -> 4
  EXPECT_EQ(C(BpNumber(13928544000.0, procedure.Mean(1))).text, "29-FEB-2024");
  EXPECT_EQ(C(BpNumber(2 * 86400 + 3 * 3600 + 4 * 60 + 5, procedure.StdDev(1))).text, "2 03:04:05");
  EXPECT_EQ(C(BpNumber(3725, procedure.StdDev(6))).text, "01:02:05");
  // An index outside the dataset falls back to F8.2 (4 decimals).
  EXPECT_EQ(C(BpNumber(1.5, procedure.Mean(99))).text, "1.5000");
  data::SetActiveSelection(nullptr);
  EXPECT_EQ(C(BpNumber(1.5, procedure.StdDev(0))).text, "1.5000");
}

}  // namespace
}  // namespace codebook::output
