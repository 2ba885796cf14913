// Subsets of VARINFO and STATISTICS keywords: each switch shows its own
// rows and no other, no table is dropped, and none gains a stray row. The
// tables are compared whole, as an outline of their rows.
#include <gtest/gtest.h>

#include <string>

#include "procedure_run.h"

namespace {

// sex nominal with labels and a missing value, score scale with labels,
// age scale without, name a string, $both a category set of sex and score.
std::shared_ptr<cbtest::Dataset> Survey() {
  return cbtest::DatasetBuilder()
      .Numeric("sex").Level(1).Label("Sex").Format(VELA_Format::F, 1)
      .ValueLabel(1, "Female").ValueLabel(2, "Male").ValueLabel(9, "No answer").MissingDiscrete({9})
      .Attribute("Note", {"asked twice"}).Attribute("$Reserved", {"kept"})
      .Numeric("score").Level(3).Format(VELA_Format::F, 2).ValueLabel(1, "low").ValueLabel(5, "high")
      .Numeric("age").Level(3).Format(VELA_Format::F, 3).Role(1)
      .String("name", 6).Level(1)
      .MRSet(cbtest::SetOf("$both", "Both answers", VariableSetImpl::kMultipleCategory, {"sex", "score"}))
      .Cases({{1, 1, 20, "ann"}, {2, 2, 30, "bob"}, {2, 5, 40, "ann"}, {9, 5, 50, ""}, {kSysmis, kSysmis, 60, "cy"}})
      .Build();
}

struct Case {
  const char* command;
  const char* outline;
};

TEST(VarinfoSubsets, EachKeywordShowsItsRowsAndNoOthers) {
  const Case cases[] = {
      {"CODEBOOK sex /VARINFO VALUELABELS /STATISTICS NONE.",
       "sex\n"
       "  Valid Values / 1: Female\n"
       "  Valid Values / 2: Male\n"},
      {"CODEBOOK sex /VARINFO MISSING /STATISTICS NONE.",
       "sex\n"
       "  Missing Values / 9: No answer\n"},
      {"CODEBOOK sex /VARINFO VALUELABELS MISSING /STATISTICS NONE.",
       "sex\n"
       "  Valid Values / 1: Female\n"
       "  Valid Values / 2: Male\n"
       "  Missing Values / 9: No answer\n"},
      {"CODEBOOK sex /VARINFO LABEL /STATISTICS NONE.",
       "sex\n"
       "  Standard Attributes / Label: Sex\n"},
      {"CODEBOOK sex /VARINFO POSITION /STATISTICS COUNT.",
       "sex\n"
       "  Standard Attributes / Position: 1\n"
       "  Valid Values / 1: Female | 1\n"
       "  Valid Values / 2: Male | 2\n"
       "  Missing Values / 9: No answer | 1\n"
       "  Missing Values / System:  | 1\n"},
      {"CODEBOOK sex /VARINFO TYPE /STATISTICS PERCENT.",
       "sex\n"
       "  Standard Attributes / Type: Numeric\n"
       "  Valid Values / 1: Female | 20.0%\n"
       "  Valid Values / 2: Male | 40.0%\n"
       "  Missing Values / 9: No answer | 20.0%\n"
       "  Missing Values / System:  | 40.0%\n"},
      {"CODEBOOK sex /VARINFO ATTRIBUTES /STATISTICS NONE.",
       "sex\n"
       "  Custom Attributes / Note: asked twice\n"},
      {"CODEBOOK sex /VARINFO RESERVEDATTRIBUTES /STATISTICS NONE.",
       "sex\n"
       "  Reserved Attributes / $Reserved: kept\n"},
      {"CODEBOOK score /VARINFO VALUELABELS /STATISTICS MEAN.",
       "score\n"
       "  N / Valid: 4\n"
       "  N / Missing: 1\n"
       "  Central Tendency and Dispersion / Mean: 3.25\n"
       "  Labeled Values / 1: low\n"
       "  Labeled Values / 5: high\n"},
      {"CODEBOOK score /VARINFO FORMAT /STATISTICS COUNT.",
       "score\n"
       "  Standard Attributes / Format: F2\n"
       "  N / Valid: 4\n"
       "  N / Missing: 1\n"
       "  Labeled Values / 1: low | 1\n"
       "  Labeled Values / 5: high | 2\n"},
      // No row at all: the empty table is left out, and the closing warning names it.
      {"CODEBOOK age /VARINFO VALUELABELS /STATISTICS NONE.",
       "warning: No Variable Information for age .\n"},
      // age, scale without labels and with counts off, hands its statistics
      // entry on: name is described with age's, as the procedure defines it.
      {"CODEBOOK age name /VARINFO ROLE MEASURE /STATISTICS QUARTILES.",
       "age\n"
       "  Standard Attributes / Measurement: Scale\n"
       "  Standard Attributes / Role: Target\n"
       "  N / Valid: 5\n"
       "  N / Missing: 0\n"
       "  Central Tendency and Dispersion / Percentile 25: 25.00\n"
       "  Central Tendency and Dispersion / Percentile 50: 40.00\n"
       "  Central Tendency and Dispersion / Percentile 75: 55.00\n"
       "name\n"
       "  Standard Attributes / Measurement: Nominal\n"
       "  Standard Attributes / Role: Input\n"
       "  N / Valid: 5\n"
       "  N / Missing: 0\n"
       "  Central Tendency and Dispersion / Percentile 25: 25.0000\n"
       "  Central Tendency and Dispersion / Percentile 50: 40.0000\n"
       "  Central Tendency and Dispersion / Percentile 75: 55.0000\n"},
      {"CODEBOOK sex score /STATISTICS NONE.",
       "sex\n"
       "  Standard Attributes / Position: 1\n"
       "  Standard Attributes / Label: Sex\n"
       "  Standard Attributes / Type: Numeric\n"
       "  Standard Attributes / Format: F1\n"
       "  Standard Attributes / Measurement: Nominal\n"
       "  Standard Attributes / Role: Input\n"
       "  Custom Attributes / Note: asked twice\n"
       "  Valid Values / 1: Female\n"
       "  Valid Values / 2: Male\n"
       "  Missing Values / 9: No answer\n"
       "score\n"
       "  Standard Attributes / Position: 2\n"
       "  Standard Attributes / Label: <none>\n"
       "  Standard Attributes / Type: Numeric\n"
       "  Standard Attributes / Format: F2\n"
       "  Standard Attributes / Measurement: Scale\n"
       "  Standard Attributes / Role: Input\n"
       "  Labeled Values / 1: low\n"
       "  Labeled Values / 5: high\n"},
      {"CODEBOOK $both /VARINFO LABEL /STATISTICS NONE.",
       "$both\n"
       "  Standard Attributes / Label: Both answers\n"},
      {"CODEBOOK $both /VARINFO TYPE VALUELABELS /STATISTICS NONE.",
       "$both\n"
       "  Standard Attributes / Type: Multiple Category Set\n"
       "  Multiple Response Categories / 1: Female\n"
       "  Multiple Response Categories / 2: Male\n"
       "  Multiple Response Categories / 9: No answer\n"},
      // A set's categories are counted once per case; labels are the first member's.
      {"CODEBOOK $both /VARINFO TYPE /STATISTICS COUNT.",
       "$both\n"
       "  Standard Attributes / Type: Multiple Category Set\n"
       "  Multiple Response Categories / 1: Female | 1\n"
       "  Multiple Response Categories / 2: Male | 2\n"
       "  Multiple Response Categories / 5:  | 2\n"},
  };
  const auto dataset = Survey();
  for (const Case& c : cases) {
    EXPECT_EQ(cbtest::Outline(cbtest::RunProcedure(dataset, c.command)), c.outline) << c.command;
  }
}

}  // namespace
