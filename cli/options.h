// The program's command line.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/output/render/renderers.h"

namespace codebook::cli {

struct Options {
  bool help = false;
  bool version = false;
  bool demo = false;
  std::string syntaxFile;  // -x
  std::string dataFile;    // the dataset, unless -x or --demo
  std::vector<std::string> codebookArguments;
  output::OutputFormat format = output::OutputFormat::kText;
  bool ascii = false;
  std::string outputFile;  // -o; empty: standard output
  std::string weight;      // --weight
};

// Parses the arguments after the program name. Returns the options, or sets
// `error` to one line naming what is wrong.
std::optional<Options> ParseOptions(const std::vector<std::string>& arguments, std::string& error);

// The syntax that runs the codebook of the active dataset: WEIGHT BY when
// asked, then CODEBOOK with the arguments as the shell passed them.
std::string BuildSyntax(const std::string& weight, const std::vector<std::string>& codebookArguments);

extern const char* const kUsage;

}  // namespace codebook::cli
