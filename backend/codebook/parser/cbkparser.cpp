#include "parser/cbkparser.h"

#include <cstring>
#include <string>
#include <utility>

#include "cbk_assert.h"
#include "host/data/text.h"
#include "host/data/value_labels.h"
#include "host/syntax/token_sequence.h"
#include "host/syntax/universal_parser.h"
#include "host/syntax/up_spec_types.h"

namespace {

const std::string kStrCbkCODEBOOK = "CODEBOOK";
const std::string kStrCbkVARINFO = "VARINFO";
const std::string kStrCbkPOSITION = "POSITION";
const std::string kStrCbkLABEL = "LABEL";
const std::string kStrCbkTYPE = "TYPE";
const std::string kStrCbkFORMAT = "FORMAT";
const std::string kStrCbkMEASURE = "MEASURE";
const std::string kStrCbkROLE = "ROLE";
const std::string kStrCbkATTRIBUTES = "ATTRIBUTES";
const std::string kStrCbkVALUELABELS = "VALUELABELS";
const std::string kStrCbkMISSING = "MISSING";
const std::string kStrCbkRESERVEDATTRIBUTES = "RESERVEDATTRIBUTES";
const std::string kStrCbkFILEINFO = "FILEINFO";
const std::string kStrCbkNAME = "NAME";
const std::string kStrCbkLOCATION = "LOCATION";
const std::string kStrCbkCASECOUNT = "CASECOUNT";
const std::string kStrCbkDOCUMENT = "DOCUMENTS";
const std::string kStrCbkWEIGHT = "WEIGHT";
const std::string kStrCbkSTATISTICS = "STATISTICS";
const std::string kStrCbkNONE = "NONE";
const std::string kStrCbkCOUNT = "COUNT";
const std::string kStrCbkPERCENT = "PERCENT";
const std::string kStrCbkMEAN = "MEAN";
const std::string kStrCbkSTDDEV = "STDDEV";
const std::string kStrCbkQUARTILES = "QUARTILES";
const std::string kStrCbkOPTIONS = "OPTIONS";
const std::string kStrCbkMAXCATS = "MAXCATS";
const std::string kStrCbkVARORDER = "VARORDER";
const std::string kStrCbkFILE = "FILE";
const std::string kStrCbkALPHA = "ALPHA";
const std::string kStrCbkVARLIST = "VARLIST";
const std::string kStrCbkATTRIBUTE = "ATTRIBUTE";
const std::string kStrCbkSORT = "SORT";
const std::string kStrCbkASCENDING = "ASCENDING";
const std::string kStrCbkDESCENDING = "DESCENDING";

constexpr const char* kSource = "backend/codebook/parser/cbkparser";
constexpr const char* kMustFollow =
    "< ^1 > must be followed by one or more keywords. This subcommand ignored.";
constexpr const char* kCommandError = "Error in < ^1 > command.";
constexpr const char* kDuplicate = "Duplicate variable or MRset name.";
constexpr const char* kInvalidName = "^1 Invalid or non-existent variable name.";
constexpr const char* kInvalidLevel = "Invalid measurement level.";

bool CheckTokenUpperString(const TokenInfoObj* token, const char* text) {
  return std::strcmp(token->getUpperString().c_str(), text) == 0;
}

bool GetTokensFromTokenList(const std::vector<TokenInfoObj>& tokens, std::vector<TokenInfoObj>& out,
                            unsigned long start, unsigned long count, const char* open,
                            const char* close) {
  if (start == 0 || tokens.size() < start + count + 1) return false;
  if (!CheckTokenUpperString(&tokens[start - 1], open)) return false;
  if (!CheckTokenUpperString(&tokens[start + count], close)) return false;
  out.clear();
  for (unsigned long i = start; i < start + count; ++i) out.push_back(tokens[i]);
  return true;
}

bool IsEqual(std::string a, std::string b) {
  if (a.size() != b.size()) return false;
  return VELAMBstrnicmp_A(a.c_str(), b.c_str(), a.size()) == 0;
}

bool StartsWithDollar(const std::string& text) { return !text.empty() && text[0] == '$'; }

// The level a variable is described with by default: the dictionary's nominal
// and ordinal become categorical, everything else scale.
CBKVariable::MEASUREMENT_LEVEL DefaultLevel(const VELA_Variable* variable) {
  const int level = variable != nullptr ? variable->GetMeasurementLevel() : 0;
  return (level == 1 || level == 2) ? CBKVariable::kCategorical : CBKVariable::kScale;
}

}  // namespace

