// Thousands of CODEBOOK commands, made from a fixed seed out of the names of
// real files and every keyword (valid or not), each run in a child process
// over the demo and the shared fixtures. Every run must end with tables or a
// message: never an internal assertion, a crash or a signal.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "platform/data/sav/read_dataset.h"
#include "platform/session/session.h"

namespace {

namespace fs = std::filesystem;

// Makes command texts from one file's names.
class CommandMaker {
 public:
  CommandMaker(std::vector<std::string> variables, std::vector<std::string> sets, unsigned seed)
      : variables_(std::move(variables)), sets_(std::move(sets)), random_(seed) {}

  std::string Make() {
    std::string command = "CODEBOOK";
    const int items = Pick(6);
    for (int i = 0; i < items; ++i) command += " " + Item();
    const int subcommands = Pick(4);
    for (int i = 0; i < subcommands; ++i) command += " " + Subcommand();
    return command + ".\n";
  }

 private:
  int Pick(int n) { return std::uniform_int_distribution<int>(0, n - 1)(random_); }
  template <typename T>
  const T& OneOf(const std::vector<T>& choices) {
    return choices[static_cast<std::size_t>(Pick(static_cast<int>(choices.size())))];
  }

  std::string Variable() {
    if (variables_.empty() || Pick(8) == 0) return OneOf<std::string>({"nosuch", "ALL", "TO", "$nosuch", "x.", "1abc"});
    std::string name = OneOf(variables_);
    if (Pick(4) == 0) {
      for (char& c : name) c = static_cast<char>(Pick(2) ? std::toupper(static_cast<unsigned char>(c)) : c);
    }
    return name;
  }

  std::string Specifier() {
    static const std::vector<std::string> kSpecifiers = {"[N]", "[O]", "[S]", "[n]", "[s]", "[X]", "[]",
                                                         "[", "]", "[N", "[S] [O]", "[NOMINAL]", "[1]"};
    return Pick(3) == 0 ? OneOf(kSpecifiers) : std::string();
  }

  std::string Item() {
    switch (Pick(7)) {
      case 0: return "ALL" + Specifier();
      case 1: return "$ALL";
      case 2: return Variable() + " TO " + Variable() + Specifier();
      case 3:
        if (!sets_.empty()) return OneOf(sets_) + Specifier();
        [[fallthrough]];
      default: return Variable() + Specifier();
    }
  }

  std::string Keywords(const std::vector<std::string>& valid) {
    std::string text;
    const int count = Pick(4);
    for (int i = 0; i < count; ++i) {
      text += " " + (Pick(8) == 0 ? OneOf<std::string>({"BOGUS", "=", "(", "ALL", "1"}) : OneOf(valid));
    }
    return text;
  }

  std::string Subcommand() {
    static const std::vector<std::string> kVarinfo = {"POSITION", "LABEL", "TYPE", "FORMAT", "MEASURE",
                                                      "ROLE", "ATTRIBUTES", "VALUELABELS", "MISSING",
                                                      "RESERVEDATTRIBUTES"};
    static const std::vector<std::string> kFileinfo = {"NAME", "LOCATION", "CASECOUNT", "LABEL",
                                                       "ATTRIBUTES", "DOCUMENTS", "WEIGHT",
                                                       "RESERVEDATTRIBUTES"};
    static const std::vector<std::string> kStatistics = {"NONE", "COUNT", "PERCENT", "MEAN", "STDDEV",
                                                         "QUARTILES"};
    static const std::vector<std::string> kMaxcats = {"0", "1", "2", "3", "200", "-1", "-5", "2.5",
                                                      "2147483647", "2147483648", "1e10", "abc", "", "'x'"};
    static const std::vector<std::string> kVarorder = {"FILE", "ALPHA", "VARLIST", "MEASURE",
                                                       "ATTRIBUTE(Source)", "ATTRIBUTE(nosuch)",
                                                       "ATTRIBUTE('$@Role')", "ATTRIBUTE", "ATTRIBUTE()",
                                                       "BOGUS", ""};
    static const std::vector<std::string> kSort = {"ASCENDING", "DESCENDING", "BOGUS", ""};
    switch (Pick(6)) {
      case 0: return "/VARINFO" + Keywords(kVarinfo);
      case 1: return "/FILEINFO" + Keywords(kFileinfo);
      case 2: return "/STATISTICS" + Keywords(kStatistics);
      case 3: {
        std::string options = "/OPTIONS";
        if (Pick(2) != 0) options += " MAXCATS=" + OneOf(kMaxcats);
        if (Pick(2) != 0) options += " VARORDER=" + OneOf(kVarorder);
        if (Pick(2) != 0) options += " SORT=" + OneOf(kSort);
        return options;
      }
      case 4: return OneOf<std::string>({"/BOGUS", "/", "/VARINFO /VARINFO", "/OPTIONS MAXCATS", "/STAT COUNT"});
      default: return "/STATISTICS" + Keywords(kStatistics) + " /OPTIONS MAXCATS=" + OneOf(kMaxcats);
    }
  }

