// Reading .sav (uncompressed or byte-code compressed) and .zsav (zlib-
// compressed) files; platform/data/read_dataset.h chooses this reader by
// the file's signature.
//
// String cells hold the UTF-8 value blank-padded. For a UTF-8 file a string
// variable's cells hold its declared width; for other encodings they hold
// three times as many bytes (rounded to whole cells), so that converted text
// is never cut. Variable::DeclaredWidth() keeps the file's width.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "platform/data/read_dataset.h"
#include "platform/data/sav/byte_source.h"

namespace codebook::data::sav {

ReadResult ReadSav(std::shared_ptr<const ByteSource> source, const ReadOptions& options,
                   std::optional<std::string> fileSpec);

}  // namespace codebook::data::sav
