// The PDF as a person gets it from the program, read back with
// poppler-utils: every cell of every table of the demo and of each shared
// fixture is in its text, every font is embedded, the page counts stay
// small, the bytes are the same twice, and a failed write leaves nothing.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/cli/program_harness.h"
#include "tests/platform/output/render/pdf/poppler.h"

namespace codebook::testing_cli {
namespace {

using namespace codebook::testing_pdf;

// The fields of RFC 4180 text.
std::vector<std::string> CsvFields(const std::string& text) {
  std::vector<std::string> fields;
  std::string field;
  bool quoted = false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (quoted) {
      if (c == '"' && i + 1 < text.size() && text[i + 1] == '"') {
        field.push_back('"');
        ++i;
      } else if (c == '"') {
        quoted = false;
      } else {
        field.push_back(c);
      }
    } else if (c == '"') {
      quoted = true;
    } else if (c == ',' || c == '\n') {
      fields.push_back(field);
      field.clear();
    } else if (c != '\r') {
      field.push_back(c);
    }
  }
  if (!field.empty()) fields.push_back(field);
  return fields;
}

// The CSV without its file summary blocks (a block headed "File"): the
// PDF's title block says the same in sentences of its own.
std::string TablesOnly(const std::string& csv) {
  std::string kept;
  std::size_t at = 0;
  while (at < csv.size()) {
    std::size_t end = csv.find("\r\n\r\n", at);
    end = end == std::string::npos ? csv.size() : end + 4;
    const std::string block = csv.substr(at, end - at);
    if (block.rfind("File\r\n", 0) != 0) kept += block;
    at = end;
  }
  return kept;
}

class PdfProgram : public Program {
 protected:
  void SetUp() override {
    if (!PopplerInstalled()) GTEST_SKIP() << "poppler-utils not installed";
    Program::SetUp();
  }

