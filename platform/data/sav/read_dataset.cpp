#include "platform/data/sav/read_dataset.h"

#include <algorithm>
#include <filesystem>
#include <stdexcept>

#include "platform/data/data_error.h"
#include "platform/data/read_ahead_stream.h"
#include "platform/data/sav/byte_source.h"
#include "platform/data/sav/dictionary_decoder.h"
#include "platform/data/sav/raw_dictionary.h"
#include "platform/data/sav/sav_case_stream.h"

namespace codebook::data::sav {
namespace {

constexpr std::uint64_t kReadAheadFrom = 1 << 20;  // bytes of case data

}  // namespace

ReadResult ReadSav(std::shared_ptr<const ByteSource> source, const ReadOptions& options,
                   std::optional<std::string> fileSpec) {
  Warnings warnings;
  RawDictionary raw = ReadRawDictionary(*source, warnings);
  DecodedFile decoded;
  try {
    decoded = DecodeDictionary(raw, *source, options, warnings);
  } catch (const std::logic_error& e) {
    // The model refused something the decoder let through (invalid_argument,
    // length_error...): still the file's fault, reported as such.
    throw FileError(source->Name(), std::string("unusable dictionary: ") + e.what());
  }
  std::shared_ptr<const CasePlan> plan = decoded.plan;

  std::int64_t count = plan->declaredCases;
  const std::size_t caseBytes = plan->slotsPerCase * 8;
  if (caseBytes == 0) {
    if (source->Size() > plan->dataOffset && plan->compression != Compression::kZlib) {
      warnings.Add("cases", "a file without variables has data; they are ignored");
    }
    count = 0;
  } else if (plan->compression == Compression::kNone) {
    const std::uint64_t bytes = source->Size() - plan->dataOffset;
    const auto present = static_cast<std::int64_t>(bytes / caseBytes);
    if (count >= 0 && count != present) {
      warnings.Add("cases", "the file declares " + std::to_string(count) + " cases but holds " +
                                std::to_string(present));
    }
    if (bytes % caseBytes != 0) warnings.Add("cases", "the file ends inside a case");
  } else if (count < 0 && options.countUnknownCases) {
    try {
      count = CountSavCases(source, plan);
    } catch (const DataError& e) {
      warnings.Add("cases", std::string("cannot count the cases: ") + e.what());
      count = -1;
    }
  }
  // A file without variables has no cases whatever its data section holds.
  // Files with more than a little data are decoded on a second thread while
  // the procedure reads; a small one is not worth the thread.
  const bool readAhead = source->Size() - std::min(source->Size(), plan->dataOffset) >= kReadAheadFrom;
  auto factory = [source, plan, readAhead]() -> std::unique_ptr<CaseStream> {
    std::unique_ptr<CaseStream> cases = OpenSavCases(source, plan);
    return readAhead ? ReadAhead(std::move(cases), plan->cellsPerCase) : std::move(cases);
  };
  ReadResult result;
  result.info = decoded.info;
  result.dataset = std::make_shared<Dataset>(std::move(decoded.dictionary), count,
                                             caseBytes == 0 ? Dataset::CaseStreamFactory() : factory,
                                             std::move(fileSpec));
  result.warnings = warnings.Finish();
  return result;
}

}  // namespace codebook::data::sav
