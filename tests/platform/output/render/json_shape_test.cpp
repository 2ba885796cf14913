// The JSON output parses and has the documented shape (docs/json-output.md).
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <sstream>

#include "host/output/bp_procedure.h"
#include "platform/output/current_output.h"
#include "platform/output/render/renderers.h"
#include "tests/platform/output/sample_document.h"

namespace codebook::output {
namespace {

using nlohmann::json;

json Parse(const Document& document) {
  std::ostringstream out;
  RenderJson(document, out);
  return json::parse(out.str());  // throws, and fails the test, when invalid
}

TEST(JsonShape, SampleCodebookHasTheDocumentedShape) {
  const json root = Parse(*testing::BuildSampleCodebook());
  EXPECT_EQ(root["format"], "codebook-output");
  EXPECT_EQ(root["version"], 1);
  const json& items = root["items"];
  ASSERT_EQ(items.size(), 4u);

  const json& file = items[0];
  EXPECT_EQ(file["kind"], "table");
  EXPECT_EQ(file["title"], "File Information");
  EXPECT_EQ(file["subtype"], "FileInformation");
  EXPECT_EQ(file["columns"], json::array());
  for (const json& row : file["rows"]) {
    ASSERT_TRUE(row["groups"].is_array());
    ASSERT_TRUE(row["label"].is_string());
    for (const auto& [key, cell] : row["cells"].items()) {
      EXPECT_EQ(key, "") << "one-dimensional tables keep their value under \"\"";
      EXPECT_TRUE(cell["text"].is_string());
    }
  }
  EXPECT_EQ(file["rows"][3]["cells"][""]["text"], "Collected in spring.Weighted to the census.\nSecond note.\n");
  EXPECT_EQ(file["rows"][5]["groups"], json::array({"Number of Cases"}));
  EXPECT_EQ(file["rows"][5]["cells"][""]["number"], 30);

  const json& sex = items[1];
  EXPECT_EQ(sex["title"], "sex");
  EXPECT_EQ(sex["subtype"], "Variable Information");
  EXPECT_EQ(sex["columns"], json::array({"Value", "Count", "Percent"}));
  const json& position = sex["rows"][0];
  EXPECT_EQ(position["groups"], json::array({"Standard Attributes"}));
  EXPECT_EQ(position["label"], "Position");
  EXPECT_EQ(position["cells"]["Value"], json({{"text", "1"}, {"number", 1}}));
  EXPECT_FALSE(position.contains("value"));
  const json& male = sex["rows"][6];
  EXPECT_EQ(male["groups"], json::array({"Valid Values"}));
  EXPECT_EQ(male["label"], "1");
  EXPECT_EQ(male["value"], 1);
  EXPECT_EQ(male["cells"]["Value"], json({{"text", "Male"}}));
  EXPECT_EQ(male["cells"]["Count"], json({{"text", "12"}, {"number", 12}}));
  EXPECT_EQ(male["cells"]["Percent"]["text"], "40.0%");
  EXPECT_DOUBLE_EQ(male["cells"]["Percent"]["number"].get<double>(), 40.0);
  const json& system = sex["rows"][9];
  EXPECT_EQ(system["groups"], json::array({"Missing Values"}));
  EXPECT_EQ(system["label"], "System");
  // The unrounded number, not the shown one.
  EXPECT_DOUBLE_EQ(system["cells"]["Percent"]["number"].get<double>(), 100.0 / 30);

  // Only the columns the table shows.
  EXPECT_EQ(items[2]["columns"], json::array({"Value", "Count"}));

  const json& message = items[3];
  EXPECT_EQ(message, json({{"kind", "message"}, {"severity", "warning"}, {"command", "CODEBOOK"},
                           {"line", 3}, {"text", "No Variable Information for x ."}}));
}

TEST(JsonShape, TextIsAlwaysValidUtf8AndMissingNumbersAreNull) {
  auto document = std::make_shared<Document>();
  {
    ScopedCurrentDocument scope(document);
    BpProcedure procedure("Codebook", 1);
    BpPivotTable table = procedure.PivotTable(BpString("bad \xFF\xC3 text", false), BpString("k", false), true);
    BpDimension rows = table.Dimension(BpString("Attributes", true), 2);
    rows.Category(BpString("ctl\x01\ttab \"q\" \\ \xE2\x82\xAC", false)).Cell(BpNumber(kSysmis, procedure.Count()));
    rows.Category(BpString("huge", true)).Cell(BpNumber(1e300, procedure.Count()));
  }
  const json root = Parse(*document);
  const json& table = root["items"][0];
  EXPECT_EQ(table["title"], "bad \xEF\xBF\xBD\xEF\xBF\xBD text");
  EXPECT_EQ(table["rows"][0]["label"], "ctl\x01\ttab \"q\" \\ \xE2\x82\xAC");
  EXPECT_EQ(table["rows"][0]["cells"][""]["text"], ".");
  EXPECT_TRUE(table["rows"][0]["cells"][""]["number"].is_null());
  EXPECT_EQ(table["rows"][1]["cells"][""]["number"], 1e300);
}

}  // namespace
}  // namespace codebook::output