CbkParser::CbkParser(ProcedureDataSource& dataSource, ParserMessage& messages)
    : dataSource(dataSource), request(new CbkRequest), messages(messages) {
  const int columns = dataSource.ColumnCount();
  CbkRequest::LevelList levels = request->GetUserVariableSettings();
  levels.insert(levels.end(), static_cast<std::size_t>(columns), CBKVariable::kScale);
  mrSetCounter = static_cast<std::uint64_t>(columns);
  levels.insert(levels.end(), dataSource.GetMRSets().size(), CBKVariable::kCategorical);
  request->SetUserVariableSettings(levels);
}

CbkParser::~CbkParser() {
  delete request;
  request = nullptr;
}

bool CbkParser::Parse() {
  CommandSpec spec;
  if (!GetCmdSpec(spec)) return false;
  return DecodeAll(spec);
}

bool CbkParser::GetCmdSpec(CommandSpec& spec) {
  CommandDescriptor descriptor(kStrCbkCODEBOOK);
  InitCmdDesc(descriptor);
  VELA_TokenSequence sequence(true);
  UniversalParser parser(sequence, spec, descriptor);
  return parser.getCommandSpecifications() == 0;
}

void CbkParser::InitCmdDesc(CommandDescriptor& descriptor) {
  using namespace UPSpecTypes;
  const auto keywords = [](SubComDescriptor& sub, std::initializer_list<const std::string*> names) {
    for (const std::string* name : names) sub.addParamDesc(*name, kParamKeyword, false, true, kNoBrackets);
  };

  SubComDescriptor variables("", kSubComKeywords, false, false);
  variables.allowSubComEmpty(true);
  variables.setExportParamDesc(kParamExportTokens, false);
  descriptor.addSubComDesc(variables);

  SubComDescriptor varinfo(kStrCbkVARINFO, kSubComKeywords, false, false);
  varinfo.allowSubComEmpty(true);
  keywords(varinfo, {&kStrCbkPOSITION, &kStrCbkLABEL, &kStrCbkTYPE, &kStrCbkFORMAT, &kStrCbkMEASURE,
                     &kStrCbkROLE, &kStrCbkATTRIBUTES, &kStrCbkVALUELABELS, &kStrCbkMISSING,
                     &kStrCbkRESERVEDATTRIBUTES});
  descriptor.addSubComDesc(varinfo);

  SubComDescriptor fileinfo(kStrCbkFILEINFO, kSubComKeywords, false, false);
  fileinfo.allowSubComEmpty(true);
  keywords(fileinfo, {&kStrCbkNAME, &kStrCbkLOCATION, &kStrCbkCASECOUNT, &kStrCbkLABEL,
                      &kStrCbkATTRIBUTES, &kStrCbkDOCUMENT, &kStrCbkWEIGHT,
                      &kStrCbkRESERVEDATTRIBUTES});
  descriptor.addSubComDesc(fileinfo);

  SubComDescriptor statistics(kStrCbkSTATISTICS, kSubComKeywords, false, false);
  statistics.allowSubComEmpty(true);
  keywords(statistics, {&kStrCbkNONE, &kStrCbkCOUNT, &kStrCbkPERCENT, &kStrCbkMEAN, &kStrCbkSTDDEV,
                        &kStrCbkQUARTILES});
  descriptor.addSubComDesc(statistics);

  SubComDescriptor options(kStrCbkOPTIONS, kSubComKeywords, false, false);
  options.allowSubComEmpty(true);
  options.setExportParamDesc(kParamExportTokens, false);
  options.addParamDesc(kStrCbkMAXCATS, kParamInteger, false, true, kNoBrackets);
  ParamDescriptor varorder(kStrCbkVARORDER, kParamQualifiedKey, false, true, kNoBrackets);
  varorder.addQualifDesc(kStrCbkFILE);
  varorder.addQualifDesc(kStrCbkALPHA);
  varorder.addQualifDesc(kStrCbkVARLIST);
  varorder.addQualifDesc(kStrCbkMEASURE);
  ParamDescriptor attribute(kStrCbkATTRIBUTE, kParamString, false, true, kNoBrackets);
  varorder.addQualifDesc(attribute);
  options.addParamDesc(varorder);
  ParamDescriptor sort(kStrCbkSORT, kParamString, false, true, kNoBrackets);
  sort.addStringValue(kStrCbkASCENDING);
  sort.addStringValue(kStrCbkDESCENDING);
  options.addParamDesc(sort);
  descriptor.addSubComDesc(options);
}

