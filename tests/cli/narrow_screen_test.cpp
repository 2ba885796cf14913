// Text output on narrow screens: at any width from 30 columns every line
// fits, and no word of the demo's labels is split; lines break at blanks
// and after punctuation, and tables too narrow for their columns become
// lists inside their boxes.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cctype>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "platform/data/sav/read_dataset.h"
#include "platform/data/sav/write_dataset.h"
#include "testing/dataset_builder.h"
#include "tests/cli/program_harness.h"

namespace {

using codebook::testing_cli::Program;
using codebook::testing_cli::Result;
using testing::HasSubstr;
using testing::Not;

// The code point at `pos` and its length; an invalid byte stands alone.
char32_t Decode(const std::string& text, std::size_t pos, std::size_t& length) {
  const auto byte = static_cast<unsigned char>(text[pos]);
  length = byte < 0x80 ? 1 : byte >= 0xF0 ? 4 : byte >= 0xE0 ? 3 : byte >= 0xC0 ? 2 : 1;
  if (pos + length > text.size()) length = 1;
  if (length == 1) return byte;
  char32_t code = byte & (0xFF >> (length + 1));
  for (std::size_t i = 1; i < length; ++i) code = (code << 6) | (static_cast<unsigned char>(text[pos + i]) & 0x3F);
  return code;
}

// Letters and digits, any script's; not box drawing nor the split mark.
bool InWord(char32_t code) {
  if (code < 0x80) return std::isalnum(static_cast<int>(code)) != 0;
  return !(code >= 0x2500 && code <= 0x257F) && code != 0x21B5;
}

std::map<std::string, int> Words(const std::string& text) {
  std::map<std::string, int> words;
  std::string word;
  for (std::size_t pos = 0; pos < text.size();) {
    std::size_t length = 1;
    const char32_t code = Decode(text, pos, length);
    if (InWord(code)) {
      word.append(text, pos, length);
    } else if (!word.empty()) {
      ++words[word];
      word.clear();
    }
    pos += length;
  }
  if (!word.empty()) ++words[word];
  return words;
}

int Columns(const std::string& line) {
  int columns = 0;
  for (const char c : line) columns += (static_cast<unsigned char>(c) & 0xC0) != 0x80 ? 1 : 0;
  return columns;
}

// Every label of the demo dataset: the file's, its documents and
// attributes, and each variable's and set's, their value labels and
// attribute values.
std::vector<std::string> DemoLabels() {
  const auto read = codebook::data::OpenDatasetFile(std::string(CODEBOOK_SOURCE_DIR) + "/data/demo.sav");
  const codebook::data::Dataset& dataset = *read.dataset;
  std::vector<std::string> labels;
  if (const char* label = dataset.GetLabel()) labels.emplace_back(label);
  for (const DSDocument& document : dataset.GetDocumentList()) {
    for (int i = 0; i < document.Size(); ++i) labels.push_back(document[i]);
  }
  const auto attributes = [&](const DatasourceAttributes& all) {
    for (std::size_t a = 0; a < all.Size(); ++a) {
      for (const std::string& value : all.Values(a)) labels.push_back(value);
    }
  };
  attributes(dataset.GetAttributes());
  for (int v = 0; v < dataset.ColumnCount(); ++v) {
    const codebook::data::Variable& variable = *dataset.GetDictionary().GetVariable(v);
    if (variable.Label()) labels.push_back(*variable.Label());
    if (const auto& values = variable.ValueLabels()) {
      for (std::size_t i = 0; i < values->Size(); ++i) labels.emplace_back(values->Label(i));
    }
    attributes(variable.GetAttributes());
  }
  for (const VariableSetImpl& set : dataset.GetMRSets()) labels.push_back(set.Get().label);
  return labels;
}

class NarrowScreen : public Program {};

TEST_F(NarrowScreen, NoWordOfTheDemosLabelsIsSplit) {
  const std::vector<std::string> everything = {"--demo", "/FILEINFO", "NAME", "LABEL", "DOCUMENTS", "WEIGHT",
                                               "CASECOUNT", "ATTRIBUTES"};
  std::vector<std::string> unlimited = {"--width", "0"};
  unlimited.insert(unlimited.end(), everything.begin(), everything.end());
  const Result whole = Run(unlimited);
  ASSERT_EQ(whole.status, 0) << whole.err;
  const std::map<std::string, int> wholeWords = Words(whole.out);

  std::map<std::string, int> labelWords;
  for (const std::string& label : DemoLabels()) {
    for (const auto& [word, count] : Words(label)) labelWords[word] += count;
  }
  ASSERT_GT(labelWords.size(), 100u);

  for (const int width : {30, 40, 80}) {
    SCOPED_TRACE(width);
    std::vector<std::string> arguments = {"--width", std::to_string(width)};
    arguments.insert(arguments.end(), everything.begin(), everything.end());
    const Result narrow = Run(arguments);
    ASSERT_EQ(narrow.status, 0) << narrow.err;
    std::istringstream lines(narrow.out);
    for (std::string line; std::getline(lines, line);) ASSERT_LE(Columns(line), width) << line;
    // No word was split: none is marked, and each label word is there as
    // often as on a screen without limit (a list repeats column headings,
    // so others may be there more often).
    EXPECT_THAT(narrow.out, Not(HasSubstr("\xE2\x86\xB5")));
    const std::map<std::string, int> narrowWords = Words(narrow.out);
    for (const auto& [word, count] : labelWords) {
      const auto found = narrowWords.find(word);
      ASSERT_NE(found, narrowWords.end()) << word;
      EXPECT_GE(found->second, wholeWords.at(word)) << word;
    }
    // And no piece of a word appears that a whole screen does not show.
    for (const auto& [word, count] : narrowWords) EXPECT_EQ(wholeWords.count(word), 1u) << word;
  }
}

TEST_F(NarrowScreen, OnlyAWordWiderThanTheScreenIsSplitAndThenVisibly) {
  const std::string word(40, 'w');
  auto dataset = codebook::data::DatasetBuilder()
                     .Numeric("x").Label("short words then " + word + " and more")
                     .Numeric("this_variable_name_is_sixty_four_bytes_long_for_reader_testing_x")
                     .Cases({{1, 2}, {2, 3}})
                     .Build();
  codebook::data::WriteDatasetFile(*dataset, Path("long.sav").string());
  const Result unicode = Run({"--width", "30", Path("long.sav").string(), "/VARINFO", "LABEL"});
  ASSERT_EQ(unicode.status, 0) << unicode.err;
  // As much of the word as the value's line in the box holds, the mark, then
  // the rest.
  EXPECT_THAT(unicode.out, HasSubstr(std::string(21, 'w') + "\xE2\x86\xB5"));
  const Result ascii = Run({"--width", "30", "--ascii", Path("long.sav").string(), "/VARINFO", "LABEL"});
  EXPECT_THAT(ascii.out, HasSubstr(std::string(21, 'w') + "\\ |"));
  EXPECT_THAT(ascii.out, Not(HasSubstr("\xE2")));
  // A long name breaks after its underscores and needs no mark.
  EXPECT_THAT(ascii.out, HasSubstr("this_variable_name_is_sixty_\nfour_bytes_long_for_reader_\ntesting_x\n"));
}

}  // namespace
