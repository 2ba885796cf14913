// Progress of a long pass: shown on a terminal (the test opens a
// pseudo-terminal for standard error), with the total the file's header
// declares, and erased at the end; never in files or pipes, nor with
// --quiet. The delay before the first line is cut to nothing, so that a
// small file's pass is long enough.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <vector>

#include "tests/cli/program_harness.h"

namespace {

using codebook::testing_cli::Program;
using codebook::testing_cli::Result;
using codebook::testing_cli::Slurp;
using testing::HasSubstr;
using testing::Not;

class Progress : public Program {
 protected:
  // Runs the program with standard error on a terminal and standard output
  // to a file; `terminal` gets what the terminal showed.
  Result OnTerminal(const std::vector<std::string>& arguments, std::string& terminal) {
    const std::string binary = std::string(CODEBOOK_BINARY_DIR) + "/bin/codebook";
    const std::string out = Path("stdout").string();
    int master = -1;
    winsize size{};
    size.ws_row = 24;
    size.ws_col = 120;
    const pid_t child = forkpty(&master, nullptr, nullptr, &size);
    if (child == 0) {
      const int file = ::open(out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
      if (file < 0 || ::dup2(file, STDOUT_FILENO) < 0) _exit(126);
      ::setenv("CODEBOOK_PROGRESS_DELAY", "0", 1);
      std::vector<char*> argv = {const_cast<char*>(binary.c_str())};
      for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
      argv.push_back(nullptr);
      ::execv(binary.c_str(), argv.data());
      _exit(127);
    }
    Result result;
    if (child < 0) {
      noTerminal_ = true;  // no pseudo-terminals here (a bare container)
      return result;
    }
    char buffer[4096];
    for (;;) {
      const ssize_t got = ::read(master, buffer, sizeof buffer);
      if (got > 0) {
        terminal.append(buffer, static_cast<std::size_t>(got));
      } else if (got < 0 && errno == EINTR) {
        continue;
      } else {
        break;  // EIO once the child has closed its side
      }
    }
    ::close(master);
    int status = 0;
    ::waitpid(child, &status, 0);
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    result.out = Slurp(out);
    return result;
  }
  bool noTerminal_ = false;
};

TEST_F(Progress, ATerminalSeesTheShareOfTheDeclaredTotalThenNothing) {
  std::string terminal;
  const Result result = OnTerminal({Fixture("fx12_large_20000.zsav"), "cat", "x1"}, terminal);
  if (noTerminal_) GTEST_SKIP() << "no pseudo-terminal can be opened here";
  ASSERT_EQ(result.status, 0) << terminal;
  EXPECT_THAT(result.out, HasSubstr("Standard Attributes"));
  EXPECT_THAT(result.out, Not(HasSubstr("cases (")));
  EXPECT_THAT(result.out, Not(HasSubstr("\r")));
  // Drawn in place: a carriage return, the count of the header's 20,000
  // cases with its share, and the rest of the line cleared.
  EXPECT_THAT(terminal, HasSubstr("\rcodebook: "));
  EXPECT_THAT(terminal, HasSubstr(" of 20,000 cases ("));
  EXPECT_THAT(terminal, HasSubstr("%)"));
  EXPECT_THAT(terminal, HasSubstr("\033[K"));
  // Erased at the end: nothing follows the last clearing.
  ASSERT_GE(terminal.size(), 4u);
  EXPECT_EQ(terminal.substr(terminal.size() - 4), "\r\033[K") << terminal;

  // A message written while the line is drawn starts on a line of its own.
  std::string warned;
  const Result withWarning =
      OnTerminal({"-o", Path("out.txt").string(), Fixture("fx12_large_20000.zsav"), "id", "cat"}, warned);
  ASSERT_EQ(withWarning.status, 0) << warned;
  const std::size_t warning = warned.find("codebook: warning: Value labels, counts, and/or percents");
  ASSERT_NE(warning, std::string::npos) << warned;
  ASSERT_GE(warning, 4u);
  EXPECT_EQ(warned.substr(warning - 4, 4), "\r\033[K") << warned;

  std::string quiet;
  const Result silent = OnTerminal({"--quiet", Fixture("fx12_large_20000.zsav"), "cat", "x1"}, quiet);
  EXPECT_EQ(silent.status, 0);
  EXPECT_EQ(quiet, "");
}

TEST_F(Progress, NoneInFilesOrPipes) {
  const Result toFile = Run({Fixture("fx12_large_20000.zsav"), "cat", "x1"}, "CODEBOOK_PROGRESS_DELAY=0");
  EXPECT_EQ(toFile.status, 0);
  EXPECT_EQ(toFile.err, "");
  const Result piped = Shell("CODEBOOK_PROGRESS_DELAY=0 " + Binary() + " " +
                             codebook::testing_cli::Quote(Fixture("fx12_large_20000.zsav")) + " cat 2>&1 | cat");
  EXPECT_EQ(piped.status, 0);
  EXPECT_THAT(piped.out, Not(HasSubstr("cases (")));
  EXPECT_THAT(piped.out, Not(HasSubstr("cases read")));
  EXPECT_THAT(piped.out, Not(HasSubstr("\r")));
}

}  // namespace
