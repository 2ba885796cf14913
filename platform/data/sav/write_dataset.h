// Writing a Dataset (dictionary and cases from any CaseStream) as a dataset
// file in any of the three data layouts. Writing what was read writes the
// same bytes again (with the same options), which the tests rely on.
//
//   codebook::data::WriteOptions options;
//   options.compression = codebook::data::FileCompression::kZlib;
//   codebook::data::WriteDatasetFile(*dataset, "out.zsav", options);
//
// Text is written in options.encoding (UTF-8 by default); characters the
// encoding lacks become '?'. Fields with a fixed size in the file are cut at
// a character boundary: labels at 255 bytes (long-string value labels are
// not cut), the file label at 64, document lines at 80; a missing value of a
// string wider than 8 bytes keeps its first 8 bytes.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/data/dataset.h"
#include "platform/data/sav/read_dataset.h"

namespace codebook::data {

struct WriteOptions {
  FileCompression compression = FileCompression::kBytecode;
  bool bigEndian = false;
  std::string encoding = "UTF-8";
  // Header fields; fixed by default so that files are reproducible.
  std::string product = "@(#) codebook dataset file writer";
  std::string creationDate = "01 Jan 24";
  std::string creationTime = "12:00:00";
  // Write MTIME/YMDHMS with the host's codes 85/86 instead of 40/41.
  bool hostTimeCodes = false;
  // Uncompressed bytes per zlib block, and the zlib level.
  std::int32_t zlibBlockSize = 0x3FF000;
  int zlibLevel = 1;
};

// Throws FileError when the file cannot be written, DataError when the
// cases cannot be read, std::invalid_argument for an unknown encoding.
void WriteDatasetFile(const Dataset& dataset, const std::string& path, const WriteOptions& options = {});
std::vector<std::uint8_t> WriteDatasetBytes(const Dataset& dataset, const WriteOptions& options = {});

}  // namespace codebook::data
