// The HTML report's structure over several files: each file's part with
// its own alerts, anchors that stay apart when two files hold the same
// names, alerts linked into the right file's sections, and a long overview
// cut into parts that keep every row.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "host/output/bp_procedure.h"
#include "platform/output/current_output.h"
#include "platform/output/document/table_model.h"
#include "platform/output/render/renderers.h"

namespace codebook::output {
namespace {

using testing::HasSubstr;
using testing::Not;

std::size_t Count(const std::string& text, const std::string& what) {
  std::size_t count = 0;
  for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) ++count;
  return count;
}

BpCellText::Content Text(const char* words, bool fixed) { return *BpString(words, fixed).content(); }

// An overview of `rows` items named v0, v1...
std::shared_ptr<const bp::TableNode> Overview(int rows) {
  auto table = std::make_shared<bp::TableNode>();
  table->subtype = "Overview";
  table->SetTitle(Text("Overview", true));
  const int dimension = table->AddDimension(Text("Variable", true));
  const int columns = table->AddDimension(Text("Statistics", true));
  table->Position(dimension, 0, 0, true, true);
  table->Position(columns, 1, 0, false, true);
  const int label = table->AddChild(columns, bp::NodeKind::kCategory, Text("Label", true), true);
  for (int i = 0; i < rows; ++i) {
    const std::string name = "v" + std::to_string(i);
    table->AddChild(dimension, bp::NodeKind::kCategory, Text(name.c_str(), false), true);
    table->SetCell(label, Text("A label", false));
  }
  table->Seal();
  return table;
}

// One variable's table, as the procedure makes it, into `document`.
void VariableTable(const std::shared_ptr<Document>& document, const char* name) {
  ScopedCurrentDocument scope(document);
  BpProcedure procedure("Codebook", 1);
  BpPivotTable table = procedure.PivotTable(BpString(name, false), BpString("Variable Information", false), false);
  BpDimension rows = table.Dimension(BpString("Attributes", true), 2);
  rows.Position(0, 1, true, false);
  BpGroup standard = rows.Group(BpString("Standard Attributes", true), true, 2);
  standard.Category(BpString("Label", true)).Cell(BpString("Its label", false));
}

std::string Render(const Document& document) {
  std::ostringstream out;
  RenderHtml(document, out);
  return out.str();
}

TEST(HtmlReport, EachFileHasItsPartAlertsAndAnchors) {
  auto document = std::make_shared<Document>();
  for (const char* file : {"a.sav", "b.sav"}) {
    document->Append(Heading{file});
    FileSummary summary;
    summary.name = file;
    summary.cases = 10;
    summary.variables = 600;
    document->Append(std::move(summary));
    document->Append(Overview(3));
    VariableTable(document, "v1");
    VariableTable(document, "v2");
  }
  document->SetAlertsChecked();
  document->AddAlert({"v1", "constant", "First file's alert.", 0});
  document->AddAlert({"v1", "constant", "Second file's alert.", 1});
  document->AddAlert({"", "weight", "Second file's own alert.", 1});
  const std::string html = Render(*document);

  // The header names both files and leads to them.
  EXPECT_THAT(html, HasSubstr("<title>Codebook of a.sav, b.sav</title>"));
  EXPECT_THAT(html, HasSubstr("<li><a href=\"#file-1\">a.sav</a>"));
  EXPECT_THAT(html, HasSubstr("<li><a href=\"#file-2\">b.sav</a>"));
  EXPECT_THAT(html, HasSubstr("<a class=\"top\" href=\"#top\">"));
  // Each file's part: its name once (the heading stands for it), then its
  // alerts, then its overview.
  EXPECT_EQ(Count(html, "<h2>a.sav</h2>"), 1u);
  EXPECT_EQ(Count(html, "<h2 class=\"part\">"), 0u);
  const std::size_t second = html.find("<section class=\"file\" id=\"file-2\">");
  ASSERT_NE(second, std::string::npos);
  const std::string first = html.substr(0, second);
  const std::string rest = html.substr(second);
  EXPECT_THAT(first, HasSubstr("<a href=\"#var-v1\">v1</a><td>First file&#39;s alert."));
  EXPECT_THAT(first, Not(HasSubstr("Second file")));
  EXPECT_THAT(rest, HasSubstr("<a href=\"#var-v1-2\">v1</a><td>Second file&#39;s alert."));
  EXPECT_THAT(rest, HasSubstr("<th scope=\"row\">(file)<td>Second file&#39;s own alert."));
  // The same names in the second file get anchors of their own; each
  // overview links to its own file's items, and each alert sits in the
  // caption of its own file's item.
  EXPECT_THAT(first, HasSubstr("<th><a href=\"#var-v2\">v2</a><td>A label</tr>"));
  EXPECT_THAT(rest, HasSubstr("<th><a href=\"#var-v2-2\">v2</a><td>A label</tr>"));
  EXPECT_THAT(rest, HasSubstr("<section id=\"var-v2-2\">"));
  EXPECT_THAT(rest, HasSubstr("<section id=\"var-v1-2\">\n<table class=\"pivot\">\n<caption>v1<ul class=\"alerts\" "
                              "aria-label=\"Alerts\"><li>Second file&#39;s alert.</ul></caption>"));
  EXPECT_THAT(first, HasSubstr("<caption>v1<ul class=\"alerts\" aria-label=\"Alerts\"><li>First file&#39;s alert."));
  // An overview row names an item the file does not have: no link.
  EXPECT_THAT(first, HasSubstr("<tr><th>v0<td>A label</tr>"));
}

TEST(HtmlReport, ALongOverviewIsCutIntoPartsThatKeepEveryRow) {
  auto document = std::make_shared<Document>();
  FileSummary summary;
  summary.name = "wide.sav";
  document->Append(std::move(summary));
  document->Append(Overview(600));
  VariableTable(document, "v599");
  const std::string html = Render(*document);
  // 250 rows a part: three tables of equal columns, one caption, a header
  // row in each; the parts after the first laid out only on the screen.
  EXPECT_EQ(Count(html, "<table class=\"pivot overview fixed\">"), 3u);
  EXPECT_EQ(Count(html, "<caption>Overview</caption>"), 1u);
  EXPECT_EQ(Count(html, "<th scope=\"col\" class=\"label\">Label"), 3u);
  EXPECT_EQ(Count(html, "<div class=\"part\">"), 2u);
  EXPECT_EQ(Count(html, "<td>A label</tr>"), 600u);
  EXPECT_THAT(html, HasSubstr("<tr><th>v249<td>A label</tr>\n</tbody>\n</table>\n<div class=\"part\">"));
  EXPECT_THAT(html, HasSubstr("<th><a href=\"#var-v599\">v599</a>"));
  // A short overview is one table that sizes its columns to their texts.
  auto small = std::make_shared<Document>();
  small->Append(Overview(250));
  EXPECT_EQ(Count(Render(*small), "<table class=\"pivot overview\">"), 1u);
}

}  // namespace
}  // namespace codebook::output
