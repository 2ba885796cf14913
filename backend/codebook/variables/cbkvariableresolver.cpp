#include "variables/cbkvariableresolver.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "host/data/text.h"
#include "host/data/value_labels.h"
#include "host/data/variable_sets.h"

struct ResolverData {
  const VELA_DataSource* dataSource = nullptr;
  VELA_Variable* variable = nullptr;
  int variableIndex = -1;
  std::vector<int> variableIndexList;
  OBS* countedValue = nullptr;
  // 8 for a numeric counted value (one cell), the number of cells for a
  // string; callers hand it on unchanged.
  int countedValueLength = 0;
  std::string mrSetName;
  std::string mrSetLabel;
  bool useVariableCategoryLabels = false;
  int variableType = 0;

  ResolverData() = default;
  ResolverData(const ResolverData&) = delete;
  ResolverData& operator=(const ResolverData&) = delete;
  ~ResolverData() { delete[] countedValue; }
};

int ObsLength(int width) {
  // Compared as unsigned 64-bit: a negative width takes the second branch.
  const auto w = static_cast<std::uint64_t>(static_cast<std::int64_t>(width));
  if (w <= 8) return 1;
  return (width + 7) / 8;
}

OBS* AsOBS(double& d) { return reinterpret_cast<OBS*>(&d); }

namespace {

struct PrintFormat {
  int type = 0;
  int width = 0;
};

PrintFormat PrintFormatOf(const VELA_Variable* variable) {
  VELA_Format::FormatType type = VELA_Format::kNone;
  int width = 0;
  int decimals = 0;
  variable->GetFormatEx(type, width, decimals);
  return {type, width};
}

int FormatTypeOf(const VELA_Variable* variable) { return PrintFormatOf(variable).type; }
int FormatWidthOf(const VELA_Variable* variable) { return PrintFormatOf(variable).width; }

}  // namespace

CBKVariableResolver::CBKVariableResolver() : data(new ResolverData) {}

CBKVariableResolver::~CBKVariableResolver() { delete data; }

bool CBKVariableResolver::resolveVariable(const VELA_DataSource* ds, int index) {
  data->dataSource = ds;
  if (ds == nullptr || index < 0) return false;
  data->variableIndex = index;
  data->variable = const_cast<VELA_Variable*>(ds->GetVariable(index));
  labeledValueLabelSetSize =
      data->variable ? static_cast<int>(VELA_ValueLabelMap(data->variable->GetValueLabels()).Size())
                     : 0;
  data->variableType = 1;
  return true;
}

bool CBKVariableResolver::resolveVariable(const VELA_DataSource* ds, const std::string& name) {
  data->dataSource = ds;
  if (ds == nullptr) return false;
  const int i = ds->FindVarIndex(name.c_str(), 0);
  if (i >= 0) {
    resolveVariable(ds, i);
    return true;
  }
  if (name.empty() || name[0] != '$') return false;

  const VariableSets sets(*ds, 1);
  std::size_t position = 0;
  const VariableSet* set = nullptr;
  for (; position < sets.size(); ++position) {
    if (VELAMBstricmp_A(name.c_str(), sets[position].GetName(VariableSet::kAsDefined).c_str()) == 0) {
      set = &sets[position];
      break;
    }
  }
  if (set == nullptr) return false;

  data->mrSetLabel = set->GetLabel();
  for (const std::string& member : set->GetVariableNames(VariableSet::kAsDictionary)) {
    const int index = ds->FindVarIndex(member.c_str(), 0);
    if (index >= 0) data->variableIndexList.push_back(index);
  }
  data->variableIndex = static_cast<int>(position) + ds->ColumnCount();
  const std::string fallbackName =
      data->mrSetLabel.empty() ? set->GetName(VariableSet::kAsDefined) : data->mrSetLabel;

  switch (set->GetType()) {
    case 1: {
      data->variableType = 2;
      data->mrSetName = fallbackName;
      // A set none of whose members was found has no labels to count.
      const VELA_Variable* first =
          data->variableIndexList.empty() ? nullptr : ds->GetVariable(data->variableIndexList[0]);
      labeledValueLabelSetSize =
          first ? static_cast<int>(VELA_ValueLabelMap(first->GetValueLabels()).Size()) : 0;
      break;
    }
    case 2: {
      labeledValueLabelSetSize = static_cast<int>(data->variableIndexList.size());
      data->variableType = 3;
      data->mrSetName = fallbackName;
      if (set->qIsEnhancedDichotomy() && set->qUseVariableCategoryLabels()) {
        data->useVariableCategoryLabels = true;
      }
      const std::string value = set->GetValue();
      if (!isString()) {
        data->countedValue = new OBS[1];
        data->countedValue[0].d = std::atof(value.c_str());
        data->countedValueLength = 8;
      } else {
        data->countedValueLength = ObsLength(getStringLength());
        const std::size_t cells = static_cast<std::size_t>(data->countedValueLength);
        data->countedValue = new OBS[cells];
        std::memset(data->countedValue, ' ', cells * sizeof(OBS));
        // A counted value longer than the buffer is cut to the buffer.
        const std::size_t length = std::min(value.size(), cells * sizeof(OBS));
        VELAMBCopyToFixed_A(data->countedValue[0].c, length, value.c_str(), length);
      }
      break;
    }
    default:
      break;
  }
  return true;
}

