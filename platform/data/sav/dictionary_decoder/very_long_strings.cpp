// Subtype 14: very long strings. A string wider than 255 bytes is stored as
// segments of 255 bytes (252 of them used), each a variable record of its
// own; this record names the first segment and the real width.
#include <algorithm>
#include <charconv>
#include <string>
#include <unordered_map>

#include "platform/data/sav/dictionary_decoder/stages.h"
#include "platform/data/text/fold_case.h"

namespace codebook::data::sav::decode {

void MergeVeryLongStrings(DecodeContext& c) {
  const RawExtension* ext = c.Single(14, 1);
  if (!ext) return;
  std::vector<VarInfo>& vars = c.vars;
  std::unordered_map<std::string, std::size_t> byShort;
  for (std::size_t i = 0; i < vars.size(); ++i) byShort.emplace(vars[i].shortFolded, i);
  for (const RawPair& pair : ParsePairs(AsBytes(*ext))) {
    const std::string key = FoldCase(c.DecodeTrimmed(pair.key));
    auto it = byShort.find(key);
    int width = 0;
    std::string_view digits = TrimRight(pair.value);
    auto [end, ec] = std::from_chars(digits.data(), digits.data() + digits.size(), width);
    const std::string which = "very long string " + c.DecodeTrimmed(pair.key);
    if (it == byShort.end()) {
      c.warnings.Add("very long strings", which + ": no such variable");
      continue;
    }
    if (ec != std::errc() || end != digits.data() + digits.size() || digits.size() > 9 ||
        width < 256 || width > 32767) {
      c.warnings.Add("very long strings", which + ": invalid width");
      continue;
    }
    const std::size_t first = it->second;
    const std::size_t n = (static_cast<std::size_t>(width) + 251) / 252;
    bool ok = first + n <= vars.size();
    for (std::size_t k = 0; ok && k < n; ++k) {
      const VarInfo& seg = vars[first + k];
      const int expect = k + 1 < n ? 255 : width - 252 * static_cast<int>(n - 1);
      ok = !seg.removed && seg.width > 0 && seg.segments.size() == 1 &&
           (seg.width + 7) / 8 == (expect + 7) / 8;
    }
    if (!ok) {
      c.warnings.Add("very long strings", which + ": its segments do not match; they are kept as separate variables");
      continue;
    }
    VarInfo& v = vars[first];
    std::vector<Segment> segments;
    for (std::size_t k = 0; k < n; ++k) {
      const Segment s = vars[first + k].segments[0];
      const int remaining = width - 255 * static_cast<int>(k);
      const std::uint32_t bytes = static_cast<std::uint32_t>(std::clamp(remaining, 0, 255));
      segments.push_back({s.slotStart, bytes});
      if (k > 0) vars[first + k].removed = true;
    }
    v.segments = std::move(segments);
    v.width = width;
    // The formats of the first segment could say 255 bytes at most.
    const bool hex = v.print.TypeEx() == VELA_Format::AHEX;
    v.print = VELA_Format(hex ? VELA_Format::AHEX : VELA_Format::A, hex ? 2 * width : width, 0);
    const bool whex = v.write.TypeEx() == VELA_Format::AHEX;
    v.write = VELA_Format(whex ? VELA_Format::AHEX : VELA_Format::A, whex ? 2 * width : width, 0);
    // What the segment's records said of labels and missing values holds
    // for its first 8 bytes only; subtypes 21 and 22 have the real ones.
    v.shortLabels.clear();
    v.missingStrings.clear();
    c.hasVeryLong = true;
  }
  if (c.hasVeryLong) {
    std::vector<VarInfo> kept;
    kept.reserve(vars.size());
    std::vector<int> remap(vars.size(), -1);
    for (std::size_t i = 0; i < vars.size(); ++i) {
      if (vars[i].removed) continue;
      remap[i] = static_cast<int>(kept.size());
      kept.push_back(std::move(vars[i]));
    }
    vars = std::move(kept);
    if (c.weightVar >= 0) c.weightVar = remap[static_cast<std::size_t>(c.weightVar)];
  }
}

}  // namespace codebook::data::sav::decode
