// The HTML report as a browser lays it out, on a phone's width and on a
// desktop's: no table runs off the page (the overview may scroll in its own
// box, nothing else), and every alert sits in the section of the item it
// is about. Headless Chromium loads the report inside a frame of the
// width wanted; a script added to a copy of the report (the report itself
// has none) measures it and hands the findings to the frame's parent,
// whose document is dumped. Skipped where Chromium is not installed.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "platform/data/sav/write_dataset.h"
#include "testing/dataset_builder.h"
#include "tests/cli/program_harness.h"

namespace {

using codebook::testing_cli::Program;
using codebook::testing_cli::Result;
using codebook::testing_cli::Slurp;
using testing::HasSubstr;

std::string Chromium() {
  for (const char* path : {"/usr/bin/chromium", "/usr/bin/chromium-browser"}) {
    if (access(path, X_OK) == 0) return path;
  }
  return {};
}

// Measures the page it is added to once every section is laid out (the
// report lets the browser skip those off the screen), and posts the
// findings to the parent frame as JSON.
constexpr const char* kProbe = R"(<style>div.group,div.part{content-visibility:visible!important}</style>
<script>
// A caption's name, without the alerts after it.
const nameOf = caption => Array.from(caption.childNodes).filter(n => n.nodeName != 'UL').map(n => n.textContent).join('');
window.addEventListener('load', () => {
  const viewport = document.documentElement.clientWidth;
  const found = {viewport: viewport, page: document.documentElement.scrollWidth, tables: 0,
                 overflowing: [], alerts: 0, misplaced: [], unlinked: []};
  for (const table of document.querySelectorAll('table')) {
    ++found.tables;
    const name = table.caption ? nameOf(table.caption) : '(alerts)';
    const box = table.closest('div.wide');
    if (box) {
      if (box.getBoundingClientRect().right > viewport + 0.5) found.overflowing.push(name + ' (its box)');
      continue;
    }
    const section = table.closest('section');
    const right = table.getBoundingClientRect().right;
    if (right > viewport + 0.5 || (section && section.scrollWidth > section.clientWidth)) {
      found.overflowing.push(name + ' ' + Math.round(right) + '/' + viewport + ' in ' +
                             (section ? section.scrollWidth + '/' + section.clientWidth : '-'));
    }
  }
  for (const item of document.querySelectorAll('ul.alerts li')) {
    ++found.alerts;
    const section = item.closest('section[id]');
    const caption = item.closest('caption');
    if (!section || !caption || !/^(var|set|file-information)/.test(section.id)) {
      found.misplaced.push(item.textContent + ' in ' + (section ? section.id : 'no section'));
    }
  }
  for (const link of document.querySelectorAll('section.alerts a[href^="#"]')) {
    const text = link.closest('tr').cells[1].textContent;
    const target = document.getElementById(link.getAttribute('href').slice(1));
    const here = target ? Array.from(target.querySelectorAll('ul.alerts li')).map(li => li.textContent) : [];
    if (!here.includes(text) || nameOf(target.querySelector('caption')) != link.textContent) {
      found.unlinked.push(link.textContent + ': ' + text);
    }
  }
  parent.postMessage(JSON.stringify(found), '*');
});
</script>
)";

class ReportLayout : public Program {
 protected:
  // The findings on a report at a width, or null when the browser gave none.
  nlohmann::json Measure(const std::string& report, int width, const std::string& shot = {}) {
    const std::string chromium = Chromium();
    std::string probed = Slurp(Path(report));
    probed.insert(probed.rfind("</body>"), kProbe);
    std::ofstream(Path("probed.html")) << probed;
    std::ofstream(Path("frame.html"))
        << "<!DOCTYPE html><html><body style=\"margin:0\"><iframe src=\"probed.html\" style=\"width:" << width
        << "px;height:2000px;border:0\"></iframe><pre id=\"found\"></pre>"
           "<script>addEventListener('message', e => { document.getElementById('found').textContent = e.data; });"
           "</script></body></html>";
    // A window narrower than 500 pixels is widened by the browser: the
    // frame sets the width instead.
    const std::string flags = " --headless --no-sandbox --disable-gpu --disable-quic --no-first-run"
                              " --disable-background-networking --disable-component-update --disable-sync"
                              " --virtual-time-budget=10000 --user-data-dir=" + Path("profile").string() +
                              " --window-size=" + std::to_string(std::max(width + 20, 500)) + ",2000";
    const std::string page = " file://" + Path("frame.html").string() + " 2>/dev/null";
    const Result dom = Shell("timeout 120 " + chromium + flags + " --dump-dom" + page);
    const std::size_t start = dom.out.find("<pre id=\"found\">");
    const std::size_t end = dom.out.find("</pre>", start);
    if (start == std::string::npos || end == std::string::npos) return nullptr;
    if (!shot.empty()) {
      const std::string artifacts = std::string(CODEBOOK_BINARY_DIR) + "/artifacts";
      Shell("mkdir -p " + artifacts + " && timeout 120 " + chromium + flags + " --screenshot=" + artifacts + "/" +
            shot + page);
    }
    // The text is the JSON the script posted, escaped as HTML text.
    std::string text = dom.out.substr(start + 16, end - start - 16);
    for (const auto& [escaped, plain] : {std::pair<std::string, std::string>{"&quot;", "\""}, {"&lt;", "<"},
                                         {"&gt;", ">"}, {"&amp;", "&"}}) {
      for (std::size_t at = text.find(escaped); at != std::string::npos; at = text.find(escaped, at + 1)) {
        text.replace(at, escaped.size(), plain);
      }
    }
    return nlohmann::json::parse(text, nullptr, false);
  }

