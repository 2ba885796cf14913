#include "cbkoutput.h"

#include <memory>

#include "host/data/value_labels.h"

namespace {

bool IsSetName(const std::string& name) { return !name.empty() && name[0] == '$'; }

// A multiple-response set's entry: multiple category (2) or dichotomy (3).
bool IsSetEntry(const CBKVariable* entry) {
  const CBKVariableResolver* resolver = entry != nullptr ? entry->getVariableResolver() : nullptr;
  return resolver != nullptr && (resolver->getVariableType() == 2 || resolver->getVariableType() == 3);
}

// Owns the statistics entries of one DisplayOutput call. They are released on
// every way out, an exception from the case stream included.
class StatisticsEntries {
 public:
  StatisticsEntries() = default;
  StatisticsEntries(const StatisticsEntries&) = delete;
  StatisticsEntries& operator=(const StatisticsEntries&) = delete;
  ~StatisticsEntries() { Release(); }

  void Add(CBKVariable* entry) { entries_.push_back(entry); }
  void Release() {
    for (const CBKVariable*& entry : entries_) {
      delete entry;
      entry = nullptr;
    }
  }
  const std::vector<const CBKVariable*>& list() const { return entries_; }
  std::size_t size() const { return entries_.size(); }
  const CBKVariable* operator[](std::size_t i) const { return entries_[i]; }

 private:
  std::vector<const CBKVariable*> entries_;
};

CBKVariable::MEASUREMENT_LEVEL SettingFor(const CbkRequest::LevelList& settings, int index) {
  if (index < 0 || static_cast<std::size_t>(index) >= settings.size()) return CBKVariable::kNotSet;
  return settings[static_cast<std::size_t>(index)];
}

}  // namespace

CbkOutput::CbkOutput(const CbkRequest* request, ProcedureDataSource& dataSource,
                     BpProcedure& procedure, ParserMessage& message)
    : fRequest(request), fDataSource(dataSource), fProcedure(procedure), fMessage(message) {}

// The statistics object must outlive DisplayOutput; it goes with the output
// stage.
CbkOutput::~CbkOutput() { delete fStatistics; }

int CbkOutput::BuildScaleStatList(bool allStatistics) {
  fScaleStatCodes.clear();
  fScaleStatCodes.push_back(TableEncryptionCodes::kStatValidCount);
  fScaleStatCodes.push_back(TableEncryptionCodes::kStatMissingCount);
  if (allStatistics || fRequest->IsStatsMean()) fScaleStatCodes.push_back(TableEncryptionCodes::kStatMean);
  if (allStatistics || fRequest->IsStatsStdDev()) {
    fScaleStatCodes.push_back(TableEncryptionCodes::kStatStdDev);
  }
  if (allStatistics || fRequest->IsStatsQuartiles()) {
    fScaleStatCodes.push_back(TableEncryptionCodes::kStatPercentile);
  }
  return static_cast<int>(fScaleStatCodes.size());
}

int CbkOutput::BuildCatStatList(std::vector<AggregationStatistic>& list, bool allStatistics) {
  int added = 0;
  // A percent cannot be had without its count.
  if (allStatistics || fRequest->IsStatsCount() || fRequest->IsStatsPercent()) {
    list.emplace_back(TableEncryptionCodes::kStatCount);
    ++added;
  }
  if (allStatistics || fRequest->IsStatsPercent()) {
    list.emplace_back(TableEncryptionCodes::kStatPercent);
    ++added;
  }
  return added;
}

int CbkOutput::GetContStatIndex(TableEncryptionCodes::StatisticCodes code) {
  for (std::size_t i = 0; i < fScaleStatCodes.size(); ++i) {
    if (fScaleStatCodes[i] == code) return static_cast<int>(i);
  }
  return -1;
}