  std::vector<std::string> variables_;
  std::vector<std::string> sets_;
  std::mt19937 random_;
};

std::vector<fs::path> Datasets() {
  std::vector<fs::path> files = {fs::path(CODEBOOK_SOURCE_DIR) / "data" / "demo.sav"};
  std::error_code error;
  for (const auto& entry : fs::directory_iterator(CODEBOOK_FIXTURES_DIR, error)) {
    const std::string extension = entry.path().extension().string();
    if (extension == ".sav" || extension == ".zsav") files.push_back(entry.path());
  }
  std::sort(files.begin() + 1, files.end());
  return files;
}

// Runs one command in a child; its exit status says how it ended: 0 tables
// or messages, 1 neither.
int RunInChild(const fs::path& file, const std::string& command) {
  const pid_t child = ::fork();
  if (child == 0) {
    codebook::session::SessionOptions options;
    options.messageStream = nullptr;
    codebook::session::Session session(options);
    int status = 1;
    if (session.GetFile(file.string())) {
      session.RunSyntax(command);
      status = session.Document()->Size() > 0 ? 0 : 1;
    } else {
      status = 0;  // a file that cannot be opened is reported too
    }
    std::_Exit(status);
  }
  int raw = 0;
  ::waitpid(child, &raw, 0);
  if (WIFSIGNALED(raw)) return 128 + WTERMSIG(raw);
  return WEXITSTATUS(raw);
}

TEST(ArgumentProperty, EveryCommandEndsInTablesOrAMessage) {
  // The module stays loaded in the parent, so that children start quickly.
  codebook::session::SessionOptions quiet;
  quiet.messageStream = nullptr;
  codebook::session::Session warm(quiet);
  ASSERT_TRUE(warm.GetFile((fs::path(CODEBOOK_SOURCE_DIR) / "data" / "demo.sav").string()));
  warm.RunSyntax("CODEBOOK age /STATISTICS COUNT.");

  const std::vector<fs::path> files = Datasets();
  ASSERT_GT(files.size(), 10u) << "the shared fixtures are missing";
  const int perFile = std::max(100, (4000 + static_cast<int>(files.size()) - 1) / static_cast<int>(files.size()));
  int runs = 0;
  for (std::size_t f = 0; f < files.size(); ++f) {
    std::vector<std::string> variables;
    std::vector<std::string> sets;
    try {
      const auto dataset = codebook::data::OpenDatasetFile(files[f].string()).dataset;
      for (int i = 0; i < dataset->ColumnCount(); ++i) variables.emplace_back(dataset->GetVariable(i)->GetName());
      for (const auto& set : dataset->GetMRSets()) sets.push_back(set.Name());
    } catch (const std::exception& error) {
      ADD_FAILURE() << files[f] << ": " << error.what();
      continue;
    }
    CommandMaker maker(variables, sets, 20261124u + static_cast<unsigned>(f));
    for (int i = 0; i < perFile; ++i) {
      const std::string command = maker.Make();
      const int status = RunInChild(files[f], command);
      ASSERT_EQ(status, 0) << files[f].filename() << ": " << command
                           << (status == 70 ? "ended in an internal assertion"
                               : status == 1 ? "showed neither tables nor a message"
                                             : "ended abnormally");
      ++runs;
    }
  }
  EXPECT_GE(runs, 4000);
}

}  // namespace
