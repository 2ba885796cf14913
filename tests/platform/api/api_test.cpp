// The library the packages call: runs of a dataset in memory, a file and a
// syntax text; the cancellation flag and the progress hook; the frames'
// refusals; every format rendered.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <cmath>
#include <string>
#include <thread>
#include <vector>

#include "platform/api/codebook_api.h"
#include "platform/api/frame_dataset.h"
#include "platform/api/provenance.h"
#include "platform/api/table_frame.h"

namespace codebook::api {
namespace {

FrameColumn Numbers(std::string name, std::vector<double> values) {
  FrameColumn column;
  column.name = std::move(name);
  column.numbers = std::move(values);
  column.level = 3;
  return column;
}

FrameColumn Strings(std::string name, std::vector<std::string> values) {
  FrameColumn column;
  column.name = std::move(name);
  column.numeric = false;
  column.strings = std::move(values);
  column.level = 1;
  return column;
}

const exporting::ModelVariable& Variable(const exporting::CodebookModel& model, const std::string& name) {
  for (const auto& variable : model.variables) {
    if (variable.name == name) return variable;
  }
  throw std::runtime_error("no variable " + name);
}

TEST(FrameDataset, CountsLabelsAndMissingValuesOfColumnsInMemory) {
  FrameColumn answer = Numbers("answer", {1, 2, 2, 9, std::nan(""), 1});
  answer.level = 1;
  answer.label = "The answer";
  answer.numberLabels = {{1, "Yes"}, {2, "No"}, {9, "Refused"}};
  answer.missingNumbers = {9};
  FrameColumn city = Strings("city", {"Oslo", "Lima", "Oslo", "", "Lima", "Oslo"});
  city.missingStrings = {""};
  const RunResult result = ReadDataset(MakeFrameDataset({answer, city, Numbers("x", {1, 2, 3, 4, 5, 6})}),
                                       "frame", RunOptions{});
  ASSERT_TRUE(result.Ok()) << result.ErrorText();
  ASSERT_EQ(result.commands.size(), 1u);
  const exporting::CodebookModel& model = result.commands[0].model;
  EXPECT_EQ(model.file.name, "frame");
  EXPECT_EQ(model.file.cases, 6);
  const auto& a = Variable(model, "answer");
  EXPECT_EQ(a.label, "The answer");
  EXPECT_EQ(a.valid, 4);
  EXPECT_EQ(a.missing, 2);
  EXPECT_EQ(a.valueLabels, "1=Yes; 2=No; 9=Refused");
  const auto& c = Variable(model, "city");
  EXPECT_FALSE(c.numeric);
  EXPECT_EQ(c.valid, 5);
  double oslo = 0;
  for (std::size_t i = c.firstValue; i < c.endValue; ++i) {
    if (std::get_if<std::string>(&model.values[i].value) && std::get<std::string>(model.values[i].value) == "Oslo") {
      oslo = model.values[i].count.value_or(-1);
    }
  }
  EXPECT_EQ(oslo, 3);
  EXPECT_DOUBLE_EQ(Variable(model, "x").mean.value_or(0), 3.5);
}

TEST(FrameDataset, RefusesWhatNoVariableCanHoldNamingTheColumn) {
  const auto refused = [](std::vector<FrameColumn> columns) {
    try {
      MakeFrameDataset(std::move(columns));
    } catch (const std::invalid_argument& error) {
      return std::string(error.what());
    }
    return std::string();
  };
  EXPECT_NE(refused({Numbers("a b", {1})}).find("'a b'"), std::string::npos);
  EXPECT_NE(refused({Numbers("a", {1}), Numbers("a", {2})}).find("'a'"), std::string::npos);
  EXPECT_NE(refused({Numbers("a", {1}), Numbers("b", {1, 2})}).find("length"), std::string::npos);
  FrameColumn many = Numbers("m", {1});
  many.missingNumbers = {1, 2, 3, 4};
  EXPECT_NE(refused({many}).find("missing values"), std::string::npos);
  FrameColumn mixed = Strings("s", {"x"});
  mixed.numberLabels = {{1, "one"}};
  EXPECT_NE(refused({mixed}).find("'s'"), std::string::npos);
  EXPECT_NE(refused({Strings("long", {std::string(40000, 'x')})}).find("32,767"), std::string::npos);
  FrameFile file;
  file.weight = "nosuch";
  EXPECT_THROW(MakeFrameDataset({Numbers("a", {1})}, file), std::invalid_argument);
}

std::shared_ptr<data::Dataset> LongFrame() {
  std::vector<double> values(400000);
  for (std::size_t i = 0; i < values.size(); ++i) values[i] = static_cast<double>(i % 1000);
  return MakeFrameDataset({Numbers("v", std::move(values))});
}

TEST(Cancel, AFlagSetFromAnotherThreadStopsThePassAndNoResultIsMade) {
  const auto dataset = LongFrame();
  std::atomic<bool> cancel{false};
  std::atomic<int> calls{0};
  RunOptions options;
  options.cancel = &cancel;
  options.progress = [&](std::int64_t, std::int64_t) {
    if (++calls == 1) std::thread([&] { cancel = true; }).join();
    return true;
  };
  const RunResult stopped = ReadDataset(dataset, "long", options);
  EXPECT_TRUE(stopped.interrupted);
  EXPECT_FALSE(stopped.Ok());
  EXPECT_TRUE(stopped.commands.empty());
  EXPECT_NE(stopped.ErrorText().find("interrupted"), std::string::npos);
  // Promptly: within a few of the hook's calls, long before the end.
  EXPECT_LE(calls.load(), 3);
  // The same dataset runs whole afterwards.
  const RunResult whole = ReadDataset(dataset, "long", RunOptions{});
  ASSERT_TRUE(whole.Ok()) << whole.ErrorText();
  EXPECT_EQ(whole.commands.at(0).model.variables.at(0).valid, 400000);
}

TEST(Cancel, TheProgressHookReportsTheTotalAndItsFalseStops) {
  const auto dataset = LongFrame();
  std::vector<std::int64_t> seen;
  RunOptions options;
  options.progress = [&](std::int64_t read, std::int64_t total) {
    EXPECT_EQ(total, 400000);
    seen.push_back(read);
    return read < 100000;
  };
  const RunResult stopped = ReadDataset(dataset, "long", options);
  EXPECT_TRUE(stopped.interrupted);
  ASSERT_FALSE(seen.empty());
  EXPECT_GE(seen.back(), 100000);
  EXPECT_LT(seen.back(), 200000);
}

TEST(Syntax, OneResultPerCommandThatRanAndTheErrorsAsTheProgramPrintsThem) {
  const std::string fixture = std::string(CODEBOOK_FIXTURES_DIR) + "/fx06_weight_integer.sav";
  const RunResult result =
      RunSyntax("GET FILE='" + fixture + "'.\nCODEBOOK id.\nWEIGHT OFF.\nCODEBOOK id.\nCODEBOOK nosuch.\n", RunOptions{});
  EXPECT_FALSE(result.Ok());
  ASSERT_EQ(result.commands.size(), 2u);
  EXPECT_EQ(result.commands[0].model.file.weight, "w");
  EXPECT_EQ(result.commands[1].model.file.weight, "");
  EXPECT_NE(result.ErrorText().find("nosuch"), std::string::npos);
}

TEST(Render, EveryFormatOfAFileAndAClearErrorForAnUnknownOne) {
  const RunResult result = ReadFile(std::string(CODEBOOK_FIXTURES_DIR) + "/fx05_mrsets.sav", RunOptions{});
  ASSERT_FALSE(result.commands.empty()) << result.ErrorText();
  for (const std::string& format : FormatNames()) {
    std::string bytes;
    std::string error;
    EXPECT_TRUE(Render(result.commands[0], format, bytes, error)) << format << ": " << error;
    EXPECT_FALSE(bytes.empty()) << format;
  }
  std::string bytes;
  std::string error;
  EXPECT_FALSE(Render(result.commands[0], "docx", bytes, error));
  EXPECT_NE(error.find("docx"), std::string::npos);
  // The tables as frames: each row indexed by its groups' labels.
  const auto frames = FramesOf(*result.commands[0].document, 0, result.commands[0].document->Size());
  ASSERT_FALSE(frames.empty());
  for (const TableFrame& frame : frames) {
    EXPECT_EQ(frame.index.size(), frame.cells.size()) << frame.title;
    for (const auto& path : frame.index) EXPECT_EQ(path.size(), frame.levels) << frame.title;
    for (const auto& row : frame.cells) EXPECT_EQ(row.size(), frame.columns.size()) << frame.title;
  }
}

TEST(ReadFile, AnUnreadableFileIsAnErrorWithThePath) {
  const RunResult result = ReadFile("/nonexistent/absent.sav", RunOptions{});
  EXPECT_FALSE(result.Ok());
  EXPECT_TRUE(result.commands.empty());
  EXPECT_NE(result.ErrorText().find("absent.sav"), std::string::npos);
}

// $SOURCE_DATE_EPOCH makes outputs reproducible only when it is a whole
// number of seconds; anything else is ignored, as if it were not set.
TEST(Provenance, TheSourceDateEpochCountsOnlyAsAWholeNumber) {
  ::setenv("SOURCE_DATE_EPOCH", "1700000000", 1);
  EXPECT_EQ(ProductionTime(), 1700000000);
  EXPECT_EQ(ProductionDate(), "2023-11-14");
  for (const char* bad : {"1700000000x", "x", "17.5"}) {
    ::setenv("SOURCE_DATE_EPOCH", bad, 1);
    EXPECT_GT(ProductionTime(), 1700000000) << bad;
  }
  ::unsetenv("SOURCE_DATE_EPOCH");
}

}  // namespace
}  // namespace codebook::api
