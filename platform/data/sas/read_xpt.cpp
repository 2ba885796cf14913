#include "platform/data/sas/read_xpt.h"

#include <stdexcept>

#include "platform/data/byte_cursor.h"
#include "platform/data/read_ahead_stream.h"
#include "platform/data/row_case_stream.h"
#include "platform/data/sas/sas_dictionary.h"
#include "platform/data/sas/xpt_layout.h"
#include "platform/data/sav/file_error.h"
#include "platform/data/sav/text_encoding.h"
#include "platform/data/sav/warnings.h"

namespace codebook::data::sas {
namespace {

constexpr std::uint64_t kReadAheadFrom = 1 << 20;  // bytes of case data
constexpr const char* kFormat = "SAS transport file";
// A transport file does not say how its text is encoded: text that is
// valid UTF-8 is taken as such, other text as windows-1252.
constexpr const char* kFallback = "windows-1252";

ReadResult Read(std::shared_ptr<const sav::ByteSource> source, const ReadOptions& options,
                std::optional<std::string> fileSpec) {
  sav::Warnings warnings;
  const XptLayout layout = ReadXptLayout(*source, warnings);
  const std::string encoding = sav::ResolveEncodingName(options.encoding.empty() ? "UTF-8" : options.encoding);
  if (encoding.empty()) throw FileError(source->Name(), "unknown encoding " + options.encoding);
  const bool guess = options.encoding.empty();
  const sav::TextDecoder decoder(encoding);
  const sav::TextDecoder fallback(kFallback);
  const sav::TextDecoder* alternative = guess ? &fallback : nullptr;

  std::vector<SasVariable> variables;
  for (const XptVariable& x : layout.variables) {
    SasVariable v;
    v.name = DecodeSasText(x.name, decoder, alternative);
    v.label = DecodeSasText(x.label, decoder, alternative);
    v.format = ParseSasFormat(x.format, x.formatWidth, x.formatDecimals);
    v.isString = x.isString;
    v.offset = x.position;
    v.length = x.length;
    variables.push_back(std::move(v));
  }
  SasDictionary built;
  try {
    built = BuildSasDictionary(variables, decoder.IsUtf8() && !guess ? 1 : 3, nullptr, warnings);
  } catch (const std::logic_error& e) {
    throw FileError(source->Name(), std::string("unusable dictionary: ") + e.what());
  }
  const std::string label = DecodeSasText(layout.datasetLabel, decoder, alternative);
  if (!label.empty()) built.dictionary.SetFileLabel(label);
  const std::string name = DecodeSasText(layout.datasetName, decoder, alternative);
  if (!name.empty()) built.dictionary.SetAttributes(DatasourceAttributes({{"DatasetName", {name}}}));
  built.dictionary.SetEncoding(sav::CanonicalEncodingName(encoding));

  RowLayout rows;
  rows.fileName = source->Name();
  rows.format = kFormat;
  rows.rowBytes = static_cast<std::size_t>(layout.rowBytes);
  rows.cellsPerCase = static_cast<std::size_t>(built.dictionary.CellsPerCase());
  rows.cases = static_cast<std::int64_t>(layout.cases);
  SasRows kind;
  kind.numbers = NumberKind::kTransport;
  kind.encoding = encoding;
  kind.fallback = guess ? kFallback : "";
  const bool readAhead = layout.cases * layout.rowBytes >= kReadAheadFrom;
  const std::uint64_t dataOffset = layout.dataOffset;
  const std::uint64_t cases = layout.cases;
  auto columns = std::make_shared<const std::vector<SasColumn>>(built.columns);
  auto factory = [source, rows, kind, columns, dataOffset, cases, readAhead]() -> std::unique_ptr<CaseStream> {
    std::unique_ptr<CaseStream> stream = MakeRowCaseStream(ContiguousRows(source, dataOffset, rows.rowBytes, cases),
                                                           MakeSasRowDecoder(*columns, kind), rows);
    return readAhead ? ReadAhead(std::move(stream), rows.cellsPerCase) : std::move(stream);
  };

  ReadResult result;
  result.info.format = "SAS transport file version " + std::to_string(layout.version);
  result.info.bigEndian = true;
  result.info.encoding = sav::CanonicalEncodingName(encoding);
  result.info.encodingGuessed = guess;
  result.info.creationDate = layout.created;
  const auto count = static_cast<std::int64_t>(layout.rowBytes == 0 ? 0 : layout.cases);
  result.dataset = std::make_shared<Dataset>(std::move(built.dictionary), count,
                                             layout.rowBytes == 0 ? Dataset::CaseStreamFactory() : factory,
                                             std::move(fileSpec));
  result.warnings = warnings.Finish();
  return result;
}

}  // namespace

ReadResult ReadXpt(std::shared_ptr<const sav::ByteSource> source, const ReadOptions& options,
                   std::optional<std::string> fileSpec) {
  const std::string name = source->Name();
  return NamingTheFormat(name, kFormat, [&] { return Read(std::move(source), options, std::move(fileSpec)); });
}

}  // namespace codebook::data::sas
