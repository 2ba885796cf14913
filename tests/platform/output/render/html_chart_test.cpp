// The HTML report's pictures and anchors: which rows get a percent bar and
// how long, the histogram's shape and text alternative, and anchors that
// stay unique and fit for a link whatever the names hold.
#include <gtest/gtest.h>

#include <cstdlib>
#include <limits>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "host/output/bp_procedure.h"
#include "platform/output/current_output.h"
#include "platform/output/render/chart_model.h"
#include "platform/output/render/html_anchors.h"
#include "platform/output/render/html_chart.h"
#include "platform/output/render/html_table.h"
#include "platform/output/render/renderers.h"
#include "tests/platform/output/sample_document.h"

namespace codebook::output {
namespace {

std::vector<const bp::TableNode*> Tables(const Document& document, std::string_view subtype) {
  std::vector<const bp::TableNode*> tables;
  for (const auto& item : document.Items()) {
    if (const auto* table = std::get_if<Document::Table>(&item); table != nullptr && (*table)->subtype == subtype) {
      tables.push_back(table->get());
    }
  }
  return tables;
}

// The PDF's bar charts: valid categories first, the missing ones after a
// gap, at most kMaxBars in all, the rest counted as not drawn.
TEST(BarChart, ValidBarsFirstThenMissingWithinTheLimit) {
  const BarChartModel two = MakeBarChart({{"Sys", 5, true}, {"Yes", 60, false}, {"No", 35, false}});
  ASSERT_EQ(two.bars.size(), 3u);
  EXPECT_EQ(two.bars[0].label, "Yes");
  EXPECT_EQ(two.bars[1].label, "No");
  EXPECT_EQ(two.bars[2].label, "Sys");
  EXPECT_EQ(two.validCount, 2u);
  EXPECT_TRUE(two.gap);
  EXPECT_EQ(two.RowOf(2), 3);
  EXPECT_EQ(two.largest, 60);
  EXPECT_FALSE(MakeBarChart({{"a", 50, false}, {"b", 50, false}}).gap);

  std::vector<ChartBar> many;
  for (int i = 0; i < BarChartModel::kMaxBars + 5; ++i) many.push_back({std::to_string(i), 1, i == 0});
  const BarChartModel cut = MakeBarChart(many);
  EXPECT_EQ(cut.bars.size(), static_cast<std::size_t>(BarChartModel::kMaxBars));
  EXPECT_EQ(cut.validCount, static_cast<std::size_t>(BarChartModel::kMaxBars));
  EXPECT_EQ(cut.notDrawn, 5u);
  EXPECT_EQ(cut.bars[0].label, "1");
}

TEST(HtmlChart, BarsComeFromTheValueRowsThatHavePercents) {
  const std::shared_ptr<Document> document = testing::BuildSampleCodebook();
  EXPECT_TRUE(ChartBars(TableView(*Tables(*document, "FileInformation").at(0))).empty());
  const std::vector<const bp::TableNode*> variables = Tables(*document, "Variable Information");
  ASSERT_EQ(variables.size(), 2u);
  EXPECT_TRUE(ChartBars(TableView(*variables[1])).empty());  // income: counts without percents
  const std::vector<ChartBar> sex = ChartBars(TableView(*variables[0]));
  ASSERT_EQ(sex.size(), 4u);
  EXPECT_EQ(sex[0].label, "Male");
  EXPECT_FALSE(sex[0].missing);
  EXPECT_DOUBLE_EQ(sex[0].percent, 40.0);
  EXPECT_EQ(sex[3].label, "System");  // no label: the row's own text
  EXPECT_TRUE(sex[3].missing);
}

TEST(HtmlChart, PercentBarsAreProportionalToTheLargestAndMissingRowsStandApart) {
  const std::shared_ptr<Document> document = testing::BuildSampleCodebook();
  std::string html;
  AppendHtmlTable(html, TableView(*Tables(*document, "Variable Information").at(0)));
  // sex: 12, 15, 2 and 1 of 30 cases; 15 draws the longest bar (w50, a
  // step per 2 percent of it).
  const std::string bar = "<td class=\"n b w";
  std::vector<std::pair<int, double>> bars;
  for (std::size_t at = html.find(bar); at != std::string::npos; at = html.find(bar, at + 1)) {
    const std::size_t step = at + bar.size();
    const std::size_t percent = html.find("\">", step) + 2;
    bars.emplace_back(std::stoi(html.substr(step)), std::stod(html.substr(percent)));
  }
  ASSERT_EQ(bars.size(), 4u) << html;
  for (const auto& [step, percent] : bars) EXPECT_NEAR(step / 50.0, percent / 50.0, 0.011) << html;
  EXPECT_EQ(bars[1].first, 50);
  // The missing values' group is set apart for its own colour.
  EXPECT_LT(html.find("<tbody class=\"m\">"), html.find("No answer"));
  EXPECT_GT(html.find("<tbody class=\"m\">"), html.find("Female"));
  // No bars where the table has no percents, nor on the labelled values of
  // a scale variable.
  std::string income;
  AppendHtmlTable(income, TableView(*Tables(*document, "Variable Information").at(1)));
  EXPECT_EQ(income.find(" b w"), std::string::npos) << income;
}

TEST(HtmlChart, HistogramsNameValuesInTheVariablesFormat) {
  Histogram money;
  money.low = 400;
  money.high = 1250.5;
  money.weights = {2, 1};
  money.p25 = 400;
  money.p50 = 800;
  money.p75 = 1200;
  money.format = VELA_Format(VELA_Format::DOLLAR, 10, 2);
  std::string svg;
  AppendHistogram(svg, money, "Distribution of price");
  EXPECT_NE(svg.find("aria-label=\"Distribution of price: 2 bins from $400.00 to $1,250.50, 3 valid cases "
                     "(weighted); quartiles $400.00, $800.00 and $1,200.00\""),
            std::string::npos)
      << svg;
  EXPECT_NE(svg.find(">$400.00</text>"), std::string::npos) << svg;
  EXPECT_NE(svg.find(">$1,250.50</text>"), std::string::npos) << svg;
  // The bins' outline: the first twice as high as the second, each half the
  // plot's width.
  EXPECT_NE(svg.find("d=\"M10 116V16H260V66H510V116z\""), std::string::npos) << svg;
  EXPECT_NE(svg.find("data-weights=\"2 1\""), std::string::npos) << svg;

  // Seconds since the calendar's origin read as dates; without a format,
  // plain numbers.
  Histogram dates = money;
  dates.low = 13923446400;   // 1 January 2024
  dates.high = 13954982400;  // 31 December 2024
  dates.p25 = dates.p50 = dates.p75 = std::numeric_limits<double>::quiet_NaN();
  dates.format = VELA_Format(VELA_Format::DATE, 11, 0);
  svg.clear();
  AppendHistogram(svg, dates, "Distribution of day");
  EXPECT_NE(svg.find("from 01-JAN-2024 to 31-DEC-2024"), std::string::npos) << svg;
  EXPECT_EQ(svg.find("e+10"), std::string::npos) << svg;
  EXPECT_EQ(svg.find("class=\"q\""), std::string::npos) << svg;  // no quartiles to mark
  dates.format.reset();
  svg.clear();
  AppendHistogram(svg, dates, "Distribution of day");
  EXPECT_NE(svg.find("from 1.39234e+10"), std::string::npos) << svg;
}

TEST(HtmlAnchors, NamesBecomeLinkableAnchorsThatNeverMeet) {
  AnchorNames names;
  EXPECT_EQ(names.ForTable("Variable Information", "q1"), "var-q1");
  EXPECT_EQ(names.ForTable("Variable Information", "$brands"), "set-brands");
  EXPECT_EQ(names.ForTable("Overview", "Overview"), "overview");
  EXPECT_EQ(names.ForTable("Overview", "Overview"), "overview-2");
  // The same name in another file, or another case of it.
  EXPECT_EQ(names.ForTable("Variable Information", "Q1"), "var-Q1-2");
  EXPECT_EQ(names.ForTable("Variable Information", "q1"), "var-q1-3");
  // Characters a fragment may not hold, and letters of other scripts,
  // written as bytes; '-' is no name's character, so no two names meet.
  EXPECT_EQ(names.ForTable("Variable Information", "a#b@c.d_e"), "var-a-23b-40c.d_e");
  EXPECT_EQ(names.ForTable("Variable Information", "\xCE\xB1"), "var--CE-B1");
  EXPECT_EQ(names.ForTable("Variable Information", "$a#b"), "set-a-23b");
  // The page's own anchors are never given to a table.
  EXPECT_EQ(names.Make("", "top"), "top-2");
  std::set<std::string> seen;
  for (const char* name : {"x", "X", "x#", "x-23", "x\x01", "x y", "\"x\"", "<x>"}) {
    const std::string anchor = names.ForTable("Variable Information", name);
    EXPECT_EQ(anchor.find_first_not_of("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_.-"),
              std::string::npos)
        << anchor;
    std::string lower = anchor;
    for (char& c : lower) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    EXPECT_TRUE(seen.insert(lower).second) << anchor;
  }
}

}  // namespace
}  // namespace codebook::output