// --- Subcommands -----------------------------------------------------------

bool CbkParser::DecodeAll(const CommandSpec& spec) {
  bool ok = true;
  if (const SubComObj* variables = spec.getSubComObj("")) {
    ok = ProcessNoNameSubCmd(*variables);
  } else {
    VarEntryList scratch;
    FillAllVariables(true, true, scratch);
  }
  if (ok) ok = DecodeVARINFO(spec);
  if (ok) ok = DecodeFILEINFO(spec);
  if (ok) ok = DecodeSTATISTICS(spec);
  if (ok) ok = DecodeOPTIPION(spec);
  return ok;
}

namespace {

// Which of a subcommand's keywords were given. A subcommand given without any
// is warned about and not included. Returns whether it is included.
template <std::size_t N>
bool ReadKeywordFlags(const CommandSpec& spec, const std::string& subcommand,
                      const std::string* const (&keywords)[N], bool (&flags)[N],
                      const ParserMessage& messages) {
  const SubComObj* sub = spec.getSubComObj(subcommand);
  if (sub == nullptr) return false;
  bool any = false;
  for (std::size_t i = 0; i < N; ++i) {
    flags[i] = sub->getParamObj(*keywords[i]) != nullptr;
    any = any || flags[i];
  }
  if (!any) messages.GenericWarning(kMustFollow, subcommand.c_str());
  return any;
}

}  // namespace

bool CbkParser::DecodeVARINFO(const CommandSpec& spec) {
  request->SetVARINFOincluded(false);
  static const std::string* const keywords[10] = {
      &kStrCbkPOSITION, &kStrCbkLABEL,      &kStrCbkTYPE,        &kStrCbkFORMAT,  &kStrCbkMEASURE,
      &kStrCbkROLE,     &kStrCbkATTRIBUTES, &kStrCbkVALUELABELS, &kStrCbkMISSING, &kStrCbkRESERVEDATTRIBUTES};
  bool flags[10] = {};
  if (ReadKeywordFlags(spec, kStrCbkVARINFO, keywords, flags, messages)) request->SetVARINFOincluded(true);
  request->SetVarInfoRequest(flags[0], flags[1], flags[2], flags[3], flags[4], flags[5], flags[6],
                             flags[7], flags[8], flags[9]);
  return true;
}

bool CbkParser::DecodeFILEINFO(const CommandSpec& spec) {
  request->SetFILEINFOincluded(false);
  static const std::string* const keywords[8] = {
      &kStrCbkNAME,       &kStrCbkLOCATION, &kStrCbkCASECOUNT, &kStrCbkLABEL,
      &kStrCbkATTRIBUTES, &kStrCbkDOCUMENT, &kStrCbkWEIGHT,    &kStrCbkRESERVEDATTRIBUTES};
  bool flags[8] = {};
  if (ReadKeywordFlags(spec, kStrCbkFILEINFO, keywords, flags, messages)) request->SetFILEINFOincluded(true);
  request->SetFileInfoRequest(flags[0], flags[1], flags[2], flags[3], flags[4], flags[5], flags[6],
                              flags[7]);
  return true;
}

