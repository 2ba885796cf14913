// The stages of the dictionary decoder, one per record kind or close family
// of records, each in the file named after it. The order they must run in is
// in ../dictionary_decoder.cpp; each stage says what it needs done before.
#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "platform/data/dictionary.h"
#include "platform/data/value_label_set.h"
#include "platform/data/sav/case_plan.h"
#include "platform/data/sav/dictionary_decoder/decode_context.h"

namespace codebook::data::sav::decode {

// case_plan.cpp: what the header says of the data section (and the zlib
// header record, for compressed files), before any other stage.
void BeginCasePlan(DecodeContext& c, CasePlan& plan);

// machine_info.cpp: subtypes 3 and 4. Refuses files of other floating-point
// formats; remembers the declared special values for missing-value ranges
// and the code page for the encoding stage.
void CheckMachineInfo(DecodeContext& c, CasePlan& plan);

// character_encoding.cpp: the encoding asked for, else subtype 20, else the
// code page of subtype 3, else a guess. Every stage after it decodes text.
void ChooseEncoding(DecodeContext& c, FileInfo& info, CasePlan& plan);

// variable_records.cpp: one variable per type 2 record that is not a
// continuation (names, width, label, formats, missing values), then the
// header's weight index, which refers to variable records.
void DecodeVariableRecords(DecodeContext& c);
void FindWeightVariable(DecodeContext& c);

// value_labels.cpp: type 3/4 records, by record position, so before very
// long strings are merged; the label sets are made once the names are final.
void AttachValueLabels(DecodeContext& c);
std::shared_ptr<const ValueLabelSetImpl> MakeValueLabelSet(DecodeContext& c, const VarInfo& v, int cellWidth);

// display_parameters.cpp: subtype 11, one group per variable record that
// starts a variable, so before very long strings are merged.
void ApplyDisplayParameters(DecodeContext& c);

// multiple_response_sets.cpp: subtypes 7 and 19, parsed early; their
// members are resolved once the dictionary is built, by short name first.
std::vector<RawMrSet> ParseMultipleResponseSets(DecodeContext& c);
void ResolveMultipleResponseSets(DecodeContext& c, Dictionary& dict, const std::vector<RawMrSet>& sets);

// very_long_strings.cpp: subtype 14 merges the 255-byte segments of a
// string into one variable.
void MergeVeryLongStrings(DecodeContext& c);

// long_names.cpp: subtype 13, after the merge; gives every variable a
// unique final name (generated when the file's are empty or taken).
void AssignNames(DecodeContext& c);

// attributes.cpp: subtype 18 by final name; subtype 17 for the file
// (nullopt when the file has none).
void ApplyVariableAttributes(DecodeContext& c);
std::optional<std::vector<DatasourceAttributes::Attribute>> DecodeFileAttributes(DecodeContext& c);

// long_string_value_labels.cpp and long_string_missing_values.cpp:
// subtypes 21 and 22, by final name.
void ApplyLongStringValueLabels(DecodeContext& c);
void ApplyLongStringMissingValues(DecodeContext& c);

// documents.cpp: the type 6 record's lines, grouped into documents.
std::vector<DSDocument> DecodeDocuments(DecodeContext& c);

// build_dictionary.cpp: the variables and the file's facts handed over to
// the Dictionary and FileInfo.
void BuildDictionary(DecodeContext& c, Dictionary& dict, FileInfo& info);
void FillFileInfo(DecodeContext& c, FileInfo& info, const CasePlan& plan);

// case_plan.cpp: where each variable's values lie in a stored case, and the
// declared case count (subtype 16 over the header's).
void BuildCasePlan(DecodeContext& c, const Dictionary& dict, CasePlan& plan);

}  // namespace codebook::data::sav::decode
