#include "cli/options.h"

#include <cctype>

namespace codebook::cli {

const char* const kUsage =
    "usage: codebook [options] FILE [CODEBOOK arguments...]\n"
    "       codebook [options] -x SYNTAX-FILE\n"
    "       codebook [options] --demo [CODEBOOK arguments...]\n"
    "\n"
    "Writes the data dictionary (codebook) of a dataset file (.sav, .zsav).\n"
    "The CODEBOOK arguments are the command's variable list and subcommands,\n"
    "for example:  codebook survey.sav age income '$brands' /STATISTICS COUNT MEAN\n"
    "\n"
    "options:\n"
    "  -x, --syntax FILE   run a syntax file (GET FILE, WEIGHT, FILTER, N OF CASES, CODEBOOK)\n"
    "  -f, --format FMT    text (default), html, json, markdown or csv\n"
    "  -o, --output FILE   write the output to FILE instead of standard output\n"
    "      --ascii         plain ASCII table borders for text output\n"
    "  -w, --weight VAR    weight the cases by VAR (overrides the file's weight)\n"
    "      --demo          use the bundled demo dataset\n"
    "      --version       print the version and exit\n"
    "  -h, --help          print this help and exit\n"
    "\n"
    "exit status: 0 done (warnings allowed), 1 a command reported an error,\n"
    "2 wrong program arguments, 3 a dataset file could not be read,\n"
    "70 an internal error.\n";

std::optional<Options> ParseOptions(const std::vector<std::string>& arguments, std::string& error) {
  Options options;
  std::size_t i = 0;
  // Takes the value of an option given as "--name value" or "--name=value".
  const auto value = [&](const std::string& argument, const std::string& name,
                         std::string& out) -> bool {
    const std::size_t equals = argument.find('=');
    if (equals != std::string::npos) {
      out = argument.substr(equals + 1);
    } else if (i + 1 < arguments.size()) {
      out = arguments[++i];
    } else {
      error = "option " + name + " needs a value";
      return false;
    }
    if (out.empty()) {
      error = "option " + name + " needs a value";
      return false;
    }
    return true;
  };

  // Options may stand anywhere: nothing of the CODEBOOK command begins with
  // a dash followed by a letter. "--" ends the options.
  std::vector<std::string> rest;
  bool optionsEnded = false;
  for (; i < arguments.size(); ++i) {
    const std::string& argument = arguments[i];
    const std::string name = argument.substr(0, argument.find('='));
    std::string text;
    const bool looksLikeOption = argument.size() > 1 && argument[0] == '-' &&
                                 (std::isalpha(static_cast<unsigned char>(argument[1])) || argument[1] == '-');
    if (optionsEnded || !looksLikeOption) {
      rest.push_back(argument);
    } else if (argument == "--") {
      optionsEnded = true;
    } else if (name == "-h" || name == "--help") {
      options.help = true;
    } else if (name == "--version") {
      options.version = true;
    } else if (name == "--demo") {
      options.demo = true;
    } else if (name == "--ascii") {
      options.ascii = true;
    } else if (name == "-x" || name == "--syntax") {
      if (!value(argument, name, options.syntaxFile)) return std::nullopt;
    } else if (name == "-o" || name == "--output") {
      if (!value(argument, name, options.outputFile)) return std::nullopt;
    } else if (name == "-w" || name == "--weight") {
      if (!value(argument, name, options.weight)) return std::nullopt;
    } else if (name == "-f" || name == "--format") {
      if (!value(argument, name, text)) return std::nullopt;
      const std::optional<output::OutputFormat> format = output::ParseOutputFormat(text);
      if (!format || *format == output::OutputFormat::kAscii) {
        error = "unknown output format '" + text + "' (text, html, json, markdown or csv)";
        return std::nullopt;
      }
      options.format = *format;
    } else {
      error = "unknown option " + argument + " (see codebook --help)";
      return std::nullopt;
    }
  }
  if (options.help || options.version) return options;

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
  if (!options.demo) {
    if (rest.empty()) {
      error = "no dataset file given (see codebook --help)";
      return std::nullopt;
    }
    options.dataFile = rest.front();
    rest.erase(rest.begin());
  }
  options.codebookArguments = std::move(rest);
  return options;
}

std::string BuildSyntax(const std::string& weight, const std::vector<std::string>& codebookArguments) {
  std::string syntax;
  if (!weight.empty()) syntax += "WEIGHT BY " + weight + ".\n";
  std::string arguments;
  for (const std::string& argument : codebookArguments) {
    // Arguments stay on one line: a line end inside would split the command.
    for (char c : argument) arguments += (c == '\n' || c == '\r') ? ' ' : c;
    arguments += ' ';
  }
  while (!arguments.empty() && (arguments.back() == ' ' || arguments.back() == '.')) {
    arguments.pop_back();
  }
  syntax += "CODEBOOK " + arguments + ".\n";
  return syntax;
}

}  // namespace codebook::cli
