// The program's command line.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/output/render/renderers.h"

namespace codebook::cli {

// Standard input or output, where a file name is expected.
inline constexpr const char* kStandardStream = "-";

// Exports made from a CODEBOOK run and the dictionary rather than rendered
// from its tables.
enum class ExportFormat { kNone, kDdi, kDictionary, kXlsx };

struct Options {
  bool help = false;
  bool version = false;
  bool demo = false;
  std::string syntaxFile;                 // -x
  std::vector<std::string> dataFiles;     // the datasets ("-": standard input), unless -x or --demo
  std::vector<std::string> codebookArguments;
  output::OutputFormat format = output::OutputFormat::kText;
  ExportFormat exportFormat = ExportFormat::kNone;  // -f ddi|dictionary|xlsx, -o *.xml|*.dict.csv|*.xlsx
  bool formatGiven = false;               // -f; otherwise -o's extension may choose
  bool ascii = false;
  std::string outputFile;                 // -o; empty or "-": standard output
  std::string weight;                     // --weight
  bool noWeight = false;                  // --no-weight, or -w OFF: the cases unweighted
  bool quiet = false;                     // --quiet: no progress display
  std::string encoding;                   // --encoding
  std::string catalog;                    // --catalog: a .sas7bdat file's format catalog
  int width = -1;                         // --width; -1: the terminal's
  bool alerts = false;                    // --alerts: data-quality alerts in text and Markdown
  std::string hideValues;                 // --hide-values VARLIST|auto
  std::string paper;                      // --paper a4|letter; empty: the locale's, else A4
  bool overview = true;                   // --no-overview leaves it out
};

// Parses the arguments after the program name. Returns the options, or sets
// `error` to one line naming what is wrong.
std::optional<Options> ParseOptions(const std::vector<std::string>& arguments, std::string& error);

// The format an output file's extension asks for (.txt, .html, .json, .md,
// .csv, .pdf), if any.
std::optional<output::OutputFormat> FormatForExtension(const std::string& path);
// Whether the extension asks for an export (.xml: DDI; .dict.csv: the
// dictionary, where any other .csv is the tables; .xlsx: the workbook).
ExportFormat ExportForExtension(const std::string& path);
// Whether the path's file name has an extension (a dot after its first
// character): one that chooses no format is refused.
bool HasExtension(const std::string& path);
// The extensions that choose a format, for messages.
extern const char* const kKnownExtensions;

// The CODEBOOK command with the arguments as the shell passed them.
std::string BuildCodebookSyntax(const std::vector<std::string>& codebookArguments);

// What --help prints.
std::string Usage();

}  // namespace codebook::cli
