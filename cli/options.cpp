#include "cli/options.h"

#include <cctype>
#include <charconv>

#include "platform/data/dataset_formats.h"
#include "platform/output/render/text_width.h"

namespace codebook::cli {

// The help: one screen of 80 columns, every subcommand with its keywords,
// and the two defaults that surprise.
std::string Usage() {
  const std::string files = "Writes the data dictionary of each FILE (" + data::DatasetExtensionsText() +
                            "; - is stdin), a part each. The CODEBOOK arguments, all optional, in "
                            "this order:";
  std::string usage =
      "usage: codebook [options] FILE... [CODEBOOK arguments]\n"
      "       codebook [options] --demo [CODEBOOK arguments]\n"
      "       codebook [options] -x JOB.sps\n";
  for (const std::string& line : output::WrapText(files, 79)) usage += line + "\n";
  usage +=
      "  variables    names, a TO b, ALL, $set, $ALL; [N], [O] or [S] after a name\n"
      "  /VARINFO     POSITION LABEL TYPE FORMAT MEASURE ROLE ATTRIBUTES VALUELABELS\n"
      "               MISSING RESERVEDATTRIBUTES\n"
      "  /FILEINFO    NAME LOCATION CASECOUNT LABEL ATTRIBUTES DOCUMENTS WEIGHT\n"
      "               RESERVEDATTRIBUTES\n"
      "  /STATISTICS  NONE COUNT PERCENT MEAN STDDEV QUARTILES\n"
      "  /OPTIONS     MAXCATS=n VARORDER={FILE|ALPHA|VARLIST|MEASURE|ATTRIBUTE(name)}\n"
      "               SORT={ASCENDING|DESCENDING}\n"
      "Defaults: the file's weight variable weights the counts (--no-weight: none);\n"
      "MAXCATS=200, so a variable with more values, like an identifier, lists none.\n"
      "  -f, --format F  text html json markdown csv pdf, exports ddi dictionary xlsx\n"
      "  -o, --output F  write to F, whole, never partial; its extension sets -f\n"
      "  --no-overview  no overview table  --catalog C  a .sas7bdat file's .sas7bcat\n"
      "  -w, --weight V  weight by V; -w OFF or --no-weight: no weights  -h, --help\n"
      "  -x, --syntax J  run J's commands: GET FILE WEIGHT FILTER N OF CASES CODEBOOK\n"
      "  --width N  text in N columns (30+)  --ascii  plain borders  --demo  demo data\n"
      "  --alerts  alerts in text  --encoding E  read text as E  --paper a4|letter\n"
      "  --hide-values VARLIST|auto  hide values  -q, --quiet  no progress  --version\n"
      "Exit: 0 done, 1 a command failed, 2 bad arguments or output, 3 a dataset could\n"
      "not be read. More: man codebook, and share/doc/codebook/commands.md.\n";
  return usage;
}

namespace {

std::string Lower(std::string text) {
  for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return text;
}

bool EndsWith(const std::string& text, const std::string& suffix) {
  return text.size() >= suffix.size() && text.compare(text.size() - suffix.size(), suffix.size(), suffix) == 0;
}

// Arguments after the first dataset that are datasets too. A variable name
// cannot be "-" and rarely ends in ".sav"; "--" before the CODEBOOK
// arguments settles any doubt. (The reader goes by a file's contents; only
// here does the name count.)
bool LooksLikeDataset(const std::string& argument) {
  return argument == kStandardStream || data::HasDatasetExtension(argument);
}

// The options that take a value, by every name they go by.
enum class Valued { kNone, kSyntax, kOutput, kWeight, kFormat, kWidth, kEncoding, kCatalog, kHideValues, kPaper };

Valued ValuedOption(const std::string& name) {
  if (name == "-x" || name == "--syntax") return Valued::kSyntax;
  if (name == "-o" || name == "--output") return Valued::kOutput;
  if (name == "-w" || name == "--weight") return Valued::kWeight;
  if (name == "-f" || name == "--format") return Valued::kFormat;
  if (name == "--width") return Valued::kWidth;
  if (name == "--encoding") return Valued::kEncoding;
  if (name == "--catalog") return Valued::kCatalog;
  if (name == "--hide-values") return Valued::kHideValues;
  if (name == "--paper") return Valued::kPaper;
  return Valued::kNone;
}

bool ApplyValue(Options& options, Valued option, const std::string& name, const std::string& value,
                std::string& error) {
  switch (option) {
    case Valued::kSyntax: options.syntaxFile = value; return true;
    case Valued::kOutput: options.outputFile = value; return true;
    case Valued::kWeight: options.weight = value; return true;
    case Valued::kEncoding: options.encoding = value; return true;
    case Valued::kCatalog: options.catalog = value; return true;
    case Valued::kHideValues: options.hideValues = value; return true;
    case Valued::kPaper:
      options.paper = Lower(value);
      if (options.paper == "a4" || options.paper == "letter") return true;
      error = "unknown paper size '" + value + "' (a4 or letter)";
      return false;
    case Valued::kFormat: {
      options.formatGiven = true;
      const std::string lower = Lower(value);
      if (lower == "ddi") {
        options.exportFormat = ExportFormat::kDdi;
        return true;
      }
      if (lower == "dictionary") {
        options.exportFormat = ExportFormat::kDictionary;
        return true;
      }
      if (lower == "xlsx") {
        options.exportFormat = ExportFormat::kXlsx;
        return true;
      }
      const std::optional<output::OutputFormat> format = output::ParseOutputFormat(value);
      if (!format || *format == output::OutputFormat::kAscii) {
        error = "unknown output format '" + value + "' (text, html, json, markdown, csv, pdf, ddi, dictionary or xlsx)";
        return false;
      }
      options.format = *format;
      options.exportFormat = ExportFormat::kNone;
      return true;
    }
    case Valued::kWidth: {
      int width = -1;
      const auto [end, failure] = std::from_chars(value.data(), value.data() + value.size(), width);
      constexpr int kMinimum = output::TextOptions::kMinimumWidth;
      if (failure != std::errc() || end != value.data() + value.size() || (width != 0 && width < kMinimum) ||
          width > 100000) {
        error = "option " + name + " needs a number of columns, " + std::to_string(kMinimum) +
                " or more, or 0 for no limit";
        return false;
      }
      options.width = width;
      return true;
    }
    case Valued::kNone: break;
  }
  return false;
}

}  // namespace

std::optional<output::OutputFormat> FormatForExtension(const std::string& path) {
  const std::string lower = Lower(path);
  if (EndsWith(lower, ".txt")) return output::OutputFormat::kText;
  if (EndsWith(lower, ".html") || EndsWith(lower, ".htm")) return output::OutputFormat::kHtml;
  if (EndsWith(lower, ".json")) return output::OutputFormat::kJson;
  if (EndsWith(lower, ".md") || EndsWith(lower, ".markdown")) return output::OutputFormat::kMarkdown;
  if (EndsWith(lower, ".csv")) return output::OutputFormat::kCsv;
  if (EndsWith(lower, ".pdf")) return output::OutputFormat::kPdf;
  return std::nullopt;
}

ExportFormat ExportForExtension(const std::string& path) {
  const std::string lower = Lower(path);
  if (EndsWith(lower, ".xml")) return ExportFormat::kDdi;
  // Both are CSV: the dictionary says so in its name.
  if (EndsWith(lower, ".dict.csv")) return ExportFormat::kDictionary;
  if (EndsWith(lower, ".xlsx")) return ExportFormat::kXlsx;
  return ExportFormat::kNone;
}

const char* const kKnownExtensions = ".txt .html .htm .json .md .markdown .csv .dict.csv .xml .xlsx";

bool HasExtension(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  const std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
  // A leading dot names a hidden file rather than starting an extension.
  const std::size_t dot = name.rfind('.');
  return dot != std::string::npos && dot > 0 && dot + 1 < name.size();
}

std::optional<Options> ParseOptions(const std::vector<std::string>& arguments, std::string& error) {
  Options options;
  // Options may stand anywhere: nothing of the CODEBOOK command begins with
  // a dash followed by a letter. "--" ends the options.
  std::vector<std::string> rest;
  bool optionsEnded = false;
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const std::string& argument = arguments[i];
    const bool looksLikeOption = argument.size() > 1 && argument[0] == '-' &&
                                 (std::isalpha(static_cast<unsigned char>(argument[1])) || argument[1] == '-');
    if (optionsEnded || !looksLikeOption) {
      rest.push_back(argument);
      continue;
    }
    if (argument == "--") {
      optionsEnded = true;
      continue;
    }
    const bool isLong = argument[1] == '-';
    const std::size_t equals = argument.find('=');
    // "--name=value", "-fvalue" (a short option's value attached) or the
    // option alone, its value in the next argument.
    std::string name = isLong ? argument.substr(0, equals) : argument.substr(0, 2);
    std::optional<std::string> attached;
    if (isLong && equals != std::string::npos) attached = argument.substr(equals + 1);
    if (!isLong && argument.size() > 2) attached = argument.substr(argument[2] == '=' ? 3 : 2);

    const Valued valued = ValuedOption(name);
    if (valued != Valued::kNone) {
      std::string value;
      if (attached) {
        value = *attached;
      } else if (i + 1 < arguments.size()) {
        value = arguments[++i];
      }
      if (value.empty()) {
        error = "option " + name + " needs a value";
        return std::nullopt;
      }
      if (!ApplyValue(options, valued, name, value, error)) return std::nullopt;
      continue;
    }
    if (attached) {
      error = "unknown option " + argument + " (see codebook --help)";
      return std::nullopt;
    }
    if (name == "-h" || name == "--help") {
      options.help = true;
    } else if (name == "--version") {
      options.version = true;
    } else if (name == "--demo") {
      options.demo = true;
    } else if (name == "--ascii") {
      options.ascii = true;
    } else if (name == "--alerts") {
      options.alerts = true;
    } else if (name == "--no-weight") {
      options.noWeight = true;
    } else if (name == "-q" || name == "--quiet") {
      options.quiet = true;
    } else if (name == "--no-overview") {
      options.overview = false;
    } else {
      error = "unknown option " + argument + " (see codebook --help)";
      return std::nullopt;
    }
  }
  if (options.help || options.version) return options;

