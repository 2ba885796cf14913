#include "statistics/variablestatistics.h"

#include "host/data/value_labels.h"

using TableEncryptionCodes::StatisticCodes;

VariableStatistics::VariableStatistics(const std::vector<const CBKVariable*>& variables,
                                       const std::vector<AggregationStatistic>& categoryStatistics,
                                       const std::vector<StatisticCodes>& scaleStatisticCodes)
    : variables(variables),
      categoryStatistics(categoryStatistics),
      scaleStatisticCodes(scaleStatisticCodes) {}

VariableStatistics::~VariableStatistics() {
  // An empty dataset collects no aggregators, so there may be fewer of them
  // than tables.
  for (std::size_t i = 0; i < tables.size(); ++i) {
    delete tables[i];
    tables[i] = nullptr;
    if (i < cubeAggregators.size()) {
      delete cubeAggregators[i];
      cubeAggregators[i] = nullptr;
    }
  }
  ClearParsedCategory();
}

bool VariableStatistics::Init(ProcDSIterator* iterator, int maxCategories) {
  this->iterator = iterator;
  const std::size_t n = variables.size();
  tables.assign(n, nullptr);
  aggregationVariables.assign(n, nullptr);
  status.assign(n, false);
  if (iterator == nullptr) return true;

  for (std::size_t i = 0; i < n; ++i) {
    auto* table = new AggregationTable(*iterator, false, true, -1);
    tables[i] = table;
    AggregationCube* cube = table->CreateCube();
    const CBKVariable* entry = variables[i];
    const CBKVariableResolver* resolver = entry != nullptr ? entry->getVariableResolver() : nullptr;
    if (resolver == nullptr) continue;

    const int index = resolver->getVariableIndex();
    const std::string name = entry->GetVariableName();
    const bool scale = entry->getMeasurmentLevel() == CBKVariable::kScale;
    const int type = resolver->getVariableType();
    // Only variables can be scale entries; an unresolved item, or a set
    // described as scale, has nothing to aggregate.
    if (type == 0 || (scale && type != 1)) continue;

    AggregationVariable* object = nullptr;
    if (!scale) {
      if (type == 1) {
        object = new AggregationVariable(index, name);
        const VELA_Variable* variable = resolver->getVELAVariable();
        if (entry->GetLabeledValueOnly() && variable != nullptr) {
          VELA_ValueLabelMap labels(variable->GetValueLabels());
          if (labels.Size() > 0) {
            std::vector<ParsedCategory*> categories;
            labels.Reset();
            const OBS* value = nullptr;
            const char* label = nullptr;
            while (labels.GetNextPair(value, label) != 0) {
              categories.push_back(new ParsedCategory(*value, 0));
            }
            object->SetCategories(std::move(categories));
          }
        }
      } else if (type == 2) {
        object = new AggregationMCSet(resolver->getVariableIndexList(), name);
      } else {
        int countedLength = 0;
        const OBS* counted = resolver->getCountedValue(countedLength);
        object = new AggregationMDSet(resolver->getVariableIndexList(), name, counted, countedLength,
                                      false);
      }
      object->SetIsTotalNo(false);
      object->SetExcludeUserMissing(false);
      cube->AddCategoricalVariable(object, TableEncryptionCodes::kDimensionRow);
      aggregationVariables[i] = object;
    }

    cube->CreateCubeAggregator();

    if (scale) {
      std::vector<AggregationStatistic> statistics;
      BuildScaleStatList(statistics, index);
      cube->AddScaleStatistics(statistics);
      status[i] = true;
    } else if (categoryStatistics.empty()) {
      status[i] = false;
    } else {
      const std::vector<AggregationStatistic> total = {
          AggregationStatistic(TableEncryptionCodes::kStatMissingCount),
          AggregationStatistic(TableEncryptionCodes::kStatTotalCount)};
      cube->AddCategoryAndTotalStatistics(categoryStatistics, object, total);
      // A first guess from the value labels; the pass corrects it from the
      // categories actually met.
      status[i] = resolver->GetLabeledValueLabelSetSize() <= maxCategories;
    }
  }
  return true;
}

