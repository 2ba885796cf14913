// The HTML output loaded in a real browser (headless Chromium): the DOM it
// builds has one table per shown table, with the expected captions and
// headings, though the markup leaves out the end tags it may. Skipped when
// Chromium is not installed.
#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "platform/output/render/renderers.h"
#include "tests/platform/output/sample_document.h"

namespace codebook::output {
namespace {

namespace fs = std::filesystem;

std::string Chromium() {
  for (const char* path : {"/usr/bin/chromium", "/usr/bin/chromium-browser"}) {
    if (access(path, X_OK) == 0) return path;
  }
  return {};
}

std::string RunCommand(const std::string& command) {
  std::string output;
  FILE* pipe = popen(command.c_str(), "r");
  if (pipe == nullptr) return output;
  std::array<char, 4096> buffer{};
  std::size_t n = 0;
  while ((n = std::fread(buffer.data(), 1, buffer.size(), pipe)) > 0) output.append(buffer.data(), n);
  pclose(pipe);
  return output;
}

// The texts of the elements whose start tag begins with `prefix`.
std::vector<std::string> ElementTexts(const std::string& text, const std::string& prefix) {
  std::vector<std::string> out;
  for (std::size_t at = text.find(prefix); at != std::string::npos; at = text.find(prefix, at + 1)) {
    const std::size_t open = text.find('>', at);
    if (open == std::string::npos) break;
    const std::size_t close = text.find('<', open + 1);
    out.push_back(text.substr(open + 1, close == std::string::npos ? std::string::npos : close - open - 1));
  }
  return out;
}

TEST(Browser, HeadlessChromiumSeesOneTablePerShownTable) {
  const std::string chromium = Chromium();
  if (chromium.empty()) GTEST_SKIP() << "chromium is not installed; the browser test is skipped";

  const fs::path dir = fs::temp_directory_path() / ("cb-output-browser-" + std::to_string(getpid()));
  fs::create_directories(dir);
  const fs::path page = dir / "codebook.html";
  {
    std::ofstream out(page);
    RenderHtml(*testing::BuildSampleCodebook(), out);
  }
  const std::string command = "timeout 120 " + chromium +
                              " --headless --no-sandbox --disable-gpu --disable-quic --no-first-run"
                              " --disable-background-networking --disable-component-update --disable-sync"
                              " --user-data-dir=" + (dir / "profile").string() +
                              " --dump-dom file://" + page.string() + " 2>/dev/null";
  const std::string dom = RunCommand(command);
  fs::remove_all(dir);
  ASSERT_NE(dom.find("</html>"), std::string::npos) << "no DOM from chromium: " << dom.substr(0, 500);

  // The file's alerts, and the four tables.
  EXPECT_EQ(ElementTexts(dom, "<table ").size() + ElementTexts(dom, "<table>").size(), 5u);
  // The file's part first (its File Information table with it), then the
  // overview, then the items.
  EXPECT_EQ(ElementTexts(dom, "<caption>"),
            (std::vector<std::string>{"File Information", "Overview", "sex", "income"}));
  EXPECT_EQ(ElementTexts(dom, "<th scope=\"col\""),
            (std::vector<std::string>{"Item", "Alert", "Label", "Valid", "Distinct Values", "Value", "Count",
                                      "Percent", "Value", "Count"}));
  const std::vector<std::string> groups = ElementTexts(dom, "<th scope=\"rowgroup\"");
  EXPECT_EQ(groups, (std::vector<std::string>{"Number of Cases", "Custom Attributes", "Standard Attributes",
                                              "Valid Values", "Missing Values", "Standard Attributes", "N",
                                              "Central Tendency and Dispersion", "Labeled Values"}));
  EXPECT_EQ(ElementTexts(dom, "<th class=\"d0\"").front(), "File Name");
  const std::vector<std::string> rows = ElementTexts(dom, "<th>");
  EXPECT_NE(std::find(rows.begin(), rows.end(), "System"), rows.end());
  // The overview's rows link to their items' sections.
  EXPECT_NE(dom.find("<a href=\"#var-sex\">sex</a>"), std::string::npos);
  EXPECT_NE(dom.find("<section id=\"var-income\">"), std::string::npos);
  // The browser parsed the escaped attribute value back to its text.
  EXPECT_NE(dom.find("Panel \"B\" | &lt;web&gt;"), std::string::npos);
  EXPECT_NE(dom.find("<p class=\"warning\">warning: No Variable Information for x .</p>"), std::string::npos);
}

}  // namespace
}  // namespace codebook::output
