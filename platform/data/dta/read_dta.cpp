#include "platform/data/dta/read_dta.h"

#include <stdexcept>

#include "platform/data/byte_cursor.h"
#include "platform/data/dta/dta_case_stream.h"
#include "platform/data/dta/dta_layout.h"
#include "platform/data/dta/dta_mapping.h"
#include "platform/data/dta/dta_strls.h"
#include "platform/data/dta/dta_value_labels.h"
#include "platform/data/read_ahead_stream.h"
#include "platform/data/sav/file_error.h"
#include "platform/data/sav/text_encoding.h"
#include "platform/data/sav/warnings.h"

namespace codebook::data::dta {
namespace {

constexpr std::uint64_t kReadAheadFrom = 1 << 20;  // bytes of case data
constexpr const char* kFormat = "Stata .dta file";

// Until release 118 a file says nothing of its encoding; such files were
// written on systems whose text was windows-1252 as a rule.
constexpr const char* kOlderDefault = "windows-1252";

std::string EncodingOf(const DtaLayout& layout, const ReadOptions& options, const std::string& file) {
  const std::string wanted = !options.encoding.empty() ? options.encoding : (layout.Utf8() ? "UTF-8" : kOlderDefault);
  const std::string resolved = sav::ResolveEncodingName(wanted);
  if (resolved.empty()) throw FileError(file, "unknown encoding " + wanted);
  return resolved;
}

ReadResult Read(std::shared_ptr<const sav::ByteSource> source, const ReadOptions& options,
                std::optional<std::string> fileSpec) {
  sav::Warnings warnings;
  const DtaLayout layout = ReadDtaLayout(*source, warnings);
  const std::vector<RawLabelTable> tables = ReadValueLabelTables(*source, layout, warnings);
  auto strls = std::make_shared<const StrLIndex>(StrLIndex::Build(*source, layout));
  const std::string encoding = EncodingOf(layout, options, source->Name());
  const sav::TextDecoder decoder(encoding);
  DtaDictionary built;
  try {
    built = BuildDtaDictionary(layout, tables, *strls, decoder, warnings);
  } catch (const std::logic_error& e) {
    // The model refused something the file holds: still the file's fault.
    throw FileError(source->Name(), std::string("unusable dictionary: ") + e.what());
  }
  built.dictionary.SetEncoding(sav::CanonicalEncodingName(encoding));

  auto plan = std::make_shared<DtaPlan>();
  plan->fileName = source->Name();
  plan->format = kFormat;
  plan->release = layout.release;
  plan->bigEndian = layout.bigEndian;
  plan->extended = layout.ExtendedMissing();
  plan->encoding = encoding;
  plan->dataOffset = layout.dataOffset;
  plan->rowBytes = layout.rowBytes;
  plan->cases = layout.rowBytes == 0 ? 0 : layout.cases;
  plan->cellsPerCase = static_cast<std::size_t>(built.dictionary.CellsPerCase());
  plan->columns = std::move(built.columns);
  plan->strls = strls;
  plan->strlsBegin = layout.strlsBegin;
  plan->strlsEnd = layout.strlsEnd;

  const bool readAhead = plan->cases * plan->rowBytes >= kReadAheadFrom;
  std::shared_ptr<const DtaPlan> shared = plan;
  auto factory = [source, shared, readAhead]() -> std::unique_ptr<CaseStream> {
    std::unique_ptr<CaseStream> cases = OpenDtaCases(source, shared);
    return readAhead ? ReadAhead(std::move(cases), shared->cellsPerCase) : std::move(cases);
  };
  ReadResult result;
  result.info.format = "Stata .dta release " + std::to_string(layout.release);
  result.info.bigEndian = layout.bigEndian;
  result.info.encoding = sav::CanonicalEncodingName(encoding);
  result.info.encodingGuessed = options.encoding.empty() && !layout.Utf8();
  result.info.declaredCases = static_cast<std::int64_t>(plan->cases);
  // The time stamp reads "01 Jan 2024 12:00".
  const std::size_t space = layout.timestamp.rfind(' ');
  result.info.creationDate = space == std::string::npos ? layout.timestamp : layout.timestamp.substr(0, space);
  result.info.creationTime = space == std::string::npos ? std::string() : layout.timestamp.substr(space + 1);
  const auto count = static_cast<std::int64_t>(plan->cases);
  result.dataset = std::make_shared<Dataset>(std::move(built.dictionary), count,
                                             plan->rowBytes == 0 ? Dataset::CaseStreamFactory() : factory,
                                             std::move(fileSpec));
  result.warnings = warnings.Finish();
  return result;
}

}  // namespace

ReadResult ReadDta(std::shared_ptr<const sav::ByteSource> source, const ReadOptions& options,
                   std::optional<std::string> fileSpec) {
  const std::string name = source->Name();
  return NamingTheFormat(name, kFormat, [&] { return Read(std::move(source), options, std::move(fileSpec)); });
}

}  // namespace codebook::data::dta
