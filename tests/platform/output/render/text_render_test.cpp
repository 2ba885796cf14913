// Text, Markdown and CSV details the goldens do not isolate: wrapping,
// widths of wide characters, escaping, quoting.
#include <gtest/gtest.h>

#include <sstream>

#include "host/output/bp_procedure.h"
#include "platform/output/current_output.h"
#include "platform/output/render/renderers.h"
#include "platform/output/render/text_width.h"

namespace codebook::output {
namespace {

TEST(TextWidth, CountsColumnsNotBytes) {
  EXPECT_EQ(DisplayWidth("abc"), 3);
  EXPECT_EQ(DisplayWidth("\xC3\xA9t\xC3\xA9"), 3);           // été
  EXPECT_EQ(DisplayWidth("\xE6\x97\xA5\xE6\x9C\xAC"), 4);    // two wide characters
  EXPECT_EQ(DisplayWidth("e\xCC\x81"), 1);                   // combining accent
  EXPECT_EQ(DisplayWidth("\xFF\xFE"), 2);                    // invalid bytes count 1
}

TEST(TextWidth, WrapsAtBlanksAndAfterPunctuationAndMarksSplitWords) {
  using Lines = std::vector<std::string>;
  EXPECT_EQ(WrapText("short", 10), Lines({"short"}));
  EXPECT_EQ(WrapText("", 10), Lines({""}));
  EXPECT_EQ(WrapText("Monthly household income after taxes", 16),
            Lines({"Monthly", "household income", "after taxes"}));
  // After punctuation inside a word, never between digits nor at a word's
  // start.
  EXPECT_EQ(WrapText("Self-reported income", 8), Lines({"Self-", "reported", "income"}));
  EXPECT_EQ(WrapText("/data/2024/survey_wave_3.sav", 12), Lines({"/data/2024/", "survey_wave_", "3.sav"}));
  EXPECT_EQ(WrapText("1,000,000 cases 3.14159", 9), Lines({"1,000,000", "cases", "3.14159"}));
  EXPECT_EQ(WrapText("-5 (a)b", 3), Lines({"-5", "(a)", "b"}));
  // A word wider than the line alone is split, each piece but the last
  // marked; the last fills its line.
  EXPECT_EQ(WrapText("abcdefghij", 4), Lines({"abc\xE2\x86\xB5", "def\xE2\x86\xB5", "ghij"}));
  EXPECT_EQ(WrapText("2024-03-05", 6, kAsciiSplitMark), Lines({"2024-\\", "03-05"}));
  EXPECT_EQ(WrapText("\xE6\x97\xA5\xE6\x9C\xAC\xE8\xAA\x9E", 4),
            Lines({"\xE6\x97\xA5\xE2\x86\xB5", "\xE6\x9C\xAC\xE8\xAA\x9E"}));
  for (const std::string& line : WrapText("a verylongwordthatneverends and more", 7)) {
    EXPECT_LE(DisplayWidth(line), 7) << line;
  }
  // Too narrow for a character and a mark: the characters, unmarked.
  EXPECT_EQ(WrapText("abc", 1), Lines({"a", "b", "c"}));
}

TEST(TextWidth, TheLongestWordIsWhatNoBreakMaySplit) {
  EXPECT_EQ(LongestWord("Self-reported income"), 8);
  EXPECT_EQ(LongestWord("on 2024-03-05"), 10);
  EXPECT_EQ(LongestWord("a\nbbb cc"), 3);
  EXPECT_EQ(LongestWord("\xE6\x97\xA5\xE6\x9C\xAC"), 4);
  EXPECT_EQ(LongestWord(""), 0);
}

class SmallDocument : public ::testing::Test {
 protected:
  std::shared_ptr<Document> document = std::make_shared<Document>();

