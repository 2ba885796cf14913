// Parses one CODEBOOK command into a CbkRequest: declares the grammar to the
// host's UniversalParser, then decodes the subcommands.
#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "host/data/data_source.h"
#include "host/data/text.h"
#include "host/syntax/command_descriptor.h"
#include "host/syntax/command_spec.h"
#include "host/syntax/parser_message.h"
#include "parser/cbkrequest.h"

class CbkParser {
 public:
  CbkParser(ProcedureDataSource& dataSource, ParserMessage& messages);
  ~CbkParser();
  CbkParser(const CbkParser&) = delete;
  CbkParser& operator=(const CbkParser&) = delete;

  bool Parse();
  bool GetCmdSpec(CommandSpec& spec);
  bool DecodeAll(const CommandSpec& spec);
  void InitCmdDesc(CommandDescriptor& descriptor);
  const CbkRequest& GetRequest() const { return *request; }

  // Subcommand decoders.
  bool DecodeVARINFO(const CommandSpec& spec);
  bool DecodeFILEINFO(const CommandSpec& spec);
  bool DecodeSTATISTICS(const CommandSpec& spec);
  bool DecodeOPTIPION(const CommandSpec& spec);
  bool hasAttributeName(const std::string& name);

  // The variable list.
  bool ProcessNoNameSubCmd(const SubComObj& subcommand);
  bool ProcessNoNameSubCmdALL(unsigned long& tokenIndex, VarEntryList& list, const ParamObj* param);
  bool ProcessNoNameSubCmdTO(int withBracket, unsigned long& tokenIndex, VarEntryList& list,
                             const ParamObj* param);
  bool ProcessNoNameSubCmdVariable(bool flag, unsigned long& tokenIndex, VarEntryList& list,
                                   const ParamObj* param);
  void FillAllVariables(bool variables, bool mrSets, VarEntryList& list);
  bool IsVarIndexInIndexList(const VarEntryList& list, int index, int& position);
  bool ValidateExistingVar(const VelaVarName& name, int& index);
  int GetVarIndex(const VelaVarName& name) const;

  // Multiple-response sets and measurement-level specifiers.
  bool ProcessNoNameSubCmdMRSets(const std::string& name);
  bool ProcessNoNameSubCmdMRSetML(unsigned long& tokenIndex, const ParamObj* param);
  bool ProcessNoNameSubCmdVarML(bool apply, unsigned long& tokenIndex, int variableIndex,
                                const VarEntryList& list, const ParamObj* param);

 private:
  // Reads the parameter's tokens once and hands out the same list afterwards:
  // every name of a long list would otherwise copy the whole list again.
  const std::vector<TokenInfoObj>* ReadTokens(const ParamObj* param);
  // Appends to a list, keeping the index of the list being built current.
  void AppendEntry(VarEntryList& list, VarEntry entry);
  void TrackList(const VarEntryList* list);

  ProcedureDataSource& dataSource;
  CbkRequest* request;
  ParserMessage& messages;
  std::vector<VelaVarName> namedMRSets;
  std::uint64_t mrSetCounter = 0;

  const ParamObj* tokensOf = nullptr;
  std::vector<TokenInfoObj> tokens;
  // First position of each index in the list being built, so that duplicate
  // checks are constant-time; it answers exactly what a scan from the front
  // would.
  const VarEntryList* trackedList = nullptr;
  std::unordered_map<std::int32_t, int> firstPosition;
};
