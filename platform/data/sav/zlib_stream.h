// The inflated blocks of a zlib data section as one continuous stream.
#pragma once

#include <memory>

#include "platform/data/sav/byte_source.h"
#include "platform/data/sav/data_stream.h"
#include "platform/data/sav/zlib_layout.h"

namespace codebook::data::sav {

// Each block must inflate to exactly its declared size and end exactly at
// the end of its bytes.
std::unique_ptr<DataByteStream> MakeZlibStream(std::shared_ptr<const ByteSource> source,
                                               const ZlibLayout& layout);

}  // namespace codebook::data::sav
