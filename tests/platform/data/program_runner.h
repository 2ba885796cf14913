// Runs the built codebook program on dataset files, for the readers' tests
// that check what a person sees: its status, standard output and error.
#pragma once

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

namespace codebook::testing_data {

struct ProgramResult {
  int status = -1;
  std::string out;
  std::string err;
};

inline std::string ShellQuote(const std::string& argument) {
  std::string quoted = "'";
  for (const char c : argument) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return quoted + "'";
}

inline std::string ReadWhole(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

// `input` is what standard input reads: a pipe's source ("cat file |"), a
// redirection ("<file"), or empty for /dev/null.
inline ProgramResult RunProgram(const std::vector<std::string>& arguments, const std::string& input = "") {
  static int serial = 0;
  const std::filesystem::path folder = std::filesystem::temp_directory_path();
  const std::string stem = "codebook-formats-" + std::to_string(getpid()) + "-" + std::to_string(serial++);
  const std::filesystem::path out = folder / (stem + ".out");
  const std::filesystem::path err = folder / (stem + ".err");
  const bool pipe = !input.empty() && input.back() == '|';
  std::string command = pipe ? input + " " : std::string();
  command += ShellQuote(std::string(CODEBOOK_BINARY_DIR) + "/bin/codebook");
  for (const std::string& argument : arguments) command += " " + ShellQuote(argument);
  if (!pipe) command += " " + (input.empty() ? std::string("</dev/null") : input);
  command = "(" + command + ") >" + ShellQuote(out.string()) + " 2>" + ShellQuote(err.string());
  const int raw = std::system(command.c_str());
  ProgramResult result;
  result.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
  result.out = ReadWhole(out);
  result.err = ReadWhole(err);
  std::filesystem::remove(out);
  std::filesystem::remove(err);
  return result;
}

// Whether a DDI document validates against the DDI-Codebook 2.5 schema;
// nullopt where xmllint is not installed.
inline std::optional<bool> ValidateDdi(const std::string& document) {
  if (std::system("command -v xmllint >/dev/null 2>&1") != 0) return std::nullopt;
  const std::string schema = std::string(CODEBOOK_SOURCE_DIR) + "/../shared/ddi-codebook-2.5/schemas/codebook.xsd";
  const std::filesystem::path file =
      std::filesystem::temp_directory_path() / ("codebook-formats-ddi-" + std::to_string(getpid()) + ".xml");
  std::ofstream(file, std::ios::binary) << document;
  const std::string command = "xmllint --noout --schema " + ShellQuote(schema) + " " + ShellQuote(file.string()) +
                              " >/dev/null 2>&1";
  const bool valid = std::system(command.c_str()) == 0;
  std::filesystem::remove(file);
  return valid;
}

}  // namespace codebook::testing_data