std::int64_t VariableStatistics::PassingData(int maxCategories) {
  if (iterator == nullptr) return 0;
  std::int64_t c = 0;
  const std::int64_t max = maxCategories;
  bool more = true;
  int hasCase = iterator->NextCase();
  while (hasCase != 0 && more) {
    if (iterator->SplitGroupEnd()) {
      hasCase = iterator->NextCase();
      continue;
    }
    more = false;
    for (std::size_t i = 0; i < tables.size(); ++i) {
      if (aggregationVariables[i] == nullptr) {
        tables[i]->AddNewCase();
        more = true;
        continue;
      }
      if (status[i] && c <= max) {
        tables[i]->AddNewCase();
        more = true;
      }
      const std::int64_t k = c + (more ? 1 : 0);
      // No entry can have more categories than cases, so the count is asked
      // only once more cases than the limit have been seen.
      if (status[i] && k > max) {
        const TableDimension* dimension = tables[i]->GetTableMetaData()->GetDimension(0);
        const auto m = static_cast<std::int64_t>(dimension ? dimension->GetCategoryCount() : 0);
        if (m > max) {
          status[i] = false;
        } else {
          more = true;
          if (c != max) tables[i]->AddNewCase();
        }
      }
    }
    ++c;
    hasCase = iterator->NextCase();
  }
  if (c == 0) return 0;
  for (AggregationTable* table : tables) {
    const std::vector<CubeAggregator*> aggregators = table->GetCubeAggregators();
    cubeAggregators.push_back(aggregators.empty() ? nullptr : aggregators.front());
  }
  return c;
}

void VariableStatistics::BuildScaleStatList(std::vector<AggregationStatistic>& out, int variableIndex) {
  for (StatisticCodes code : scaleStatisticCodes) {
    if (code == TableEncryptionCodes::kStatPercentile) {
      for (double cut : {25.0, 50.0, 75.0}) {
        AggregationStatistic statistic(variableIndex, code);
        statistic.SetPTileCutPoint(cut);
        out.push_back(statistic);
      }
    } else {
      out.emplace_back(variableIndex, code);
    }
  }
}

double VariableStatistics::GetWeightedCaseCount() {
  if (weightedCaseCount >= 0.0) return weightedCaseCount;
  for (std::size_t i = 0; i < status.size() && weightedCaseCount < 0.0; ++i) {
    if (!status[i]) continue;
    CubeAggregator* aggregator = AggregatorOf(static_cast<int>(i));
    if (aggregator == nullptr) continue;
    double sum = 0.0;
    if (aggregationVariables[i] == nullptr) {
      if (const StatValues* values = aggregator->GetStatValues({}, -1)) {
        const CellStatistics statistics = values->GetCellStatistic();
        for (int j = 0; j < values->NumOfValues(); ++j) {
          const StatisticCodes code = statistics.GetStatistic(j);
          if (code == TableEncryptionCodes::kStatValidCount ||
              code == TableEncryptionCodes::kStatMissingCount) {
            sum += values->GetStatValue(j).GetValue1();
          }
        }
      }
    } else if (const TableDimension* dimension = aggregationVariables[i]->GetDimension()) {
      const std::vector<const AggregationCategory*>& categories = dimension->GetCategories();
      if (!categories.empty()) {
        if (const StatValues* values = aggregator->GetStatValues({categories.back()}, -1)) {
          const CellStatistics statistics = values->GetCellStatistic();
          for (int j = 0; j < values->NumOfValues(); ++j) {
            if (statistics.GetStatistic(j) == TableEncryptionCodes::kStatTotalCount) {
              sum = values->GetStatValue(j).GetValue1();
            }
          }
        }
      }
    }
    if (sum > 0.0) weightedCaseCount = sum;
  }
  return weightedCaseCount;
}

