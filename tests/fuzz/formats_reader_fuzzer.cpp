// Feeds arbitrary bytes to one of the readers of .dta, .sas7bdat and
// transport files (chosen when built: CODEBOOK_FUZZ_READER), straight, not
// through the choice by signature, so that mutations reach the reader's
// insides: opening and reading every case, row by row and in batches, must
// end in a value or in one of the reader's own errors, never in a crash, a
// hang or a runaway allocation; and every value must show.
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "platform/data/case_batch.h"
#include "platform/data/data_error.h"
#include "platform/data/dta/read_dta.h"
#include "platform/data/sas/read_sas7bdat.h"
#include "platform/data/sas/read_xpt.h"
#include "platform/data/sav/byte_source.h"
#include "platform/output/format/value_format.h"

namespace {

using namespace codebook::data;

ReadResult Open(const std::uint8_t* data, std::size_t size) {
  auto source = sav::MemorySource(std::vector<std::uint8_t>(data, data + size), "fuzz");
  ReadOptions options;
#if CODEBOOK_FUZZ_READER == 1
  return dta::ReadDta(std::move(source), options, std::nullopt);
#elif CODEBOOK_FUZZ_READER == 2
  return sas::ReadSas7bdat(std::move(source), options, std::nullopt, std::string());
#else
  return sas::ReadXpt(std::move(source), options, std::nullopt);
#endif
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  try {
    ReadResult result = Open(data, size);
    const Dataset& ds = *result.dataset;
    const Dictionary& dictionary = ds.GetDictionary();
    std::int64_t cases = 0;
    if (auto stream = ds.OpenCases()) {
      while (const OBS* row = stream->Next()) {
        ++cases;
        for (int v = 0; v < dictionary.VariableCount(); ++v) {
          const Variable& variable = *dictionary.GetVariable(v);
          if (!variable.IsNumeric()) continue;
          const OBS* cell = row + dictionary.CellOffset(v);
          (void)codebook::output::FormatNumber(cell->d, variable.PrintFormat(), codebook::output::FieldMode::kCell);
          (void)variable.IsMissing(cell);
        }
      }
    }
    std::int64_t inBatches = 0;
    if (auto stream = ds.OpenCases()) {
      CaseBatch batch;
      batch.Shape(static_cast<std::size_t>(dictionary.CellsPerCase()), 64);
      while (stream->NextBatch(batch)) inBatches += static_cast<std::int64_t>(batch.size());
    }
    if (inBatches != cases) __builtin_trap();
  } catch (const FileError&) {
  } catch (const DataError&) {
  }
  return 0;
}
