#include "platform/data/default_level.h"

#include "platform/data/variable.h"

namespace codebook::data {

int DefaultMeasurementLevel(const Variable& variable) {
  if (!variable.IsNumeric()) return VELA_Variable::kNominal;
  const auto& labels = variable.ValueLabels();
  if (labels) {
    for (std::size_t i = 0; i < labels->Size(); ++i) {
      if (!variable.Missing().IsMissing(labels->NumericValue(i))) return VELA_Variable::kNominal;
    }
  }
  return VELA_Variable::kScale;
}

}  // namespace codebook::data