bool CbkParser::DecodeSTATISTICS(const CommandSpec& spec) {
  request->SetSTATISTICSinclude(false);
  bool none = false;
  bool count = false, percent = false, mean = false, stdDev = false, quartiles = false;
  bool named = false;
  bool ok = true;
  const SubComObj* sub = spec.getSubComObj(kStrCbkSTATISTICS);
  if (sub != nullptr) {
    none = sub->getParamObj(kStrCbkNONE) != nullptr;
    count = sub->getParamObj(kStrCbkCOUNT) != nullptr;
    percent = sub->getParamObj(kStrCbkPERCENT) != nullptr;
    mean = sub->getParamObj(kStrCbkMEAN) != nullptr;
    stdDev = sub->getParamObj(kStrCbkSTDDEV) != nullptr;
    quartiles = sub->getParamObj(kStrCbkQUARTILES) != nullptr;
    named = count || percent || mean || stdDev || quartiles;
  }
  if (none && named) {
    messages.ParamExclAnyOther(kStrCbkNONE.c_str(), kStrCbkSTATISTICS.c_str());
    ok = false;
  }
  if (ok && sub != nullptr) {
    if (!none && !named) {
      messages.GenericWarning(kMustFollow, kStrCbkSTATISTICS.c_str());
    } else {
      request->SetSTATISTICSinclude(true);
    }
  }
  if (!ok) return false;
  if (none) {
    request->SetStatsNone(true);
  } else {
    request->SetStatsRequest(count, percent, mean, stdDev, quartiles);
  }
  return true;
}

bool CbkParser::DecodeOPTIPION(const CommandSpec& spec) {
  bool ok = true;
  bool noKeyword = true;
  CbkRequest::OrderBy order = CbkRequest::OrderByVarList;
  const SubComObj* sub = spec.getSubComObj(kStrCbkOPTIONS);
  if (sub == nullptr) return true;
  // Set before any parameter is looked at: the flag stays true even when the
  // subcommand ends up ignored.
  request->SetOPTIONinclude(true);

  if (const ParamObj* maxCats = sub->getParamObj(kStrCbkMAXCATS)) {
    int value = 200;
    if (maxCats->getIntegerValue(value) && value > 0) {
      request->SetMaxCats(static_cast<unsigned int>(value));
      noKeyword = false;
    } else {
      request->SetMaxCats(200);
      messages.GenericWarning("MAXCATS must be a positive integer.");
    }
  }

  if (const ParamObj* varorder = sub->getParamObj(kStrCbkVARORDER)) {
    ParamObj qualifier;
    varorder->getStringAndQual(qualifier, nullptr, nullptr);
    const std::string name = qualifier.getParamName();
    static const std::pair<const std::string*, CbkRequest::OrderBy> kOrders[] = {
        {&kStrCbkFILE, CbkRequest::OrderByFile},
        {&kStrCbkALPHA, CbkRequest::OrderByAlpha},
        {&kStrCbkVARLIST, CbkRequest::OrderByVarList},
        {&kStrCbkMEASURE, CbkRequest::OrderByMeasure}};
    bool matched = false;
    for (const auto& [keyword, value] : kOrders) {
      if (!matched && IsEqual(name, *keyword)) {
        order = value;
        matched = true;
      }
    }
    if (matched) {
      noKeyword = false;
    } else if (IsEqual(name, kStrCbkATTRIBUTE)) {
      order = CbkRequest::OrderByAttribute;
      std::string attributeName;
      qualifier.getStringGeneric(attributeName);
      if (hasAttributeName(attributeName)) {
        request->SetAttributeName(attributeName);
      } else {
        order = CbkRequest::OrderByVarList;
        messages.GenericWarning("Invalid attribute name specified for VARORDER.");
      }
      noKeyword = false;
    } else {
      ok = false;
    }
  }

  bool ascending = true;
  if (const ParamObj* sort = sub->getParamObj(kStrCbkSORT)) {
    ParamObj qualifier;
    sort->getStringAndQual(qualifier, nullptr, nullptr);
    const std::string name = qualifier.getParamName();
    if (IsEqual(name, kStrCbkASCENDING)) {
      ascending = true;
      noKeyword = false;
    } else if (IsEqual(name, kStrCbkDESCENDING)) {
      ascending = false;
      noKeyword = false;
    } else {
      ok = false;
    }
  }

  if (noKeyword) {
    messages.GenericWarning(kMustFollow, kStrCbkOPTIONS.c_str());
  } else {
    request->SetOPTIONinclude(true);
  }
  request->SetAscending(ascending);
  request->SetVARORDER(order);
  return ok;
}

