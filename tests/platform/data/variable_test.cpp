// Variables: widths and cells, formats, levels and roles, attributes (the
// role attribute is not listed), value labels and missing values by kind.
#include <gtest/gtest.h>

#include <cstring>
#include <stdexcept>

#include "platform/data/variable.h"

using codebook::data::MissingValues;
using codebook::data::Variable;

namespace {

using Attrs = std::vector<DatasourceAttributes::Attribute>;

TEST(Variable, StringWidthsAndCells) {
  struct Case {
    int width, cellWidth, type, cells;
  };
  for (const Case c : {Case{1, 0, 1, 1}, Case{8, 0, 8, 1}, Case{9, 0, 9, 2}, Case{16, 0, 16, 2},
                       Case{17, 0, 17, 3}, Case{8, 24, 24, 3}, Case{10, 5, 10, 2},
                       Case{32767, 0, 32767, 4096}}) {
    const Variable v("s", c.width, c.cellWidth);
    EXPECT_EQ(v.DeclaredWidth(), c.width);
    EXPECT_EQ(v.GetType(), c.type) << c.width << "/" << c.cellWidth;
    EXPECT_EQ(v.cellCount(), c.cells) << c.width << "/" << c.cellWidth;
    EXPECT_EQ(v.GetWriteFormatEx(), VELA_Format(VELA_Format::A, c.width, 0));
  }
  EXPECT_THROW(Variable("s", 0), std::invalid_argument);
  EXPECT_THROW(Variable("s", -3), std::invalid_argument);
}

TEST(Variable, LevelAndRoleOutOfRangeFallBack) {
  Variable v("x");
  v.SetMeasurementLevel(VELA_Variable::kOrdinal);
  v.SetRole(VELA_Variable::kSplit);
  EXPECT_EQ(v.GetMeasurementLevel(), 2);
  EXPECT_EQ(v.GetRole(), 5);
  v.SetMeasurementLevel(7);
  v.SetRole(-1);
  EXPECT_EQ(v.GetMeasurementLevel(), VELA_Variable::kUnknown);
  EXPECT_EQ(v.GetRole(), VELA_Variable::kInput);
}

TEST(Variable, RoleAttributeBecomesTheRoleAndIsNotListed) {
  Variable v("x");
  v.SetAttributes(DatasourceAttributes({{"Note", {"a"}},
                                        {"$@Role", {"1"}},
                                        {"$Custom", {"b", "c"}},
                                        {"@hidden", {"d"}}}));
  EXPECT_EQ(v.GetRole(), VELA_Variable::kTarget);
  ASSERT_EQ(v.GetAttributes().Size(), 3u);
  EXPECT_EQ(v.GetAttributes().Name(0), "Note");
  EXPECT_EQ(v.GetAttributes().Name(1), "$Custom");
  EXPECT_EQ(v.GetAttributes().Values(1).size(), 2u);
  EXPECT_EQ(v.GetAttributes().Name(2), "@hidden");

  Variable quoted("y");
  quoted.SetAttributes(DatasourceAttributes(Attrs{{"$@Role", {"'3'\n"}}}));
  EXPECT_EQ(quoted.GetRole(), VELA_Variable::kNone);
  EXPECT_EQ(quoted.GetAttributes().Size(), 0u);

  Variable junk("z");
  junk.SetAttributes(DatasourceAttributes(Attrs{{"$@Role", {"banana"}}}));
  EXPECT_EQ(junk.GetRole(), VELA_Variable::kInput);
}

TEST(Variable, IsMissingNumeric) {
  Variable v("x");
  OBS cell{99.0};
  EXPECT_EQ(v.IsMissing(&cell), 0);
  v.SetMissingValues(MissingValues::Numeric({99}));
  EXPECT_NE(v.IsMissing(&cell), 0);
  cell.d = kSysmis;
  EXPECT_EQ(v.IsMissing(&cell), 0);
  EXPECT_EQ(v.IsMissing(nullptr), 0);
}

TEST(Variable, IsMissingStringReadsOnlyItsCells) {
  Variable v("s", 10);
  v.SetMissingValues(MissingValues::Strings({"NA"}));
  OBS cells[2];
  std::memset(cells, ' ', sizeof cells);
  std::memcpy(cells, "NA", 2);
  EXPECT_NE(v.IsMissing(cells), 0);
  std::memcpy(cells, "NB", 2);
  EXPECT_EQ(v.IsMissing(cells), 0);
  // Bytes beyond the width (the rest of the last cell) are not part of the value.
  std::memcpy(cells, "NA", 2);
  std::memcpy(reinterpret_cast<char*>(cells) + 10, "XXXXXX", 6);
  EXPECT_NE(v.IsMissing(cells), 0);
}

TEST(Variable, KindsMustMatch) {
  Variable number("n");
  Variable text("s", 4);
  EXPECT_THROW(number.SetMissingValues(MissingValues::Strings({"a"})), std::invalid_argument);
  EXPECT_THROW(text.SetMissingValues(MissingValues::Numeric({1})), std::invalid_argument);
  EXPECT_THROW(number.SetValueLabels(std::make_shared<ValueLabelSetImpl>(
                   4, std::vector<ValueLabelSetImpl::StringLabel>{{"a", "A"}})),
               std::invalid_argument);
  EXPECT_THROW(text.SetValueLabels(std::make_shared<ValueLabelSetImpl>(
                   std::vector<ValueLabelSetImpl::NumericLabel>{{1, "one"}})),
               std::invalid_argument);
}

TEST(Variable, StringLabelsAdoptTheVariablesCellWidth) {
  // A set made for 4-byte values, given to a variable whose cells hold 20
  // bytes: lookups through the variable's cells must see all 20 bytes.
  auto set = std::make_shared<ValueLabelSetImpl>(
      4, std::vector<ValueLabelSetImpl::StringLabel>{{"ab", "AB"}});
  Variable v("s", 4, 20);
  v.SetValueLabels(set);
  ASSERT_NE(v.GetValueLabels().get(), nullptr);
  EXPECT_EQ(v.GetValueLabels().get()->CellWidth(), 20);
  OBS cells[3];
  std::memset(cells, ' ', sizeof cells);
  std::memcpy(cells, "ab", 2);
  VELA_ValueLabelMap map(v.GetValueLabels());
  EXPECT_STREQ(map.GetLabel(cells), "AB");
  // The original set is shared, not changed.
  EXPECT_EQ(set->CellWidth(), 4);
}

}  // namespace
