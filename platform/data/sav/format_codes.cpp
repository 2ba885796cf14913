#include "platform/data/sav/format_codes.h"

#include <algorithm>

#include "platform/data/format_traits.h"

namespace codebook::data::sav {

std::optional<VELA_Format> UnpackFormat(std::uint32_t packed, int width) {
  const unsigned int code = packed >> 16;
  const int w = static_cast<int>((packed >> 8) & 0xFF);
  const int d = static_cast<int>(packed & 0xFF);
  const FormatTraits* traits = FindFileFormatTraits(code);
  // Some writers store the host's own codes 85/86 for MTIME and YMDHMS.
  if (!traits) {
    traits = FindFormatTraits(code);
    if (traits && !traits->InFile()) traits = nullptr;
  }
  if (!traits) return std::nullopt;
  if (traits->IsString() != (width > 0)) return std::nullopt;
  if (w < traits->minWidth || d > traits->MaxDecimals(w)) return std::nullopt;
  if (!traits->IsString() && w > 40) return std::nullopt;
  return VELA_Format(traits->type, w, d);
}

VELA_Format DefaultFormat(int width) {
  if (width > 0) return VELA_Format(VELA_Format::A, width, 0);
  return VELA_Format(VELA_Format::F, 8, 2);
}

std::uint32_t PackFormat(const VELA_Format& format, bool hostTimeCodes) {
  std::uint32_t code = format.TypeEx();
  // A type no file holds (G) keeps its code: nothing read from a file has
  // one, and a caller that makes one up gets it back unchanged.
  if (!hostTimeCodes) {
    if (const FormatTraits* traits = FindFormatTraits(code); traits && traits->InFile()) code = traits->fileCode;
  }
  const std::uint32_t width = std::min<std::uint32_t>(format.Width(), 255);
  return code << 16 | width << 8 | format.Decimals();
}

}  // namespace codebook::data::sav
