// The JSON output parses and has the documented shape (docs/json-output.md).
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <sstream>

#include "host/output/bp_procedure.h"
#include "platform/output/current_output.h"
#include "platform/output/render/json_writer.h"
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

// RFC 3629 at its edges: each byte that does not begin a valid sequence
// (overlong, a surrogate, past U+10FFFF, cut short, a stray continuation)
// becomes one U+FFFD; valid sequences up to the highest pass unchanged.
TEST(JsonString, OnlyValidUtf8PassesAndEachBadByteIsReplaced) {
  const std::string r = "\xEF\xBF\xBD";
  const struct {
    std::string text;
    std::string written;
  } cases[] = {
      {"caf\xC3\xA9 \xE2\x82\xAC \xF0\x9F\x98\x80", "caf\xC3\xA9 \xE2\x82\xAC \xF0\x9F\x98\x80"},
      {"\xC2\x80\xDF\xBF", "\xC2\x80\xDF\xBF"},
      {"\xE0\xA0\x80\xED\x9F\xBF\xEE\x80\x80", "\xE0\xA0\x80\xED\x9F\xBF\xEE\x80\x80"},
      {"\xF0\x90\x80\x80\xF4\x8F\xBF\xBF", "\xF0\x90\x80\x80\xF4\x8F\xBF\xBF"},
      {"\xC0\x80\xC1\xBF", r + r + r + r},
      {"\xE0\x9F\xBF", r + r + r},
      {"a\xED\xA0\x80", "a" + r + r + r},
      {"\xF0\x8F\xBF\xBF", r + r + r + r},
      {"a\xF4\x90\x80\x80", "a" + r + r + r + r},
      {"\xF5\x80\x80\x80", r + r + r + r},
      {"\xE2\x82", r + r},
      {"\xE2\x28\xA1", r + "(" + r},
      {"\xF0\x9F\x28\x80", r + r + "(" + r},
      {"\x80x", r + "x"},
  };
  for (const auto& c : cases) {
    std::string out;
    AppendJsonString(out, c.text);
    EXPECT_EQ(out, "\"" + c.written + "\"") << c.text;
  }
}

}  // namespace
}  // namespace codebook::output
