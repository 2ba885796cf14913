// The output stage of one CODEBOOK run: orders the items, runs the statistics
// pass, and writes the File Information table, one information table per
// variable or multiple-response set, and the closing warnings.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "host/aggregate/aggregation_statistic.h"
#include "host/aggregate/statistic_codes.h"
#include "host/data/data_source.h"
#include "host/output/bp_procedure.h"
#include "host/syntax/parser_message.h"
#include "parser/cbkrequest.h"
#include "statistics/variablestatistics.h"
#include "variables/cbkvariable.h"

class CbkOutput {
 public:
  CbkOutput(const CbkRequest* request, ProcedureDataSource& dataSource, BpProcedure& procedure,
            ParserMessage& message);
  ~CbkOutput();
  CbkOutput(const CbkOutput&) = delete;
  CbkOutput& operator=(const CbkOutput&) = delete;

  void DisplayOutput();

  int BuildScaleStatList(bool allStatistics);
  int BuildCatStatList(std::vector<AggregationStatistic>& list, bool allStatistics);
  int GetContStatIndex(TableEncryptionCodes::StatisticCodes code);

  // Ordering of the items.
  void SortVariables(VarEntryList& list);
  void SortByName(VarEntryList& list);
  void SortByMeasure(VarEntryList& list);
  void SortByAttribute(VarEntryList& list, const std::string& attributeName);
  bool hasAttributeName(int variableIndex, const std::string& attributeName, std::string& value);

  // Tables.
  void DisplayFileInfoTable(double weightedCaseCount);
  unsigned int DisplayVariableInfoTableForVar(int variableIndex, unsigned int statisticsPosition,
                                              bool allStatistics,
                                              CBKVariable::MEASUREMENT_LEVEL level);
  void DisplayVariableInfoTableForMRSet(const std::string& setName,
                                        const CBKVariableResolver* resolver,
                                        unsigned int statisticsPosition, bool allStatistics);

 private:
  const CbkRequest* fRequest;
  ProcedureDataSource& fDataSource;
  BpProcedure& fProcedure;
  VariableStatistics* fStatistics = nullptr;
  ParserMessage& fMessage;
  std::string fNoInfoNames;
  std::vector<bool> fVarStatus;
  std::vector<TableEncryptionCodes::StatisticCodes> fScaleStatCodes;
};

// Orderings used by the sorts: true when the first goes before the second.
using MeasureKeyPair = std::pair<int, VarEntry>;
using AttributeValuePair = std::pair<std::string, VarEntry>;
bool CompairPairByIndexAsending(VarEntry a, VarEntry b);
bool CompairPairByIndexDesending(VarEntry a, VarEntry b);
bool CompairStringPair(VarEntry a, VarEntry b);
bool CompairIntPair(MeasureKeyPair a, MeasureKeyPair b);
bool CompairStringAndStringPairAscending(AttributeValuePair a, AttributeValuePair b);
bool CompairStringAndStringPairDescending(AttributeValuePair a, AttributeValuePair b);

// Case-insensitive equality of two names of the same length.
bool IsEqual(std::string a, std::string b);
// Attribute names beginning with "@" or "$@" are hidden.
bool IsHidden(const std::string& name);
// Row label of value `index` of an attribute with `count` values: the name
// alone for one value, otherwise name[i] zero-padded to the digits of count.
void BuildAttrName(const std::string& name, int index, int count, std::string& out);

// Format names: "F", "A", "DATETIME", ... and descriptors such as "F8.2".
std::string GetFormatName(const VELA_Format& format);
std::string GetFormatDescriptor(const VELA_Format& format);
