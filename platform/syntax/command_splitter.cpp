#include "platform/syntax/command_splitter.h"

#include <iterator>
#include <utility>

#include "platform/syntax/name_match.h"
#include "platform/syntax/tokenizer.h"

namespace codebook::syntax {
CommandNames::CommandNames(std::initializer_list<std::string_view> names) {
  for (std::string_view name : names) Add(name);
}

void CommandNames::Add(std::string_view name) {
  std::vector<std::string> words;
  std::size_t i = 0;
  while (i < name.size()) {
    while (i < name.size() && (name[i] == ' ' || name[i] == '\t')) ++i;
    std::size_t j = i;
    while (j < name.size() && name[j] != ' ' && name[j] != '\t') ++j;
    if (j > i) words.push_back(ToUpperAscii(name.substr(i, j - i)));
    i = j;
  }
  if (!words.empty()) names_.push_back(std::move(words));
}

std::size_t CommandNames::Match(std::span<const TokenInfoObj> tokens, std::string& name) const {
  const std::vector<std::string>* best = nullptr;
  for (const std::vector<std::string>& words : names_) {
    if (words.size() > tokens.size() || (best && words.size() <= best->size())) continue;
    bool match = true;
    for (std::size_t i = 0; i < words.size() && match; ++i) {
      match = tokens[i].kind() == TokenInfoObj::kIdentifier && tokens[i].getUpperString() == words[i];
    }
    if (match) best = &words;
  }
  if (!best) return 0;
  name.clear();
  for (const std::string& word : *best) {
    if (!name.empty()) name += ' ';
    name += word;
  }
  return best->size();
}

std::vector<Command> SplitCommands(std::string_view text, const CommandNames& names) {
  std::vector<Command> commands;
  for (ScannedCommand& scanned : ScanCommands(text)) {
    Command command;
    command.line = scanned.line;
    command.column = scanned.column;
    command.comment = scanned.comment;
    command.text = std::move(scanned.text);
    if (scanned.comment) {
      command.name.assign(1, '*');
    } else {
      std::size_t used = names.Match(scanned.tokens, command.name);
      if (used == 0 && scanned.tokens.front().kind() == TokenInfoObj::kIdentifier) {
        command.name = scanned.tokens.front().getUpperString();
        used = 1;
      }
      command.tokens.assign(std::make_move_iterator(scanned.tokens.begin() + static_cast<std::ptrdiff_t>(used)),
                            std::make_move_iterator(scanned.tokens.end()));
    }
    commands.push_back(std::move(command));
  }
  return commands;
}

}  // namespace codebook::syntax
