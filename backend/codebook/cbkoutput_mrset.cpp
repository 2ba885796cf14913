// The "Variable Information" table of one multiple-response set.
#include <algorithm>
#include <string>
#include <vector>

#include "cbkoutput.h"
#include "cbkoutput_frame.h"
#include "host/data/value_labels.h"

void CbkOutput::DisplayVariableInfoTableForMRSet(const std::string& setName,
                                                 const CBKVariableResolver* resolver,
                                                 unsigned int statisticsPosition,
                                                 bool allStatistics) {
  const CbkRequest& request = *fRequest;
  // Unlike the variable table, the title is shown; the difference is kept.
  InfoTableFrame frame = OpenInfoTable(fProcedure, setName, true);
  BpDimension& attributesDimension = frame.attributes;
  BpCategory& valueColumn = frame.valueColumn;
  BpCategory& countColumn = frame.countColumn;
  BpCategory& percentColumn = frame.percentColumn;
  const BpFormatSpec countFormat = fProcedure.Count();
  const BpFormatSpec percentFormat = fProcedure.Percent();
  const bool varinfo = request.IsVARINFOincluded();
  bool empty = true;

  BpGroup& standard = frame.standard;
  if (resolver != nullptr && (!varinfo || request.GetVarLabel())) {
    standard.Category(BpString("Label", true));
    const std::string& label = resolver->getMRSetLabel();
    valueColumn.Cell(label.empty() ? BpString("<none>", true) : BpString(label, false));
    empty = false;
  }
  if (resolver != nullptr && (!varinfo || request.GetVarType())) {
    standard.Category(BpString("Type", true));
    valueColumn.Cell(BpString(resolver->getVariableType() == 3 ? "Multiple Dichotomy Set"
                                                               : "Multiple Category Set",
                              true));
    empty = false;
  }

  if (resolver != nullptr && (allStatistics || request.IsStatsCount() || request.IsStatsPercent() ||
                              !varinfo || request.GetVarValueLabels())) {
    bool countOn = allStatistics || request.IsStatsCount();
    bool percentOn = allStatistics || request.IsStatsPercent();
    if (statisticsPosition < fVarStatus.size() && !fVarStatus[statisticsPosition]) {
      countOn = false;
      percentOn = false;
    }
    std::vector<int> members;
    std::vector<double> counts;
    std::vector<double> percents;
    std::vector<const OBS*> values;
    std::vector<std::string> labels;
    double missing = 0.0;
    if (!countOn && !percentOn) {
      members = resolver->getVariableIndexList();
    } else if (fStatistics != nullptr) {
      fStatistics->GetCatStatValues(static_cast<int>(statisticsPosition), counts, percents, values,
                                    labels, members, missing);
    }
    // No members means nothing to list: a dichotomy set whose counted value
    // no member holds, a set none of whose members the dataset has, or a
    // set that has no statistics entry. The item keeps its other rows.
    const VELA_Variable* first = members.empty() ? nullptr : fDataSource.GetVariable(members[0]);
    const VELA_VLImplPointer noLabels;
    VELA_ValueLabelMap firstLabels(first != nullptr ? first->GetValueLabels() : noLabels);
    BpGroup categories = attributesDimension.Group(BpString("Multiple Response Categories", true),
                                                   true, BpGroup::kSortAsGiven);
    const bool dichotomies = resolver->getVariableType() == 3;
    const std::size_t n = members.size();
    const std::size_t maxCats = request.GetMaxCats();
    std::size_t limit = std::min(n, maxCats);
    std::size_t shown = 0;

    if (!countOn && !percentOn) {
      // Only MAXCATS bounds this layout; intended.
      limit = maxCats;
      if (dichotomies) {
        for (std::size_t i = 0; i < n && shown < limit; ++i) {
          if (const VELA_Variable* member = fDataSource.GetVariable(members[i])) {
            categories.Category(BpVariable(*member, BpVariable::kName));
            valueColumn.Cell(BpVariable(*member, BpVariable::kLabel));
          }
          ++shown;
        }
      } else if (first != nullptr) {
        firstLabels.Reset();
        const OBS* value = nullptr;
        const char* label = nullptr;
        while (shown < limit && firstLabels.GetNextPair(value, label) != 0) {
          categories.Category(BpDataValue(*first, value, BpDataValue::kValueOnly));
          if (label != nullptr) valueColumn.Cell(BpString(label, false));
          ++shown;
        }
      }
      empty = false;
    } else {
      // No valid/missing split and no System row for sets.
      for (std::size_t i = 0; i < n && shown < limit; ++i) {
        const VELA_Variable* member = fDataSource.GetVariable(members[i]);
        if (member != nullptr) {
          if (dichotomies) {
            categories.Category(BpVariable(*member, BpVariable::kName));
            valueColumn.Cell(BpVariable(*member, BpVariable::kLabel));
          } else if (i < values.size()) {
            // The value shows through the member the statistics report; the
            // label always comes from the first member.
            categories.Category(BpDataValue(*member, values[i], BpDataValue::kValue));
            if (const char* label = firstLabels.GetLabel(values[i])) {
              valueColumn.Cell(BpString(label, false));
            }
          }
          if (countOn && i < counts.size()) countColumn.Cell(BpNumber(counts[i], countFormat));
          if (percentOn && i < percents.size()) percentColumn.Cell(BpNumber(percents[i], percentFormat));
        }
        ++shown;
        empty = false;
      }
    }
  }

  if (empty) fNoInfoNames += setName + " ,";
}
