// Reading Stata .dta files, releases 104 to 119, either byte order;
// platform/data/read_dataset.h chooses this reader by the file's first
// bytes. The mapping into the dictionary: dta_mapping.h.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "platform/data/read_dataset.h"
#include "platform/data/sav/byte_source.h"

namespace codebook::data::dta {

ReadResult ReadDta(std::shared_ptr<const sav::ByteSource> source, const ReadOptions& options,
                   std::optional<std::string> fileSpec);

}  // namespace codebook::data::dta