bool CbkParser::hasAttributeName(const std::string& name) {
  bool found = false;
  for (const VarEntry& entry : request->GetVarList()) {
    if (StartsWithDollar(entry.first)) continue;
    const VELA_Variable* variable = dataSource.GetVariable(entry.second);
    if (variable == nullptr) continue;
    const DatasourceAttributes& attributes = variable->GetAttributes();
    for (std::size_t i = 0; i < attributes.Size(); ++i) {
      const std::string& attribute = attributes.Name(i);
      // The "$@" half never decides: it is reached only when the first
      // character is not "$". Names beginning "$@" are rejected all the same.
      const bool reserved =
          (!attribute.empty() && attribute[0] == '$') || attribute.compare(0, 2, "$@") == 0;
      if (IsEqual(name, attribute) && !reserved) found = true;
    }
  }
  return found;
}

// --- The variable list -----------------------------------------------------

const std::vector<TokenInfoObj>* CbkParser::ReadTokens(const ParamObj* param) {
  if (param == nullptr) return nullptr;
  if (tokensOf != param) {
    tokens.clear();
    if (!param->getTokenList(tokens)) return nullptr;
    tokensOf = param;
  }
  return &tokens;
}

void CbkParser::TrackList(const VarEntryList* list) {
  trackedList = list;
  firstPosition.clear();
  if (list == nullptr) return;
  for (std::size_t i = 0; i < list->size(); ++i) {
    firstPosition.emplace((*list)[i].second, static_cast<int>(i));
  }
}

void CbkParser::AppendEntry(VarEntryList& list, VarEntry entry) {
  if (&list == trackedList) firstPosition.emplace(entry.second, static_cast<int>(list.size()));
  list.push_back(std::move(entry));
}

bool CbkParser::IsVarIndexInIndexList(const VarEntryList& list, int index, int& position) {
  if (&list == trackedList && firstPosition.size() <= list.size()) {
    const auto found = firstPosition.find(index);
    if (found == firstPosition.end()) return false;
    position = found->second;
    return true;
  }
  for (std::size_t i = 0; i < list.size(); ++i) {
    if (list[i].second == index) {
      position = static_cast<int>(i);
      return true;
    }
  }
  return false;
}

