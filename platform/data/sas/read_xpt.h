// Reading SAS transport files (.xpt), versions 5 and 8: 80-byte header
// records, one descriptor (namestr) per variable, then the rows, numbers in
// the transport format's hexadecimal floating point. The first member (data
// set) of the file is read; platform/data/read_dataset.h chooses this
// reader by the file's first record.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "platform/data/read_dataset.h"
#include "platform/data/sav/byte_source.h"

namespace codebook::data::sas {

ReadResult ReadXpt(std::shared_ptr<const sav::ByteSource> source, const ReadOptions& options,
                   std::optional<std::string> fileSpec);

}  // namespace codebook::data::sas