  void Add(const std::string& label, const std::string& value) {
    ScopedCurrentDocument scope(document);
    BpProcedure procedure("Codebook", 1);
    BpPivotTable table = procedure.PivotTable(BpString("T|1", true), BpString("k", false), true);
    BpDimension rows = table.Dimension(BpString("Attributes", true), 2);
    rows.Category(BpString(label, false)).Cell(BpString(value, false));
  }
  std::string Render(void (*render)(const Document&, std::ostream&)) {
    std::ostringstream out;
    render(*document, out);
    return out.str();
  }
};

TEST_F(SmallDocument, TextWrapsLongCellsAndAlignsWideCharacters) {
  Add("\xE6\x97\xA5\xE6\x9C\xAC", "alpha beta gamma delta epsilon zeta eta theta");
  std::ostringstream out;
  RenderText(*document, out, TextOptions{false, 20});
  const std::string text = out.str();
  EXPECT_NE(text.find("│ 日本 │ alpha beta gamma   │\n│      │ delta epsilon zeta │\n│      │ eta theta          │\n"),
            std::string::npos)
      << text;
  // Without a screen to fit, a word longer than the column limit widens it.
  Add("k", std::string(50, 'x'));
  std::ostringstream wide;
  RenderText(*document, wide, TextOptions{false, 20});
  EXPECT_NE(wide.str().find("│ k │ " + std::string(50, 'x') + " │"), std::string::npos) << wide.str();
}

TEST_F(SmallDocument, MarkdownEscapesTableAndEmphasisCharacters) {
  Add("a|b", "*x* _y_ <z>\nnext");
  const std::string md = Render(RenderMarkdown);
  EXPECT_NE(md.find("## T\\|1\n"), std::string::npos) << md;
  EXPECT_NE(md.find("| a\\|b | \\*x\\* \\_y\\_ \\<z\\><br>next |"), std::string::npos) << md;
}

TEST_F(SmallDocument, CsvQuotesFieldsAfterRfc4180) {
  Add("a,b", "say \"hi\"\nbye");
  const std::string csv = Render(RenderCsv);
  EXPECT_EQ(csv, "T|1\r\nAttributes,\r\n\"a,b\",\"say \"\"hi\"\"\nbye\"\r\n");
}

TEST_F(SmallDocument, HtmlEscapesEverything) {
  Add("<script>", "a & \"b\" 'c'");
  const std::string html = Render(RenderHtml);
  EXPECT_EQ(html.find("<script>"), std::string::npos);
  EXPECT_NE(html.find("&lt;script&gt;"), std::string::npos);
  EXPECT_NE(html.find("a &amp; &quot;b&quot; &#39;c&#39;"), std::string::npos);
}

TEST_F(SmallDocument, HtmlShowsControlCharactersAsEscapes) {
  // What a label read in the wrong code page holds: C0 and C1 controls
  // beside text that stays as it is, tab and line ends included.
  Add("x", "a\x1B[31m\x01\x7F b\tc \xC2\x85 d \xC3\xA9 \xC2\xA0" "e");
  const std::string html = Render(RenderHtml);
  EXPECT_NE(html.find("a\\x1B[31m\\x01\\x7F b\tc \\u0085 d \xC3\xA9 \xC2\xA0" "e"), std::string::npos) << html;
  for (const char control : {'\x1B', '\x01', '\x7F'}) EXPECT_EQ(html.find(control), std::string::npos);
  EXPECT_EQ(html.find("\xC2\x85"), std::string::npos);
}

TEST(Renderers, MessagesAppearInDocumentOrder) {
  Document document;
  AddMessage(document, Severity::kWarning, "CODEBOOK", 1, "first");
  AddMessage(document, Severity::kError, "CODEBOOK", 2, "second <b>");
  std::ostringstream text;
  RenderText(document, text);
  EXPECT_EQ(text.str(), "warning: first\nerror: second <b>\n");
  std::ostringstream html;
  RenderHtml(document, html);
  EXPECT_NE(html.str().find("<p class=\"warning\">warning: first</p>\n<p class=\"error\">error: second &lt;b&gt;</p>"),
            std::string::npos);
}

}  // namespace
}  // namespace codebook::output
