// The codebook of a dataset, as a library: what the program does for one
// dataset file or one syntax text, for callers that want the result as
// data (the Python and R packages). A run gives, per CODEBOOK command, its
// output document (summary, overview, tables, alerts, messages: what the
// program renders) and its facts (exporting::CodebookModel), and every
// message; any of the program's output formats is rendered from it.
//
//   api::RunOptions options;
//   options.variables = {"age", "income"};
//   api::RunResult result = api::ReadFile("survey.sav", options);
//   if (!result.Ok()) throw std::runtime_error(result.ErrorText());
//   std::string html;
//   api::Render(result.commands[0], "html", html, error);
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/data/dataset.h"
#include "platform/export/codebook_model.h"
#include "platform/output/document/document.h"

namespace codebook::api {

struct RunOptions {
  std::vector<std::string> variables;  // the command's variable list; empty: every variable and set
  std::optional<std::string> weight;   // none: the file's own weight; "": unweighted; else the weight variable
  int maxCategories = 200;             // MAXCATS
  std::string hide;                    // variables whose values are hidden ("id name", or "auto")
  std::string encoding;                // read the file's text in this encoding
  std::string catalog;                 // a .sas7bdat file's format catalog (empty: one beside the file)
  std::string subcommands;             // more of the command, e.g. "/STATISTICS MEAN STDDEV"
  bool overview = true;
  bool alerts = true;
  // Called every few thousand cases of a pass with the cases read and the
  // total (-1: unknown); returning false stops the run.
  std::function<bool(std::int64_t casesRead, std::int64_t total)> progress;
  // Set by any thread to stop the run: the pass stops within a few thousand
  // cases and no further command runs.
  const std::atomic<bool>* cancel = nullptr;
  std::string modulePath;  // the procedure module; empty: found where the program finds it
};

struct Message {
  output::Severity severity = output::Severity::kWarning;
  std::string text;     // as the message says it
  std::string printed;  // the line the program prints for it
};

struct CommandResult {
  std::shared_ptr<output::Document> document;
  exporting::CodebookModel model;
  std::vector<output::Alert> alerts;
};

struct RunResult {
  std::vector<CommandResult> commands;  // the CODEBOOK commands that ran whole
  std::vector<Message> messages;        // every message, in order
  int status = 0;                       // the program's exit status for the run
  bool interrupted = false;             // stopped by `cancel` or `progress`
  bool Ok() const { return status == 0; }
  // The lines of the errors, as the program prints them.
  std::string ErrorText() const;
};

// The codebook of a dataset file (every format the program reads).
RunResult ReadFile(const std::string& path, const RunOptions& options);
// A syntax text (GET FILE, WEIGHT, FILTER, N OF CASES, CODEBOOK); relative
// paths are taken from `folder` (empty: the working folder). The options'
// variables, weight, maxCategories and subcommands do not apply: the text
// says them.
RunResult RunSyntax(const std::string& text, const RunOptions& options, const std::string& folder = {});
// The codebook of a dataset in memory; `name` stands for its file.
RunResult ReadDataset(std::shared_ptr<data::Dataset> dataset, const std::string& name, const RunOptions& options);

// The output formats: text, ascii, html, json, markdown, csv, pdf (the
// program's renderings) and ddi, dictionary, xlsx (its exports).
const std::vector<std::string>& FormatNames();
// Renders a command's result in a format into `bytes`; false, with `error`
// set, for an unknown format or what could not be made. `width`: the
// columns text output fits (0: no limit).
bool Render(const CommandResult& result, const std::string& format, std::string& bytes, std::string& error,
            int width = 0);

}  // namespace codebook::api
