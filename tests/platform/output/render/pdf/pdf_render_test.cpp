// The PDF renderer on documents made here: every cell's text comes back
// out of the PDF, the fonts are embedded, an overview's names link to their
// sections, long tables go on with their headers, bad text still gives a
// valid file, the same input gives the same bytes, and a failing stream is
// an error.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "host/output/bp_procedure.h"
#include "platform/data/active_dataset.h"
#include "platform/output/current_output.h"
#include "platform/output/render/pdf/pdf_renderer.h"
#include "platform/output/render/table_view.h"
#include "testing/dataset_builder.h"
#include "tests/platform/output/render/pdf/poppler.h"
#include "tests/platform/output/sample_document.h"

namespace codebook::output::pdf {
namespace {

namespace fs = std::filesystem;
using namespace codebook::testing_pdf;

BpString Fixed(const char* text) { return BpString(text, true); }
BpString Data(std::string text) { return BpString(std::move(text), false); }

class PdfRender : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!PopplerInstalled()) GTEST_SKIP() << "poppler-utils (pdftotext, pdffonts, pdfinfo) not installed";
    folder_ = fs::temp_directory_path() / ("codebook-pdf-" + std::to_string(getpid()));
    fs::create_directories(folder_);
  }
  void TearDown() override {
    if (std::getenv("CODEBOOK_KEEP_PDF") != nullptr) return;  // to look at them
    std::error_code ignored;
    fs::remove_all(folder_, ignored);
  }

  // Renders to a file of the folder and returns its path.
  std::string Write(const Document& document, const std::string& name, PdfOptions options = {}) {
    const std::string path = (folder_ / name).string();
    std::ofstream out(path, std::ios::binary);
    RenderPdf(document, out, options);
    return path;
  }

  fs::path folder_;
};

// Every cell, row label, column label and title of every table.
std::vector<std::string> TableTexts(const Document& document) {
  std::vector<std::string> texts;
  TableView view;
  for (const auto& item : document.Items()) {
    const auto* table = std::get_if<Document::Table>(&item);
    if (table == nullptr) continue;
    view.Build(**table);
    if (!view.Visible()) continue;
    texts.emplace_back(view.Title());
    for (const ContentView* column : view.columns()) texts.emplace_back(column->text);
    for (const ViewEntry& entry : view.entries()) {
      if (const ContentView* label = view.Label(entry.node)) texts.emplace_back(label->text);
      for (std::uint32_t i = entry.cellBegin; i < entry.cellEnd; ++i) texts.emplace_back(view.cells()[i].content->text);
    }
  }
  return texts;
}

// A document with one table of `rows` categories, labelled as given.
std::shared_ptr<Document> OneTable(const std::string& title, const std::vector<std::string>& labels,
                                   const char* subtype = "Variable Information") {
  auto dataset = data::DatasetBuilder().Numeric("x").Build();
  data::SetActiveSelection(std::make_shared<ProcedureDataSource::Selection>(dataset));
  auto document = std::make_shared<Document>();
  {
    ScopedCurrentDocument scope(document);
    BpProcedure procedure("Codebook", 1);
    BpPivotTable table = procedure.PivotTable(Data(title), Data(subtype), false);
    BpDimension rows = table.Dimension(Fixed("Attributes"), 2);
    rows.Position(0, 1, true, false);
    BpDimension columns = table.Dimension(Fixed("Values"), 2);
    columns.Position(1, 1, true, false);
    BpCategory value = columns.Category(Fixed("Value"));
    BpCategory count = columns.Category(Fixed("Count"));
    BpGroup group = rows.Group(Fixed("Valid Values"), true, 2);
    for (std::size_t i = 0; i < labels.size(); ++i) {
      group.Category(Data(std::to_string(i + 1)));
      value.Cell(Data(labels[i]));
      count.Cell(BpNumber(static_cast<double>(i + 1), procedure.Count()));
    }
  }
  data::SetActiveSelection(nullptr);
  return document;
}

void AppendAll(Document& to, const Document& from) {
  for (const auto& item : from.Items()) {
    if (const auto* table = std::get_if<Document::Table>(&item)) to.Append(*table);
    if (const auto* message = std::get_if<Document::MessageItem>(&item)) to.Append(**message);
  }
}

