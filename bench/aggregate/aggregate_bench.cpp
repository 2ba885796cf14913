// The statistics pass of a wide dataset: 1,000,000 cases x 100 variables
// (70 categorical codes, 20 scale with at most 1,000 distinct values, 5
// continuous all-distinct, 5 strings of width 16 with ~200 distinct values)
// and a weight, streamed from a generator, one table per variable as the
// procedure builds them. Prints "name: value unit" lines.
//
//   aggregate_bench [cases] [categorical|scale|continuous|strings]
//
// The optional kind keeps only that kind's tables, to see what each costs.
// Without a kind, or with `continuous`, it also times the sorted runs that
// keep a continuous variable's distinct values, alone, over as many values
// in random order (all distinct, and with repeats).
#include <sys/resource.h>
#include <time.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "host/aggregate/aggregation_table.h"
#include "platform/aggregate/sorted_runs.h"
#include "platform/data/case_source.h"
#include "platform/data/variable.h"

namespace {

using Clock = std::chrono::steady_clock;

// Processor time of the process: on a shared machine the wall clock also
// counts the time other programs had the core.
double CpuSeconds() {
  timespec t{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
  return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_nsec) * 1e-9;
}

struct Timing {
  double wall = 1e300;
  double cpu = 1e300;
};
using namespace TableEncryptionCodes;

constexpr int kCategorical = 70;
constexpr int kScale = 20;
constexpr int kContinuous = 5;
constexpr int kStrings = 5;
constexpr int kStringWidth = 16;
constexpr int kVariables = kCategorical + kScale + kContinuous + kStrings + 1;  // + weight
constexpr int kPoolRows = 4096;  // rows cycled for the columns with few distinct values

std::uint64_t XorShift(std::uint64_t& state) {
  state ^= state << 13;
  state ^= state >> 7;
  state ^= state << 17;
  return state;
}

// Cases made up on the fly: the columns with few distinct values cycle
// through a pool of rows; the continuous columns are new in every case.
class GeneratedCases final : public ProcDSIterator::Source {
 public:
  explicit GeneratedCases(std::int64_t cases) : cases_(cases) {
    int offset = 0;
    for (int v = 0; v < kVariables; ++v) {
      const bool isString = v >= kCategorical + kScale + kContinuous && v < kVariables - 1;
      variables_.push_back(isString ? std::make_unique<codebook::data::Variable>("s" + std::to_string(v), kStringWidth)
                                    : std::make_unique<codebook::data::Variable>("v" + std::to_string(v)));
      offsets_.push_back(offset);
      offset += isString ? kStringWidth / 8 : 1;
    }
    cellsPerCase_ = offset;
    pool_.resize(static_cast<std::size_t>(kPoolRows * cellsPerCase_));
    std::uint64_t state = 88172645463325252ULL;
    for (int r = 0; r < kPoolRows; ++r) {
      OBS* row = &pool_[static_cast<std::size_t>(r * cellsPerCase_)];
      for (int v = 0; v < kVariables; ++v) {
        OBS* cell = row + offsets_[static_cast<std::size_t>(v)];
        const std::uint64_t x = XorShift(state);
        if (v < kCategorical) {
          cell->d = static_cast<double>(1 + x % 12);
        } else if (v < kCategorical + kScale) {
          cell->d = x % 50 == 0 ? kSysmis : static_cast<double>(x % 1000) * 0.25 + 18;
        } else if (v < kCategorical + kScale + kContinuous) {
          cell->d = 0;  // filled per case
        } else if (v < kVariables - 1) {
          char text[kStringWidth + 1];
          std::snprintf(text, sizeof text, "item %-11d", static_cast<int>(x % 200));
          std::memcpy(cell, text, kStringWidth);
        } else {
          cell->d = x % 100 == 0 ? 0.0 : 0.5 + static_cast<double>(x % 1000) / 1000.0;
        }
      }
    }
  }

  ~GeneratedCases() override { EndListening(); }

