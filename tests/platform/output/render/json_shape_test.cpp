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
