// The decoded CODEBOOK command: what to describe, in which order, and what to
// show. Filled once by the parser, read by the output.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "variables/cbkvariable.h"

// One item to describe: a name ("$" first for a multiple-response set) and a
// dictionary position (for a set: at or above the dataset's column count).
using VarEntry = std::pair<std::string, std::int32_t>;
using VarEntryList = std::vector<VarEntry>;

class CbkRequest {
 public:
  enum OrderBy {
    OrderByFile = 0,
    OrderByAlpha = 1,
    OrderByVarList = 2,
    OrderByMeasure = 3,
    OrderByAttribute = 4,
  };
  using LevelList = std::vector<CBKVariable::MEASUREMENT_LEVEL>;

  CbkRequest();

  void SetVariableList(const VarEntryList& list) { variableList = list; }
  const VarEntryList& GetVarList() const { return variableList; }
  void AddMRSetName(const std::string& name) { mrSetNames.push_back(name); }
  const std::vector<std::string>& GetMRSetNameList() const { return mrSetNames; }
  void SetAllMRSets(bool all) { allMRSets = all; }
  bool ALLMRSets() const { return allMRSets; }
  void SetUserVariableSettings(const LevelList& levels) { measurementLevels = levels; }
  const LevelList& GetUserVariableSettings() const { return measurementLevels; }
  // The parser updates single entries in place: copying the whole list per
  // variable would make wide files quadratic.
  LevelList& UserVariableSettingsForUpdate() { return measurementLevels; }

  void SetVARINFOincluded(bool included) { varInfoIncluded = included; }
  bool IsVARINFOincluded() const { return varInfoIncluded; }
  void SetVarInfoRequest(bool position, bool label, bool type, bool format, bool measure, bool role,
                         bool attributes, bool valueLabels, bool missing, bool reservedAttributes);
  bool GetVarPosition() const { return varPosition; }
  bool GetVarLabel() const { return varLabel; }
  bool GetVarType() const { return varType; }
  bool GetVarFormat() const { return varFormat; }
  bool GetVarMeasure() const { return varMeasure; }
  bool GetVarRole() const { return varRole; }
  bool GetVarAttributes() const { return varAttributes; }
  bool GetVarValueLabels() const { return varValueLabels; }
  bool GetVarMissing() const { return varMissing; }
  bool GetVarReservedAttributes() const { return varReservedAttributes; }

  void SetFILEINFOincluded(bool included) { fileInfoIncluded = included; }
  bool isFILEINFOincluded() const { return fileInfoIncluded; }
  void SetFileInfoRequest(bool name, bool location, bool caseCount, bool label, bool attribute,
                          bool documents, bool weight, bool reservedAttributes);
  bool GetFileName() const { return fileName; }
  bool GetFileLocation() const { return fileLocation; }
  bool GetFileCaseCount() const { return fileCaseCount; }
  bool GetFileLabel() const { return fileLabel; }
  bool GetFileAttribute() const { return fileAttribute; }
  bool GetFileDocuments() const { return fileDocuments; }
  bool GetFileWeight() const { return fileWeight; }
  bool GetFileReservedAttributes() const { return fileReservedAttributes; }

  void SetSTATISTICSinclude(bool included) { statisticsIncluded = included; }
  bool IsSTATISTICSinclude() const { return statisticsIncluded; }
  void SetStatsNone(bool none);
  bool IsStatsNone() const { return statsNone; }
  void SetStatsRequest(bool count, bool percent, bool mean, bool stdDev, bool quartiles);
  bool IsStatsCount() const { return statsCount; }
  bool IsStatsPercent() const { return statsPercent; }
  bool IsStatsMean() const { return statsMean; }
  bool IsStatsStdDev() const { return statsStdDev; }
  bool IsStatsQuartiles() const { return statsQuartiles; }

  void SetMaxCats(unsigned int maxCats) { maxCategories = maxCats; }
  unsigned int GetMaxCats() const { return maxCategories; }
  void SetOPTIONinclude(bool included) { optionsIncluded = included; }
  bool IsOPTIONinclude() const { return optionsIncluded; }
  void SetVARORDER(OrderBy order) { variableOrder = order; }
  OrderBy GetVarOrderNum() const { return variableOrder; }
  void SetAscending(bool ascending) { this->ascending = ascending; }
  bool IsAscending() const { return ascending; }
  void SetAttributeName(const std::string& name) { attributeName = name; }
  std::string GetAttributeName() const { return attributeName; }

 private:
  VarEntryList variableList;
  std::vector<std::string> mrSetNames;
  bool allMRSets = false;
  bool varInfoIncluded = false;
  bool varPosition = false;
  bool varLabel = false;
  bool varType = false;
  bool varFormat = false;
  bool varMeasure = false;
  bool varRole = false;
  bool varAttributes = false;
  bool varValueLabels = false;
  bool varMissing = false;
  bool varReservedAttributes = false;
  bool fileInfoIncluded = false;
  bool fileName = false;
  bool fileLocation = false;
  bool fileCaseCount = false;
  bool fileLabel = false;
  bool fileAttribute = false;
  bool fileDocuments = false;
  bool fileWeight = false;
  bool fileReservedAttributes = false;
  bool statisticsIncluded = false;
  bool statsNone = false;
  // True here, but the statistics decoder always overwrites all five: a
  // command without STATISTICS ends with them false. Kept on purpose.
  bool statsCount = true;
  bool statsPercent = true;
  bool statsMean = true;
  bool statsStdDev = true;
  bool statsQuartiles = true;
  unsigned int maxCategories = 200;
  bool optionsIncluded = false;
  bool ascending = true;
  OrderBy variableOrder = OrderByVarList;
  std::string attributeName;
  LevelList measurementLevels;
};