 protected:
  bool FillBatch(codebook::data::CaseBatch& batch) override {
    batch.Shape(static_cast<std::size_t>(cellsPerCase_), codebook::data::CasesPerBatch(static_cast<std::size_t>(cellsPerCase_)));
    if (next_ == cases_) return false;
    bool all = true;
    while (!batch.full() && next_ < cases_) {
      OBS* row = &pool_[static_cast<std::size_t>((next_ % kPoolRows) * cellsPerCase_)];
      for (int c = 0; c < kContinuous; ++c) {
        row[offsets_[kCategorical + kScale + c]].d = static_cast<double>(next_) * 1.0000001 + c * 0.1;
      }
      const double weight = row[offsets_[kVariables - 1]].d;
      if (weight > 0) batch.counted().push_back(static_cast<std::uint32_t>(batch.size()));
      all = all && weight > 0;
      batch.weights().push_back(weight);
      batch.AppendCase(row);
      ++next_;
    }
    batch.SetAllCounted(all);
    if (all) batch.counted().clear();
    return true;
  }

 public:
  int CellOffset(int index) const override {
    return index >= 0 && index < kVariables ? offsets_[static_cast<std::size_t>(index)] : -1;
  }
  const VELA_Variable* GetVariable(int index) const override {
    return index >= 0 && index < kVariables ? variables_[static_cast<std::size_t>(index)].get() : nullptr;
  }

 private:
  std::int64_t cases_;
  std::int64_t next_ = 0;
  int cellsPerCase_ = 0;
  std::vector<std::unique_ptr<codebook::data::Variable>> variables_;
  std::vector<int> offsets_;
  std::vector<OBS> pool_;
};

std::vector<AggregationStatistic> ScaleStatistics(int v) {
  std::vector<AggregationStatistic> out;
  for (StatisticCodes code : {kStatValidCount, kStatMissingCount, kStatMean, kStatStdDev}) out.emplace_back(v, code);
  for (double cut : {25.0, 50.0, 75.0}) {
    out.emplace_back(v, kStatPercentile);
    out.back().SetPTileCutPoint(cut);
  }
  return out;
}

bool IsCategorical(int v) {
  return v < kCategorical || (v >= kCategorical + kScale + kContinuous && v < kVariables - 1);
}

const char* KindOf(int v) {
  if (v < kCategorical) return "categorical";
  if (v < kCategorical + kScale) return "scale";
  if (v < kCategorical + kScale + kContinuous) return "continuous";
  return v < kVariables - 1 ? "strings" : "weight";
}

// One pass; with tables false only the cases are generated (the baseline).
// `only` names one kind of variable to make tables for (all when empty).
Timing Pass(std::int64_t cases, bool tables, const std::string& only, double* checksum) {
  ProcDSIterator iterator(std::make_unique<GeneratedCases>(cases));
  std::vector<std::unique_ptr<AggregationTable>> all;
  std::vector<AggregationVariable*> dimensions;
  if (tables) {
    for (int v = 0; v < kVariables; ++v) {
      if (!only.empty() && KindOf(v) != only) continue;
      auto table = std::make_unique<AggregationTable>(iterator, false, true, -1);
      AggregationCube* cube = table->CreateCube();
      if (IsCategorical(v)) {
        auto* dimension = new AggregationVariable(v, "v");
        dimension->SetIsTotalNo(false);
        dimension->SetExcludeUserMissing(false);
        cube->AddCategoricalVariable(dimension, kDimensionRow);
        cube->CreateCubeAggregator();
        cube->AddCategoryAndTotalStatistics({AggregationStatistic(kStatCount), AggregationStatistic(kStatPercent)},
                                            dimension,
                                            {AggregationStatistic(kStatMissingCount), AggregationStatistic(kStatTotalCount)});
        dimensions.push_back(dimension);
      } else {
        cube->CreateCubeAggregator();
        cube->AddScaleStatistics(ScaleStatistics(v));
        dimensions.push_back(nullptr);
      }
      all.push_back(std::move(table));
    }
  }
  const Clock::time_point start = Clock::now();
  const double cpuStart = CpuSeconds();
  double sum = 0;
  while (iterator.NextCase()) {
    for (auto& t : all) t->AddNewCase();
    sum += iterator.CaseWeight();
  }
  // Results are part of the pass: the scale tables sort their values here.
  for (std::size_t i = 0; i < all.size(); ++i) {
    std::unique_ptr<CubeAggregator> aggregator(all[i]->GetCubeAggregators().at(0));
    if (dimensions[i] == nullptr) {
      const StatValues* values = aggregator->GetStatValues({}, -1);
      for (int j = 0; j < values->NumOfValues(); ++j) sum += values->GetStatValue(j).GetValue1();
    } else {
      for (const AggregationCategory* c : dimensions[i]->GetDimension()->GetCategories()) {
        const StatValues* values = aggregator->GetStatValues({c}, -1);
        if (values != nullptr) sum += values->GetStatValue(0).GetValue1();
      }
    }
  }
  Timing timing;
  timing.wall = std::chrono::duration<double>(Clock::now() - start).count();
  timing.cpu = CpuSeconds() - cpuStart;
  *checksum += sum;
  return timing;
}

// Values in random order, as a continuous variable brings them when the
// cases are not sorted by it: the bench's own continuous columns arrive in
// order and take the runs' shortcut for ordered data. With `repeats` the
// values have two decimals in [0, 1000), so most come back several times.
std::vector<double> RandomValues(std::int64_t count, bool repeats) {
  std::vector<double> values(static_cast<std::size_t>(count));
  std::uint64_t state = 2463534242ULL;
  for (double& v : values) {
    const double unit = static_cast<double>(XorShift(state) >> 11) * 0x1p-53;
    v = repeats ? static_cast<double>(static_cast<std::int64_t>(unit * 100000)) / 100 : unit * 1000;
  }
  return values;
}

// Adding every value to new sorted runs and reading them back sorted, best
// of 3 in processor time, per value. Each round starts from nothing, as a
// table does, so the pages its buffers first touch are part of the figure.
double SortedRunsTime(const std::vector<double>& values, double* checksum) {
  double best = 1e300;
  for (int round = 0; round < 3; ++round) {
    const double start = CpuSeconds();
    codebook::aggregate::SortedRuns runs({});
    for (std::size_t i = 0; i < values.size(); ++i) runs.Add(values[i], 0.5 + static_cast<double>(i % 1000) / 1000.0);
    const auto sorted = runs.Sorted();
    best = std::min(best, CpuSeconds() - start);
    *checksum += static_cast<double>(sorted.size()) + sorted.front().weight;
  }
  return best * 1e9 / static_cast<double>(values.size());
}

void Print(const char* name, double value, const char* unit) { std::printf("%s: %.1f %s\n", name, value, unit); }

}  // namespace

