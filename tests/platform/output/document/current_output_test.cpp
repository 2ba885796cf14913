#include <gtest/gtest.h>

#include "host/output/bp_procedure.h"
#include "platform/output/current_output.h"

namespace codebook::output {
namespace {

TEST(CurrentOutput, WithoutADocumentTablesGoToTheDefaultOne) {
  DefaultDocument()->Clear();
  {
    BpProcedure procedure("Codebook", 1);
    procedure.PivotTable(BpString("t", true), BpString("k", false), true);
  }
  ASSERT_EQ(DefaultDocument()->Size(), 1u);
  const auto& table = std::get<Document::Table>(DefaultDocument()->Items()[0]);
  EXPECT_EQ(table->subtype, "k");
  EXPECT_EQ(table->command, "Codebook");
  DefaultDocument()->Clear();
}

TEST(CurrentOutput, ASetDocumentTakesTheTablesUntilTheScopeEnds) {
  DefaultDocument()->Clear();
  auto mine = std::make_shared<Document>();
  {
    ScopedCurrentDocument scope(mine);
    EXPECT_EQ(CurrentDocument(), mine);
    BpProcedure procedure("Codebook", 1);
    procedure.PivotTable(BpString("t", true), BpString("k", false), true);
  }
  EXPECT_EQ(mine->Size(), 1u);
  EXPECT_EQ(DefaultDocument()->Size(), 0u);
  EXPECT_EQ(CurrentDocument(), DefaultDocument());
  SetCurrentDocument(mine);
  EXPECT_EQ(CurrentDocument(), mine);
  SetCurrentDocument(nullptr);
  EXPECT_EQ(CurrentDocument(), DefaultDocument());
}

}  // namespace
}  // namespace codebook::output