int CBKVariableResolver::getVariableType() const { return data->variableType; }
int CBKVariableResolver::getVariableIndex() const { return data->variableIndex; }
VELA_Variable* CBKVariableResolver::getVELAVariable() const { return data->variable; }
std::vector<int> CBKVariableResolver::getVariableIndexList() const { return data->variableIndexList; }
const std::string& CBKVariableResolver::getMRSetName() const { return data->mrSetName; }
const std::string& CBKVariableResolver::getMRSetLabel() const { return data->mrSetLabel; }
int CBKVariableResolver::GetLabeledValueLabelSetSize() const { return labeledValueLabelSetSize; }

OBS* CBKVariableResolver::getCountedValue(int& length) const {
  length = data->countedValueLength;
  return data->countedValue;
}

bool CBKVariableResolver::isString() const {
  // The test is on the format type only: an AHEX variable is not a string here.
  switch (data->variableType) {
    case 1:
      return data->variable != nullptr && FormatTypeOf(data->variable) == VELA_Format::A;
    case 2:
    case 3: {
      if (data->variableIndexList.empty()) return false;
      const VELA_Variable* first = data->dataSource->GetVariable(data->variableIndexList[0]);
      return first != nullptr && FormatTypeOf(first) == VELA_Format::A;
    }
    default:
      return false;
  }
}

int CBKVariableResolver::getStringLength() const {
  switch (data->variableType) {
    case 1:
      if (data->variable != nullptr && FormatTypeOf(data->variable) == VELA_Format::A) {
        return FormatWidthOf(data->variable);
      }
      return 0;
    case 2: {
      if (data->variableIndexList.empty()) return 0;
      const VELA_Variable* first = data->dataSource->GetVariable(data->variableIndexList[0]);
      if (first != nullptr && FormatTypeOf(first) == VELA_Format::A) return FormatWidthOf(first);
      return 0;
    }
    case 3: {
      // The categories of a dichotomy set are its members, so a numeric
      // member's name length counts as a width.
      unsigned int longest = 0;
      for (int index : data->variableIndexList) {
        const VELA_Variable* member = data->dataSource->GetVariable(index);
        if (member == nullptr) continue;
        const unsigned int width = member->GetType() != 0
                                       ? static_cast<unsigned int>(member->GetType())
                                       : static_cast<unsigned int>(std::strlen(member->GetName()));
        longest = std::max(longest, width);
      }
      return static_cast<int>(longest);
    }
    default:
      return 0;
  }
}

std::string CBKVariableResolver::getValueLabel(const std::string& value, const OBS* obs) const {
  std::string result;
  const auto lookUp = [&](const VELA_Variable* variable) -> const char* {
    if (variable == nullptr) return nullptr;
    const VELA_ValueLabelMap labels(variable->GetValueLabels());
    return obs != nullptr ? labels.GetLabel(obs) : labels.GetLabel(value);
  };
  switch (data->variableType) {
    case 1:
      if (const char* label = lookUp(data->variable)) result = label;
      break;
    case 2:
      for (int index : data->variableIndexList) {
        if (const char* label = lookUp(data->dataSource->GetVariable(index))) {
          result = label;
          break;
        }
      }
      break;
    case 3: {
      std::string wanted = value;
      if (obs != nullptr) {
        // The cells hold a member name of at most getStringLength() bytes;
        // read no further than they reach.
        const std::size_t bound = static_cast<std::size_t>(ObsLength(getStringLength())) * sizeof(OBS);
        wanted.assign(obs->c, strnlen(obs->c, bound));
        while (!wanted.empty() && wanted.back() == ' ') wanted.pop_back();
      }
      for (int index : data->variableIndexList) {
        const VELA_Variable* member = data->dataSource->GetVariable(index);
        if (member == nullptr || VELAMBstricmp_A(member->GetName(), wanted.c_str()) != 0) continue;
        if (!data->useVariableCategoryLabels) {
          if (const char* label = member->GetLabel()) result = label;
        } else if (data->countedValue != nullptr) {
          const VELA_ValueLabelMap labels(member->GetValueLabels());
          if (const char* label = labels.GetLabel(data->countedValue)) result = label;
        }
        break;
      }
      break;
    }
    default:
      break;
  }
  return result;
}
