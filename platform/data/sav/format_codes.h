// Print/write formats as the file packs them (type << 16 | width << 8 |
// decimals) and their translation to the host's numbering: the file's MTIME
// and YMDHMS codes 40/41 are the host's 85/86 (85/86 are accepted as well).
#pragma once

#include <cstdint>
#include <optional>

#include "host/data/vela_format.h"

namespace codebook::data::sav {

// The host format for a packed file format, or nullopt when the format is
// invalid for a variable of this width (0 numeric): unknown code, wrong kind,
// width below the minimum or too many decimals.
std::optional<VELA_Format> UnpackFormat(std::uint32_t packed, int width);

// The usable substitute for an invalid format: F8.2, or A<width>.
VELA_Format DefaultFormat(int width);

// Packs a host format for the file (85/86 written as 40/41 unless asked).
std::uint32_t PackFormat(const VELA_Format& format, bool hostTimeCodes = false);

}  // namespace codebook::data::sav
