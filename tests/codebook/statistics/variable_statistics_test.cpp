// The statistics pass: one table per entry, the early stop on MAXCATS, split
// groups, and the retrieval of counts and scale statistics.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>

#include "harness.h"
#include "statistics/variablestatistics.h"

namespace {

using cbtest::DatasetBuilder;
using codebook::data::Row;
using testing::ElementsAre;
using TableEncryptionCodes::StatisticCodes;

// The entries, their statistics lists and the pass over one dataset.
class Pass {
 public:
  Pass(std::shared_ptr<cbtest::Dataset> dataset, bool countsWanted = true) : dataset_(std::move(dataset)) {
    if (countsWanted) {
      categoryStatistics_.emplace_back(TableEncryptionCodes::kStatCount);
      categoryStatistics_.emplace_back(TableEncryptionCodes::kStatPercent);
    }
    scaleCodes_ = {TableEncryptionCodes::kStatValidCount, TableEncryptionCodes::kStatMissingCount,
                   TableEncryptionCodes::kStatMean, TableEncryptionCodes::kStatStdDev,
                   TableEncryptionCodes::kStatPercentile};
  }
  ~Pass() {
    statistics_.reset();
    for (const CBKVariable* entry : entries_) delete entry;
  }

  Pass& Variable(const std::string& name, CBKVariable::MEASUREMENT_LEVEL level, bool labeledOnly = false) {
    auto* resolver = new CBKVariableResolver;
    EXPECT_TRUE(resolver->resolveVariable(dataset_.get(), name));
    auto* entry = new CBKVariable(resolver, labeledOnly ? CBKVariable::kLabeledValuesOnly
                                                        : CBKVariable::kOrdinary);
    entry->setMeasurmentLevel(level);
    entry->SetLabeledValueOnly(labeledOnly);
    entries_.push_back(entry);
    return *this;
  }

  std::int64_t Run(int maxCategories) {
    iterator_.reset(dataset_->CreateCaseIterator(false));
    statistics_ = std::make_unique<VariableStatistics>(entries_, categoryStatistics_, scaleCodes_);
    statistics_->Init(dynamic_cast<ProcDSIterator*>(iterator_.get()), maxCategories);
    initialStatus_ = statistics_->GetVarStatus();
    return statistics_->PassingData(maxCategories);
  }

  VariableStatistics& statistics() { return *statistics_; }
  const std::vector<bool>& initialStatus() const { return initialStatus_; }

  // Counts per category of an entry, and its missing and total counts.
  std::vector<double> Counts(int entry, double* missing = nullptr, double* total = nullptr) {
    std::vector<double> counts, percents;
    std::vector<const OBS*> values;
    std::vector<std::string> labels;
    std::vector<int> members;
    double m = 0;
    const double t = statistics_->GetCatStatValues(entry, counts, percents, values, labels, members, m);
    if (missing) *missing = m;
    if (total) *total = t;
    return counts;
  }

