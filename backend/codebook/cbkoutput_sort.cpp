// Ordering of the items by VARORDER and SORT.
#include <algorithm>

#include "cbkoutput.h"
#include "host/data/text.h"

namespace {

bool IsSetName(const std::string& name) { return !name.empty() && name[0] == '$'; }

// Every sort is a full heap-based partial sort: not stable, so entries that
// compare equal may come out in any order.
template <typename T, typename Compare>
void HeapSort(std::vector<T>& items, Compare compare) {
  std::partial_sort(items.begin(), items.end(), items.end(), compare);
}

}  // namespace

bool CompairPairByIndexAsending(VarEntry a, VarEntry b) { return a.second < b.second; }
bool CompairPairByIndexDesending(VarEntry a, VarEntry b) { return a.second > b.second; }
bool CompairStringPair(VarEntry a, VarEntry b) { return a.first > b.first; }

bool CompairIntPair(MeasureKeyPair a, MeasureKeyPair b) {
  // The tie test is less-than-or-equal on purpose.
  if (a.first != b.first) return a.first < b.first;
  return a.second.first <= b.second.first;
}

// Value order is opposite to the name order of the same direction; intended.
bool CompairStringAndStringPairAscending(AttributeValuePair a, AttributeValuePair b) {
  if (a.first.empty() && !b.first.empty()) return true;
  if (!a.first.empty() && b.first.empty()) return false;
  if (a.first > b.first) return true;
  if (a.first < b.first) return false;
  return a.second.first < b.second.first;
}

bool CompairStringAndStringPairDescending(AttributeValuePair a, AttributeValuePair b) {
  if (a.first.empty() && !b.first.empty()) return false;
  if (!a.first.empty() && b.first.empty()) return true;
  if (a.first > b.first) return false;
  if (a.first < b.first) return true;
  return a.second.first > b.second.first;
}

bool IsEqual(std::string a, std::string b) {
  if (a.size() != b.size()) return false;
  return VELAMBstrnicmp_A(a.c_str(), b.c_str(), a.size()) == 0;
}

void CbkOutput::SortVariables(VarEntryList& list) {
  const bool ascending = fRequest->IsAscending();
  switch (fRequest->GetVarOrderNum()) {
    case CbkRequest::OrderByFile:
      // Sets lie above every variable: after them ascending, before descending.
      HeapSort(list, ascending ? CompairPairByIndexAsending : CompairPairByIndexDesending);
      break;
    case CbkRequest::OrderByAlpha:
      SortByName(list);
      break;
    case CbkRequest::OrderByVarList:
      if (!ascending) std::reverse(list.begin(), list.end());
      break;
    case CbkRequest::OrderByMeasure:
      SortByMeasure(list);
      break;
    case CbkRequest::OrderByAttribute:
      SortByAttribute(list, fRequest->GetAttributeName());
      break;
  }
}

void CbkOutput::SortByName(VarEntryList& list) {
  if (fRequest->IsAscending()) {
    HeapSort(list, [](const VarEntry& a, const VarEntry& b) { return a < b; });
  } else {
    HeapSort(list, CompairStringPair);
  }
}

void CbkOutput::SortByMeasure(VarEntryList& list) {
  const bool ascending = fRequest->IsAscending();
  std::vector<MeasureKeyPair> keyed;
  keyed.reserve(list.size());
  for (const VarEntry& entry : list) {
    int key = 0;
    if (IsSetName(entry.first)) {
      key = ascending ? 1 : -1;
    } else {
      const VELA_Variable* variable = fDataSource.GetVariable(entry.second);
      const int level = variable != nullptr ? variable->GetMeasurementLevel() : 0;
      // Unknown levels come last in both directions; intended.
      switch (level) {
        case 1: key = ascending ? 1 : -1; break;
        case 2: key = ascending ? 2 : -2; break;
        case 3: key = ascending ? 3 : -3; break;
        default: key = ascending ? 4 : 0; break;
      }
    }
    keyed.emplace_back(key, entry);
  }
  HeapSort(keyed, CompairIntPair);
  for (std::size_t i = 0; i < list.size(); ++i) list[i] = keyed[i].second;
}

void CbkOutput::SortByAttribute(VarEntryList& list, const std::string& attributeName) {
  VarEntryList without;
  std::vector<AttributeValuePair> with;
  for (const VarEntry& entry : list) {
    std::string value;
    if (!IsSetName(entry.first) && hasAttributeName(entry.second, attributeName, value)) {
      with.emplace_back(value, entry);
    } else {
      without.push_back(entry);
    }
  }
  if (!without.empty()) SortByName(without);
  const bool ascending = fRequest->IsAscending();
  if (!with.empty()) {
    HeapSort(with, ascending ? CompairStringAndStringPairAscending
                             : CompairStringAndStringPairDescending);
  }
  list.clear();
  if (ascending) list.insert(list.end(), without.begin(), without.end());
  for (const AttributeValuePair& pair : with) list.push_back(pair.second);
  if (!ascending) list.insert(list.end(), without.begin(), without.end());
}

bool CbkOutput::hasAttributeName(int variableIndex, const std::string& attributeName,
                                 std::string& value) {
  const VELA_Variable* variable = fDataSource.GetVariable(variableIndex);
  if (variable == nullptr) return false;
  const DatasourceAttributes& attributes = variable->GetAttributes();
  if (attributes.Size() == 0) return false;
  // Once set, the flag stays: a match without values takes the first value of
  // the next visible attribute that has one.
  bool found = false;
  for (std::size_t i = 0; i < attributes.Size(); ++i) {
    const std::string& name = attributes.Name(i);
    if (IsEqual(name, attributeName) && !IsHidden(name)) found = true;
    if (found && !attributes.Values(i).empty() && !IsHidden(name)) {
      value = attributes.Values(i).front();
      break;
    }
  }
  return found;
}
