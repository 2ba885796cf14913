// Feeds arbitrary bytes to the dataset file reader: opening, reading every
// case and writing the result back must end in a value or in one of the
// reader's own errors, never in a crash, a hang or a runaway allocation.
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <vector>

#include "platform/data/case_batch.h"
#include "platform/data/data_error.h"
#include "platform/data/sav/read_dataset.h"
#include "platform/data/sav/write_dataset.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace codebook::data;
  try {
    ReadResult result = ReadDatasetBytes(std::vector<std::uint8_t>(data, data + size), "fuzz.sav");
    const Dataset& ds = *result.dataset;
    std::int64_t cases = 0;
    if (auto stream = ds.OpenCases()) {
      while (stream->Next()) ++cases;
    }
    // The same cases in column batches, the way a pass reads them, must
    // come to the same count.
    std::int64_t inBatches = 0;
    if (auto stream = ds.OpenCases()) {
      CaseBatch batch;
      batch.Shape(static_cast<std::size_t>(ds.GetDictionary().CellsPerCase()), 64);
      while (stream->NextBatch(batch)) inBatches += static_cast<std::int64_t>(batch.size());
    }
    if (inBatches != cases) __builtin_trap();
    // A dataset that reads completely must also write.
    WriteOptions options;
    options.compression = FileCompression::kBytecode;
    (void)WriteDatasetBytes(ds, options);
    (void)cases;
  } catch (const FileError&) {
  } catch (const DataError&) {
  }
  return 0;
}