  // -w OFF is the command language's WEIGHT OFF.
  if (Lower(options.weight) == "off") {
    options.weight.clear();
    options.noWeight = true;
  } else if (options.noWeight && !options.weight.empty()) {
    error = "--no-weight and --weight " + options.weight + " contradict each other";
    return std::nullopt;
  }

  if (!options.formatGiven && !options.outputFile.empty() && options.outputFile != kStandardStream) {
    const auto format = FormatForExtension(options.outputFile);
    options.exportFormat = ExportForExtension(options.outputFile);
    // An extension that names another kind of document (.docx, .tsv, .pdf)
    // would get text it does not hold: nothing is written without --format.
    if (!format && options.exportFormat == ExportFormat::kNone && HasExtension(options.outputFile)) {
      error = "the extension of " + options.outputFile + " chooses no output format; known: " +
              kKnownExtensions + " (or give --format)";
      return std::nullopt;
    }
    if (format) options.format = *format;
  }

  if (!options.syntaxFile.empty()) {
    if (options.demo || !rest.empty()) {
      error = "-x runs a syntax file on its own; give no dataset, --demo or CODEBOOK arguments with it";
      return std::nullopt;
    }
    if (!options.weight.empty() || options.noWeight) {
      error = std::string(options.noWeight ? "--no-weight" : "--weight") +
              " does not apply to a syntax file; use WEIGHT BY or WEIGHT OFF in the file";
      return std::nullopt;
    }
    return options;
  }
  std::size_t first = 0;
  if (!options.demo) {
    if (rest.empty()) {
      error = "no dataset file given (see codebook --help)";
      return std::nullopt;
    }
    options.dataFiles.push_back(rest.front());
    first = 1;
    while (first < rest.size() && LooksLikeDataset(rest[first])) options.dataFiles.push_back(rest[first++]);
    int fromStandardInput = 0;
    for (const std::string& file : options.dataFiles) fromStandardInput += file == kStandardStream ? 1 : 0;
    if (fromStandardInput > 1) {
      error = "standard input (-) can be read only once";
      return std::nullopt;
    }
  }
  if (options.exportFormat != ExportFormat::kNone && options.dataFiles.size() > 1) {
    error = "DDI, dictionary and workbook output describe one dataset file at a time";
    return std::nullopt;
  }
  options.codebookArguments.assign(rest.begin() + static_cast<std::ptrdiff_t>(first), rest.end());
  return options;
}

std::string BuildCodebookSyntax(const std::vector<std::string>& codebookArguments) {
  std::string arguments;
  for (const std::string& argument : codebookArguments) {
    // Arguments stay on one line: a line end inside would split the command.
    for (char c : argument) arguments += (c == '\n' || c == '\r') ? ' ' : c;
    arguments += ' ';
  }
  while (!arguments.empty() && (arguments.back() == ' ' || arguments.back() == '.')) {
    arguments.pop_back();
  }
  return "CODEBOOK " + arguments + ".\n";
}

}  // namespace codebook::cli
