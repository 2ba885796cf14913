// The procedure's entry: its gates, the damaged-data path, and the shared
// library's single exported symbol.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <string>
#include <thread>

#include "codebook.h"
#include "harness.h"
#include "platform/aggregate/distribution_sink.h"
#include "platform/data/active_dataset.h"
#include "platform/session/procedure_context.h"
#include "platform/data/case_stream.h"
#include "platform/data/data_error.h"
#include "platform/output/current_output.h"

namespace {

using codebook::data::CaseStream;
using codebook::data::DataError;
using codebook::data::Dataset;
using codebook::data::Dictionary;
using codebook::data::Variable;

// Delivers `good` cases of one cell each, then fails as a truncated file does.
class FailingStream : public CaseStream {
 public:
  explicit FailingStream(int good) : good_(good) {}
  const OBS* Next() override {
    if (delivered_ == good_) throw DataError("broken.sav", delivered_ + 1, "file ends inside a case");
    cell_.d = ++delivered_;
    return &cell_;
  }

 private:
  int good_;
  int delivered_ = 0;
  OBS cell_{};
};

std::shared_ptr<Dataset> Failing(int good) {
  Dictionary dictionary;
  dictionary.AddVariable(std::make_unique<Variable>("x"));
  dictionary.MutableVariable(0).SetMeasurementLevel(1);
  return std::make_shared<Dataset>(std::move(dictionary), 100,
                                   [good] { return std::make_unique<FailingStream>(good); });
}

// Runs the entry with a dataset active and a command current, collecting
// messages and output.
struct EntryRun {
  codebook::syntax::MessageCollector messages;
  std::shared_ptr<codebook::output::Document> document = std::make_shared<codebook::output::Document>();

  void Run(const std::shared_ptr<Dataset>& dataset, const std::string& command) {
    codebook::session::ProcedureParts parts;
    parts.command = cbtest::CommandOf(command);
    parts.messages = &messages;
    parts.selection = dataset ? std::make_shared<const ProcedureDataSource::Selection>(dataset) : nullptr;
    parts.document = document;
    const codebook::session::ProcedureContext context(std::move(parts));
    codebook_(12345);
  }
};

TEST(Entry, DamagedDataPassesTheHostErrorThroughWithNoTables) {
  EntryRun run;
  try {
    run.Run(Failing(50), "CODEBOOK x /FILEINFO NAME.");
    FAIL() << "the data error should reach the caller";
  } catch (const DataError& error) {
    EXPECT_EQ(error.CaseNumber(), 51);
  }
  EXPECT_EQ(run.document->Size(), 0u);
}

TEST(Entry, FailedParseAndEmptyDatasetShowNothing) {
  EntryRun failed;
  failed.Run(cbtest::DatasetBuilder().Numeric("x").Cases({{1}}).Build(), "CODEBOOK nosuch.");
  EXPECT_EQ(failed.document->Size(), 0u);
  EXPECT_EQ(failed.messages.errorCount(), 1u);

  // No variables: a valid command, no output and no message of the entry's own.
  EntryRun empty;
  empty.Run(cbtest::DatasetBuilder().Build(), "CODEBOOK.");
  EXPECT_EQ(empty.document->Size(), 0u);
  EXPECT_TRUE(empty.messages.messages().empty());

  // No active dataset at all: the data source is in a fatal state.
  EntryRun none;
  none.Run(nullptr, "CODEBOOK.");
  EXPECT_EQ(none.document->Size(), 0u);
}

// A run owns its slots for its scope: runs on two threads at once each see
// their own dataset, messages and document, and the slots are back as they
// were afterwards.
TEST(Entry, RunsOnTwoThreadsAtOnceKeepToThemselves) {
  const auto one = cbtest::DatasetBuilder().Numeric("x").Level(1).Cases({{1}, {2}}).Build();
  const auto two = cbtest::DatasetBuilder().Numeric("y").Level(1).Numeric("z").Level(1).Cases({{1, 2}}).Build();
  for (int round = 0; round < 20; ++round) {
    EntryRun a;
    EntryRun b;
    std::thread first([&] { a.Run(one, "CODEBOOK x."); });
    std::thread second([&] { b.Run(two, "CODEBOOK nosuch."); });
    first.join();
    second.join();
    EXPECT_EQ(a.document->Size(), 1u);
    EXPECT_TRUE(a.messages.messages().empty());
    EXPECT_EQ(b.document->Size(), 0u);
    EXPECT_EQ(b.messages.errorCount(), 1u);
  }
  EXPECT_EQ(codebook::data::ActiveSelection(), nullptr);
  EXPECT_EQ(codebook::syntax::GetMessageSink(), nullptr);
  EXPECT_EQ(codebook::syntax::GetCurrentCommand(), nullptr);
}

// What a run is not given it leaves alone: a distribution sink set around
// several runs is still there after each.
TEST(Entry, ARunLeavesTheDistributionSinkItWasNotGiven) {
  struct Sink final : codebook::aggregate::DistributionSink {
    void Distribution(int, std::span<const codebook::aggregate::WeightedValue>) override {}
  } outer;
  codebook::aggregate::SetDistributionSink(&outer);
  EntryRun run;
  run.Run(cbtest::DatasetBuilder().Numeric("x").Level(3).Cases({{1}, {2}}).Build(), "CODEBOOK x.");
  EXPECT_EQ(run.document->Size(), 1u);
  EXPECT_EQ(codebook::aggregate::GetDistributionSink(), &outer);
  codebook::aggregate::SetDistributionSink(nullptr);
}

TEST(SharedLibrary, ExportsExactlyTheEntry) {
  const std::string command =
      std::string("nm -D --defined-only ") + CODEBOOK_BINARY_DIR + "/lib/libcodebook.so";
  FILE* pipe = popen(command.c_str(), "r");
  ASSERT_NE(pipe, nullptr);
  std::vector<std::string> symbols;
  char line[512];
  while (std::fgets(line, sizeof line, pipe) != nullptr) {
    std::string text(line);
    const std::size_t space = text.find_last_of(' ');
    std::string name = text.substr(space + 1);
    while (!name.empty() && (name.back() == '\n' || name.back() == '\r')) name.pop_back();
    symbols.push_back(name);
  }
  ASSERT_EQ(pclose(pipe), 0) << command;
  EXPECT_THAT(symbols, testing::ElementsAre("codebook_"));
}

}  // namespace
