// Subtype 11: variable display parameters (measurement level, display
// width, alignment), one group of three, or of two without the width, per
// variable record that starts a variable.
#include "platform/data/sav/dictionary_decoder/stages.h"
#include "platform/data/sav/endian.h"

namespace codebook::data::sav::decode {

void ApplyDisplayParameters(DecodeContext& c) {
  const RawExtension* ext = c.Single(11, 4);
  if (!ext) return;
  const std::size_t n = c.vars.size();
  const std::size_t count = static_cast<std::size_t>(ext->count);
  std::size_t per = 0;
  if (n > 0 && count == 3 * n) per = 3;
  else if (n > 0 && count == 2 * n) per = 2;
  if (per == 0) {
    if (count != 0 || n != 0) c.warnings.Add("display", "the display-parameter record does not match the variables and is ignored");
    return;
  }
  bool warned = false;
  for (std::size_t i = 0; i < n; ++i) {
    const std::uint8_t* p = ext->data.data() + i * per * 4;
    auto at = [&](std::size_t k) { return static_cast<std::int32_t>(Load32(p + 4 * k, c.bigEndian)); };
    VarInfo& v = c.vars[i];
    const std::int32_t measure = at(0);
    const std::int32_t width = per == 3 ? at(1) : 0;
    const std::int32_t align = at(per - 1);
    if (measure >= 0 && measure <= 3) v.measure = measure;
    if (width > 0) v.displayWidth = width;
    if (align >= 0 && align <= 2) v.alignment = align;
    if ((measure < 0 || measure > 3 || align < 0 || align > 2 || width < 0) && !warned) {
      c.warnings.Add("display", "display parameters out of range replaced by defaults");
      warned = true;
    }
  }
}

}  // namespace codebook::data::sav::decode