bool CbkParser::ProcessNoNameSubCmd(const SubComObj& subcommand) {
  bool ok = true;
  VarEntryList list;
  TrackList(&list);
  const unsigned long n = subcommand.getTokenListSize();
  for (unsigned long i = 0; ok && i < n; ++i) {
    const TokenInfoObj* token = subcommand.getTokenObj(i);
    const ParamObj* param = subcommand.exportParamObj();
    if (CheckTokenUpperString(token, "ALL")) {
      ok = ProcessNoNameSubCmdALL(i, list, param);
    } else if (CheckTokenUpperString(token, "$ALL")) {
      if (!dataSource.GetMRSets().empty()) {
        request->SetAllMRSets(true);
        FillAllVariables(false, true, list);
      } else {
        messages.GenericError("No MRSet.");
        ok = false;
      }
    } else if (i + 1 < n && CheckTokenUpperString(subcommand.getTokenObj(i + 1), "TO")) {
      ok = ProcessNoNameSubCmdTO(0, i, list, param);
    } else if (i + 4 < n && CheckTokenUpperString(subcommand.getTokenObj(i + 1), "[") &&
               CheckTokenUpperString(subcommand.getTokenObj(i + 3), "]") &&
               CheckTokenUpperString(subcommand.getTokenObj(i + 4), "TO")) {
      ok = ProcessNoNameSubCmdTO(1, i, list, param);
    } else if (StartsWithDollar(token->getString())) {
      if (request->ALLMRSets()) {
        messages.GenericError(kDuplicate);
        ok = false;
      } else {
        const std::string name = token->getString();
        ok = ProcessNoNameSubCmdMRSets(name);
        if (!ok) {
          messages.GenericError(kInvalidName, name.c_str());
        } else {
          namedMRSets.push_back(VelaVarName(name));
          AppendEntry(list, VarEntry(name, static_cast<std::int32_t>(mrSetCounter++)));
          ok = ProcessNoNameSubCmdMRSetML(i, param);
        }
      }
    } else {
      ok = ProcessNoNameSubCmdVariable(false, i, list, param);
    }
  }
  if (ok) request->SetVariableList(list);
  TrackList(nullptr);
  return ok;
}

bool CbkParser::ProcessNoNameSubCmdALL(unsigned long& tokenIndex, VarEntryList& list,
                                       const ParamObj* param) {
  const ParamObj* paramObjPtr = param;
  CBK_ASSERT(paramObjPtr);
  bool ok = true;
  const std::vector<TokenInfoObj>* all = ReadTokens(param);
  if (all == nullptr) {
    messages.GenericError(kCommandError, kStrCbkCODEBOOK.c_str());
    ok = false;
  }
  unsigned long j = tokenIndex;
  const int columns = dataSource.ColumnCount();
  for (int v = 0; ok && v < columns; ++v) {
    int position = 0;
    if (IsVarIndexInIndexList(list, v, position)) {
      messages.GenericError(kDuplicate, (*all)[tokenIndex].getString().c_str());
      ok = false;
    } else {
      AppendEntry(list, VarEntry(dataSource.GetVariable(v)->GetName(), v));
      // A fresh copy of the position per variable: a specifier after ALL
      // applies to every variable.
      j = tokenIndex;
      ok = ProcessNoNameSubCmdVarML(true, j, v, list, param);
    }
  }
  if (ok) tokenIndex = j;
  return ok;
}

bool CbkParser::ProcessNoNameSubCmdTO(int withBracket, unsigned long& tokenIndex,
                                      VarEntryList& list, const ParamObj* param) {
  const ParamObj* paramObjPtr = param;
  CBK_ASSERT(paramObjPtr);
  const std::vector<TokenInfoObj>* all = ReadTokens(param);
  if (all == nullptr) {
    messages.GenericError(kCommandError, kStrCbkCODEBOOK.c_str());
    return false;
  }
  const unsigned long k = 3UL * static_cast<unsigned long>(withBracket);
  if (all->size() < tokenIndex + k + 3) {
    messages.KeywordImproperVarList("TO", nullptr, nullptr);
    return false;
  }
  bool ok = true;
  const std::string first = (*all)[tokenIndex].getString();
  const std::string last = (*all)[tokenIndex + k + 2].getString();
  if (StartsWithDollar(first) || StartsWithDollar(last)) {
    messages.GenericError("^1 TO ^2 keyword used for multiple response sets.", first.c_str(),
                          last.c_str());
    ok = false;
  }
  int a = -1;
  int b = -1;
  if (ok) {
    const bool firstOk = ValidateExistingVar(VelaVarName(first), a);
    const bool lastOk = ValidateExistingVar(VelaVarName(last), b);
    ok = firstOk && lastOk;
  }
  if (ok && a == b) {
    messages.KeywordImproperVarList("TO", nullptr, nullptr);
    ok = false;
  }
  // A reversed range means the same range.
  if (ok && a > b) std::swap(a, b);
  for (int v = a; ok && v <= b; ++v) {
    bool added = false;
    int position = 0;
    if (!IsVarIndexInIndexList(list, v, position)) {
      AppendEntry(list, VarEntry(dataSource.GetVariable(v)->GetName(), v));
      added = true;
    } else if (v == a || v == b) {
      messages.GenericError(kDuplicate);
      ok = false;
    }
    // The specifier's result replaces ok even after a duplicate at an end, so
    // that error alone does not stop the range.
    if (v == a) {
      ok = ProcessNoNameSubCmdVarML(added, tokenIndex, v, list, param);
    } else if (v == b) {
      tokenIndex += 2;
      ok = ProcessNoNameSubCmdVarML(added, tokenIndex, v, list, param);
    }
  }
  return ok;
}

