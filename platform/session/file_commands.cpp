// GET FILE and the commands that select and weight the cases of the active
// dataset.
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>

#include "host/syntax/command_descriptor.h"
#include "host/syntax/command_spec.h"
#include "host/syntax/token_sequence.h"
#include "host/syntax/universal_parser.h"
#include "platform/data/read_dataset.h"
#include "platform/session/session.h"

namespace codebook::session {

namespace {

std::string Upper(const TokenInfoObj& token) { return token.getUpperString(); }

}  // namespace

bool Session::OpenFile(const std::string& path, int line, const std::string& name,
                      const std::optional<std::string>& fileSpec) {
  try {
    data::ReadOptions options;
    options.encoding = options_.encoding;
    options.catalog = options_.catalog;
    // A file given by another name (standard input) has no folder of its
    // own to find a catalog in.
    options.catalogBeside = !fileSpec.has_value();
    options.name = name;
    options.fileSpec = fileSpec;
    data::ReadResult result = data::OpenDatasetFile(path, options);
    for (const std::string& warning : result.warnings) {
      Report(syntax::Severity::kWarning, "GET", line, warning);
    }
    openedFiles_.push_back(path);
    fileInfo_ = result.info;
    selectionOptions_ = {};
    selection_ = std::make_shared<const ProcedureDataSource::Selection>(result.dataset);
    return true;
  } catch (const std::exception& error) {
    // The previous active dataset stays: a failed GET changes nothing.
    datasetError_ = true;
    Report(syntax::Severity::kError, "GET", line, error.what());
    return false;
  }
}

void Session::UseDataset(std::shared_ptr<data::Dataset> dataset, const std::string& name, data::FileInfo info) {
  openedFiles_.push_back(name);
  fileInfo_ = std::move(info);
  selectionOptions_ = {};
  selection_ = std::make_shared<const ProcedureDataSource::Selection>(std::move(dataset));
}

bool Session::GetFile(const std::string& path, int line, const std::string& name,
                      const std::optional<std::string>& fileSpec) {
  const bool opened = OpenFile(path, line, name, fileSpec);
  // Opening makes no tables, so its messages need not wait for any.
  WriteHeldMessages();
  return opened;
}

void Session::RunGet(const syntax::Command& command) {
  CommandDescriptor descriptor("GET");
  SubComDescriptor file("", UPSpecTypes::kSubComKeywords, false, false);
  file.addParamDesc("FILE", UPSpecTypes::kParamString, true, true, UPSpecTypes::kNoBrackets);
  descriptor.addSubComDesc(file);
  VELA_TokenSequence tokens(true);
  CommandSpec spec;
  UniversalParser parser(tokens, spec, descriptor);
  if (parser.getCommandSpecifications() != 0) return;
  std::string path;
  const SubComObj* sub = spec.getSubComObj("");
  const ParamObj* param = sub != nullptr ? sub->getParamObj("FILE") : nullptr;
  if (param == nullptr || !param->getStringGeneric(path) || path.empty()) {
    Report(syntax::Severity::kError, command.name, command.line,
           "GET FILE needs the name of a dataset file: GET FILE='survey.sav'.");
    return;
  }
  // A relative path in a syntax file means a file beside the syntax file,
  // wherever the program was started; messages keep the path as written.
  std::filesystem::path resolved(path);
  if (resolved.is_relative() && !origin_.folder.empty()) resolved = origin_.folder / resolved;
  GetFile(resolved.string(), command.line, path);
}

bool Session::Select(const data::SelectionOptions& options, const syntax::Command& command) {
  if (!selection_) {
    Report(syntax::Severity::kError, command.name, command.line,
           "There is no active dataset. Open one with GET FILE first.");
    return false;
  }
  try {
    selection_ = selection_->With(options);
    selectionOptions_ = options;
    return true;
  } catch (const std::invalid_argument& error) {
    Report(syntax::Severity::kError, command.name, command.line, error.what());
    return false;
  }
}

namespace {

// "BY variable" or "OFF": the variable's position, -1 for OFF, or nullopt
// after reporting what is wrong.
std::optional<int> ByOrOff(const syntax::Command& command, const VELA_DataSource& source,
                           const std::function<void(const std::string&)>& error) {
  const auto& tokens = command.tokens;
  if (tokens.size() == 1 && Upper(tokens[0]) == "OFF") return -1;
  if (tokens.size() == 2 && Upper(tokens[0]) == "BY") {
    const int index = source.FindVarIndex(tokens[1].getString().c_str(), 0);
    if (index < 0) {
      error(tokens[1].getString() + " is not a variable of the active dataset.");
      return std::nullopt;
    }
    return index;
  }
  error(command.name + " takes BY and one variable name, or OFF.");
  return std::nullopt;
}

}  // namespace

void Session::SelectByVariable(const syntax::Command& command,
                               void (*apply)(data::SelectionOptions&, int)) {
  const auto error = [&](const std::string& text) {
    Report(syntax::Severity::kError, command.name, command.line, text);
  };
  if (!selection_) return (void)Select(selectionOptions_, command);
  const std::optional<int> index = ByOrOff(command, *selection_->GetDataset(), error);
  if (!index) return;
  data::SelectionOptions options = selectionOptions_;
  apply(options, *index);
  Select(options, command);
}

void Session::RunWeight(const syntax::Command& command) {
  SelectByVariable(command, [](data::SelectionOptions& options, int index) { options.weightIndex = index; });
}

void Session::RunFilter(const syntax::Command& command) {
  SelectByVariable(command, [](data::SelectionOptions& options, int index) { options.filterIndex = index; });
}

void Session::RunNOfCases(const syntax::Command& command) {
  const auto& tokens = command.tokens;
  double value = -1;
  const bool number = tokens.size() == 1 && tokens[0].kind() == TokenInfoObj::kNumber;
  if (number) value = std::strtod(tokens[0].getValue().c_str(), nullptr);
  if (!number || value < 0 || value != std::floor(value) || value > 9.0e18) {
    Report(syntax::Severity::kError, command.name, command.line,
           "N OF CASES takes one whole number of cases, 0 or more.");
    return;
  }
  data::SelectionOptions options = selectionOptions_;
  options.caseLimit = static_cast<std::int64_t>(value);
  Select(options, command);
}

}  // namespace codebook::session
