// Reading SAS data sets (.sas7bdat): 32- and 64-bit layouts, either byte
// order, uncompressed; a file whose rows are compressed gets one error
// naming the compression. Value labels come from a format catalog
// (.sas7bcat) given with ReadOptions::catalog, or found beside the file;
// platform/data/read_dataset.h chooses this reader by the file's first
// bytes.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "platform/data/read_dataset.h"
#include "platform/data/sav/byte_source.h"

namespace codebook::data::sas {

// `path` is the file's path, where a catalog is looked for beside it (empty
// for bytes in memory).
ReadResult ReadSas7bdat(std::shared_ptr<const sav::ByteSource> source, const ReadOptions& options,
                        std::optional<std::string> fileSpec, const std::string& path);

}  // namespace codebook::data::sas
