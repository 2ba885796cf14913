// The XML writer turns any bytes into well-formed XML 1.0.
#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "platform/export/xml_writer.h"

namespace codebook::exporting {
namespace {

TEST(XmlEscaping, EveryByteComesOutAsXml) {
  struct Case {
    std::string in;
    std::string out;
  };
  const Case cases[] = {
      {"plain été 日本 😀", "plain été 日本 😀"},
      {"<a href=\"x\">&'</a>", "&lt;a href=&quot;x&quot;&gt;&amp;&apos;&lt;/a&gt;"},
      {"tab\tline\nreturn\r", "tab\tline\nreturn&#13;"},
      {std::string("nul\0end", 7), "nul\\x00end"},
      {"\x1B[1m\x7F", "\\x1B[1m\\x7F"},
      {"next\xC2\x85line", "next\\u0085line"},   // C1 control
      {"\xEF\xBF\xBE", "\\uFFFE"},                // not a character
      {"cut\xE2\x82", "cut\\xE2\\x82"},           // a sequence cut short
      {"\xFF\xFE", "\\xFF\\xFE"},
      {"\xED\xA0\x80", "\\xED\\xA0\\x80"},        // a surrogate
  };
  for (const Case& c : cases) {
    std::string out;
    AppendXmlEscaped(out, c.in);
    EXPECT_EQ(out, c.out) << c.in;
  }
}

TEST(XmlWriter, NestsIndentsAndClosesWhatItOpened) {
  std::ostringstream text;
  {
    XmlWriter xml(text);
    xml.Open("a", {{"k", "v<"}});
    xml.Text("b", "x&y");
    xml.Text("c", "");  // left out
    xml.Text("d", "", {}, true);
    xml.Empty("e", {{"n", "1"}});
    xml.Close();
  }
  EXPECT_EQ(text.str(),
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<a k=\"v&lt;\">\n  <b>x&amp;y</b>\n  <d></d>\n"
            "  <e n=\"1\"/>\n</a>\n");
}

}  // namespace
}  // namespace codebook::exporting