bool CbkParser::ProcessNoNameSubCmdVariable(bool /*flag*/, unsigned long& tokenIndex,
                                            VarEntryList& list, const ParamObj* param) {
  const std::vector<TokenInfoObj>* all = ReadTokens(param);
  if (all == nullptr) {
    messages.GenericError(kCommandError, kStrCbkCODEBOOK.c_str());
    return false;
  }
  const VelaVarName name((*all)[tokenIndex].getString());
  int index = -1;
  if (!ValidateExistingVar(name, index)) return false;
  int position = 0;
  if (IsVarIndexInIndexList(list, index, position)) {
    messages.GenericError(kDuplicate);
    return false;
  }
  AppendEntry(list, VarEntry(name.str(), index));
  return ProcessNoNameSubCmdVarML(true, tokenIndex, index, list, param);
}

void CbkParser::FillAllVariables(bool variables, bool mrSets, VarEntryList& list) {
  if (variables) {
    CbkRequest::LevelList& levels = request->UserVariableSettingsForUpdate();
    const int columns = dataSource.ColumnCount();
    for (int v = 0; v < columns; ++v) {
      const VELA_Variable* variable = dataSource.GetVariable(v);
      if (static_cast<std::size_t>(v) < levels.size()) levels[static_cast<std::size_t>(v)] = DefaultLevel(variable);
      AppendEntry(list, VarEntry(variable->GetName(), v));
    }
  }
  if (mrSets) {
    for (const VariableSetImpl& set : dataSource.GetMRSets()) {
      AppendEntry(list, VarEntry(set.Name(), static_cast<std::int32_t>(mrSetCounter++)));
    }
  }
  request->SetVariableList(list);
}

bool CbkParser::ValidateExistingVar(const VelaVarName& name, int& index) {
  index = GetVarIndex(name);
  return index != -1;
}

int CbkParser::GetVarIndex(const VelaVarName& name) const {
  if (ValidateVELAName(name.c_str()) != 0) {
    messages.GenericError(kInvalidName, name.c_str());
    return -1;
  }
  const int index = dataSource.FindVarIndex(name.c_str(), 0);
  if (index < 0) {
    messages.GenericError(kInvalidName, name.c_str());
    return -1;
  }
  return index;
}

// --- Multiple-response sets and measurement levels -------------------------

bool CbkParser::ProcessNoNameSubCmdMRSets(const std::string& name) {
  for (const VariableSetImpl& set : dataSource.GetMRSets()) {
    if (!IsEqual(set.Name(), name)) continue;
    bool named = false;
    for (const VelaVarName& earlier : namedMRSets) {
      if (IsEqual(earlier.str(), name)) {
        named = true;
        break;
      }
    }
    if (!named) {
      request->AddMRSetName(name);
      return true;
    }
    // Reported here and, by the caller, once more as an unknown name: the
    // double report is intended.
    messages.GenericError(kDuplicate);
  }
  return false;
}

