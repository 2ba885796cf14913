// The cell rules of pivot tables, observed through the JSON renderer: the
// current row, lines added by a second Cell, and what is hidden when empty.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <sstream>

#include "host/output/bp_procedure.h"
#include "platform/output/current_output.h"
#include "platform/output/render/renderers.h"

namespace codebook::output {
namespace {

using nlohmann::json;

BpString T(const char* text) { return BpString(text, true); }

class CellRules : public ::testing::Test {
 protected:
  std::shared_ptr<Document> document = std::make_shared<Document>();
  ScopedCurrentDocument scope{document};
  BpProcedure procedure{"Codebook", 1};

  json Items() {
    std::ostringstream out;
    RenderJson(*document, out);
    return json::parse(out.str())["items"];
  }

  // A two-dimensional table with columns A, B, C.
  struct Grid {
    BpPivotTable table;
    BpDimension rows;
    BpCategory a, b, c;
  };
  Grid MakeGrid(const char* title = "t") {
    BpPivotTable table = procedure.PivotTable(T(title), BpString("Kind", false), true);
    BpDimension rows = table.Dimension(T("Rows"), 2);
    rows.Position(0, 1, true, false);
    BpDimension columns = table.Dimension(T("Columns"), 2);
    columns.Position(1, 1, true, false);
    BpCategory a = columns.Category(T("A"));
    BpCategory b = columns.Category(T("B"));
    BpCategory c = columns.Category(T("C"));
    return Grid{table, rows, a, b, c};
  }
};

TEST_F(CellRules, ColumnCellsGoToTheRowAddedLast) {
  Grid g = MakeGrid();
  g.rows.Category(T("r1"));
  g.a.Cell(T("1a"));
  g.b.Cell(T("1b"));
  BpGroup group = g.rows.Group(T("G"), true, 2);
  group.Category(T("r2"));
  g.a.Cell(T("2a"));
  g.rows.Category(T("r3"));  // after the group, back at the top level
  g.b.Cell(T("3b"));

  const json rows = Items()[0]["rows"];
  ASSERT_EQ(rows.size(), 3u);
  EXPECT_EQ(rows[0]["label"], "r1");
  EXPECT_EQ(rows[0]["groups"], json::array());
  EXPECT_EQ(rows[0]["cells"]["A"]["text"], "1a");
  EXPECT_EQ(rows[0]["cells"]["B"]["text"], "1b");
  EXPECT_EQ(rows[1]["groups"], json::array({"G"}));
  EXPECT_EQ(rows[1]["cells"]["A"]["text"], "2a");
  EXPECT_FALSE(rows[1]["cells"].contains("B"));
  EXPECT_EQ(rows[2]["label"], "r3");
  EXPECT_EQ(rows[2]["cells"], json({{"B", {{"text", "3b"}}}}));
}

TEST_F(CellRules, ASecondCellOnTheSamePlaceAddsALine) {
  Grid g = MakeGrid();
  g.rows.Category(T("r1"));
  g.a.Cell(T("first"));
  g.b.Cell(T("other"));
  g.a.Cell(T("second"));
  const json cells = Items()[0]["rows"][0]["cells"];
  EXPECT_EQ(cells["A"]["text"], "first\nsecond");
  EXPECT_EQ(cells["B"]["text"], "other");

  std::ostringstream text;
  RenderText(*document, text, TextOptions{true, 40});
  EXPECT_NE(text.str().find("| r1 | first  | other |\n|    | second |       |"), std::string::npos) << text.str();
}

TEST_F(CellRules, ColumnsGroupsAndTablesWithoutCellsAreNotShown) {
  Grid g = MakeGrid("shown");
  g.rows.Group(T("Empty group"), true, 2);
  BpGroup outer = g.rows.Group(T("Outer"), true, 2);
  outer.Group(T("Empty inner"), true, 2);
  outer.Group(T("Inner"), true, 2).Category(T("r"));
  g.c.Cell(T("c"));  // column B never gets a cell, nor A

  Grid empty = MakeGrid("no rows");
  empty.rows.Group(T("Only a group"), true, 2);

  const json items = Items();
  ASSERT_EQ(items.size(), 1u) << "a table without rows is not shown";
  EXPECT_EQ(items[0]["title"], "shown");
  EXPECT_EQ(items[0]["columns"], json::array({"C"}));
  ASSERT_EQ(items[0]["rows"].size(), 1u);
  EXPECT_EQ(items[0]["rows"][0]["groups"], json::array({"Outer", "Inner"}));

  std::ostringstream html;
  RenderHtml(*document, html);
  EXPECT_EQ(html.str().find("Empty"), std::string::npos);
  EXPECT_EQ(html.str().find("no rows"), std::string::npos);
  EXPECT_EQ(html.str().find(">A<"), std::string::npos);
}

TEST_F(CellRules, RowsWithoutCellsAreShownUnderTheirGroup) {
  // A labelled value whose label is missing is still a row worth showing.
  Grid g = MakeGrid();
  BpGroup values = g.rows.Group(T("Labeled Values"), true, 2);
  values.Category(T("3"));
  const json rows = Items()[0]["rows"];
  ASSERT_EQ(rows.size(), 1u);
  EXPECT_EQ(rows[0]["label"], "3");
  EXPECT_EQ(rows[0]["cells"], json::object());
  EXPECT_EQ(Items()[0]["columns"], json::array());
}

TEST_F(CellRules, AColumnCellBeforeAnyRowIsDropped) {
  Grid g = MakeGrid();
  g.a.Cell(T("nowhere"));
  g.rows.Category(T("r1"));
  g.b.Cell(T("here"));
  const json item = Items()[0];
  EXPECT_EQ(item["columns"], json::array({"B"}));
  EXPECT_EQ(item["rows"][0]["cells"].size(), 1u);
}

TEST_F(CellRules, OneDimensionalTablesKeepOneValuePerRow) {
  BpPivotTable table = procedure.PivotTable(T("File Information"), BpString("FileInformation", false), true);
  BpDimension rows = table.Dimension(T("Attributes"), 2);
  rows.Position(0, 1, true, false);
  rows.Category(T("File Name")).Cell(BpString("a.sav", false));
  BpCategory docs = rows.Category(T("Documents"));
  docs.Cell(BpString("one", false));
  docs.Cell(BpString("two", false));
  rows.Group(T("Number of Cases"), true, 2).Category(T("Unweighted")).Cell(BpNumber(20000, procedure.Count()));

  const json item = Items()[0];
  EXPECT_EQ(item["columns"], json::array());
  ASSERT_EQ(item["rows"].size(), 3u);
  EXPECT_EQ(item["rows"][0]["cells"], json({{"", {{"text", "a.sav"}}}}));
  EXPECT_EQ(item["rows"][1]["cells"][""]["text"], "one\ntwo");
  EXPECT_EQ(item["rows"][2]["groups"], json::array({"Number of Cases"}));
  EXPECT_EQ(item["rows"][2]["cells"][""]["number"], 20000);
}

TEST_F(CellRules, HandlesOfAnInvalidNodeDoNothing) {
  BpGroup orphan(bp::NodeRef{});
  orphan.Category(T("x")).Cell(T("y"));
  orphan.Group(T("g"), true, 2).Category(T("z"));
  BpPivotTable none(nullptr);
  none.MinDataColumnWidth(3);
  none.Dimension(T("d"), 2).Category(T("c")).Cell(T("v"));
  EXPECT_TRUE(Items().empty());
}

TEST_F(CellRules, TablesGoToTheCurrentDocumentInOrderAndCanBeDiscarded) {
  MakeGrid("first").rows.Category(T("r"));
  AddMessage(*document, Severity::kError, "CODEBOOK", 2, "boom");
  const std::size_t mark = document->Size();
  MakeGrid("partial").rows.Category(T("r"));
  document->Truncate(mark);
  const json items = Items();
  ASSERT_EQ(items.size(), 2u);
  EXPECT_EQ(items[0]["title"], "first");
  EXPECT_EQ(items[1]["kind"], "message");
  EXPECT_EQ(items[1]["severity"], "error");
  EXPECT_EQ(items[1]["line"], 2);
}

}  // namespace
}  // namespace codebook::output
