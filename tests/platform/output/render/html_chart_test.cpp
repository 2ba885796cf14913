// The HTML report's bar charts: which rows become bars, geometry that is
// proportional to the percents, missing values drawn apart, a text
// alternative, and bounded size.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

#include "host/output/bp_procedure.h"
#include "platform/output/current_output.h"
#include "platform/output/render/html_chart.h"
#include "platform/output/render/renderers.h"
#include "tests/platform/output/sample_document.h"

namespace codebook::output {
namespace {

std::vector<double> RectWidths(const std::string& svg) {
  std::vector<double> widths;
  for (std::size_t at = svg.find("<rect class=\"bar"); at != std::string::npos;
       at = svg.find("<rect class=\"bar", at + 1)) {
    const std::size_t width = svg.find(" width=\"", at);
    widths.push_back(std::atof(svg.c_str() + width + 8));
  }
  return widths;
}

TEST(HtmlChart, BarsComeFromTheValueRowsThatHavePercents) {
  const std::shared_ptr<Document> document = testing::BuildSampleCodebook();
  std::vector<std::vector<ChartBar>> charts;
  for (const auto& item : document->Items()) {
    if (const auto* table = std::get_if<Document::Table>(&item)) charts.push_back(ChartBars(TableView(**table)));
  }
  ASSERT_EQ(charts.size(), 3u);
  EXPECT_TRUE(charts[0].empty());  // File Information: no values
  EXPECT_TRUE(charts[2].empty());  // income: counts without percents
  const std::vector<ChartBar>& sex = charts[1];
  ASSERT_EQ(sex.size(), 4u);
  EXPECT_EQ(sex[0].label, "Male");
  EXPECT_FALSE(sex[0].missing);
  EXPECT_DOUBLE_EQ(sex[0].percent, 40.0);
  EXPECT_EQ(sex[3].label, "System");  // no label: the row's own text
  EXPECT_TRUE(sex[3].missing);
}

TEST(HtmlChart, LengthsAreProportionalAndMissingValuesComeApart) {
  const std::vector<ChartBar> bars = {
      {"Missing first", 5.0, true}, {"A", 20.0, false}, {"B", 50.0, false}, {"C", 25.0, false}};
  std::string svg;
  AppendBarChart(svg, bars, "c1", "Percents of q");
  const std::vector<double> widths = RectWidths(svg);
  ASSERT_EQ(widths.size(), 4u);
  // Valid bars first, in their order; the longest spans the bar width.
  EXPECT_DOUBLE_EQ(widths[1], ChartLayout::kBarWidth);
  for (std::size_t i = 0; i < widths.size(); ++i) {
    const double percent = i < 3 ? bars[i + 1].percent : bars[0].percent;
    EXPECT_NEAR(widths[i] / ChartLayout::kBarWidth, percent / 50.0, 0.001) << i;
  }
  EXPECT_NE(svg.find("class=\"bar missing\""), std::string::npos);
  // The missing bar sits a row below the last valid one.
  EXPECT_NE(svg.find("y=\"76\" width=\"25.00\""), std::string::npos) << svg;
  EXPECT_NE(svg.find("role=\"img\""), std::string::npos);
  EXPECT_NE(svg.find("<title id=\"c1-t\">Percents of q</title>"), std::string::npos);
  EXPECT_NE(svg.find("<desc id=\"c1-d\">A 20.0%, B 50.0%, C 25.0%; missing: Missing first 5.0%</desc>"),
            std::string::npos)
      << svg;
}

TEST(HtmlChart, ManyCategoriesStaySmallAndLabelsAreEscaped) {
  std::vector<ChartBar> bars;
  for (int i = 0; i < 500; ++i) bars.push_back({"<v" + std::to_string(i) + "&\"", 0.2, false});
  std::string svg;
  AppendBarChart(svg, bars, "c2", "many");
  EXPECT_EQ(RectWidths(svg).size(), static_cast<std::size_t>(ChartLayout::kMaxBars));
  EXPECT_NE(svg.find("460 more categories not drawn"), std::string::npos);
  EXPECT_EQ(svg.find("<v"), std::string::npos);
  EXPECT_NE(svg.find("&lt;v0&amp;&quot;"), std::string::npos);
  EXPECT_LT(svg.size(), 12000u);
  std::string none;
  AppendBarChart(none, {}, "c3", "nothing");
  EXPECT_TRUE(none.empty());
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
  AppendHistogram(svg, money, "h1", "Distribution of price");
  EXPECT_NE(svg.find("2 bins from $400.00 to $1,250.50, 3 valid cases (weighted); quartiles $400.00, $800.00 and "
                     "$1,200.00</desc>"),
            std::string::npos)
      << svg;
  EXPECT_NE(svg.find(">$400.00</text>"), std::string::npos) << svg;
  EXPECT_NE(svg.find(">$1,250.50</text>"), std::string::npos) << svg;
  // The bars stand on one baseline, a gap between them, their heights in
  // proportion to their weights.
  struct Bar {
    double x, y, width, height;
  };
  std::vector<Bar> bars;
  for (std::size_t at = svg.find("<rect class=\"bar\""); at != std::string::npos;
       at = svg.find("<rect class=\"bar\"", at + 1)) {
    Bar bar{};
    ASSERT_EQ(std::sscanf(svg.c_str() + at, "<rect class=\"bar\" x=\"%lf\" y=\"%lf\" width=\"%lf\" height=\"%lf\"",
                          &bar.x, &bar.y, &bar.width, &bar.height), 4);
    bars.push_back(bar);
  }
  ASSERT_EQ(bars.size(), 2u) << svg;
  EXPECT_GT(bars[0].width, 0);
  EXPECT_LT(bars[0].x + bars[0].width, bars[1].x);
  EXPECT_NEAR(bars[0].height, 2 * bars[1].height, 0.02);
  EXPECT_NEAR(bars[0].y + bars[0].height, bars[1].y + bars[1].height, 0.01);

  // Seconds since the calendar's origin read as dates; without a format,
  // plain numbers.
  Histogram dates = money;
  dates.low = 13923446400;   // 1 January 2024
  dates.high = 13954982400;  // 31 December 2024
  dates.p25 = dates.p50 = dates.p75 = std::numeric_limits<double>::quiet_NaN();
  dates.format = VELA_Format(VELA_Format::DATE, 11, 0);
  svg.clear();
  AppendHistogram(svg, dates, "h2", "Distribution of day");
  EXPECT_NE(svg.find("from 01-JAN-2024 to 31-DEC-2024"), std::string::npos) << svg;
  EXPECT_EQ(svg.find("e+10"), std::string::npos) << svg;
  dates.format.reset();
  svg.clear();
  AppendHistogram(svg, dates, "h3", "Distribution of day");
  EXPECT_NE(svg.find("from 1.39234e+10"), std::string::npos) << svg;
}

}  // namespace
}  // namespace codebook::output