  void ExpectLaidOut(const std::string& report, int minimumAlerts, const std::string& shot) {
    for (const int width : {420, 1400}) {
      const nlohmann::json found = Measure(report, width, width == 420 ? shot : std::string());
      ASSERT_FALSE(found.is_null() || found.is_discarded()) << report << " at " << width << ": no findings";
      EXPECT_LE(found["viewport"].get<int>(), width);
      EXPECT_LE(found["page"], found["viewport"]) << report << " at " << width << ": the page scrolls sideways";
      EXPECT_GE(found["tables"].get<int>(), 3);
      EXPECT_TRUE(found["overflowing"].empty()) << report << " at " << width << ": " << found["overflowing"];
      EXPECT_GE(found["alerts"].get<int>(), minimumAlerts) << report;
      EXPECT_TRUE(found["misplaced"].empty()) << report << ": " << found["misplaced"];
      EXPECT_TRUE(found["unlinked"].empty()) << report << ": " << found["unlinked"];
    }
  }
};

TEST_F(ReportLayout, TheDemoFitsAPhoneAndADesktop) {
  if (Chromium().empty()) GTEST_SKIP() << "chromium is not installed";
  const Result written = Run({"--demo", "-o", Path("demo.html").string()});
  ASSERT_EQ(written.status, 0) << written.err;
  ExpectLaidOut("demo.html", 3, "demo-report-420.png");
}

// The pages of a PDF that Chromium printed (its page objects).
int Pages(const std::string& pdf) {
  int pages = 0;
  for (std::size_t at = pdf.find("/Type /Page"); at != std::string::npos; at = pdf.find("/Type /Page", at + 1)) {
    if (pdf.compare(at, 12, "/Type /Pages") != 0) ++pages;
  }
  return pages;
}

TEST_F(ReportLayout, PrintedTheDemoTakesAFewPagesNotOneAVariable) {
  const std::string chromium = Chromium();
  if (chromium.empty()) GTEST_SKIP() << "chromium is not installed";
  const Result written = Run({"--demo", "-o", Path("demo.html").string()});
  ASSERT_EQ(written.status, 0) << written.err;
  const Result printed = Shell("timeout 120 " + chromium +
                               " --headless --no-sandbox --disable-gpu --no-first-run --disable-background-networking"
                               " --disable-component-update --disable-sync --no-pdf-header-footer --user-data-dir=" +
                               Path("profile").string() + " --print-to-pdf=" + Path("demo.pdf").string() +
                               " file://" + Path("demo.html").string() + " 2>/dev/null");
  ASSERT_EQ(printed.status, 0);
  const int pages = Pages(Slurp(Path("demo.pdf")));
  // 39 variables and 2 sets, two columns of them a page after the file's
  // summary and overview (36 pages when each variable took one).
  EXPECT_GT(pages, 4);
  EXPECT_LE(pages, 15);
}

TEST_F(ReportLayout, LongNamesAndSeveralFilesStayInTheirPlaces) {
  if (Chromium().empty()) GTEST_SKIP() << "chromium is not installed";
  // A name as long as names may be, a label of one long word, and the same
  // names in two files whose alerts differ.
  const std::string longName = "a_variable_name_as_long_as_a_dictionary_allows_it_to_be_0123456";
  for (const char* file : {"first.sav", "second.sav"}) {
    codebook::data::DatasetBuilder builder;
    builder.Numeric(longName).Level(1).Label(std::string(120, 'x')).ValueLabel(1, "One").ValueLabel(7, "Never used")
        .Numeric("q1").Level(1).ValueLabel(1, "Yes");
    for (int i = 0; i < 20; ++i) builder.Case({1 + i % 3, std::string(file) == "first.sav" ? 1 : 2});
    codebook::data::WriteDatasetFile(*builder.Build(), Path(file).string());
  }
  const Result written =
      Run({"-o", Path("two.html").string(), Path("first.sav").string(), Path("second.sav").string()});
  ASSERT_EQ(written.status, 0) << written.err;
  const std::string html = Slurp(Path("two.html"));
  // One anchor per item and file, from its name.
  EXPECT_THAT(html, HasSubstr("<section id=\"var-q1\">"));
  EXPECT_THAT(html, HasSubstr("<section id=\"var-q1-2\">"));
  EXPECT_THAT(html, HasSubstr("<section id=\"var-" + longName + "-2\">"));
  ExpectLaidOut("two.html", 3, "");
}

}  // namespace
