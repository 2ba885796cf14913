// Subtypes 3 (machine integer info) and 4 (machine floating-point info).
#include <string>

#include "platform/data/sav/dictionary_decoder/stages.h"
#include "platform/data/sav/endian.h"
#include "platform/data/sav/file_error.h"

namespace codebook::data::sav::decode {

void CheckMachineInfo(DecodeContext& c, CasePlan& plan) {
  if (const RawExtension* ext = c.Single(3, 4, 8)) {
    auto at = [&](int i) { return static_cast<std::int32_t>(Load32(ext->data.data() + 4 * i, c.bigEndian)); };
    c.versionMajor = at(0);
    const std::int32_t fp = at(4);
    if (fp == 2 || fp == 3) {
      throw FileError(c.source.Name(), "unsupported floating-point format (machine code " +
                                           std::to_string(fp) + ")");
    }
    if (fp != 1) c.warnings.Add("machine", "unknown floating-point code " + std::to_string(fp) + "; IEEE assumed");
    const std::int32_t endian = at(6);
    if ((endian == 1 && !c.bigEndian) || (endian == 2 && c.bigEndian)) {
      c.warnings.Add("machine", "the machine record contradicts the header's byte order; the header is trusted");
    }
    c.characterCode = at(7);
  }
  if (const RawExtension* ext = c.Single(4, 8, 3)) {
    const std::uint64_t sysmis = Load64(ext->data.data(), c.bigEndian);
    const std::uint64_t highest = Load64(ext->data.data() + 8, c.bigEndian);
    const std::uint64_t lowest = Load64(ext->data.data() + 16, c.bigEndian);
    if (sysmis != kSysmisBits || highest != kHighestBits ||
        (lowest != kSysmisBits && lowest != kOldLowestBits)) {
      c.warnings.Add("machine", "unusual special values in the machine record; both are accepted");
    }
    plan.declaredSysmisBits = sysmis;
    c.declaredSysmis = sysmis;
    c.declaredHighest = highest;
    c.declaredLowest = lowest;
  }
}

}  // namespace codebook::data::sav::decode
