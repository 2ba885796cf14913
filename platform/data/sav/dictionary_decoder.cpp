// The order of the stages is forced by how the records refer to each other:
// value labels and display parameters count variable records, so they come
// before very long strings merge records; long names name the merged
// variables; attributes and the long-string records use the long names.
// Text is decoded only once the encoding is chosen, which may be declared by
// the last record of the dictionary. The stages are in dictionary_decoder/.
#include "platform/data/sav/dictionary_decoder.h"

#include "platform/data/sav/dictionary_decoder/decode_context.h"
#include "platform/data/sav/dictionary_decoder/stages.h"

namespace codebook::data::sav {

DecodedFile DecodeDictionary(const RawDictionary& raw, const ByteSource& source,
                             const ReadOptions& options, Warnings& warnings) {
  decode::DecodeContext c(raw, source, options, warnings);
  DecodedFile out;
  out.plan = std::make_shared<CasePlan>();
  CasePlan& plan = *out.plan;

  decode::BeginCasePlan(c, plan);
  decode::CheckMachineInfo(c, plan);
  decode::ChooseEncoding(c, out.info, plan);

  decode::DecodeVariableRecords(c);
  decode::FindWeightVariable(c);
  decode::AttachValueLabels(c);
  decode::ApplyDisplayParameters(c);
  const std::vector<RawMrSet> sets = decode::ParseMultipleResponseSets(c);
  decode::MergeVeryLongStrings(c);
  decode::AssignNames(c);
  decode::ApplyVariableAttributes(c);
  decode::ApplyLongStringValueLabels(c);
  decode::ApplyLongStringMissingValues(c);

  decode::BuildDictionary(c, out.dictionary, out.info);
  decode::ResolveMultipleResponseSets(c, out.dictionary, sets);
  decode::BuildCasePlan(c, out.dictionary, plan);
  decode::FillFileInfo(c, out.info, plan);
  return out;
}

}  // namespace codebook::data::sav
