// The compact form of a finished table: its nodes, cells and own contents as
// variable-length integers and raw bytes, a few hundred bytes for a typical
// codebook table (against several kilobytes as objects). Decoding gives back
// exactly what was encoded.
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "platform/output/document/table_model.h"

namespace bp {

// Appends the encoding of `data` to `out`.
void EncodeTable(const TableData& data, std::string& out);
// Replaces `out` by the table encoded in `bytes`.
void DecodeTable(std::span<const std::uint8_t> bytes, TableData& out);

}  // namespace bp
