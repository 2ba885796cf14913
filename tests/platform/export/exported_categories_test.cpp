// The categories an export lists beside a variable's table: the labelled
// values the table did not show come after, counted as 0 only when the
// table counted values at all (else no count, which is not the same).
#include <gtest/gtest.h>

#include "platform/export/export_input.h"
#include "testing/dataset_builder.h"

namespace codebook::exporting {
namespace {

TEST(ExportedCategories, LabelsTheTableDidNotShowAreZeroOnlyWhereItCounted) {
  const auto dataset = data::DatasetBuilder()
                           .Numeric("q").ValueLabel(1, "One").ValueLabel(2, "Two").MissingDiscrete({9})
                           .ValueLabel(9, "No answer")
                           .Cases({{1}})
                           .Build();
  const data::Variable& q = *dataset->GetDictionary().GetVariable(0);

  // No values listed (more than MAXCATS, or no statistics): labels only.
  const std::vector<CategoryFact> labelsOnly = ExportedCategories(ItemFacts{}, q);
  ASSERT_EQ(labelsOnly.size(), 3u);
  for (const CategoryFact& category : labelsOnly) {
    EXPECT_FALSE(category.count.has_value()) << category.label;
    EXPECT_FALSE(category.percent.has_value()) << category.label;
  }
  EXPECT_TRUE(labelsOnly[2].missing);

  ItemFacts counted;
  CategoryFact one;
  one.value = 1.0;
  one.label = "One";
  one.count = 5.0;
  one.percent = 100.0;
  counted.categories.push_back(one);
  const std::vector<CategoryFact> withCounts = ExportedCategories(counted, q);
  ASSERT_EQ(withCounts.size(), 3u);
  EXPECT_EQ(withCounts[0].count, 5.0);
  EXPECT_EQ(withCounts[1].label, "Two");
  EXPECT_EQ(withCounts[1].count, 0.0);
  EXPECT_EQ(withCounts[2].label, "No answer");
  EXPECT_TRUE(withCounts[2].missing);
}

}  // namespace
}  // namespace codebook::exporting
