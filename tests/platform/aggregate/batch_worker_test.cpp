// Scale tables hand their full batches to a second thread. Counted there
// or in place, every statistic must come out the same to the last bit,
// read at any point of the pass, and a table may go while the thread still
// counts its batch.
#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <vector>

#include "host/aggregate/aggregation_table.h"
#include "platform/aggregate/batch_worker.h"
#include "platform/aggregate/cell_values.h"
#include "platform/data/dataset_builder.h"
#include "table_harness.h"

namespace codebook::aggregate {
namespace {

using data::DatasetBuilder;
using testing::AllScaleStatistics;
using testing::ScaleResult;

constexpr int kVariables = 5;

// Recurring fractions, continuous values, codes that give way to other
// values in mid-pass, a user-missing value, and weights of every kind
// (fractional, zero, negative, missing), with system-missing values among
// the data.
std::shared_ptr<const data::Dataset> Mixed(int cases) {
  std::uint64_t state = 12345;
  auto next = [&] {
    state = state * 6364136223846793005u + 1442695040888963407u;
    return static_cast<double>(state >> 11) / 9007199254740992.0;
  };
  std::vector<data::Row> rows;
  for (int c = 0; c < cases; ++c) {
    const double u = next();
    const double recurring = c % 97 == 0 ? kSysmis : 0.5 * (c * 31 % 300);
    const double continuous = c % 89 == 0 ? kSysmis : 1e6 * u - 3e5;
    const double coded = c < 2500 || c % 4 == 0 ? c % 6 : 10.25 + c % 50;
    const double missingAmong = c % 13 == 0 ? 7.5 : (c * 7 % 40) * 0.25;
    const double ordered = c * 0.001;
    const double weight = c % 50 == 0 ? 0.0 : c % 71 == 0 ? -1.0 : c % 83 == 0 ? kSysmis : 0.25 + (c % 7) * 0.5;
    rows.push_back({recurring, continuous, coded, missingAmong, ordered, weight});
  }
  DatasetBuilder builder;
  builder.Numeric("recurring").Numeric("continuous").Numeric("coded");
  builder.Numeric("missing_among").MissingDiscrete({7.5}).Numeric("ordered");
  return builder.Numeric("w").Weight("w").Cases(std::move(rows)).Build();
}

struct Result : ScaleResult {
  double total;  // W, the weight of every case passed
};

struct Readings {
  std::vector<Result> middle;
  std::vector<Result> end;
};

Result Read(CubeAggregator& aggregator) {
  const StatValues* values = aggregator.GetStatValues({}, -1);
  EXPECT_NE(values, nullptr);
  if (values == nullptr) return {};
  auto at = [&](int j) { return values->GetStatValue(j).GetValue1(); };
  return {{at(0), at(1), at(2), at(3), at(4), at(5), at(6)}, at(7)};
}

// One table per variable; results read after `middle` cases (the tables
// then deleted at once when `dropAtMiddle`) and at the end.
Readings Pass(bool onWorker, int cases, int middle, bool dropAtMiddle) {
  CountBatchesOnWorker(onWorker);
  auto dataset = Mixed(cases);
  data::SelectionOptions options;
  auto selection = std::make_shared<ProcedureDataSource::Selection>(dataset, options);
  auto iterator = selection->CreateIterator();
  std::vector<std::unique_ptr<AggregationTable>> tables;
  for (int v = 0; v < kVariables; ++v) {
    tables.push_back(std::make_unique<AggregationTable>(*iterator, false, true, -1));
    AggregationCube* cube = tables.back()->CreateCube();
    cube->CreateCubeAggregator();
    auto statistics = AllScaleStatistics(v);
    statistics.emplace_back(v, TableEncryptionCodes::kStatTotalCount);
    cube->AddScaleStatistics(statistics);
  }
  Readings run;
  std::vector<std::unique_ptr<CubeAggregator>> kept;
  int seen = 0;
  while (iterator->NextCase() != 0) {
    for (auto& table : tables) table->AddNewCase();
    if (++seen != middle) continue;
    for (auto& table : tables) kept.emplace_back(table->GetCubeAggregators().at(0));
    if (dropAtMiddle) {
      tables.clear();  // batches may still be with the worker
      break;
    }
    for (auto& aggregator : kept) run.middle.push_back(Read(*aggregator));
  }
  if (dropAtMiddle) {
    for (auto& aggregator : kept) run.middle.push_back(Read(*aggregator));
  } else {
    for (auto& table : tables) {
      std::unique_ptr<CubeAggregator> aggregator(table->GetCubeAggregators().at(0));
      run.end.push_back(Read(*aggregator));
    }
  }
  tables.clear();
  CountBatchesOnWorker(true);
  return run;
}

void ExpectSame(const std::vector<Result>& a, const std::vector<Result>& b) {
  ASSERT_EQ(a.size(), b.size());
  for (std::size_t v = 0; v < a.size(); ++v) {
    EXPECT_EQ(a[v].valid, b[v].valid) << v;
    EXPECT_EQ(a[v].missing, b[v].missing) << v;
    EXPECT_EQ(a[v].mean, b[v].mean) << v;
    EXPECT_EQ(a[v].sd, b[v].sd) << v;
    EXPECT_EQ(a[v].p25, b[v].p25) << v;
    EXPECT_EQ(a[v].p50, b[v].p50) << v;
    EXPECT_EQ(a[v].p75, b[v].p75) << v;
    EXPECT_EQ(a[v].total, b[v].total) << v;
  }
}

TEST(BatchWorker, CountsExactlyAsInPlaceReadMidPassAndAtTheEnd) {
  // The middle falls inside a batch, while the one before is with the worker.
  const Readings inPlace = Pass(false, 20000, 9000, false);
  const Readings onWorker = Pass(true, 20000, 9000, false);
  ExpectSame(inPlace.middle, onWorker.middle);
  ExpectSame(inPlace.end, onWorker.end);
  // Not a comparison of two empty answers: the cases reached the tables.
  ASSERT_EQ(onWorker.end.size(), static_cast<std::size_t>(kVariables));
  EXPECT_GT(onWorker.end[1].valid, 10000);
  EXPECT_GT(onWorker.end[3].missing, 1000);
  EXPECT_GT(onWorker.end[2].p75, 10.0);  // the values after the codes counted
}

TEST(BatchWorker, TablesDeletedWhileTheirBatchIsCounted) {
  // Just after a hand-over (the 1,025th value of a batch), and much later.
  for (const int middle : {1025, 2050, 15000}) {
    const Readings inPlace = Pass(false, 20000, middle, true);
    const Readings onWorker = Pass(true, 20000, middle, true);
    ExpectSame(inPlace.middle, onWorker.middle);
    EXPECT_GT(onWorker.middle.at(0).valid, 0.0) << middle;
  }
}

}  // namespace
}  // namespace codebook::aggregate
