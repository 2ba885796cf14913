// Throughput of the scanner and the parser on large command texts. Prints
// "name: value unit" lines.
#include <chrono>
#include <cstdio>
#include <string>
#include <vector>

#include "host/syntax/command_descriptor.h"
#include "host/syntax/token_sequence.h"
#include "host/syntax/universal_parser.h"
#include "platform/syntax/command_splitter.h"
#include "platform/syntax/message_sink.h"
#include "platform/syntax/tokenizer.h"

namespace {

using Clock = std::chrono::steady_clock;

template <typename Work>
double BestSeconds(Work work) {
  double best = 1e300;
  for (int round = 0; round < 5; ++round) {
    const Clock::time_point start = Clock::now();
    work();
    const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
    if (seconds < best) best = seconds;
  }
  return best;
}

CommandDescriptor Grammar() {
  CommandDescriptor descriptor("CODEBOOK");
  SubComDescriptor unnamed("", UPSpecTypes::kSubComKeywords, false, false);
  unnamed.allowSubComEmpty(true);
  unnamed.setExportParamDesc(UPSpecTypes::kParamExportTokens, false);
  descriptor.addSubComDesc(unnamed);
  SubComDescriptor statistics("STATISTICS", UPSpecTypes::kSubComKeywords, false, false);
  for (const char* name : {"NONE", "COUNT", "PERCENT", "MEAN", "STDDEV", "QUARTILES"}) {
    statistics.addParamDesc(name, UPSpecTypes::kParamKeyword, false, true, UPSpecTypes::kNoBrackets);
  }
  descriptor.addSubComDesc(statistics);
  return descriptor;
}

void Print(const char* name, double value, const char* unit) { std::printf("%s: %.1f %s\n", name, value, unit); }

}  // namespace

int main() {
  std::string text = "CODEBOOK";
  for (int i = 0; text.size() < (8u << 20); ++i) {
    text += " var" + std::to_string(i) + " [N]";
    if (i % 10 == 0) text += "\n 'a label, with ''quotes''' -5 2.5e3 /* note */";
  }
  text += " /STATISTICS COUNT MEAN.";
  const double megabytes = static_cast<double>(text.size()) / (1 << 20);

  std::size_t tokens = 0;
  const double scan = BestSeconds([&] { tokens = codebook::syntax::Tokenize(text).size(); });
  Print("syntax_scan_throughput", megabytes / scan, "MB/s");
  Print("syntax_scan_tokens", static_cast<double>(tokens) / scan / 1e6, "Mtokens/s");

  const std::vector<codebook::syntax::Command> commands = codebook::syntax::SplitCommands(text);
  const CommandDescriptor grammar = Grammar();
  codebook::syntax::MessageCollector sink;
  codebook::syntax::MessageSinkScope scope(sink);
  int result = 0;
  const double parse = BestSeconds([&] {
    VELA_TokenSequence sequence(commands[0].name, commands[0].tokens, 1, 1);
    CommandSpec parsed;
    result |= UniversalParser(sequence, parsed, grammar).getCommandSpecifications();
  });
  if (result != 0 || !sink.messages().empty()) {
    std::fprintf(stderr, "unexpected syntax error\n");
    return 1;
  }
  Print("syntax_parse_throughput", megabytes / parse, "MB/s");
  Print("syntax_parse_tokens", static_cast<double>(commands[0].tokens.size()) / parse / 1e6, "Mtokens/s");
  return 0;
}
