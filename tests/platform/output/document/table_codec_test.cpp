// Sealed tables: what a table holds comes back unchanged from its compact
// form, for the values that are easy to get wrong there (long texts, many
// nodes, numbers that are not whole, raw values that differ from the text),
// and a sealed table can still be changed through a handle kept to it.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <sstream>
#include <string>

#include "host/data/obs.h"
#include "host/output/bp_procedure.h"
#include "platform/output/current_output.h"
#include "platform/output/document/table_codec.h"
#include "platform/output/render/renderers.h"

namespace codebook::output {
namespace {

BpCellText::Content Own(std::string text) {
  BpCellText::Content content;
  content.text = std::move(text);
  return content;
}

TEST(TableCodec, EveryFieldComesBackExactly) {
  const double numbers[] = {0.0, -0.0, 1.0, -5.0, 0.1, 1e300, -1e-300, 9007199254740993.0, kSysmis,
                            std::numeric_limits<double>::infinity(), std::numeric_limits<double>::quiet_NaN()};
  bp::TableData data;
  data.title = data.Store(Own("t"));
  data.dimensions.push_back(bp::DimensionInfo{0, 0, -3, false, true});
  data.nodes.push_back(bp::Node{data.Store(Own("rows")), -1, 0, bp::NodeKind::kDimension, false});
  for (int i = 0; i < 300; ++i) {
    BpCellText::Content label = Own(std::string(static_cast<std::size_t>(i), 'x'));
    label.kind = BpCellText::Content::Kind::kDataValue;
    label.numeric = i % 2 == 0;
    if (i % 3 == 0) label.dataValue = numbers[static_cast<std::size_t>(i) % std::size(numbers)];
    if (i % 3 == 1) label.dataValue = std::string(i % 2 == 0 ? "raw" : label.text);
    data.nodes.push_back(bp::Node{data.Store(label), i == 0 ? 0 : 1 + (i - 1) / 2, 0,
                                  i % 5 == 0 ? bp::NodeKind::kGroup : bp::NodeKind::kCategory, i % 7 != 0});
    BpCellText::Content number = Own(std::to_string(i));
    number.kind = BpCellText::Content::Kind::kNumber;
    number.number = numbers[static_cast<std::size_t>(i) % std::size(numbers)];
    number.procedureText = true;
    data.cells.push_back(bp::CellEntry{300 - i, i % 4 - 1, data.Store(number)});
  }
  data.currentRow = 299;

  std::string bytes;
  bp::EncodeTable(data, bytes);
  bp::TableData back;
  bp::DecodeTable(std::span(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()), back);

  EXPECT_EQ(back.title, data.title);
  EXPECT_EQ(back.currentRow, data.currentRow);
  ASSERT_EQ(back.dimensions.size(), 1u);
  EXPECT_EQ(back.dimensions[0].position, -3);
  EXPECT_FALSE(back.dimensions[0].showTitle);
  ASSERT_EQ(back.nodes.size(), data.nodes.size());
  for (std::size_t i = 0; i < data.nodes.size(); ++i) {
    EXPECT_EQ(back.nodes[i].label, data.nodes[i].label) << i;
    EXPECT_EQ(back.nodes[i].parent, data.nodes[i].parent) << i;
    EXPECT_EQ(back.nodes[i].dimension, data.nodes[i].dimension) << i;
    EXPECT_EQ(back.nodes[i].kind, data.nodes[i].kind) << i;
    EXPECT_EQ(back.nodes[i].showLabel, data.nodes[i].showLabel) << i;
  }
  ASSERT_EQ(back.cells.size(), data.cells.size());
  for (std::size_t i = 0; i < data.cells.size(); ++i) {
    EXPECT_EQ(back.cells[i].row, data.cells[i].row) << i;
    EXPECT_EQ(back.cells[i].column, data.cells[i].column) << i;
    EXPECT_EQ(back.cells[i].content, data.cells[i].content) << i;
  }
  ASSERT_EQ(back.contents.size(), data.contents.size());
  const auto sameBits = [](double a, double b) { return std::memcmp(&a, &b, sizeof a) == 0; };
  for (std::size_t i = 0; i < data.contents.size(); ++i) {
    const bp::OwnContent& a = data.contents[i];
    const bp::OwnContent& b = back.contents[i];
    EXPECT_EQ(back.Text(b), data.Text(a)) << i;
    EXPECT_TRUE(sameBits(b.number, a.number) || (std::isnan(a.number) && std::isnan(b.number))) << i;
    EXPECT_EQ(b.valueKind, a.valueKind) << i;
    if (a.valueKind == bp::OwnContent::Value::kNumber) {
      EXPECT_TRUE(sameBits(b.value, a.value) || (std::isnan(a.value) && std::isnan(b.value))) << i;
    }
    if (a.valueKind == bp::OwnContent::Value::kString) {
      EXPECT_EQ(back.Raw(b), data.Raw(a)) << i;
    }
    EXPECT_EQ(b.kind, a.kind) << i;
    EXPECT_EQ(b.procedureText, a.procedureText) << i;
    EXPECT_EQ(b.numeric, a.numeric) << i;
  }
}

TEST(TableCodec, ASealedTableShowsTheSameAndCanStillChange) {
  auto document = std::make_shared<Document>();
  ScopedCurrentDocument scope(document);
  const auto json = [&] {
    std::ostringstream out;
    RenderJson(*document, out);
    return out.str();
  };
  BpProcedure procedure("Codebook", 1);
  BpPivotTable table = procedure.PivotTable(BpString("q", false), BpString("Kind", false), true);
  BpDimension rows = table.Dimension(BpString("Rows", true), 2);
  rows.Position(0, 1, true, false);
  BpDimension columns = table.Dimension(BpString("Columns", true), 2);
  columns.Position(1, 1, true, false);
  BpCategory value = columns.Category(BpString("Value", true));
  BpGroup group = rows.Group(BpString("Group", true), true, 2);
  group.Category(BpString("r1", false));
  value.Cell(BpNumber(1234.5678, procedure.Count()));
  const std::string open = json();

  // Opening the next table seals this one.
  procedure.PivotTable(BpString("next", false), BpString("Kind", false), true);
  const auto& first = std::get<Document::Table>(document->Items()[0]);
  EXPECT_TRUE(first->Sealed());
  EXPECT_EQ(json(), open);  // the new table has no rows yet: not shown

  group.Category(BpString("r2", false));
  value.Cell(BpString("later", false));
  EXPECT_FALSE(first->Sealed());
  EXPECT_NE(json().find("\"label\": \"r2\", \"cells\": {\"Value\": {\"text\": \"later\"}}"), std::string::npos) << json();
}

}  // namespace
}  // namespace codebook::output
