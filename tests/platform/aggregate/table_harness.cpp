#include "table_harness.h"

#include <gtest/gtest.h>

#include <cstring>

#include "platform/aggregate/cell_values.h"

namespace codebook::aggregate::testing {

using namespace TableEncryptionCodes;

std::vector<AggregationStatistic> AllScaleStatistics(int varIndex) {
  std::vector<AggregationStatistic> out;
  for (StatisticCodes code : {kStatValidCount, kStatMissingCount, kStatMean, kStatStdDev}) {
    out.emplace_back(varIndex, code);
  }
  for (double cut : {25.0, 50.0, 75.0}) {
    out.emplace_back(varIndex, kStatPercentile);
    out.back().SetPTileCutPoint(cut);
  }
  return out;
}

TableHarness::TableHarness(std::shared_ptr<const data::Dataset> dataset, bool weighted) {
  data::SelectionOptions options;
  if (!weighted) options.weightIndex = -1;
  selection_ = std::make_shared<ProcedureDataSource::Selection>(std::move(dataset), options);
  iterator_ = selection_->CreateIterator();
}

TableHarness::~TableHarness() {
  // The procedure's order: each table, then its aggregator.
  for (auto& t : tables_) t.reset();
  aggregators_.clear();
}

int TableHarness::AddCategorical(AggregationVariable* dimension) {
  auto table = std::make_unique<AggregationTable>(*iterator_, false, true, -1);
  AggregationCube* cube = table->CreateCube();
  dimension->SetIsTotalNo(false);
  dimension->SetExcludeUserMissing(false);
  cube->AddCategoricalVariable(dimension, kDimensionRow);
  cube->CreateCubeAggregator();
  cube->AddCategoryAndTotalStatistics({AggregationStatistic(kStatCount), AggregationStatistic(kStatPercent)},
                                      dimension,
                                      {AggregationStatistic(kStatMissingCount), AggregationStatistic(kStatTotalCount)});
  tables_.push_back(std::move(table));
  dimensions_.push_back(dimension);
  return static_cast<int>(tables_.size()) - 1;
}

int TableHarness::AddScale(int varIndex) {
  auto table = std::make_unique<AggregationTable>(*iterator_, false, true, -1);
  AggregationCube* cube = table->CreateCube();
  cube->CreateCubeAggregator();
  cube->AddScaleStatistics(AllScaleStatistics(varIndex));
  tables_.push_back(std::move(table));
  dimensions_.push_back(nullptr);
  return static_cast<int>(tables_.size()) - 1;
}

void TableHarness::Run() {
  while (iterator_->NextCase()) {
    if (iterator_->SplitGroupEnd()) continue;
    for (auto& t : tables_) t->AddNewCase();
  }
  Collect();
}

void TableHarness::Collect() {
  for (auto& t : tables_) {
    auto aggregators = t->GetCubeAggregators();
    EXPECT_EQ(aggregators.size(), 1u);
    aggregators_.emplace_back(aggregators.at(0));
  }
}

CategoricalResult TableHarness::Categorical(int i) {
  CategoricalResult result;
  const auto index = static_cast<std::size_t>(i);
  result.dimension = dimensions_.at(index)->GetDimension();
  EXPECT_EQ(result.dimension, tables_.at(index)->GetTableMetaData()->GetDimension(0));
  const auto& categories = result.dimension->GetCategories();
  EXPECT_FALSE(categories.empty());
  for (std::size_t k = 0; k < categories.size(); ++k) {
    const StatValues* values = aggregators_.at(index)->GetStatValues({categories[k]}, -1);
    const bool last = k + 1 == categories.size();
    CategoryRow row{categories[k], 0, 0};
    if (values != nullptr) {
      for (int j = 0; j < values->NumOfValues(); ++j) {
        const double v = values->GetStatValue(j).GetValue1();
        switch (values->GetCellStatistic().GetStatistic(j)) {
          case kStatCount: row.count = v; break;
          case kStatPercent: row.percent = v; break;
          case kStatMissingCount: result.missing = v; break;
          case kStatTotalCount: if (last) result.total = v; break;
          default: break;
        }
      }
    }
    if (!last) result.rows.push_back(row);
  }
  EXPECT_EQ(result.rows.size(), result.dimension->GetCategoryCount());
  return result;
}

ScaleResult TableHarness::Scale(int i) {
  const StatValues* values = aggregators_.at(static_cast<std::size_t>(i))->GetStatValues({}, -1);
  EXPECT_NE(values, nullptr);
  EXPECT_EQ(values->NumOfValues(), 7);
  auto at = [&](int j) { return values->GetStatValue(j).GetValue1(); };
  return {at(0), at(1), at(2), at(3), at(4), at(5), at(6)};
}

std::vector<double> CategoricalResult::Counts() const {
  std::vector<double> out;
  for (const auto& r : rows) out.push_back(r.count);
  return out;
}

std::vector<double> CategoricalResult::NumericValues() const {
  std::vector<double> out;
  for (const auto& r : rows) out.push_back(r.category->GetCatValue()->d);
  return out;
}

std::vector<std::string> CategoricalResult::StringValues(std::size_t width) const {
  std::vector<std::string> out;
  for (const auto& r : rows) out.emplace_back(TrimmedString(r.category->GetCatValue(), width));
  return out;
}

}  // namespace codebook::aggregate::testing
