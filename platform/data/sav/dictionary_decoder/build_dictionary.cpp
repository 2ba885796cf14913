// The decoded variables and file facts handed over to the Dictionary, in
// file order, and the facts of the header that FileInfo reports.
#include <string>

#include "platform/data/sav/dictionary_decoder/stages.h"

namespace codebook::data::sav::decode {
namespace {

// The file label is shown on one line per line end, whatever the writer's
// convention was.
std::string NormaliseLineEnds(std::string s) {
  std::string out;
  out.reserve(s.size());
  for (std::size_t i = 0; i < s.size(); ++i) {
    if (s[i] == '\r') {
      out += '\n';
      if (i + 1 < s.size() && s[i + 1] == '\n') ++i;
    } else {
      out += s[i];
    }
  }
  return out;
}

}  // namespace

void BuildDictionary(DecodeContext& c, Dictionary& dict, FileInfo& info) {
  const bool utf8 = c.decoder->IsUtf8();
  dict.Reserve(c.vars.size());
  for (VarInfo& v : c.vars) {
    std::unique_ptr<Variable> var;
    int cellWidth = 0;
    if (v.width == 0) {
      var = std::make_unique<Variable>(v.name);
    } else {
      // Text converted to UTF-8 may grow up to threefold.
      cellWidth = utf8 ? v.width : (3 * v.width + 7) / 8 * 8;
      var = std::make_unique<Variable>(v.name, v.width, cellWidth);
    }
    var->SetLabel(v.label);
    var->SetPrintFormat(v.print);
    var->SetWriteFormat(v.write);
    var->SetMeasurementLevel(v.measure);
    if (v.displayWidth > 0) var->SetDisplayWidth(v.displayWidth);
    if (v.alignment >= 0) {
      var->SetAlignment(static_cast<Alignment>(v.alignment));
    } else {
      var->SetAlignment(v.width == 0 ? Alignment::kRight : Alignment::kLeft);
    }
    std::vector<DatasourceAttributes::Attribute> attributes;
    for (auto& a : v.attributes) attributes.push_back({std::move(a.name), std::move(a.values)});
    var->SetAttributes(DatasourceAttributes(std::move(attributes)));
    if (auto labels = MakeValueLabelSet(c, v, cellWidth)) var->SetValueLabels(std::move(labels));
    try {
      if (v.width == 0 && (!v.missingNumbers.empty() || v.missingRange)) {
        var->SetMissingValues(MissingValues::Numeric(v.missingNumbers, v.missingRange));
      } else if (v.width > 0 && !v.missingStrings.empty()) {
        var->SetMissingValues(MissingValues::Strings(v.missingStrings));
      }
    } catch (const std::invalid_argument& e) {
      c.warnings.Add("missing", "variable " + v.name + ": missing values dropped (" + e.what() + ")");
    }
    dict.AddVariable(std::move(var));
  }
  if (c.weightVar >= 0) dict.SetWeightIndex(c.weightVar);
  std::string label = NormaliseLineEnds(c.DecodeTrimmed(c.raw.header.fileLabel));
  if (!label.empty()) dict.SetFileLabel(std::move(label));
  for (auto& doc : DecodeDocuments(c)) dict.AddDocument(std::move(doc));
  if (auto attributes = DecodeFileAttributes(c)) dict.SetAttributes(DatasourceAttributes(std::move(*attributes)));
  dict.SetEncoding(info.encoding);
}

void FillFileInfo(DecodeContext& c, FileInfo& info, const CasePlan& plan) {
  info.compression = static_cast<FileCompression>(c.raw.header.compression);
  info.bigEndian = c.bigEndian;
  info.product = c.DecodeTrimmed(c.raw.header.product);
  info.creationDate = c.DecodeTrimmed(c.raw.header.date);
  info.creationTime = c.DecodeTrimmed(c.raw.header.time);
  info.declaredCases = plan.declaredCases;
}

}  // namespace codebook::data::sav::decode
