// The command line as the program reads it: every spelling of an option and
// its value, the format each output file's extension chooses, which
// arguments are datasets, and the CODEBOOK command the rest becomes.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "cli/options.h"

namespace codebook::cli {
namespace {

std::string FormatName(const Options& options) {
  if (options.exportFormat == ExportFormat::kDdi) return "ddi";
  if (options.exportFormat == ExportFormat::kDictionary) return "dictionary";
  if (options.exportFormat == ExportFormat::kXlsx) return "xlsx";
  using output::OutputFormat;
  if (options.format == OutputFormat::kText) return "text";
  if (options.format == OutputFormat::kHtml) return "html";
  if (options.format == OutputFormat::kJson) return "json";
  if (options.format == OutputFormat::kMarkdown) return "markdown";
  if (options.format == OutputFormat::kCsv) return "csv";
  if (options.format == OutputFormat::kPdf) return "pdf";
  return "other";
}

std::string List(const std::vector<std::string>& items) {
  std::string text;
  for (const std::string& item : items) text += (text.empty() ? "" : " ") + item;
  return "[" + text + "]";
}

// What the program makes of its arguments, in one line, or the error.
std::string Read(const std::vector<std::string>& arguments) {
  std::string error;
  const std::optional<Options> options = ParseOptions(arguments, error);
  if (!options) return "error: " + error;
  std::string text = FormatName(*options);
  if (!options->outputFile.empty()) text += " -o " + options->outputFile;
  if (!options->syntaxFile.empty()) text += " -x " + options->syntaxFile;
  if (options->demo) text += " demo";
  if (options->ascii) text += " ascii";
  if (options->alerts) text += " alerts";
  if (options->help) text += " help";
  if (options->version) text += " version";
  if (options->width != -1) text += " width " + std::to_string(options->width);
  if (!options->weight.empty()) text += " weight " + options->weight;
  if (options->noWeight) text += " no-weight";
  if (!options->overview) text += " no-overview";
  if (!options->catalog.empty()) text += " catalog " + options->catalog;
  if (!options->paper.empty()) text += " paper " + options->paper;
  if (!options->encoding.empty()) text += " encoding " + options->encoding;
  if (!options->hideValues.empty()) text += " hide " + options->hideValues;
  return text + " files " + List(options->dataFiles) + " args " + List(options->codebookArguments);
}

struct Case {
  std::vector<std::string> arguments;
  const char* read;
};

TEST(Options, OutputFilesChooseTheirFormatUnlessOneIsGiven) {
  const Case cases[] = {
      {{"-o", "out.txt", "f.sav"}, "text -o out.txt files [f.sav] args []"},
      {{"-o", "out.html", "f.sav"}, "html -o out.html files [f.sav] args []"},
      {{"-o", "x.htm", "f.sav"}, "html -o x.htm files [f.sav] args []"},
      {{"-o", "OUT.HTML", "f.sav"}, "html -o OUT.HTML files [f.sav] args []"},
      {{"-o", "out.json", "f.sav"}, "json -o out.json files [f.sav] args []"},
      {{"-o", "out.md", "f.sav"}, "markdown -o out.md files [f.sav] args []"},
      {{"-o", "out.markdown", "f.sav"}, "markdown -o out.markdown files [f.sav] args []"},
      {{"-o", "out.csv", "f.sav"}, "csv -o out.csv files [f.sav] args []"},
      {{"-o", "out.dict.csv", "f.sav"}, "dictionary -o out.dict.csv files [f.sav] args []"},
      {{"-o", "Out.Dict.CSV", "f.sav"}, "dictionary -o Out.Dict.CSV files [f.sav] args []"},
      {{"-o", "out.xml", "f.sav"}, "ddi -o out.xml files [f.sav] args []"},
      {{"-o", "out.pdf", "f.sav"}, "pdf -o out.pdf files [f.sav] args []"},
      {{"-o", "out.xlsx", "f.sav"}, "xlsx -o out.xlsx files [f.sav] args []"},
      // An extension no format has is refused, lest text land in a .docx;
      // none at all is text.
      {{"-o", "out.dat", "f.sav"},
       "error: the extension of out.dat chooses no output format; known: .txt .html .htm .json .md .markdown .csv "
       ".dict.csv .xml .xlsx (or give --format)"},
      {{"-o", "html", "f.sav"}, "text -o html files [f.sav] args []"},
      {{"-o", "-", "f.sav"}, "text -o - files [f.sav] args []"},
      // -f wins over the extension, wherever it stands.
      {{"-f", "json", "-o", "out.html", "f.sav"}, "json -o out.html files [f.sav] args []"},
      {{"-o", "out.xml", "f.sav", "--format", "csv"}, "csv -o out.xml files [f.sav] args []"},
      {{"-f", "text", "-o", "out.dict.csv", "f.sav"}, "text -o out.dict.csv files [f.sav] args []"},
      {{"--format=DDI", "-o", "out.csv", "f.sav"}, "ddi -o out.csv files [f.sav] args []"},
      {{"-f", "dictionary", "-f", "md", "f.sav"}, "markdown files [f.sav] args []"},
      {{"-f", "ascii", "f.sav"},
       "error: unknown output format 'ascii' (text, html, json, markdown, csv, pdf, ddi, dictionary or xlsx)"},
      {{"-f", "pdf", "--paper=letter", "f.sav"}, "pdf paper letter files [f.sav] args []"},
  };
  for (const Case& c : cases) EXPECT_EQ(Read(c.arguments), c.read);
}

TEST(Options, ValuesStandApartAttachedOrAfterAnEqualsSign) {
  const Case cases[] = {
      {{"-o=out.json", "f.sav"}, "json -o out.json files [f.sav] args []"},
      {{"-oout.json", "f.sav"}, "json -o out.json files [f.sav] args []"},
      {{"--output=out.json", "f.sav"}, "json -o out.json files [f.sav] args []"},
      {{"--output", "out.json", "f.sav"}, "json -o out.json files [f.sav] args []"},
      {{"-fhtml", "f.sav"}, "html files [f.sav] args []"},
      {{"-f=html", "f.sav"}, "html files [f.sav] args []"},
      {{"-wweight", "--encoding=latin1", "f.sav"}, "text weight weight encoding latin1 files [f.sav] args []"},
      {{"--weight", "w", "--hide-values", "auto", "f.sav"}, "text weight w hide auto files [f.sav] args []"},
      // A value may itself look like an option or hold an equals sign.
      {{"-o", "--", "f.sav"}, "text -o -- files [f.sav] args []"},
      {{"--output=a=b.json", "f.sav"}, "json -o a=b.json files [f.sav] args []"},
      {{"-f"}, "error: option -f needs a value"},
      {{"f.sav", "-o"}, "error: option -o needs a value"},
      {{"--output=", "f.sav"}, "error: option --output needs a value"},
      {{"-o=", "f.sav"}, "error: option -o needs a value"},
      // Options without a value take none.
      {{"--ascii", "--alerts", "f.sav"}, "text ascii alerts files [f.sav] args []"},
      {{"--ascii=yes", "f.sav"}, "error: unknown option --ascii=yes (see codebook --help)"},
      {{"-ax", "f.sav"}, "error: unknown option -ax (see codebook --help)"},
      {{"--nosuch", "f.sav"}, "error: unknown option --nosuch (see codebook --help)"},
      {{"-h"}, "text help files [] args []"},
      {{"--version", "--nosuch-after"}, "error: unknown option --nosuch-after (see codebook --help)"},
      {{"--version"}, "text version files [] args []"},
  };
  for (const Case& c : cases) EXPECT_EQ(Read(c.arguments), c.read);
}

TEST(Options, WidthIsAtLeastThirtyColumnsOrZero) {
  const std::string error = "error: option --width needs a number of columns, 30 or more, or 0 for no limit";
  const Case cases[] = {
      {{"--width", "30", "f.sav"}, "text width 30 files [f.sav] args []"},
      {{"--width=0", "f.sav"}, "text width 0 files [f.sav] args []"},
      {{"--width", "100000", "f.sav"}, "text width 100000 files [f.sav] args []"},
      {{"--width", "29", "f.sav"}, error.c_str()},
      {{"--width", "1", "f.sav"}, error.c_str()},
      {{"--width", "-1", "f.sav"}, error.c_str()},
      {{"--width", "100001", "f.sav"}, error.c_str()},
      {{"--width", "80x", "f.sav"}, error.c_str()},
      {{"--width", "x80", "f.sav"}, error.c_str()},
  };
  for (const Case& c : cases) EXPECT_EQ(Read(c.arguments), c.read);
}

TEST(Options, DatasetsComeFirstAndTheRestIsTheCommand) {
  const Case cases[] = {
      {{"f.sav", "id", "/STATISTICS", "NONE"}, "text files [f.sav] args [id /STATISTICS NONE]"},
      // Further datasets while the names end in .sav or .zsav, in any case.
      {{"a.sav", "b.ZSAV", "C.Sav", "id", "x.sav"}, "text files [a.sav b.ZSAV C.Sav] args [id x.sav]"},
      {{"data", "b.sav"}, "text files [data b.sav] args []"},
      {{"a.sav", "-", "id"}, "text files [a.sav -] args [id]"},
      {{"-", "id"}, "text files [-] args [id]"},
      {{"-", "-"}, "error: standard input (-) can be read only once"},
      {{"a.sav", "savings"}, "text files [a.sav] args [savings]"},
      {{"a.sav", ".sav"}, "text files [a.sav .sav] args []"},
      {{"a.dta", "b.SAS7BDAT", "c.xpt", "id"}, "text files [a.dta b.SAS7BDAT c.xpt] args [id]"},
      {{"a.sas7bdat", "--catalog", "f.sas7bcat"}, "text catalog f.sas7bcat files [a.sas7bdat] args []"},
      // Weights off, in the program's spelling and the command language's.
      {{"a.sav", "--no-weight"}, "text no-weight files [a.sav] args []"},
      {{"a.sav", "-w", "OFF"}, "text no-weight files [a.sav] args []"},
      {{"a.sav", "--no-overview"}, "text no-overview files [a.sav] args []"},
      // Options stand anywhere; "--" ends them.
      {{"a.sav", "id", "--ascii"}, "text ascii files [a.sav] args [id]"},
      {{"a.sav", "--", "-x", "--ascii"}, "text files [a.sav] args [-x --ascii]"},
      {{"--", "-x.sav"}, "text files [-x.sav] args []"},
      // Numbers and lone dashes in a command are not options.
      {{"a.sav", "/OPTIONS", "MAXCATS=-1", "-5"}, "text files [a.sav] args [/OPTIONS MAXCATS=-1 -5]"},
      {{"--demo", "q1", "/STATISTICS", "NONE"}, "text demo files [] args [q1 /STATISTICS NONE]"},
      {{"--demo", "b.sav"}, "text demo files [] args [b.sav]"},
      {{}, "error: no dataset file given (see codebook --help)"},
      {{"--ascii"}, "error: no dataset file given (see codebook --help)"},
      // A syntax file runs alone.
      {{"-x", "job.sps"}, "text -x job.sps files [] args []"},
      {{"--syntax=job.sps", "-f", "json"}, "json -x job.sps files [] args []"},
      {{"-x", "job.sps", "a.sav"},
       "error: -x runs a syntax file on its own; give no dataset, --demo or CODEBOOK arguments with it"},
      {{"-x", "job.sps", "--demo"},
       "error: -x runs a syntax file on its own; give no dataset, --demo or CODEBOOK arguments with it"},
      {{"-x", "job.sps", "-w", "w"}, "error: --weight does not apply to a syntax file; use WEIGHT BY or WEIGHT OFF in the file"},
      // An export describes one dataset; several are refused, also by -o.
      {{"-f", "ddi", "a.sav"}, "ddi files [a.sav] args []"},
      {{"-f", "ddi", "a.sav", "b.sav"}, "error: DDI, dictionary and workbook output describe one dataset file at a time"},
      {{"-o", "x.dict.csv", "a.sav", "b.sav"}, "error: DDI, dictionary and workbook output describe one dataset file at a time"},
      {{"-o", "x.csv", "a.sav", "b.sav"}, "csv -o x.csv files [a.sav b.sav] args []"},
  };
  for (const Case& c : cases) EXPECT_EQ(Read(c.arguments), c.read);
}

TEST(Options, TheCommandIsOneLineEndedOnce) {
  const struct {
    std::vector<std::string> arguments;
    const char* syntax;
  } cases[] = {
      {{}, "CODEBOOK .\n"},
      {{"id"}, "CODEBOOK id.\n"},
      // A last argument ending in a period, or a period alone, ends the
      // command once.
      {{"id", "."}, "CODEBOOK id.\n"},
      {{"id."}, "CODEBOOK id.\n"},
      {{"id", "/STATISTICS", "NONE."}, "CODEBOOK id /STATISTICS NONE.\n"},
      {{"id", ". ", ".."}, "CODEBOOK id.\n"},
      // A period inside stays; so do quotes.
      {{"a.b", "'x y'"}, "CODEBOOK a.b 'x y'.\n"},
      // A line end inside an argument would end the command early.
      {{"a\nb", "c\r\nd"}, "CODEBOOK a b c  d.\n"},
  };
  for (const auto& c : cases) EXPECT_EQ(BuildCodebookSyntax(c.arguments), c.syntax);
}

}  // namespace
}  // namespace codebook::cli