 private:
  std::shared_ptr<cbtest::Dataset> dataset_;
  std::vector<AggregationStatistic> categoryStatistics_;
  std::vector<StatisticCodes> scaleCodes_;
  std::vector<const CBKVariable*> entries_;
  std::unique_ptr<VELA_InputCaseIterator> iterator_;
  std::unique_ptr<VariableStatistics> statistics_;
  std::vector<bool> initialStatus_;
};

std::shared_ptr<cbtest::Dataset> Column(const std::vector<double>& values, int labels = 0) {
  DatasetBuilder builder;
  builder.Numeric("x").Level(1);
  for (int i = 0; i < labels; ++i) builder.ValueLabel(i + 100.0, "label " + std::to_string(i));
  builder.Numeric("y").Level(3);
  for (double v : values) builder.Case({v, v * 2});
  return builder.Build();
}

TEST(EarlyStop, ManyDistinctValuesStopTheOnlyEntry) {
  Pass pass(Column({1, 2, 3, 4, 5, 6, 7, 8}));
  pass.Variable("x", CBKVariable::kCategorical);
  // The fourth case is added and makes four categories, over the limit of 3;
  // the fifth case, read next, finds no entry that wants it and ends the loop.
  EXPECT_EQ(pass.Run(3), 5);
  EXPECT_THAT(pass.statistics().GetVarStatus(), ElementsAre(false));
  EXPECT_EQ(pass.Counts(0).size(), 4u);
}

TEST(EarlyStop, FewDistinctValuesReadEverything) {
  Pass pass(Column({1, 2, 1, 2, 1, 2, 1, 2}));
  pass.Variable("x", CBKVariable::kCategorical);
  EXPECT_EQ(pass.Run(3), 8);
  EXPECT_THAT(pass.statistics().GetVarStatus(), ElementsAre(true));
  EXPECT_THAT(pass.Counts(0), ElementsAre(4, 4));
}

TEST(EarlyStop, AScaleEntryKeepsTheLoopGoing) {
  Pass pass(Column({1, 2, 3, 4, 5, 6, 7, 8}));
  pass.Variable("x", CBKVariable::kCategorical).Variable("y", CBKVariable::kScale);
  EXPECT_EQ(pass.Run(3), 8);
  EXPECT_THAT(pass.statistics().GetVarStatus(), ElementsAre(false, true));
  // The stopped entry got no case after its fourth.
  EXPECT_EQ(pass.Counts(0).size(), 4u);
  std::vector<double> stats;
  pass.statistics().GetContStats(1, stats);
  ASSERT_EQ(stats.size(), 7u);
  EXPECT_EQ(stats[0], 8);    // valid
  EXPECT_EQ(stats[2], 9.0);  // mean of 2..16
}

TEST(EarlyStop, TooManyValueLabelsStopAtInit) {
  Pass pass(Column({1, 2, 3}, 10));
  pass.Variable("x", CBKVariable::kCategorical).Variable("y", CBKVariable::kCategorical);
  EXPECT_EQ(pass.Run(5), 3);
  EXPECT_THAT(pass.initialStatus(), ElementsAre(false, true));
  // It got no case at all: its total is 0.
  double total = -1;
  EXPECT_TRUE(pass.Counts(0, nullptr, &total).empty());
  EXPECT_EQ(total, 0.0);
}

TEST(EarlyStop, OnlyStoppedEntriesEndTheLoopAfterTheFirstCase) {
  Pass pass(Column({1, 2, 3, 4}, 10));
  pass.Variable("x", CBKVariable::kCategorical);
  EXPECT_EQ(pass.Run(5), 1);
  EXPECT_EQ(pass.statistics().GetWeightedCaseCount(), -1.0);
}

TEST(EarlyStop, NoCategoryStatisticsMeansNoStatus) {
  Pass pass(Column({1, 2, 3}), /*countsWanted=*/false);
  pass.Variable("x", CBKVariable::kCategorical).Variable("y", CBKVariable::kScale);
  EXPECT_EQ(pass.Run(200), 3);
  EXPECT_THAT(pass.statistics().GetVarStatus(), ElementsAre(false, true));
  EXPECT_EQ(pass.statistics().GetWeightedCaseCount(), 3.0);
}

TEST(Pass, SplitGroupEndsAreNotCounted) {
  auto ds = DatasetBuilder()
                .Numeric("x").Level(3)
                .Cases({{1}, {2}})
                .SplitGroupEnd()
                .Cases({{3}})
                .SplitGroupEnd()
                .Build();
  Pass pass(ds);
  pass.Variable("x", CBKVariable::kScale);
  EXPECT_EQ(pass.Run(200), 3);
  std::vector<double> stats;
  pass.statistics().GetContStats(0, stats);
  EXPECT_EQ(stats[0], 3);
}

TEST(Retrieval, LabeledValuesOnlyListEveryLabelEvenWithoutCases) {
  auto ds = DatasetBuilder()
                .Numeric("x").Level(3).ValueLabel(1, "one").ValueLabel(9, "nine").ValueLabel(5, "five")
                .Cases({{1}, {2}, {9}, {9}})
                .Build();
  Pass pass(ds);
  pass.Variable("x", CBKVariable::kScale).Variable("x", CBKVariable::kCategorical, true);
  ASSERT_EQ(pass.Run(200), 4);
  std::vector<double> counts, percents;
  std::vector<const OBS*> values;
  std::vector<std::string> labels;
  std::vector<int> members;
  double missing = 0;
  pass.statistics().GetCatStatValues(1, counts, percents, values, labels, members, missing);
  ASSERT_EQ(values.size(), 3u);
  EXPECT_EQ(values[0]->d, 1);
  EXPECT_EQ(values[1]->d, 5);
  EXPECT_EQ(values[2]->d, 9);
  EXPECT_THAT(counts, ElementsAre(1, 0, 2));
  EXPECT_EQ(percents.size(), 3u);
  // A scale entry has no categories; a categorical one no scale statistics.
  std::vector<double> stats;
  pass.statistics().GetContStats(1, stats);
  EXPECT_TRUE(stats.empty());
  EXPECT_TRUE(pass.Counts(0).empty());
}

}  // namespace
