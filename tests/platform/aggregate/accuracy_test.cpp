// Mean and standard deviation of ten million values near 1e9 that differ by
// less than 1: naive sums of x and x^2 lose every digit of the spread here.
// The cases are generated on the fly by a case source, not stored.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "host/aggregate/aggregation_table.h"
#include "platform/data/case_source.h"
#include "platform/data/variable.h"
#include "table_harness.h"

namespace codebook::aggregate {
namespace {

constexpr std::int64_t kCases = 10'000'000;
constexpr std::int64_t kResidues = 100'003;  // a hundred thousand distinct values
constexpr double kBase = 1e9;

double ValueOf(std::int64_t i) {
  return kBase + static_cast<double>((i * 7919) % kResidues) / static_cast<double>(kResidues);
}
double WeightOf(std::int64_t i) { return static_cast<double>(1 + i % 3); }

class GeneratedCases final : public ProcDSIterator::Source {
 public:
  ~GeneratedCases() override { EndListening(); }
  int CellOffset(int index) const override { return index == 0 ? 0 : -1; }
  const VELA_Variable* GetVariable(int index) const override { return index == 0 ? &variable_ : nullptr; }

 protected:
  bool FillBatch(data::CaseBatch& batch) override {
    constexpr std::int64_t kBatch = 4096;
    batch.Shape(1, kBatch);
    const std::int64_t n = std::min(kBatch, kCases - next_);
    if (n == 0) return false;
    batch.Grow(static_cast<std::size_t>(n));
    batch.weights().resize(static_cast<std::size_t>(n));
    for (std::int64_t r = 0; r < n; ++r) {
      batch.Column(0)[r].d = ValueOf(next_ + r);
      batch.weights()[static_cast<std::size_t>(r)] = WeightOf(next_ + r);
    }
    next_ += n;
    return true;
  }

 private:
  data::Variable variable_{"x"};
  std::int64_t next_ = 0;
};

TEST(Accuracy, TenMillionValuesNearOneBillion) {
  // The exact answer: every value is 1e9 plus a multiple of 2^-23 (the
  // spacing of doubles there), so integer sums of those multiples are exact.
  __extension__ typedef __int128 Wide;
  Wide s0 = 0, s1 = 0, s2 = 0;
  for (std::int64_t i = 0; i < kCases; ++i) {
    const double offset = (ValueOf(i) - kBase) * 8388608.0;  // exact: Sterbenz, then a power of two
    const auto m = static_cast<Wide>(offset);
    ASSERT_EQ(static_cast<double>(m), offset);
    const auto w = static_cast<Wide>(WeightOf(i));
    s0 += w;
    s1 += w * m;
    s2 += w * m * m;
  }
  const long double scale = 8388608.0L;
  const long double mean = kBase + static_cast<long double>(s1) / static_cast<long double>(s0) / scale;
  const long double variance = static_cast<long double>(s0 * s2 - s1 * s1) /
                               (static_cast<long double>(s0) * static_cast<long double>(s0 - 1)) / (scale * scale);
  const double sd = static_cast<double>(std::sqrt(variance));

  ProcDSIterator cases(std::make_unique<GeneratedCases>());
  AggregationTable table(cases, false, true, -1);
  AggregationCube* cube = table.CreateCube();
  cube->CreateCubeAggregator();
  cube->AddScaleStatistics(testing::AllScaleStatistics(0));
  while (cases.NextCase()) table.AddNewCase();
  std::unique_ptr<CubeAggregator> aggregator(table.GetCubeAggregators().at(0));
  const StatValues* values = aggregator->GetStatValues({}, -1);
  ASSERT_NE(values, nullptr);

  EXPECT_EQ(values->GetStatValue(0).GetValue1(), static_cast<double>(s0));
  EXPECT_EQ(values->GetStatValue(1).GetValue1(), 0.0);
  // Within two units in the last place of a double near 1e9.
  EXPECT_NEAR(values->GetStatValue(2).GetValue1(), static_cast<double>(mean), 2.5e-7);
  EXPECT_NEAR(values->GetStatValue(3).GetValue1() / sd, 1.0, 1e-9);
  // The values are spread evenly over [1e9, 1e9 + 1): quartiles near 1/4 apart.
  EXPECT_NEAR(values->GetStatValue(4).GetValue1() - kBase, 0.25, 1e-3);
  EXPECT_NEAR(values->GetStatValue(5).GetValue1() - kBase, 0.50, 1e-3);
  EXPECT_NEAR(values->GetStatValue(6).GetValue1() - kBase, 0.75, 1e-3);
}

}  // namespace
}  // namespace codebook::aggregate