  // Runs the program with `arguments` as CSV and as PDF and checks that
  // the PDF holds every cell; returns the PDF's path.
  std::string CheckCells(const std::vector<std::string>& arguments, const std::string& name) {
    std::vector<std::string> csv = arguments;
    csv.insert(csv.end(), {"--format", "csv"});
    const Result tables = Run(csv);
    std::vector<std::string> pdf = arguments;
    const std::string path = Path(name).string();
    pdf.insert(pdf.end(), {"-o", path});
    const Result made = Run(pdf);
    EXPECT_EQ(made.status, tables.status) << made.err;
    if (made.status != 0) {
      EXPECT_FALSE(fs::exists(path)) << "a failed run writes no PDF";
      return {};
    }
    const std::string text = Squeezed(PdfText(path));
    int checked = 0;
    for (const std::string& field : CsvFields(TablesOnly(tables.out))) {
      const std::string cell = Squeezed(field);
      if (cell.empty()) continue;
      EXPECT_NE(text.find(cell), std::string::npos) << name << ": missing cell " << field;
      ++checked;
    }
    EXPECT_GT(checked, 10) << name;
    EXPECT_TRUE(AllFontsEmbedded(PdfFonts(path))) << PdfFonts(path);
    return path;
  }
};

TEST_F(PdfProgram, TheDemoHoldsEveryCellOnAtMostTwelvePages) {
  const std::string path = CheckCells({"--demo"}, "demo.pdf");
  ASSERT_FALSE(path.empty());
  EXPECT_LE(PdfPages(path), 12);
  const std::string text = PdfText(path);
  EXPECT_NE(text.find("Made by codebook"), std::string::npos);
  EXPECT_NE(text.find("Counts are weighted by `weight`"), std::string::npos);
  EXPECT_NE(text.find("Contents"), std::string::npos);
}

TEST_F(PdfProgram, EveryFixtureHoldsEveryCell) {
  int files = 0;
  for (const auto& entry : fs::directory_iterator(CODEBOOK_FIXTURES_DIR)) {
    const std::string name = entry.path().filename().string();
    const std::string extension = entry.path().extension().string();
    if (extension != ".sav" && extension != ".zsav") continue;
    // The 20,000-case file takes long and adds nothing a smaller one lacks.
    if (name.find("large") != std::string::npos) continue;
    CheckCells({entry.path().string()}, name + ".pdf");
    ++files;
  }
  EXPECT_GE(files, 10);
}

TEST_F(PdfProgram, FiveHundredVariablesTakeAboutAPagePerFour) {
  const std::string path = Path("wide.pdf").string();
  ASSERT_EQ(Run({Fixture("fx11_500_variables.sav"), "-o", path}).status, 0);
  EXPECT_LE(PdfPages(path), 500 / 4);
}

// Each file of a batch has its own part, headed by its own summary, and its
// name in the footers of its pages.
TEST_F(PdfProgram, EachFileOfABatchHasItsOwnPart) {
  const std::string path = Path("two.pdf").string();
  ASSERT_EQ(Run({Fixture("fx01_numeric_formats.sav"), Fixture("fx02_strings.sav"), "-o", path}).status, 0);
  const std::string text = PdfText(path);
  const std::size_t first = text.find("80 cases, 22 variables");
  const std::size_t second = text.find("60 cases, 10 variables");
  ASSERT_NE(first, std::string::npos);
  ASSERT_NE(second, std::string::npos);
  EXPECT_LT(first, second);
  EXPECT_NE(text.find("fx02_strings.sav", second), std::string::npos);
}

TEST_F(PdfProgram, SameBytesTwiceWithSourceDateEpoch) {
  const std::string one = Path("one.pdf").string();
  const std::string two = Path("two.pdf").string();
  ASSERT_EQ(Run({"--demo", "-o", one}, "SOURCE_DATE_EPOCH=1700000000").status, 0);
  ASSERT_EQ(Run({"--demo", "-o", two}, "SOURCE_DATE_EPOCH=1700000000").status, 0);
  EXPECT_EQ(Slurp(one), Slurp(two));
  EXPECT_NE(PdfText(one).find("on 2023-11-14."), std::string::npos);
}

TEST_F(PdfProgram, FormatExtensionAndPaper) {
  const Result piped = Run({"--demo", "--format", "pdf", "--paper", "LETTER"});
  EXPECT_EQ(piped.status, 0);
  EXPECT_EQ(piped.out.rfind("%PDF-", 0), 0u);
  ASSERT_EQ(Run({"--demo", "-o", Path("upper.PDF").string(), "--paper=letter"}).status, 0);
  EXPECT_EQ(Slurp(Path("upper.PDF")).rfind("%PDF-", 0), 0u);
  EXPECT_NE(Capture("pdfinfo " + Quoted(Path("upper.PDF").string())).find("612 x 792"), std::string::npos);
  // Without --paper, the locale's: A4 in the C locale.
  ASSERT_EQ(Run({"--demo", "-o", Path("default.pdf").string()}, "LC_ALL=C").status, 0);
  EXPECT_NE(Capture("pdfinfo " + Quoted(Path("default.pdf").string())).find("595.276 x 841.89"), std::string::npos)
      << Capture("pdfinfo " + Quoted(Path("default.pdf").string()));
  const Result a5 = Run({"--demo", "-o", Path("a5.pdf").string(), "--paper", "a5"});
  EXPECT_EQ(a5.status, 2);
  EXPECT_NE(a5.err.find("unknown paper size 'a5' (a4 or letter)"), std::string::npos) << a5.err;
  EXPECT_FALSE(fs::exists(Path("a5.pdf")));
}

TEST_F(PdfProgram, AFailedWriteIsStatusTwo) {
  if (!fs::exists("/dev/full")) GTEST_SKIP() << "no /dev/full";
  const Result full = Run({"--demo", "--format", "pdf", "-o", "/dev/full"});
  EXPECT_EQ(full.status, 2);
  EXPECT_NE(full.err.find("codebook: "), std::string::npos);
}

}  // namespace
}  // namespace codebook::testing_cli