void CbkOutput::DisplayOutput() {
  VarEntryList entries = fRequest->GetVarList();
  SortVariables(entries);

  const CbkRequest::LevelList& settings = fRequest->GetUserVariableSettings();
  const bool statisticsIncluded = fRequest->IsSTATISTICSinclude();
  const bool statsNone = fRequest->IsStatsNone();
  const bool allStatistics = !statisticsIncluded;
  fVarStatus.clear();

  StatisticsEntries statistics;
  std::vector<CBKVariable::MEASUREMENT_LEVEL> levels;
  std::vector<AggregationStatistic> categoryStatistics;
  std::string notDisplayed;

  if (!statsNone) {
    const bool categoryWanted =
        allStatistics || fRequest->IsStatsCount() || fRequest->IsStatsPercent();
    for (const VarEntry& entry : entries) {
      auto resolver = std::make_unique<CBKVariableResolver>();
      CBKVariable::MEASUREMENT_LEVEL level = CBKVariable::kCategorical;
      bool resolved = false;
      if (IsSetName(entry.first)) {
        resolved = resolver->resolveVariable(&fDataSource, entry.first);
      } else {
        level = SettingFor(settings, entry.second);
        resolved = resolver->resolveVariable(&fDataSource, entry.second);
      }
      // An item that does not resolve ends the statistics list: it and every
      // item after it get no statistics entry.
      if (!resolved) break;
      auto* variable = new CBKVariable(resolver.release(), CBKVariable::kOrdinary);
      variable->setMeasurmentLevel(level);
      statistics.Add(variable);
      levels.push_back(level);
      fVarStatus.push_back(true);

      if (level != CBKVariable::kScale || !categoryWanted) continue;
      const VELA_Variable* dictionaryVariable = fDataSource.GetVariable(entry.second);
      if (dictionaryVariable == nullptr ||
          VELA_ValueLabelMap(dictionaryVariable->GetValueLabels()).Size() == 0) {
        continue;
      }
      // A scale variable with value labels also counts its labelled values.
      auto labeled = std::make_unique<CBKVariableResolver>();
      if (!labeled->resolveVariable(&fDataSource, entry.second)) break;
      auto* labeledEntry = new CBKVariable(labeled.release(), CBKVariable::kLabeledValuesOnly);
      labeledEntry->setMeasurmentLevel(CBKVariable::kCategorical);
      labeledEntry->SetLabeledValueOnly(true);
      statistics.Add(labeledEntry);
      levels.push_back(CBKVariable::kCategorical);
      fVarStatus.push_back(true);
    }
  }

  std::unique_ptr<VELA_InputCaseIterator> cases(fDataSource.CreateCaseIterator(false));
  auto* iterator = dynamic_cast<ProcDSIterator*>(cases.get());

  if (!statsNone) {
    BuildScaleStatList(allStatistics);
    BuildCatStatList(categoryStatistics, allStatistics);
    fStatistics = new VariableStatistics(statistics.list(), categoryStatistics, fScaleStatCodes);
    const auto maxCategories = static_cast<int>(fRequest->GetMaxCats());
    fStatistics->Init(iterator, maxCategories);
    if (fStatistics->PassingData(maxCategories) == 0) {
      fMessage.GenericError("Empty dataset.");
      return;
    }
    fVarStatus = fStatistics->GetVarStatus();
  }

  if (fRequest->isFILEINFOincluded()) {
    // -1 stands for an unknown count.
    DisplayFileInfoTable(fStatistics != nullptr ? fStatistics->GetWeightedCaseCount() : -1.0);
  }

  unsigned int position = 0;
  for (const VarEntry& entry : entries) {
    if (IsSetName(entry.first)) {
      std::unique_ptr<CBKVariableResolver> temporary;
      const CBKVariableResolver* resolver = nullptr;
      unsigned int setPosition = position;
      if (position < statistics.size() && IsSetEntry(statistics[position])) {
        resolver = statistics[position]->getVariableResolver();
      } else {
        temporary = std::make_unique<CBKVariableResolver>();
        temporary->resolveVariable(&fDataSource, entry.first);
        resolver = temporary.get();
        // A position moved back onto a scale variable's entry has no set
        // statistics: the set is shown from the dictionary alone.
        if (position < statistics.size()) setPosition = static_cast<unsigned int>(statistics.size());
      }
      DisplayVariableInfoTableForMRSet(entry.first, resolver, setPosition, !fRequest->IsSTATISTICSinclude());
      position += 1;
    } else {
      // Items after one that ended the statistics list take their level from
      // the request, as under STATISTICS NONE.
      const CBKVariable::MEASUREMENT_LEVEL level =
          (statsNone || position >= levels.size()) ? SettingFor(settings, entry.second)
                                                   : levels[position];
      position = DisplayVariableInfoTableForVar(entry.second, position,
                                                !fRequest->IsSTATISTICSinclude(), level) + 1;
    }
  }

  if (!fNoInfoNames.empty()) {
    std::string names = fNoInfoNames;
    if (names.back() == ',') names.pop_back();
    fMessage.GenericWarning("No Variable Information for ^1.", names.c_str());
  }

  for (std::size_t k = 0; k < fVarStatus.size() && !categoryStatistics.empty(); ++k) {
    if (!fVarStatus[k] && k < statistics.size()) {
      notDisplayed += statistics[k]->GetVariableName() + ",";
    }
  }
  const bool labelsShown = !fRequest->IsVARINFOincluded() || fRequest->GetVarValueLabels();
  const bool noCounts = statsNone || (statisticsIncluded && !fRequest->IsStatsCount() &&
                                      !fRequest->IsStatsPercent());
  if (labelsShown && noCounts) {
    for (const VarEntry& entry : entries) {
      if (IsSetName(entry.first)) continue;
      const VELA_Variable* variable = fDataSource.GetVariable(entry.second);
      if (variable == nullptr) continue;
      if (VELA_ValueLabelMap(variable->GetValueLabels()).Size() > fRequest->GetMaxCats()) {
        notDisplayed += std::string(variable->GetName()) + ",";
      }
    }
  }
  if (!notDisplayed.empty()) {
    if (notDisplayed.back() == ',') notDisplayed.pop_back();
    fMessage.GenericWarning("Value labels, counts, and/or percents not displayed for ^1.",
                            notDisplayed.c_str());
  }
  statistics.Release();
}
