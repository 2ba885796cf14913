// A session runs commands one after another against an active dataset and
// collects their output: GET FILE, WEIGHT, FILTER, N OF CASES, and the
// procedures loaded from modules (CODEBOOK).
#pragma once

#include <atomic>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/data/data_source.h"
#include "platform/data/read_dataset.h"
#include "platform/data/selection.h"
#include "platform/output/document/document.h"
#include "platform/session/module_loader.h"
#include "platform/syntax/command_splitter.h"
#include "platform/syntax/message_sink.h"

namespace codebook::session {

// Exit statuses of a run, worst last.
enum ExitStatus : int {
  kExitOk = 0,             // done, warnings allowed
  kExitCommandError = 1,   // a command reported an error
  kExitUsage = 2,          // wrong program arguments
  kExitDatasetError = 3,   // a dataset file could not be read
  kExitAssertion = 70,     // an internal assertion of a procedure
};

struct SessionOptions {
  // The procedure module; empty: looked for with FindModule().
  std::string modulePath;
  // Where messages are written as they are issued (null: nowhere).
  std::FILE* messageStream = stderr;
  // Show the progress of long passes on the message stream, which must be
  // a terminal (progress_display.h).
  bool progress = false;
  // Decode dataset files with this encoding instead of the one they declare.
  std::string encoding;
  // The format catalog of .sas7bdat files (empty: one beside each file).
  std::string catalog;
  // Called after each command with the position of its first item in the
  // document, so that a caller can show its output at once.
  std::function<void(std::size_t firstItem)> afterCommand;
  // Write a command's messages when it ends, after `afterCommand`, rather
  // than as they are issued: on a terminal, closing warnings then follow the
  // tables they are about.
  bool holdMessages = false;
  // Makes, for each CODEBOOK pass, an observer that sees the cases of that
  // pass (null function or result: none).
  std::function<std::shared_ptr<data::CaseObserver>(const data::Dataset& dataset, int weightIndex)>
      passObserver;
  // Messages of the commands the program runs for its user, who typed
  // no command (a text run without a syntax file's name), speak as the
  // program: "codebook: warning: ..." rather than "CODEBOOK: warning: ...",
  // and a file that cannot be opened is "codebook: x.dta: ...". Empty: the
  // command's name, as for a syntax file.
  std::string programName;
  // A CODEBOOK command on a dataset file that has no case describes its
  // dictionary (as under STATISTICS NONE, with a warning) instead of failing
  // for want of cases: what an export of a dictionary-only file needs.
  bool describeEmptyFiles = false;
  // Called on the calling thread every few thousand cases of a CODEBOOK
  // pass with the cases read and the total (-1: unknown), in place of the
  // terminal's display. Returning false stops the pass: the command fails
  // with an error saying so, its output is dropped, and Interrupted() is
  // true. Whatever it throws stops the pass the same way.
  std::function<bool(std::int64_t casesRead, std::int64_t total)> onProgress;
  // Set (by any thread) to stop: a pass stops as onProgress's false stops
  // it, and RunSyntax runs no further command.
  const std::atomic<bool>* stop = nullptr;
};

// What the last CODEBOOK command ran on, for exports that combine its
// tables with the dictionary.
struct CodebookRun {
  std::size_t firstItem = 0;  // its items in the document: [firstItem, endItem)
  std::size_t endItem = 0;
  std::shared_ptr<const data::Dataset> dataset;
  data::FileInfo fileInfo;
  int weightIndex = -1;  // -1 unweighted
  std::int64_t expectedCases = -1;  // the cases a whole pass delivers; -1 unknown
  std::shared_ptr<data::CaseObserver> observer;
  bool completed = false;  // ran to its end (its tables are whole)
  std::string command;     // the command's text, for what the program adds around its tables
};

// Where a syntax text comes from: messages name the file and the command's
// line, and GET FILE resolves relative paths against the file's folder.
struct SyntaxOrigin {
  std::string name;              // as the user gave it; empty: not a file
  std::filesystem::path folder;  // empty: the working folder
};

// The lines where the CODEBOOK commands of a syntax text start, in order:
// what a run of it will describe, known before anything runs.
std::vector<int> CodebookCommandLines(std::string_view text);

class Session : public syntax::MessageSink {
 public:
  explicit Session(SessionOptions options = {});
  ~Session() override;
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  // Runs every command of a syntax text, going on after a failing command.
  void RunSyntax(std::string_view text, const SyntaxOrigin& origin = {});
  void Run(const syntax::Command& command);

  // Makes a dataset file the active dataset (as GET FILE does). `name`, when
  // given, names the file in messages instead of its path; `fileSpec`, when
  // given, is the file the file information shows instead of the absolute
  // path (standard input has no path of its own).
  bool GetFile(const std::string& path, int line = 0, const std::string& name = {},
               const std::optional<std::string>& fileSpec = std::nullopt);

  const std::shared_ptr<output::Document>& Document() const { return document_; }
  // The last CODEBOOK command, if any ran.
  const std::optional<CodebookRun>& LastCodebook() const { return lastCodebook_; }
  // The dataset files opened so far, as they were opened.
  const std::vector<std::string>& OpenedFiles() const { return openedFiles_; }
  bool HasActiveDataset() const { return selection_ != nullptr; }
  // Makes a dataset made in memory the active dataset, as GET FILE makes a
  // file's; `name` stands for its file in messages and the summary.
  void UseDataset(std::shared_ptr<data::Dataset> dataset, const std::string& name, data::FileInfo info = {});
  // Whether onProgress stopped a pass.
  bool Interrupted() const { return interrupted_; }
  int ExitStatus() const;

  void Emit(const syntax::Message& message) override;

 private:
  void RunCommand(const syntax::Command& command);
  bool OpenFile(const std::string& path, int line, const std::string& name,
                const std::optional<std::string>& fileSpec);
  void RunCodebook(const syntax::Command& command);
  void RunWeight(const syntax::Command& command);
  void RunFilter(const syntax::Command& command);
  void RunNOfCases(const syntax::Command& command);
  void RunGet(const syntax::Command& command);
  void Report(syntax::Severity severity, const std::string& command, int line,
              const std::string& text);
  // The line a message is written as on the message stream.
  std::string MessageLine(output::Severity severity, const std::string& command, int line,
                          const std::string& text) const;
  // After the procedure's warning that a subcommand was given empty: what
  // that subcommand takes, from the grammar the parser read.
  void HintAtEmptySubcommand(const syntax::Message& warning);
  void WriteHeldMessages();
  // Applies new selection options to the active dataset; false (reported)
  // when they do not fit it.
  bool Select(const data::SelectionOptions& options, const syntax::Command& command);
  // WEIGHT and FILTER: "BY variable" or "OFF" (-1) applied to the options.
  void SelectByVariable(const syntax::Command& command, void (*apply)(data::SelectionOptions&, int));
  const ProcedureModule& Module();

  SessionOptions options_;
  std::shared_ptr<output::Document> document_;
  std::shared_ptr<const ProcedureDataSource::Selection> selection_;
  data::SelectionOptions selectionOptions_;
  std::unique_ptr<ProcedureModule> module_;
  SyntaxOrigin origin_;
  std::vector<std::string> openedFiles_;
  data::FileInfo fileInfo_;  // of the active dataset
  std::optional<CodebookRun> lastCodebook_;
  std::string heldMessages_;
  bool commandError_ = false;
  bool datasetError_ = false;
  bool interrupted_ = false;
};

}  // namespace codebook::session
