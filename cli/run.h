// One run of the program: the jobs (a syntax file, or one dataset file at a
// time), their output sent to the target as it is made or kept to the end.
#pragma once

#include <memory>
#include <string>

#include "cli/options.h"
#include "platform/output/render/renderers.h"

namespace codebook::cli {

class OutputTarget;

class Run {
 public:
  Run(const Options& options, output::OutputFormat format, OutputTarget& target);
  ~Run();
  Run(const Run&) = delete;
  Run& operator=(const Run&) = delete;

  // A dataset file; `heading` introduces its part when there are several.
  void Dataset(const std::string& file, bool heading);
  // A syntax text read from `file`.
  void Syntax(const std::string& text, const std::string& file);
  // Writes what was kept to the end; returns the program's status.
  int End();

 private:
  class Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace codebook::cli
