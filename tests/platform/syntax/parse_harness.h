// Runs one command text through the splitter and the UniversalParser the way
// the session and the procedure do, collecting the messages.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "host/syntax/command_descriptor.h"
#include "host/syntax/command_spec.h"
#include "host/syntax/token_sequence.h"
#include "host/syntax/universal_parser.h"
#include "platform/syntax/command_splitter.h"
#include "platform/syntax/current_command.h"
#include "platform/syntax/message_sink.h"

namespace codebook::syntax::testing {

// The CODEBOOK grammar, declared exactly as the procedure declares it.
inline CommandDescriptor CodebookGrammar() {
  CommandDescriptor descriptor("CODEBOOK");
  auto keywords = [](SubComDescriptor& sub, std::initializer_list<const char*> names) {
    for (const char* name : names) {
      sub.addParamDesc(name, UPSpecTypes::kParamKeyword, false, true, UPSpecTypes::kNoBrackets);
    }
  };
  SubComDescriptor unnamed("", UPSpecTypes::kSubComKeywords, false, false);
  unnamed.allowSubComEmpty(true);
  unnamed.setExportParamDesc(UPSpecTypes::kParamExportTokens, false);
  descriptor.addSubComDesc(unnamed);

  SubComDescriptor varinfo("VARINFO", UPSpecTypes::kSubComKeywords, false, false);
  varinfo.allowSubComEmpty(true);
  keywords(varinfo, {"POSITION", "LABEL", "TYPE", "FORMAT", "MEASURE", "ROLE", "ATTRIBUTES", "VALUELABELS",
                     "MISSING", "RESERVEDATTRIBUTES"});
  descriptor.addSubComDesc(varinfo);

  SubComDescriptor fileinfo("FILEINFO", UPSpecTypes::kSubComKeywords, false, false);
  fileinfo.allowSubComEmpty(true);
  keywords(fileinfo,
           {"NAME", "LOCATION", "CASECOUNT", "LABEL", "ATTRIBUTES", "DOCUMENTS", "WEIGHT", "RESERVEDATTRIBUTES"});
  descriptor.addSubComDesc(fileinfo);

  SubComDescriptor statistics("STATISTICS", UPSpecTypes::kSubComKeywords, false, false);
  statistics.allowSubComEmpty(true);
  keywords(statistics, {"NONE", "COUNT", "PERCENT", "MEAN", "STDDEV", "QUARTILES"});
  descriptor.addSubComDesc(statistics);

  SubComDescriptor options("OPTIONS", UPSpecTypes::kSubComKeywords, false, false);
  options.allowSubComEmpty(true);
  options.setExportParamDesc(UPSpecTypes::kParamExportTokens, false);
  options.addParamDesc("MAXCATS", UPSpecTypes::kParamInteger, false, true, UPSpecTypes::kNoBrackets);
  ParamDescriptor varorder("VARORDER", UPSpecTypes::kParamQualifiedKey, false, true, UPSpecTypes::kNoBrackets);
  for (const char* q : {"FILE", "ALPHA", "VARLIST", "MEASURE"}) varorder.addQualifDesc(std::string(q));
  varorder.addQualifDesc(
      ParamDescriptor("ATTRIBUTE", UPSpecTypes::kParamString, false, true, UPSpecTypes::kNoBrackets));
  options.addParamDesc(varorder);
  ParamDescriptor sort("SORT", UPSpecTypes::kParamString, false, true, UPSpecTypes::kNoBrackets);
  sort.addStringValue("ASCENDING");
  sort.addStringValue("DESCENDING");
  options.addParamDesc(sort);
  descriptor.addSubComDesc(options);
  return descriptor;
}

struct Parsed {
  int result = -1;
  std::unique_ptr<CommandSpec> command = std::make_unique<CommandSpec>();
  std::vector<Message> messages;

  // The texts of the exported tokens of a subcommand.
  std::vector<std::string> Exported(const std::string& sub) const {
    std::vector<std::string> texts;
    if (const SubComObj* s = command->getSubComObj(sub)) {
      for (unsigned long i = 0; i < s->getTokenListSize(); ++i) texts.push_back(s->getTokenObj(i)->getString());
    }
    return texts;
  }
  std::string OnlyMessage() const { return messages.size() == 1 ? messages[0].text : "<not one message>"; }
};

// text is a whole command, its name included ("CODEBOOK a b.").
inline Parsed ParseCommand(std::string_view text, const CommandDescriptor& descriptor = CodebookGrammar()) {
  Parsed parsed;
  MessageCollector sink;
  MessageSinkScope sinkScope(sink);
  std::vector<Command> commands = SplitCommands(text);
  Command command = commands.empty() ? Command{} : std::move(commands.front());
  CurrentCommandScope scope({command.name, std::move(command.tokens), command.line, command.column});
  VELA_TokenSequence tokens(true);
  UniversalParser parser(tokens, *parsed.command, descriptor);
  parsed.result = parser.getCommandSpecifications();
  parsed.messages = sink.messages();
  return parsed;
}

}  // namespace codebook::syntax::testing
