// Runs the procedure's parser on a command text against an in-memory
// dataset, collecting its messages.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "host/data/data_source.h"
#include "host/syntax/parser_message.h"
#include "parser/cbkparser.h"
#include "platform/data/selection.h"
#include "platform/syntax/command_splitter.h"
#include "platform/syntax/current_command.h"
#include "platform/syntax/message_sink.h"
#include "testing/dataset_builder.h"

namespace cbtest {

using codebook::data::DatasetBuilder;
using codebook::data::Dataset;

// Multiple-response set definitions for DatasetBuilder::MRSet.
inline VariableSetImpl::Definition SetOf(std::string name, std::string label, int kind,
                                         std::vector<std::string> members,
                                         std::string countedValue = "", bool enhanced = false,
                                         bool labelsFromCountedValue = false) {
  VariableSetImpl::Definition definition;
  definition.name = std::move(name);
  definition.label = std::move(label);
  definition.kind = kind;
  definition.members = std::move(members);
  definition.countedValue = std::move(countedValue);
  definition.enhanced = enhanced;
  definition.categoryLabelsFromCountedValue = labelsFromCountedValue;
  return definition;
}

// The current command made from the first command of a text.
inline codebook::syntax::CurrentCommand CommandOf(std::string_view text) {
  std::vector<codebook::syntax::Command> commands = codebook::syntax::SplitCommands(text);
  codebook::syntax::CurrentCommand current;
  if (!commands.empty()) {
    current.name = commands[0].name;
    current.tokens = commands[0].tokens;
    current.line = commands[0].line;
    current.column = commands[0].column;
  }
  return current;
}

// Messages as "error: text" / "warning: text", in order.
inline std::vector<std::string> Texts(const codebook::syntax::MessageCollector& collector) {
  std::vector<std::string> texts;
  for (const codebook::syntax::Message& message : collector.messages()) {
    texts.push_back(std::string(message.severity == codebook::syntax::Severity::kError ? "error: "
                                                                                       : "warning: ") +
                    message.text);
  }
  return texts;
}

struct ParseRun {
  std::unique_ptr<ProcedureDataSource> source;
  codebook::syntax::MessageCollector messages;
  std::unique_ptr<ParserMessage> sink;
  std::unique_ptr<CbkParser> parser;
  bool ok = false;

  const CbkRequest& request() const { return parser->GetRequest(); }
  std::vector<std::string> texts() const { return Texts(messages); }
  // Names of the request's variable list, in order.
  std::vector<std::string> names() const {
    std::vector<std::string> out;
    for (const VarEntry& entry : request().GetVarList()) out.push_back(entry.first);
    return out;
  }
  std::vector<int> indexes() const {
    std::vector<int> out;
    for (const VarEntry& entry : request().GetVarList()) out.push_back(entry.second);
    return out;
  }
};

inline std::unique_ptr<ParseRun> Parse(const std::shared_ptr<Dataset>& dataset, std::string_view text) {
  auto run = std::make_unique<ParseRun>();
  codebook::syntax::CurrentCommandScope command(CommandOf(text));
  codebook::syntax::MessageSinkScope sink(run->messages);
  run->source = std::make_unique<ProcedureDataSource>(
      std::make_shared<const ProcedureDataSource::Selection>(dataset));
  run->sink = std::make_unique<ParserMessage>();
  run->parser = std::make_unique<CbkParser>(*run->source, *run->sink);
  run->ok = run->parser->Parse();
  return run;
}

}  // namespace cbtest