bool CbkParser::ProcessNoNameSubCmdMRSetML(unsigned long& tokenIndex, const ParamObj* param) {
  const ParamObj* paramObjPtr = param;
  CBK_ASSERT(paramObjPtr);
  bool ok = true;
  std::vector<TokenInfoObj> letter;
  const std::vector<TokenInfoObj>* all = ReadTokens(param);
  if (all == nullptr) {
    messages.GenericError(kCommandError, kStrCbkCODEBOOK.c_str());
    ok = false;
  } else if (GetTokensFromTokenList(*all, letter, tokenIndex + 2, 1, "[", "]")) {
    const std::string setName = (*all)[tokenIndex].getString();
    tokenIndex += 3;
    // Sets are always categorical: [N] is accepted, nothing is stored.
    const std::string upper = letter[0].getUpperString();
    if (upper != "N") messages.GenericWarning(kInvalidLevel, setName.c_str(), upper.c_str());
  } else if (tokenIndex + 1 < all->size() && CheckTokenUpperString(&(*all)[tokenIndex + 1], "[")) {
    messages.GenericError(kCommandError, kStrCbkCODEBOOK.c_str());
    ok = false;
  }
  return ok;
}

bool CbkParser::ProcessNoNameSubCmdVarML(bool apply, unsigned long& tokenIndex, int variableIndex,
                                         const VarEntryList& list, const ParamObj* param) {
  const auto& varIndxList = list;
  CBK_ASSERT(varIndxList.size() > 0);
  const ParamObj* paramObjPtr = param;
  CBK_ASSERT(paramObjPtr);
  bool ok = true;
  // The entry is changed in place and restored on failure, which leaves the
  // request as storing a changed copy only on success would.
  CbkRequest::LevelList& levels = request->UserVariableSettingsForUpdate();
  const auto v = static_cast<std::size_t>(variableIndex);
  if (v >= levels.size()) return false;
  const CBKVariable::MEASUREMENT_LEVEL previous = levels[v];
  const VELA_Variable* variable = dataSource.GetVariable(variableIndex);
  const CBKVariable::MEASUREMENT_LEVEL d = DefaultLevel(variable);
  const bool isString = variable != nullptr && variable->GetType() != 0;
  levels[v] = d;

  std::vector<TokenInfoObj> letter;
  const std::vector<TokenInfoObj>* all = ReadTokens(param);
  if (all == nullptr) {
    messages.GenericError(kCommandError, kStrCbkCODEBOOK.c_str());
    ok = false;
  } else if (GetTokensFromTokenList(*all, letter, tokenIndex + 2, 1, "[", "]")) {
    tokenIndex += 3;
    int position = 0;
    if (apply && IsVarIndexInIndexList(list, variableIndex, position)) {
      const std::string upper = letter[0].getUpperString();
      if (isString && upper != "N" && upper != "O") {
        // A string variable cannot be scale.
        levels[v] = CBKVariable::kCategorical;
        messages.GenericWarning("Scale (continuous) measurement.");
      } else if (upper == "N") {
        levels[v] = CBKVariable::kCategorical;
      } else if (upper == "O") {
        levels[v] = CBKVariable::kOrdinal;
      } else if (upper == "S") {
        levels[v] = CBKVariable::kScale;
      } else {
        messages.GenericWarning(kInvalidLevel);
      }
    }
  } else if (tokenIndex + 1 < all->size() && CheckTokenUpperString(&(*all)[tokenIndex + 1], "[")) {
    messages.GenericError(kCommandError, kStrCbkCODEBOOK.c_str());
    ok = false;
  }
  // Looks at the default, not the letter: this also overrides an [O] given for
  // a string variable whose own level is scale. Kept on purpose.
  if (ok && isString && d == CBKVariable::kScale) levels[v] = CBKVariable::kCategorical;
  if (!ok) levels[v] = previous;
  return ok;
}
