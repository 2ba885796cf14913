// Runs the built codebook program as a person does, in a folder of its own
// per test, and collects its status, standard output and standard error.
#pragma once

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace codebook::testing_cli {

namespace fs = std::filesystem;

struct Result {
  int status = -1;
  std::string out;
  std::string err;
};

inline std::string Quote(const std::string& argument) {
  std::string quoted = "'";
  for (char c : argument) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return quoted + "'";
}

inline std::string Slurp(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

class Program : public testing::Test {
 protected:
  void SetUp() override {
    folder_ = fs::temp_directory_path() / ("codebook-cli-" + std::to_string(getpid()) + "-" +
                                           testing::UnitTest::GetInstance()->current_test_info()->name());
    fs::create_directories(folder_);
  }
  void TearDown() override { fs::remove_all(folder_); }

  static std::string Binary() { return Quote(std::string(CODEBOOK_BINARY_DIR) + "/bin/codebook"); }

  static std::string Arguments(const std::vector<std::string>& arguments) {
    std::string text;
    for (const std::string& argument : arguments) text += " " + Quote(argument);
    return text;
  }

  // `environment` comes before the program (variables, or "cd DIR &&").
  Result Run(const std::vector<std::string>& arguments, const std::string& environment = "",
             const std::string& input = "</dev/null") {
    return Shell(environment + " " + Binary() + Arguments(arguments) + " " + input);
  }

  // A shell command line; its standard output and error are collected
  // unless it redirects them itself.
  Result Shell(const std::string& command) {
    const fs::path out = folder_ / "stdout";
    const fs::path err = folder_ / "stderr";
    const std::string full = "(" + command + ") >" + Quote(out.string()) + " 2>" + Quote(err.string());
    const int raw = std::system(full.c_str());
    Result result;
    result.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
    result.out = Slurp(out);
    result.err = Slurp(err);
    return result;
  }

  static std::string Fixture(const std::string& name) { return std::string(CODEBOOK_FIXTURES_DIR) + "/" + name; }
  fs::path Path(const std::string& name) const { return folder_ / name; }

  // Every line of standard error ends with a line feed; counts them.
  static int Lines(const std::string& text) {
    return static_cast<int>(std::count(text.begin(), text.end(), '\n'));
  }

  fs::path folder_;
};

// A whole RFC 4180 document.
inline std::vector<std::vector<std::string>> ParseCsv(const std::string& text) {
  std::vector<std::vector<std::string>> rows(1);
  std::string field;
  bool quoted = false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (quoted) {
      if (c == '"' && i + 1 < text.size() && text[i + 1] == '"') {
        field += '"';
        ++i;
      } else if (c == '"') {
        quoted = false;
      } else {
        field += c;
      }
    } else if (c == '"') {
      quoted = true;
    } else if (c == ',') {
      rows.back().push_back(std::move(field));
      field.clear();
    } else if (c == '\r' && i + 1 < text.size() && text[i + 1] == '\n') {
      rows.back().push_back(std::move(field));
      field.clear();
      rows.emplace_back();
      ++i;
    } else {
      field += c;
    }
  }
  if (rows.back().empty()) rows.pop_back();
  return rows;
}

}  // namespace codebook::testing_cli