std::size_t Count(const std::string& text, const std::string& what) {
  std::size_t count = 0;
  for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) ++count;
  return count;
}

TEST_F(PdfRender, EveryCellComesBackAndEveryFontIsEmbedded) {
  const std::shared_ptr<Document> document = testing::BuildSampleCodebook();
  FileSummary file;
  file.name = "survey.sav";
  file.label = "Household survey, wave 3";
  file.documents = {"First line of the documents.", "Second line."};
  file.cases = 30;
  file.variables = 2;
  file.weight = "w";
  document->Append(file);
  document->SetProvenance({"codebook", "9.9.9", "2024-05-06"});
  const std::string path = Write(*document, "sample.pdf");
  const std::string text = Squeezed(PdfText(path));
  for (const std::string& cell : TableTexts(*document)) {
    EXPECT_NE(text.find(Squeezed(cell)), std::string::npos) << "missing: " << cell;
  }
  for (const char* expected : {"Householdsurvey,wave3", "Firstlineofthedocuments.", "30cases", "2variables",
                               "Countsareweightedbyw.", "Madebycodebook9.9.9on2024-05-06.",
                               "warning:NoVariableInformationforx."}) {
    EXPECT_NE(text.find(expected), std::string::npos) << expected;
  }
  EXPECT_TRUE(AllFontsEmbedded(PdfFonts(path))) << PdfFonts(path);
  EXPECT_LE(PdfPages(path), 2);
}

TEST_F(PdfRender, OverviewNamesLinkToTheTablesOfThoseNames) {
  const std::shared_ptr<Document> sample = testing::BuildSampleCodebook();
  const std::shared_ptr<Document> overview = OneTable("Overview", {"a", "b", "c"}, "Overview");
  // The overview's rows name "sex", "income" and a name no table has.
  const std::shared_ptr<Document> named = [] {
    auto dataset = data::DatasetBuilder().Numeric("x").Build();
    data::SetActiveSelection(std::make_shared<ProcedureDataSource::Selection>(dataset));
    auto document = std::make_shared<Document>();
    {
      ScopedCurrentDocument scope(document);
      BpProcedure procedure("Codebook", 1);
      BpPivotTable table = procedure.PivotTable(Fixed("Overview"), Data("Overview"), true);
      BpDimension rows = table.Dimension(Fixed("Variables"), 2);
      rows.Position(0, 1, true, false);
      BpDimension columns = table.Dimension(Fixed("Facts"), 2);
      columns.Position(1, 1, true, false);
      BpCategory label = columns.Category(Fixed("Label"));
      for (const char* name : {"sex", "income", "ghost"}) {
        rows.Category(Data(name));
        label.Cell(Data(std::string("label of ") + name));
      }
    }
    data::SetActiveSelection(nullptr);
    return document;
  }();
  Document with;
  AppendAll(with, *named);
  AppendAll(with, *sample);
  Document without;
  AppendAll(without, *sample);
  const std::string linked = Capture("cat " + Quoted(Write(with, "with.pdf")));
  const std::string plain = Capture("cat " + Quoted(Write(without, "without.pdf")));
  // Items: 0 the overview, 1 File Information, 2 sex, 3 income. Each item
  // is reached from the contents and the outline; the overview adds one
  // link to each name it shows that a table has.
  EXPECT_EQ(Count(linked, "/Dest (item-2)") - Count(plain, "/Dest (item-1)"), 1u);
  EXPECT_EQ(Count(linked, "/Dest (item-3)") - Count(plain, "/Dest (item-2)"), 1u);
  EXPECT_EQ(Count(linked, "/Dest (item-1)") - Count(plain, "/Dest (item-0)"), 0u);
  const std::string text = PdfText((folder_ / "with.pdf").string());
  EXPECT_NE(text.find("label of ghost"), std::string::npos);
}