void VariableStatistics::ClearParsedCategory() {
  for (ParsedCategory*& category : parsedCategories) {
    delete category;
    category = nullptr;
  }
  parsedCategories.clear();
}

CubeAggregator* VariableStatistics::AggregatorOf(int entry) const {
  if (entry < 0 || static_cast<std::size_t>(entry) >= cubeAggregators.size()) return nullptr;
  return cubeAggregators[static_cast<std::size_t>(entry)];
}

AggregationVariable* VariableStatistics::ObjectOf(int entry) const {
  if (entry < 0 || static_cast<std::size_t>(entry) >= aggregationVariables.size()) return nullptr;
  return aggregationVariables[static_cast<std::size_t>(entry)];
}

double VariableStatistics::GetCatStatValues(int entry, std::vector<double>& counts,
                                            std::vector<double>& percents,
                                            std::vector<const OBS*>& values,
                                            std::vector<std::string>& labels,
                                            std::vector<int>& varIndexes, double& missing) {
  counts.clear();
  percents.clear();
  values.clear();
  labels.clear();
  varIndexes.clear();
  missing = 0.0;
  double total = 0.0;
  AggregationVariable* object = ObjectOf(entry);
  CubeAggregator* aggregator = AggregatorOf(entry);
  if (object == nullptr || aggregator == nullptr) return total;
  const TableDimension* dimension = object->GetDimension();
  if (dimension == nullptr) return total;
  const bool mcSet = dynamic_cast<const TableMCSet*>(dimension) != nullptr;
  const bool mdSet = !mcSet && dynamic_cast<const TableMDSet*>(dimension) != nullptr;

  const std::vector<const AggregationCategory*>& categories = dimension->GetCategories();
  for (std::size_t k = 0; k < categories.size(); ++k) {
    const AggregationCategory* category = categories[k];
    const bool last = k + 1 == categories.size();
    if (!last) {
      if (mcSet) {
        varIndexes.push_back(category->GetVarIndex());
        values.push_back(category->GetCatValue());
      } else if (mdSet) {
        varIndexes.push_back(category->GetVarIndex());
      } else {
        values.push_back(category->GetCatValue());
      }
      labels.push_back(category->GetCatLabel());
    }
    const StatValues* cell = aggregator->GetStatValues({category}, -1);
    if (cell == nullptr) {
      // Keep the lists aligned with the labels.
      if (!last) {
        counts.push_back(0.0);
        percents.push_back(0.0);
      }
      continue;
    }
    const CellStatistics statistics = cell->GetCellStatistic();
    for (int j = 0; j < cell->NumOfValues(); ++j) {
      const double value = cell->GetStatValue(j).GetValue1();
      switch (statistics.GetStatistic(j)) {
        case TableEncryptionCodes::kStatCount:
          counts.push_back(value);
          break;
        case TableEncryptionCodes::kStatPercent:
          percents.push_back(value);
          break;
        case TableEncryptionCodes::kStatMissingCount:
          missing = value;
          break;
        case TableEncryptionCodes::kStatTotalCount:
          if (last) total = value;
          break;
        default:
          break;
      }
    }
  }
  return total;
}

void VariableStatistics::GetContStats(int entry, std::vector<double>& stats) {
  stats.clear();
  if (entry < 0 || static_cast<std::size_t>(entry) >= aggregationVariables.size()) return;
  if (ObjectOf(entry) != nullptr) return;
  CubeAggregator* aggregator = AggregatorOf(entry);
  if (aggregator == nullptr) return;
  if (const StatValues* values = aggregator->GetStatValues({}, -1)) {
    for (int j = 0; j < values->NumOfValues(); ++j) stats.push_back(values->GetStatValue(j).GetValue1());
  }
}
