// The dictionary: case-insensitive lookups (Unicode too), renames, the case
// layout, weight, and a dictionary of 100,000 variables.
#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>

#include "platform/data/dictionary.h"

using codebook::data::Dictionary;
using codebook::data::Variable;

namespace {

Dictionary ThreeVariables() {
  Dictionary d;
  d.AddVariable(std::make_unique<Variable>("Age"));
  d.AddVariable(std::make_unique<Variable>("Name", 20));
  d.AddVariable(std::make_unique<Variable>("Größe"));
  return d;
}

TEST(Dictionary, LooksUpNamesCaseInsensitively) {
  const Dictionary d = ThreeVariables();
  EXPECT_EQ(d.FindVarIndex("Age"), 0);
  EXPECT_EQ(d.FindVarIndex("AGE"), 0);
  EXPECT_EQ(d.FindVarIndex("name"), 1);
  EXPECT_EQ(d.FindVarIndex("GRÖSSE"), 2);
  EXPECT_EQ(d.FindVarIndex("größe"), 2);
  EXPECT_EQ(d.FindVarIndex("Grosse"), -1);
  EXPECT_EQ(d.FindVarIndex(""), -1);
  EXPECT_EQ(d.FindVarIndex("ag"), -1);
}

TEST(Dictionary, StartPositionLimitsTheSearch) {
  const Dictionary d = ThreeVariables();
  EXPECT_EQ(d.FindVarIndex("name", 1), 1);
  EXPECT_EQ(d.FindVarIndex("name", 2), -1);
  EXPECT_EQ(d.FindVarIndex("age", -5), 0);
}

TEST(Dictionary, RejectsDuplicateAndEmptyNames) {
  Dictionary d = ThreeVariables();
  EXPECT_THROW(d.AddVariable(std::make_unique<Variable>("AGE")), std::invalid_argument);
  EXPECT_THROW(d.AddVariable(std::make_unique<Variable>("GRÖßE")), std::invalid_argument);
  EXPECT_THROW(d.AddVariable(std::make_unique<Variable>("")), std::invalid_argument);
  EXPECT_THROW(d.AddVariable(nullptr), std::invalid_argument);
  EXPECT_EQ(d.VariableCount(), 3);
}

TEST(Dictionary, RenameKeepsTheIndexInStep) {
  Dictionary d = ThreeVariables();
  d.RenameVariable(0, "Years");
  EXPECT_EQ(d.FindVarIndex("age"), -1);
  EXPECT_EQ(d.FindVarIndex("YEARS"), 0);
  EXPECT_STREQ(d.GetVariable(0)->GetName(), "Years");
  d.RenameVariable(0, "YEARS");  // a variable may change the case of its own name
  EXPECT_STREQ(d.GetVariable(0)->GetName(), "YEARS");
  EXPECT_THROW(d.RenameVariable(0, "name"), std::invalid_argument);
  EXPECT_THROW(d.RenameVariable(7, "x"), std::out_of_range);
  EXPECT_EQ(d.FindVarIndex("years"), 0);
}

TEST(Dictionary, CaseLayout) {
  Dictionary d = ThreeVariables();
  // Age: 1 cell; Name: 20 bytes = 3 cells; Größe: 1 cell.
  EXPECT_EQ(d.CellOffset(0), 0);
  EXPECT_EQ(d.CellOffset(1), 1);
  EXPECT_EQ(d.CellOffset(2), 4);
  EXPECT_EQ(d.CellsPerCase(), 5);
  EXPECT_EQ(d.CellOffset(3), -1);
  EXPECT_EQ(d.CellOffset(-1), -1);

  // The reader may widen a string's cells after converting its encoding.
  d.SetVariableWidth(1, 20, 60);
  EXPECT_EQ(d.GetVariable(1)->GetType(), 60);
  EXPECT_EQ(d.GetVariable(1)->DeclaredWidth(), 20);
  EXPECT_EQ(d.CellOffset(2), 9);
  EXPECT_EQ(d.CellsPerCase(), 10);
  EXPECT_THROW(d.SetVariableWidth(0, 8, 8), std::invalid_argument);  // numeric stays numeric
}

TEST(Dictionary, WeightMustBeANumericVariable) {
  Dictionary d = ThreeVariables();
  EXPECT_EQ(d.WeightIndex(), -1);
  d.SetWeightIndex(2);
  EXPECT_EQ(d.WeightIndex(), 2);
  EXPECT_THROW(d.SetWeightIndex(1), std::invalid_argument);
  EXPECT_THROW(d.SetWeightIndex(3), std::invalid_argument);
  d.SetWeightIndex(-1);
  EXPECT_EQ(d.WeightIndex(), -1);
}

// Adding is linear and lookups are hashed: a quadratic add would make this
// test run for minutes instead of a fraction of a second.
TEST(Dictionary, HundredThousandVariables) {
  constexpr int kCount = 100000;
  Dictionary d;
  for (int i = 0; i < kCount; ++i) {
    auto v = (i % 10 == 0) ? std::make_unique<Variable>("S" + std::to_string(i), 12)
                           : std::make_unique<Variable>("v" + std::to_string(i));
    ASSERT_EQ(d.AddVariable(std::move(v)), i);
  }
  EXPECT_EQ(d.VariableCount(), kCount);
  // 10,000 strings of 2 cells and 90,000 numbers of 1 cell.
  EXPECT_EQ(d.CellsPerCase(), 110000);
  for (int i = 0; i < kCount; i += 997) {
    const std::string name = (i % 10 == 0) ? "s" + std::to_string(i) : "V" + std::to_string(i);
    EXPECT_EQ(d.FindVarIndex(name), i);
  }
  EXPECT_EQ(d.CellOffset(kCount - 1), 110000 - 1);
  EXPECT_EQ(d.FindVarIndex("v100000"), -1);
}

// Renames take names out of the index and put others in; every name left
// must still be found, whatever lay behind the one taken out.
TEST(Dictionary, ManyRenamesKeepEveryNameFound) {
  constexpr int kCount = 5000;
  Dictionary d;
  for (int i = 0; i < kCount; ++i) d.AddVariable(std::make_unique<Variable>("v" + std::to_string(i)));
  for (int i = 0; i < kCount; i += 3) d.RenameVariable((i * 7) % kCount, "r" + std::to_string((i * 7) % kCount));
  int renamedCount = 0;
  for (int i = 0; i < kCount; ++i) {
    const std::string old = "v" + std::to_string(i);
    const std::string now = "r" + std::to_string(i);
    if (d.FindVarIndex(now) == i) {
      ++renamedCount;
      EXPECT_EQ(d.FindVarIndex(old), -1) << old;
    } else {
      EXPECT_EQ(d.FindVarIndex(old), i) << old;
      EXPECT_EQ(d.FindVarIndex(now), -1) << now;
    }
  }
  EXPECT_EQ(renamedCount, (kCount + 2) / 3);
  EXPECT_THROW(d.AddVariable(std::make_unique<Variable>("R0")), std::invalid_argument);
}

}  // namespace
