// Resolution of codebook items against a dataset, the codebook variable and
// the print-format value type.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>

#include "harness.h"
#include "variables/cbkvariable.h"
#include "variables/cbkvariableresolver.h"

namespace {

using codebook::data::DatasetBuilder;
using testing::ElementsAre;

std::shared_ptr<codebook::data::Dataset> Sets() {
  return DatasetBuilder()
      .Numeric("brand_a").Label("Uses A").ValueLabel(1, "Yes A").ValueLabel(0.0, "No")
      .Numeric("brand_b").Label("Uses B").ValueLabel(1, "Yes B")
      .Numeric("fav1").ValueLabel(1, "Red").ValueLabel(2, "Green").ValueLabel(3, "Blue")
      .Numeric("fav2").ValueLabel(9, "Other")
      .String("m3", 3)
      .String("m12", 12)
      .Numeric("$dollar")
      .MRSet(cbtest::SetOf("$brands", "Brands", 2, {"brand_a", "nosuch", "brand_b"}, "1"))
      .MRSet(cbtest::SetOf("$favs", "", 1, {"fav1", "fav2"}))
      .MRSet(cbtest::SetOf("$media", "", 2, {"m3", "m12"}, "Y"))
      .MRSet(cbtest::SetOf("$cv", "By value", 2, {"brand_a", "brand_b"}, "1", true, true))
      .MRSet(cbtest::SetOf("$other", "Other kind", 7, {"fav1"}))
      .MRSet(cbtest::SetOf("$empty", "", 2, {"brand_a", "brand_b"}, ""))
      .Build();
}

TEST(ObsLength, WholeCellsWithAtLeastOne) {
  EXPECT_EQ(ObsLength(0), 1);
  EXPECT_EQ(ObsLength(1), 1);
  EXPECT_EQ(ObsLength(8), 1);
  EXPECT_EQ(ObsLength(9), 2);
  EXPECT_EQ(ObsLength(16), 2);
  EXPECT_EQ(ObsLength(17), 3);
  double d = 4.5;
  EXPECT_EQ(AsOBS(d)->d, 4.5);
}

TEST(ResolveVariable, ByIndexAndByName) {
  auto ds = Sets();
  CBKVariableResolver byIndex;
  ASSERT_TRUE(byIndex.resolveVariable(ds.get(), 2));
  EXPECT_EQ(byIndex.getVariableType(), 1);
  EXPECT_EQ(byIndex.getVariableIndex(), 2);
  EXPECT_EQ(byIndex.GetLabeledValueLabelSetSize(), 3);
  EXPECT_STREQ(byIndex.getVELAVariable()->GetName(), "fav1");
  // A number has no string length; a string its format's width.
  EXPECT_FALSE(byIndex.isString());
  EXPECT_EQ(byIndex.getStringLength(), 0);
  CBKVariableResolver text;
  ASSERT_TRUE(text.resolveVariable(ds.get(), std::string("m12")));
  EXPECT_TRUE(text.isString());
  EXPECT_EQ(text.getStringLength(), 12);

  CBKVariableResolver byName;
  ASSERT_TRUE(byName.resolveVariable(ds.get(), std::string("BRAND_B")));
  EXPECT_EQ(byName.getVariableIndex(), 1);
  EXPECT_EQ(byName.getValueLabel("1", nullptr), "Yes B");

  // A name that is a variable resolves as one even with a leading "$".
  CBKVariableResolver dollar;
  ASSERT_TRUE(dollar.resolveVariable(ds.get(), std::string("$dollar")));
  EXPECT_EQ(dollar.getVariableType(), 1);
}

TEST(ResolveVariable, Failures) {
  auto ds = Sets();
  CBKVariableResolver negative;
  EXPECT_FALSE(negative.resolveVariable(ds.get(), -1));
  CBKVariableResolver nullSource;
  EXPECT_FALSE(nullSource.resolveVariable(nullptr, 0));
  CBKVariableResolver unknown;
  EXPECT_FALSE(unknown.resolveVariable(ds.get(), std::string("nosuch")));
  CBKVariableResolver unknownSet;
  EXPECT_FALSE(unknownSet.resolveVariable(ds.get(), std::string("$nosuch")));
  EXPECT_EQ(unknownSet.getVariableType(), 0);
}

TEST(ResolveSet, DichotomiesWithNumericCountedValue) {
  auto ds = Sets();
  CBKVariableResolver r;
  ASSERT_TRUE(r.resolveVariable(ds.get(), std::string("$Brands")));
  EXPECT_EQ(r.getVariableType(), 3);
  // Unknown members are dropped silently.
  EXPECT_THAT(r.getVariableIndexList(), ElementsAre(0, 1));
  EXPECT_EQ(r.getVariableIndex(), ds->ColumnCount() + 0);
  EXPECT_EQ(r.GetLabeledValueLabelSetSize(), 2);
  EXPECT_EQ(r.getMRSetName(), "Brands");
  EXPECT_EQ(r.getMRSetLabel(), "Brands");
  EXPECT_FALSE(r.isString());
  // The categories are the members: the longest member name counts.
  EXPECT_EQ(r.getStringLength(), 7);
  int length = 0;
  const OBS* counted = r.getCountedValue(length);
  EXPECT_EQ(length, 8);
  ASSERT_NE(counted, nullptr);
  EXPECT_EQ(counted->d, 1.0);
  EXPECT_EQ(r.getValueLabel("BRAND_B", nullptr), "Uses B");
}

TEST(ResolveSet, EmptyCountedValueParsesAsZero) {
  auto ds = Sets();
  CBKVariableResolver r;
  ASSERT_TRUE(r.resolveVariable(ds.get(), std::string("$empty")));
  int length = 0;
  EXPECT_EQ(r.getCountedValue(length)->d, 0.0);
}

TEST(ResolveSet, DichotomiesWithStringCountedValueAreBlankPadded) {
  auto ds = Sets();
  CBKVariableResolver r;
  ASSERT_TRUE(r.resolveVariable(ds.get(), std::string("$media")));
  EXPECT_TRUE(r.isString());
  EXPECT_EQ(r.getStringLength(), 12);
  int length = 0;
  const OBS* counted = r.getCountedValue(length);
  EXPECT_EQ(length, ObsLength(12));
  EXPECT_EQ(std::string(counted->c, 16), "Y" + std::string(15, ' '));
  // No label: the set's name stands in.
  EXPECT_EQ(r.getMRSetName(), "$media");
  EXPECT_EQ(r.getMRSetLabel(), "");
}

TEST(ResolveSet, CategoriesTakeTheFirstMembersLabels) {
  auto ds = Sets();
  CBKVariableResolver r;
  ASSERT_TRUE(r.resolveVariable(ds.get(), std::string("$favs")));
  EXPECT_EQ(r.getVariableType(), 2);
  EXPECT_EQ(r.GetLabeledValueLabelSetSize(), 3);
  EXPECT_EQ(r.getVariableIndex(), ds->ColumnCount() + 1);
  EXPECT_EQ(r.getValueLabel("9", nullptr), "Other");  // the second member's
  EXPECT_EQ(r.getValueLabel("2", nullptr), "Green");
  EXPECT_EQ(r.getValueLabel("5", nullptr), "");
}

TEST(ResolveSet, ExtendedDichotomyLabelsByTheCountedValue) {
  auto ds = Sets();
  CBKVariableResolver r;
  ASSERT_TRUE(r.resolveVariable(ds.get(), std::string("$cv")));
  EXPECT_EQ(r.getValueLabel("brand_a", nullptr), "Yes A");
  EXPECT_EQ(r.getValueLabel("brand_b", nullptr), "Yes B");
}

TEST(ResolveSet, OtherKindsResolveWithTypeZero) {
  auto ds = Sets();
  CBKVariableResolver r;
  EXPECT_TRUE(r.resolveVariable(ds.get(), std::string("$other")));
  EXPECT_EQ(r.getVariableType(), 0);
  EXPECT_FALSE(r.isString());
  EXPECT_EQ(r.getStringLength(), 0);
  EXPECT_EQ(r.getValueLabel("1", nullptr), "");
}

TEST(CodebookVariable, NameAndStringnessFollowTheResolver) {
  auto ds = Sets();
  CBKVariable none(nullptr, CBKVariable::kOrdinary);
  EXPECT_FALSE(none.isString());
  EXPECT_EQ(none.GetVariableName(), "");
  EXPECT_EQ(none.getMeasurmentLevel(), CBKVariable::kNotSet);
  EXPECT_FALSE(none.GetLabeledValueOnly());

  auto* resolver = new CBKVariableResolver;
  ASSERT_TRUE(resolver->resolveVariable(ds.get(), std::string("$media")));
  CBKVariable set(resolver, CBKVariable::kLabeledValuesOnly);
  EXPECT_EQ(set.GetVariableName(), "$media");
  EXPECT_TRUE(set.isString());
  EXPECT_EQ(set.GetMissingHandleType(), CBKVariable::kLabeledValuesOnly);

  auto* variable = new CBKVariableResolver;
  ASSERT_TRUE(variable->resolveVariable(ds.get(), 5));
  CBKVariable m12(variable, CBKVariable::kOrdinary);
  EXPECT_EQ(m12.GetVariableName(), "m12");
  EXPECT_TRUE(m12.isString());
}

}  // namespace
