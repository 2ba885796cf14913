#include "cli/options.h"

#include <cctype>
#include <charconv>

namespace codebook::cli {

const char* const kUsage =
    "usage: codebook [options] FILE... [CODEBOOK arguments...]\n"
    "       codebook [options] -x SYNTAX-FILE\n"
    "       codebook [options] --demo [CODEBOOK arguments...]\n"
    "\n"
    "Writes the data dictionary (codebook) of dataset files: .sav and .zsav,\n"
    "Stata .dta, SAS .sas7bdat and SAS transport .xpt (chosen by their contents).\n"
    "The CODEBOOK arguments are the command's variable list and subcommands,\n"
    "for example:  codebook survey.sav age income '$brands' /STATISTICS COUNT MEAN\n"
    "FILE - reads the dataset from standard input. Further files after the\n"
    "first are taken while their names end in .sav, .zsav, .dta, .sas7bdat or\n"
    ".xpt; each gets its own part of the output, introduced by its name.\n"
    "\n"
    "options:\n"
    "  -x, --syntax FILE   run a syntax file (GET FILE, WEIGHT, FILTER, N OF CASES, CODEBOOK)\n"
    "  -f, --format FMT    text (default), html, json, markdown, csv, pdf, or the exports\n"
    "                      ddi (DDI-Codebook 2.5 XML) and dictionary (one CSV row\n"
    "                      per variable)\n"
    "  -o, --output FILE   write the output to FILE (- for standard output); without -f,\n"
    "                      its extension chooses the format: .txt .html .json .md .pdf,\n"
    "                      .csv (the tables), .dict.csv (the dictionary), .xml (DDI)\n"
    "      --paper SIZE    a4 or letter, for PDF output (default: the locale's paper,\n"
    "                      else A4)\n"
    "      --ascii         plain ASCII table borders for text output\n"
    "      --alerts        data-quality alerts after the tables of text and Markdown\n"
    "                      output (HTML and JSON always carry them)\n"
    "      --hide-values VARLIST|auto\n"
    "                      show no values, counts, minimum or maximum of these\n"
    "                      variables (auto: strings and identifiers), in every format\n"
    "      --width N       fit text output into N columns, 30 or more (default: the\n"
    "                      terminal's width or $COLUMNS; 0: no limit)\n"
    "  -w, --weight VAR    weight the cases by VAR (overrides the file's weight)\n"
    "      --encoding NAME read the file's text in NAME (e.g. windows-1252), whatever\n"
    "                      code page the file declares (.dta before release 118:\n"
    "                      windows-1252 unless given)\n"
    "      --catalog FILE  the format catalog (.sas7bcat) of a .sas7bdat file (default:\n"
    "                      one beside it)\n"
    "      --demo          use the bundled demo dataset\n"
    "      --version       print the version and exit\n"
    "  -h, --help          print this help and exit\n"
    "Values may follow their option as '-f html', '-fhtml' or '--format=html'.\n"
    "\n"
    "exit status: 0 done (warnings allowed), 1 a command reported an error,\n"
    "2 wrong program arguments or output that could not be written,\n"
    "3 a dataset file could not be read, 70 an internal error.\n";

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
  const std::string lower = Lower(argument);
  for (const char* extension : {".sav", ".zsav", ".dta", ".sas7bdat", ".xpt"}) {
    if (EndsWith(lower, extension)) return true;
  }
  return argument == kStandardStream;
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
      const std::optional<output::OutputFormat> format = output::ParseOutputFormat(value);
      if (!format || *format == output::OutputFormat::kAscii) {
        error = "unknown output format '" + value + "' (text, html, json, markdown, csv, pdf, ddi or dictionary)";
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
  return ExportFormat::kNone;
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
    } else {
      error = "unknown option " + argument + " (see codebook --help)";
      return std::nullopt;
    }
  }
  if (options.help || options.version) return options;

  if (!options.formatGiven && !options.outputFile.empty() && options.outputFile != kStandardStream) {
    if (const auto format = FormatForExtension(options.outputFile)) options.format = *format;
    options.exportFormat = ExportForExtension(options.outputFile);
  }

  if (!options.syntaxFile.empty()) {
    if (options.demo || !rest.empty()) {
      error = "-x runs a syntax file on its own; give no dataset, --demo or CODEBOOK arguments with it";
      return std::nullopt;
    }
    if (!options.weight.empty()) {
      error = "--weight does not apply to a syntax file; use WEIGHT BY in the file";
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
    error = "DDI and dictionary output describe one dataset file at a time";
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