TEST_F(PdfRender, LongTablesGoOnWithTheirColumnHeaders) {
  std::vector<std::string> labels;
  for (int i = 0; i < 400; ++i) labels.push_back("label " + std::to_string(i));
  const std::string path = Write(*OneTable("long", labels), "long.pdf");
  const int pages = PdfPages(path);
  EXPECT_GE(pages, 2);
  EXPECT_LE(pages, 4);  // two columns a page
  const std::string text = PdfText(path);
  const std::size_t pieces = Count(text, "long (continued)") + 1;
  EXPECT_GE(pieces, 4u);
  EXPECT_EQ(Count(text, "Count"), pieces) << "every piece repeats the column headers";
  for (int i = 0; i < 400; i += 37) EXPECT_NE(text.find(" label " + std::to_string(i) + " "), std::string::npos) << i;
}

TEST_F(PdfRender, BadTextStillGivesAValidFile) {
  const std::vector<std::string> labels = {
      "bell\x07here", "bad \xFF\xFE bytes", "cut \xE6\x97", "c1 \xC2\x85 control", "nul", "cuneiform \xF0\x92\x80\x80",
      "mixed \xD7\xA9\xD7\x9C\xD7\x95\xD7\x9D \xD8\xB3\xD9\x84\xD8\xA7\xD9\x85 \xD0\x9C\xD0\xB8\xD1\x80"};
  std::vector<std::string> withNul = labels;
  withNul[4] = std::string("nul\0inside", 10);
  const std::string path = Write(*OneTable("bad\x1B[31m", withNul), "bad.pdf");
  int status = -1;
  Capture("pdfinfo " + Quoted(path) + " >/dev/null 2>&1", &status);
  EXPECT_EQ(status, 0);
  const std::string text = PdfText(path);
  EXPECT_NE(text.find("bell\\x07here"), std::string::npos) << text;
  EXPECT_NE(text.find("bad \xEF\xBF\xBD\xEF\xBF\xBD bytes"), std::string::npos);
  EXPECT_NE(text.find("c1 \\u0085 control"), std::string::npos);
  EXPECT_NE(text.find("nul\\x00inside"), std::string::npos);
  EXPECT_NE(text.find("bad\\x1B[31m"), std::string::npos);
  // Hebrew, Arabic and Cyrillic are shaped and kept.
  EXPECT_NE(text.find("\xD0\x9C\xD0\xB8\xD1\x80"), std::string::npos);
  EXPECT_TRUE(AllFontsEmbedded(PdfFonts(path)));
}

TEST_F(PdfRender, SameInputSameBytesAndTheDateGiven) {
  const std::shared_ptr<Document> document = testing::BuildSampleCodebook();
  PdfOptions options;
  options.created = 1700000000;  // 2023-11-14
  const std::string one = Capture("cat " + Quoted(Write(*document, "one.pdf", options)));
  const std::string two = Capture("cat " + Quoted(Write(*document, "two.pdf", options)));
  EXPECT_EQ(one, two);
  EXPECT_NE(Capture("pdfinfo " + Quoted((folder_ / "one.pdf").string())).find("2023"), std::string::npos);
}

TEST_F(PdfRender, PaperSizes) {
  const std::shared_ptr<Document> document = testing::BuildSampleCodebook();
  PdfOptions letter;
  letter.paper = Paper::kLetter;
  EXPECT_NE(Capture("pdfinfo " + Quoted(Write(*document, "letter.pdf", letter))).find("612 x 792"), std::string::npos);
  EXPECT_NE(Capture("pdfinfo " + Quoted(Write(*document, "a4.pdf"))).find("595.276 x 841.89"), std::string::npos);
  EXPECT_EQ(ParsePaper("LETTER"), Paper::kLetter);
  EXPECT_EQ(ParsePaper("a4"), Paper::kA4);
  EXPECT_FALSE(ParsePaper("a5").has_value());
}

// A stream that takes nothing.
class FailingBuffer : public std::streambuf {
 protected:
  int_type overflow(int_type) override { return traits_type::eof(); }
  std::streamsize xsputn(const char*, std::streamsize) override { return 0; }
};

TEST_F(PdfRender, AFailingStreamIsAnError) {
  FailingBuffer buffer;
  std::ostream out(&buffer);
  EXPECT_THROW(RenderPdf(*testing::BuildSampleCodebook(), out), std::runtime_error);
}

}  // namespace
}  // namespace codebook::output::pdf
