// Where the program writes: never over its input, through links and into
// devices as a person expects, with the usual file modes, no temporary file
// left behind, and a failed write reported as a failure.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <future>
#include <string>
#include <thread>
#include <utility>

#include "tests/cli/program_harness.h"

namespace {

using codebook::testing_cli::Program;
using codebook::testing_cli::Quote;
using codebook::testing_cli::Result;
using codebook::testing_cli::Slurp;
using testing::HasSubstr;
namespace fs = std::filesystem;

class OutputFiles : public Program {
 protected:
  void SetUp() override {
    Program::SetUp();
    fs::copy_file(Fixture("fx04_dictionary_meta.sav"), Path("survey.sav"));
    fs::permissions(Path("survey.sav"), fs::perms::owner_read | fs::perms::owner_write);
  }
  std::string Survey() const { return Path("survey.sav").string(); }
  int TemporaryFiles() const {
    int count = 0;
    for (const auto& entry : fs::directory_iterator(folder_)) {
      const std::string name = entry.path().filename().string();
      count += name.rfind(".codebook-", 0) == 0 || name.rfind("codebook-stdin-", 0) == 0 ? 1 : 0;
    }
    return count;
  }
};

TEST_F(OutputFiles, NeverReplacesTheInputsEvenThroughLinks) {
  const std::string before = Slurp(Path("survey.sav"));
  fs::create_symlink(Path("survey.sav"), Path("link.txt"));
  fs::create_hard_link(Path("survey.sav"), Path("hard.txt"));
  std::ofstream(Path("job.sps")) << "GET FILE='survey.sav'.\nCODEBOOK id.\n";
  struct Case {
    std::vector<std::string> arguments;
    const char* says;
  };
  // (--format, lest the extensions .sav and .sps be refused first.)
  const Case cases[] = {
      {{"-o", Survey(), "--format", "text", Survey()}, "it is the input file"},
      {{"-o", Path("link.txt").string(), Survey()}, "it is the input file"},
      {{"-o", Path("hard.txt").string(), Survey()}, "it is the input file"},
      {{"-o", Path("job.sps").string(), "--format", "text", "-x", Path("job.sps").string()}, "it is the input file"},
      {{"-o", Survey(), Survey()}, "chooses no output format"},
      // A dataset opened by the syntax file is known only once it has run.
      {{"-o", Path("link.txt").string(), "-x", Path("job.sps").string()}, "it is the input file"},
  };
  for (const Case& c : cases) {
    const Result result = Run(c.arguments);
    EXPECT_EQ(result.status, 2) << result.err;
    EXPECT_THAT(result.err, HasSubstr(c.says));
    EXPECT_EQ(Lines(result.err), 1) << result.err;
  }
  EXPECT_EQ(Slurp(Path("survey.sav")), before);
  EXPECT_TRUE(fs::is_symlink(Path("link.txt")));
  EXPECT_EQ(TemporaryFiles(), 0);
}

TEST_F(OutputFiles, DashIsStandardOutputAndDescriptorsAreWrittenInPlace) {
  const Result dash = Run({"-o", "-", "--format", "json", Survey(), "id"});
  EXPECT_EQ(dash.status, 0) << dash.err;
  EXPECT_THAT(dash.out, HasSubstr("\"codebook-output\""));
  EXPECT_FALSE(fs::exists(Path("-")));

  // -o /dev/stdout goes where standard output goes, appending redirection
  // included; the redirected file is not replaced by another.
  std::ofstream(Path("appended.txt")) << "first line\n";
  const Result appended = Shell("cd " + Quote(folder_.string()) + " && " + Binary() +
                                " -o /dev/stdout survey.sav id >> appended.txt");
  EXPECT_EQ(appended.status, 0) << appended.err;
  const std::string text = Slurp(Path("appended.txt"));
  EXPECT_EQ(text.rfind("first line\n", 0), 0u) << text;
  EXPECT_THAT(text, HasSubstr("Standard Attributes"));
}

TEST_F(OutputFiles, AFifoIsWrittenNotReplaced) {
  ASSERT_EQ(::mkfifo(Path("pipe").c_str(), 0600), 0);
  std::future<std::string> reader = std::async(std::launch::async, [this] { return Slurp(Path("pipe")); });
  const Result result = Run({"-o", Path("pipe").string(), "--format", "csv", Survey(), "id"});
  EXPECT_EQ(result.status, 0) << result.err;
  ASSERT_EQ(reader.wait_for(std::chrono::seconds(20)), std::future_status::ready);
  EXPECT_THAT(reader.get(), HasSubstr("Standard Attributes"));
  struct stat st {};
  ASSERT_EQ(::lstat(Path("pipe").c_str(), &st), 0);
  EXPECT_TRUE(S_ISFIFO(st.st_mode));
}

TEST_F(OutputFiles, ASymlinkIsFollowedAndModesAreTheUsualOnes) {
  std::ofstream(Path("real.txt")) << "old";
  fs::permissions(Path("real.txt"), fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read);
  fs::create_symlink("real.txt", Path("report.txt"));
  const Result linked = Run({"-o", Path("report.txt").string(), Survey(), "id"});
  EXPECT_EQ(linked.status, 0) << linked.err;
  EXPECT_TRUE(fs::is_symlink(Path("report.txt")));
  EXPECT_THAT(Slurp(Path("real.txt")), HasSubstr("Standard Attributes"));
  // An existing file keeps its mode...
  EXPECT_EQ(fs::status(Path("real.txt")).permissions() & fs::perms::all,
            fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read);
  // ...and a new one gets what the umask leaves of 0666.
  const Result fresh = Run({"-o", Path("new.txt").string(), Survey(), "id"}, "umask 027 &&");
  EXPECT_EQ(fresh.status, 0) << fresh.err;
  EXPECT_EQ(fs::status(Path("new.txt")).permissions() & fs::perms::all,
            fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read);
  EXPECT_EQ(TemporaryFiles(), 0);
}

TEST_F(OutputFiles, WriteErrorsAreErrors) {
  const Result redirected = Shell(Binary() + " " + Quote(Survey()) + " id >/dev/full");
  EXPECT_EQ(redirected.status, 2);
  EXPECT_THAT(redirected.err, HasSubstr("cannot write standard output"));
  EXPECT_EQ(Lines(redirected.err), 1) << redirected.err;

  const Result json = Shell(Binary() + " --format json " + Quote(Survey()) + " id >/dev/full");
  EXPECT_EQ(json.status, 2);

  const Result device = Run({"-o", "/dev/full", Survey(), "id"});
  EXPECT_EQ(device.status, 2);
  EXPECT_THAT(device.err, HasSubstr("cannot write /dev/full"));

  const Result help = Shell(Binary() + " --help >/dev/full");
  EXPECT_EQ(help.status, 2);
}

TEST_F(OutputFiles, AClosedPipeIsAWriteErrorAndLeavesNoTemporaryFile) {
  // A pipe whose reader has gone, as fd 9 of the commands below: every
  // write to it fails at once, whatever the timing.
  int ends[2];
  ASSERT_EQ(::pipe(ends), 0);
  ASSERT_EQ(::dup2(ends[1], 9), 9);
  ::close(ends[0]);
  ::close(ends[1]);
  const Result tables = Shell(Binary() + " " + Quote(Survey()) + " >&9");
  EXPECT_EQ(tables.status, 2) << tables.err;
  EXPECT_THAT(tables.err, HasSubstr("cannot write standard output"));
  EXPECT_EQ(Lines(tables.err), 1) << tables.err;
  const Result help = Shell(Binary() + " --help >&9");
  EXPECT_EQ(help.status, 2) << help.err;

  // Only a message (the unknown variable to hide) meets the closed pipe:
  // the output file is still written whole, and nothing else is left in
  // its folder.
  const Result file = Shell("cd " + Quote(folder_.string()) + " && " + Binary() +
                            " -o out.txt --hide-values nosuch survey.sav >&9 2>&9");
  ::close(9);
  EXPECT_EQ(file.status, 0);
  EXPECT_THAT(Slurp(Path("out.txt")), HasSubstr("Standard Attributes"));
  EXPECT_EQ(TemporaryFiles(), 0);
}

TEST_F(OutputFiles, AnInterruptedRunLeavesNoTemporaryFile) {
  // The program waits for its dataset on standard input, a FIFO nobody
  // writes, with its output file and a copy of the input already begun.
  ASSERT_EQ(::mkfifo(Path("input").c_str(), 0600), 0);
  const std::pair<const char*, const char*> signals[] = {{"TERM", "status 143"}, {"INT", "status 130"}};
  for (const auto& [signal, status] : signals) {
    const Result result = Shell("cd " + Quote(folder_.string()) + " && (TMPDIR=" + Quote(folder_.string()) + " " +
                                Binary() + " -o report.txt - < input & pid=$!; exec 3>input; sleep 1; kill -" +
                                signal + " $pid; wait $pid; echo status $?)");
    EXPECT_THAT(result.out, HasSubstr(status)) << signal << ": " << result.out << result.err;
    EXPECT_EQ(TemporaryFiles(), 0) << signal;
    EXPECT_FALSE(fs::exists(Path("report.txt")));
  }
}

}  // namespace
