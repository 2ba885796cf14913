// The plan for reading cases: where each variable's values lie among the
// 8-byte slots of a stored case and where they go among the host's cells.
#include <string>

#include "platform/data/sav/dictionary_decoder/stages.h"
#include "platform/data/sav/endian.h"
#include "platform/data/sav/zlib_layout.h"

namespace codebook::data::sav::decode {

void BeginCasePlan(DecodeContext& c, CasePlan& plan) {
  plan.fileName = c.source.Name();
  plan.compression = c.raw.header.compression;
  plan.bigEndian = c.bigEndian;
  plan.bias = c.raw.header.bias;
  plan.dataOffset = c.raw.dataOffset;
  if (plan.compression == Compression::kZlib) {
    plan.zlib = ReadZlibLayout(c.source, c.raw.dataOffset, c.bigEndian, c.raw.header.bias, c.warnings);
  }
}

void BuildCasePlan(DecodeContext& c, const Dictionary& dict, CasePlan& plan) {
  plan.slotsPerCase = static_cast<std::size_t>(c.slots);
  plan.cellsPerCase = static_cast<std::size_t>(dict.CellsPerCase());
  plan.identity = plan.utf8 && !c.hasVeryLong && plan.slotsPerCase == plan.cellsPerCase;
  for (std::size_t i = 0; i < c.vars.size(); ++i) {
    const VarInfo& v = c.vars[i];
    const Variable* var = dict.GetVariable(static_cast<int>(i));
    const auto cell = static_cast<std::uint32_t>(dict.CellOffset(static_cast<int>(i)));
    if (v.width == 0) {
      plan.numerics.push_back({v.segments[0].slotStart, cell});
      continue;
    }
    CasePlan::String s{};
    s.cellByte = cell * 8;
    s.cellBytes = static_cast<std::uint32_t>(var->cellCount() * 8);
    s.width = static_cast<std::uint32_t>(v.width);
    s.firstPiece = static_cast<std::uint32_t>(plan.pieces.size());
    for (const Segment& seg : v.segments) {
      if (seg.dataBytes == 0) continue;
      plan.pieces.push_back({seg.slotStart * 8, seg.dataBytes});
    }
    s.pieceCount = static_cast<std::uint32_t>(plan.pieces.size()) - s.firstPiece;
    plan.strings.push_back(s);
    if (plan.identity && v.segments[0].slotStart != cell) plan.identity = false;
  }
  if (plan.identity) {
    for (auto& n : plan.numerics) {
      if (n.slot != n.cell) plan.identity = false;
    }
  }
  // Subtype 16: the case count in 64 bits, trusted over the header's.
  std::int64_t declared = c.raw.header.caseCount >= 0 ? c.raw.header.caseCount : -1;
  if (const RawExtension* ext = c.Single(16, 8, 2)) {
    const auto count = static_cast<std::int64_t>(Load64(ext->data.data() + 8, c.bigEndian));
    if (count >= 0) {
      if (declared >= 0 && declared != count) {
        c.warnings.Add("cases", "the header and the case-count record disagree; the record is trusted");
      }
      declared = count;
    }
  }
  plan.declaredCases = declared;
  // Files whose machine record says version 13 declare a wrong case size
  // whenever they hold very long strings, without being damaged.
  if (c.raw.header.nominalCaseSize > 0 &&
      static_cast<std::size_t>(c.raw.header.nominalCaseSize) != c.raw.variables.size() &&
      !(c.versionMajor == 13 && c.hasVeryLong)) {
    c.warnings.Add("case size", "the header's case size " + std::to_string(c.raw.header.nominalCaseSize) +
                                    " does not match the " + std::to_string(c.raw.variables.size()) +
                                    " variable records");
  }
}

}  // namespace codebook::data::sav::decode
