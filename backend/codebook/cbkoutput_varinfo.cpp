// The "Variable Information" table of one variable.
#include <algorithm>
#include <string>
#include <vector>

#include "cbk_assert.h"
#include "cbkoutput.h"
#include "cbkoutput_frame.h"
#include "cbkoutput_attributes.h"
#include "host/data/value_labels.h"

namespace {

constexpr const char* kSource = "backend/codebook/cbkoutput";

const char* MeasurementText(int level) {
  switch (level) {
    case 1: return "Nominal";
    case 2: return "Ordinal";
    case 3: return "Scale";
    default: return "Unknown";
  }
}

const char* RoleText(int role) {
  switch (role) {
    case 1: return "Target";
    case 2: return "Both";
    case 3: return "None";
    case 4: return "Partition";
    case 5: return "Split";
    default: return "Input";
  }
}

}  // namespace

unsigned int CbkOutput::DisplayVariableInfoTableForVar(int variableIndex,
                                                       unsigned int statisticsPosition,
                                                       bool allStatistics,
                                                       CBKVariable::MEASUREMENT_LEVEL level) {
  const VELA_Variable* variable = fDataSource.GetVariable(variableIndex);
  if (variable == nullptr) return statisticsPosition;
  const std::string name = variable->GetName();
  const CbkRequest& request = *fRequest;

  InfoTableFrame frame = OpenInfoTable(fProcedure, name, false);
  BpDimension& attributesDimension = frame.attributes;
  BpCategory& valueColumn = frame.valueColumn;
  BpCategory& countColumn = frame.countColumn;
  BpCategory& percentColumn = frame.percentColumn;
  const BpFormatSpec countFormat = fProcedure.Count();
  const BpFormatSpec percentFormat = fProcedure.Percent();
  const BpFormatSpec meanFormat = fProcedure.Mean(variableIndex);
  const BpFormatSpec stdDevFormat = fProcedure.StdDev(variableIndex);
  const bool varinfo = request.IsVARINFOincluded();
  bool empty = true;

  BpGroup& standard = frame.standard;
  const auto row = [&](BpGroup& group, const char* label, const BpCellText& value) {
    group.Category(BpString(label, true));
    valueColumn.Cell(value);
    empty = false;
  };
  const char* typeText = variable->GetType() == 0 ? "Numeric" : "String";
  const char* measureText = MeasurementText(variable->GetMeasurementLevel());
  const char* roleText = RoleText(variable->GetRole());
  if (!varinfo || request.GetVarPosition()) {
    row(standard, "Position", BpNumber(variableIndex + 1, countFormat));
  }
  if (!varinfo || request.GetVarLabel()) {
    const char* label = variable->GetLabel();
    row(standard, "Label", label != nullptr ? BpString(label, false) : BpString("<none>", true));
  }
  if (!varinfo || request.GetVarType()) row(standard, "Type", BpString(typeText, true));
  if (!varinfo || request.GetVarFormat()) {
    row(standard, "Format", BpString(GetFormatDescriptor(variable->GetWriteFormatEx()), false));
  }
  if (!varinfo || request.GetVarMeasure()) row(standard, "Measurement", BpString(measureText, true));
  if (!varinfo || request.GetVarRole()) row(standard, "Role", BpString(roleText, true));

  // Custom and reserved attributes. The reserved switch does not follow the
  // VARINFO-given rule; intended.
  const DatasourceAttributes& attributes = variable->GetAttributes();
  const auto setValue = [&](BpCategory&, const BpCellText& text) {
    valueColumn.Cell(text);
    empty = false;
  };
  if (!varinfo || request.GetVarAttributes()) {
    BpGroup custom = attributesDimension.Group(BpString("Custom Attributes", true), true,
                                               BpGroup::kSortAsGiven);
    AddAttributeRows(custom, attributes,
                     [](const std::string& attribute) { return attribute.compare(0, 1, "$") != 0; },
                     setValue);
  }
  if (request.GetVarReservedAttributes()) {
    BpGroup reserved = attributesDimension.Group(BpString("Reserved Attributes", false), true,
                                                 BpGroup::kSortAsGiven);
    AddAttributeRows(reserved, attributes,
                     [](const std::string& attribute) { return attribute.compare(0, 1, "$") == 0; },
                     setValue);
  }

  // Scale statistics.
  std::vector<double> results;
  if (!request.IsStatsNone() && level == CBKVariable::kScale && !fScaleStatCodes.empty() &&
      fStatistics != nullptr) {
    fStatistics->GetContStats(static_cast<int>(statisticsPosition), results);
  }
  // No results: the position holds no scale entry (it lies past the list, or
  // a position moved back points at another kind of entry). The variable is
  // then shown without scale statistics.
  if (!results.empty()) {
    // The percentile code yields three results where every other code yields one.
    // clang-format off
    CBK_ASSERT_AT(results.size() == fScaleStatCodes.size() || (results.size() == fScaleStatCodes.size()+2), 916);
    // clang-format on
    BpGroup n = attributesDimension.Group(BpString("N", true), true, BpGroup::kSortAsGiven);
    int k = GetContStatIndex(TableEncryptionCodes::kStatValidCount);
    if (k >= 0) row(n, "Valid", BpNumber(results[static_cast<std::size_t>(k)], countFormat));
    k = GetContStatIndex(TableEncryptionCodes::kStatMissingCount);
    if (k >= 0) row(n, "Missing", BpNumber(results[static_cast<std::size_t>(k)], countFormat));
    BpGroup central = attributesDimension.Group(BpString("Central Tendency and Dispersion", true),
                                                true, BpGroup::kSortAsGiven);
    if (allStatistics || request.IsStatsMean()) {
      k = GetContStatIndex(TableEncryptionCodes::kStatMean);
      if (k >= 0) row(central, "Mean", BpNumber(results[static_cast<std::size_t>(k)], meanFormat));
    }
    if (allStatistics || request.IsStatsStdDev()) {
      k = GetContStatIndex(TableEncryptionCodes::kStatStdDev);
      if (k >= 0) {
        row(central, "Standard Deviation", BpNumber(results[static_cast<std::size_t>(k)], stdDevFormat));
      }
    }
    if (allStatistics || request.IsStatsQuartiles()) {
      k = GetContStatIndex(TableEncryptionCodes::kStatPercentile);
      if (k >= 0 && results.size() == static_cast<std::size_t>(k) + 3) {
        const auto at = static_cast<std::size_t>(k);
        row(central, "Percentile 25", BpNumber(results[at], meanFormat));
        row(central, "Percentile 50", BpNumber(results[at + 1], meanFormat));
        row(central, "Percentile 75", BpNumber(results[at + 2], meanFormat));
      }
    }
  }

  // Which parts of the values section are on.
  bool countOn = false;
  bool percentOn = false;
  bool validOn = false;
  bool missingOn = false;
  bool valuesOn = false;
  if (allStatistics || request.IsStatsCount() || request.IsStatsPercent() || !varinfo ||
      request.GetVarValueLabels() || request.GetVarMissing()) {
    countOn = allStatistics || request.IsStatsCount();
    percentOn = allStatistics || request.IsStatsPercent();
    validOn = countOn || percentOn || !varinfo || request.GetVarValueLabels();
    missingOn = countOn || percentOn || !varinfo || request.GetVarMissing();
    valuesOn = true;
  }

  VELA_ValueLabelMap labels(variable->GetValueLabels());
  // A scale variable with counts has a labelled-values entry right behind its
  // own. The subtraction for a variable without labels happens whether or not
  // one was added: intended, and kept as it stands.
  if (level == CBKVariable::kScale) {
    if (countOn || percentOn) statisticsPosition += 1;
    if (labels.Size() == 0) {
      valuesOn = false;
      statisticsPosition -= 1;
    }
  }
  if (statisticsPosition < fVarStatus.size() && !fVarStatus[statisticsPosition]) {
    countOn = false;
    percentOn = false;
  }

  if (valuesOn) {
    std::vector<double> counts;
    std::vector<double> percents;
    std::vector<const OBS*> values;
    std::vector<std::string> categoryLabels;
    std::vector<int> members;
    double missing = 0.0;
    double total = 0.0;
    std::size_t n = 0;
    if (countOn || percentOn) {
      if (fStatistics != nullptr) {
        total = fStatistics->GetCatStatValues(static_cast<int>(statisticsPosition), counts, percents,
                                              values, categoryLabels, members, missing);
      }
      n = values.size();
    } else {
      labels.Reset();
      n = labels.Size();
    }
    const std::size_t maxCats = request.GetMaxCats();

    if (n != 0 && n <= maxCats) {
      if (!countOn && !percentOn) {
        // Labels only, in the label map's own order.
        labels.Reset();
        BpGroup labeled = attributesDimension.Group(BpString("Labeled Values", true), true, BpGroup::kSortAsGiven);
        BpGroup valid = attributesDimension.Group(BpString("Valid Values", true), true, BpGroup::kSortAsGiven);
        BpGroup missingGroup = attributesDimension.Group(BpString("Missing Values", true), true, BpGroup::kSortAsGiven);
        const std::size_t limit = std::min<std::size_t>(labels.Size(), maxCats);
        const OBS* value = nullptr;
        const char* label = nullptr;
        for (std::size_t fetched = 0; fetched < limit && labels.GetNextPair(value, label) != 0; ++fetched) {
          bool added = true;
          if (level == CBKVariable::kScale) {
            labeled.Category(BpDataValue(*variable, value, BpDataValue::kValue));
          } else if (validOn && variable->IsMissing(value) == 0) {
            valid.Category(BpDataValue(*variable, value, BpDataValue::kValue));
          } else if (missingOn && variable->IsMissing(value) != 0) {
            missingGroup.Category(BpDataValue(*variable, value, BpDataValue::kValue));
          } else {
            added = false;
          }
          if (added && label != nullptr) valueColumn.Cell(BpString(label, false));
          empty = false;
        }
      } else if (level == CBKVariable::kScale) {
        // Counts of the labelled values; percents over the weighted case count.
        const double cases = fStatistics != nullptr ? fStatistics->GetWeightedCaseCount() : -1.0;
        BpGroup labeled = attributesDimension.Group(BpString("Labeled Values", true), true, BpGroup::kSortAsGiven);
        const std::size_t limit = std::min<std::size_t>(labels.Size(), maxCats);
        std::size_t shown = 0;
        for (std::size_t i = 0; shown < limit && i < values.size(); ++i) {
          if (const char* label = labels.GetLabel(values[i])) {
            labeled.Category(BpDataValue(*variable, values[i], BpDataValue::kValue));
            valueColumn.Cell(BpString(label, false));
            if (countOn) countColumn.Cell(BpNumber(counts[i], countFormat));
            if (percentOn) {
              double percent = percents[i];
              if (cases > 0 && i < counts.size()) percent = counts[i] / cases * 100.0;
              percentColumn.Cell(BpNumber(percent, percentFormat));
            }
            ++shown;
          }
          empty = false;
        }
      } else {
        BpGroup valid = attributesDimension.Group(BpString("Valid Values", true), true, BpGroup::kSortAsGiven);
        BpGroup missingGroup = attributesDimension.Group(BpString("Missing Values", true), true, BpGroup::kSortAsGiven);
        double userMissing = 0.0;
        double shownValid = 0.0;
        const double limit = static_cast<double>(std::min<std::size_t>(n, maxCats));
        for (std::size_t i = 0; i < values.size() && shownValid < limit; ++i) {
          // Missing values never count toward the limit.
          const bool isMissing = variable->IsMissing(values[i]) != 0;
          if (!isMissing) {
            valid.Category(BpDataValue(*variable, values[i], BpDataValue::kValue));
            shownValid += 1;
          } else {
            missingGroup.Category(BpDataValue(*variable, values[i], BpDataValue::kValue));
          }
          if (const char* label = labels.GetLabel(values[i])) valueColumn.Cell(BpString(label, false));
          if (countOn) {
            countColumn.Cell(BpNumber(counts[i], countFormat));
            // Kept only while counts are on: with percents alone the System
            // row carries every missing case, user-missing ones included.
            if (isMissing) userMissing += counts[i];
          }
          if (percentOn) percentColumn.Cell(BpNumber(percents[i], percentFormat));
          empty = false;
        }
        const double system = missing - userMissing;
        if (system > 1e-08) {
          if (total > 0) missingGroup.Category(BpString("System", true));
          if (countOn) countColumn.Cell(BpNumber(system, countFormat));
          if (percentOn) percentColumn.Cell(BpNumber(system / total * 100.0, percentFormat));
        }
      }
    }
  }

  if (empty) fNoInfoNames += name + " ,";
  return statisticsPosition;
}
