#include <string>
#include <string_view>

#include "platform/output/format/value_format.h"

namespace codebook::output {

std::string FormatString(std::string_view bytes, const VELA_Format& format, FieldMode mode) {
  if (format.TypeEx() == VELA_Format::AHEX) {
    // AHEX is twice as wide as the string: one byte per two digits.
    std::size_t count = format.Width() / 2;
    if (count == 0 || count > bytes.size()) count = bytes.size();
    static constexpr char kDigits[] = "0123456789ABCDEF";
    std::string out;
    out.reserve(count * 2);
    for (std::size_t i = 0; i < count; ++i) {
      const auto byte = static_cast<unsigned char>(bytes[i]);
      out.push_back(kDigits[byte >> 4]);
      out.push_back(kDigits[byte & 15]);
    }
    return out;
  }
  const std::size_t end = bytes.find_last_not_of(' ');
  std::string out(end == std::string_view::npos ? std::string_view() : bytes.substr(0, end + 1));
  if (mode == FieldMode::kFixed && out.size() < format.Width()) out.resize(format.Width(), ' ');
  return out;
}

}  // namespace codebook::output
