#include "platform/export/export_input.h"

#include <charconv>
#include <cmath>

#include "platform/data/extended_missing.h"

namespace codebook::exporting {

std::string NumberText(double value) {
  if (const char code = data::ExtendedMissingCode(value)) return data::ExtendedMissingText(code);
  if (std::isnan(value)) return "NaN";
  if (std::isinf(value)) return value > 0 ? "INF" : "-INF";
  char text[32];
  const auto [end, error] = std::to_chars(text, text + sizeof text, value);
  return error == std::errc() ? std::string(text, end) : std::string();
}

std::string HiddenValuesText(const ValueTally* tally, int index) {
  if (tally == nullptr || !tally->CountsValues() || !tally->Tallied(index)) {
    return "values hidden";
  }
  const VariableTally& of = tally->Of(index);
  return "values hidden; " + std::string(of.tooManyValues ? "about " : tally->Partial() ? "at least " : "") +
         std::to_string(of.DistinctValues()) + " distinct values";
}

const char* MeasureName(int level) {
  switch (level) {
    case 1: return "nominal";
    case 2: return "ordinal";
    case 3: return "scale";
    default: return "unknown";
  }
}

const char* RoleName(int role) {
  switch (role) {
    case 1: return "target";
    case 2: return "both";
    case 3: return "none";
    case 4: return "partition";
    case 5: return "split";
    default: return "input";
  }
}

}  // namespace codebook::exporting
