// The inflated blocks of a zlib data section as one continuous stream.
// Worker threads inflate the next few blocks while the reader decodes the
// bytes of the current one; the reader still sees the bytes in file order.
#pragma once

#include <cstddef>
#include <memory>

#include "platform/data/sav/byte_source.h"
#include "platform/data/sav/data_stream.h"
#include "platform/data/sav/zlib_layout.h"

namespace codebook::data::sav {

struct InflateOptions {
  // Threads that inflate ahead of the reader: -1 for one per core, at most
  // two; 0 for none, the reader's thread then inflating each block as it
  // needs it (as it also does when no thread can be started).
  int workers = -1;
  // Blocks declaring more than this are not held whole but inflated by the
  // reader's thread in pieces as it reads them: at most four blocks are held
  // at once, so no file can make the stream hold more than four times this.
  std::size_t maxHeldBlock = std::size_t{8} << 20;
};

// Each block must inflate to exactly its declared size and end exactly at
// the end of its bytes. A damaged block is reported (as CorruptData naming
// it) once every byte of the blocks before it has been delivered; a held
// block delivers none of its own bytes then, one inflated in pieces those
// that came before the damage showed.
std::unique_ptr<DataByteStream> MakeZlibStream(std::shared_ptr<const ByteSource> source,
                                               const ZlibLayout& layout,
                                               const InflateOptions& options = {});

}  // namespace codebook::data::sav