int main(int argc, char** argv) {
  const std::int64_t cases = argc > 1 ? std::atoll(argv[1]) : 1'000'000;
  const std::string only = argc > 2 ? argv[2] : "";
  if (cases <= 0 || !(only.empty() || only == "categorical" || only == "scale" || only == "continuous" ||
                      only == "strings")) {
    std::fprintf(stderr, "usage: aggregate_bench [cases] [categorical|scale|continuous|strings]\n");
    return 2;
  }
  double checksum = 0;
  Timing baseline;
  for (int round = 0; round < 3; ++round) {
    const Timing t = Pass(cases, false, only, &checksum);
    baseline.wall = std::min(baseline.wall, t.wall);
    baseline.cpu = std::min(baseline.cpu, t.cpu);
  }
  Timing full;
  for (int round = 0; round < 2; ++round) {
    const Timing t = Pass(cases, true, only, &checksum);
    full.wall = std::min(full.wall, t.wall);
    full.cpu = std::min(full.cpu, t.cpu);
  }
  struct rusage usage {};
  getrusage(RUSAGE_SELF, &usage);
  const double perCase = 1e9 / static_cast<double>(cases);
  Print("aggregate_generator_only", baseline.cpu * perCase, "ns/case");
  Print("aggregate_pass_100_variables", full.cpu * perCase, "ns/case");
  Print("aggregate_pass_100_variables_wall", full.wall * perCase, "ns/case");
  Print("aggregate_tables_only", (full.cpu - baseline.cpu) * perCase, "ns/case");
  int tables = 0;
  for (int v = 0; v < kVariables; ++v) tables += only.empty() || only == KindOf(v) ? 1 : 0;
  Print("aggregate_per_table_case", (full.cpu - baseline.cpu) * perCase / tables, "ns/table-case");
  Print("aggregate_peak_rss", static_cast<double>(usage.ru_maxrss) / 1024.0, "MB");
  if (only.empty() || only == "continuous") {
    Print("sorted_runs_random", SortedRunsTime(RandomValues(cases, false), &checksum), "ns/value");
    Print("sorted_runs_repeating", SortedRunsTime(RandomValues(cases, true), &checksum), "ns/value");
  }
  std::fprintf(stderr, "checksum %g\n", checksum);
  return 0;
}
