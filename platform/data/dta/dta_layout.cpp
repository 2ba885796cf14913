#include "platform/data/dta/dta_layout.h"

#include <cstring>

#include "platform/data/byte_cursor.h"
#include "platform/data/sav/file_error.h"

namespace codebook::data::dta {

DtaLayout ReadDtaLayout(const sav::ByteSource& source, sav::Warnings& warnings) {
  std::uint8_t head[11] = {};
  const std::size_t got = source.ReadAt(0, head);
  DtaLayout layout;
  try {
    if (got == sizeof head && std::memcmp(head, "<stata_dta>", sizeof head) == 0) {
      layout = detail::ReadTaggedLayout(source, warnings);
    } else if (got < 4 || head[0] < 104 || head[0] > 115 || head[2] != 1) {
      throw FileError(source.Name(), "not a Stata .dta file of a release read here (104 to 119)");
    } else {
      layout = detail::ReadBinaryLayout(source, warnings);
    }
  } catch (const TruncatedInput& e) {
    throw FileError(source.Name(), e.what());
  }
  // Offsets within a row are kept in 32 bits.
  if (layout.rowBytes > 0xFFFFFFFFu) throw FileError(source.Name(), "a row of this file would be too large");
  return layout;
}

std::string StorageName(Storage storage, std::uint32_t bytes) {
  switch (storage) {
    case Storage::kByte: return "byte";
    case Storage::kInt: return "int";
    case Storage::kLong: return "long";
    case Storage::kFloat: return "float";
    case Storage::kDouble: return "double";
    case Storage::kString: return "str" + std::to_string(bytes);
    case Storage::kStrL: return "strL";
  }
  return "?";
}

}  // namespace codebook::data::dta
