#include "platform/aggregate/dimension.h"

#include "host/data/value_labels.h"
#include "host/data/variable.h"

AggregationVariable::Impl::~Impl() = default;

void AggregationVariable::Impl::SetCategories(std::vector<std::unique_ptr<ParsedCategory>> categories) {
  // Sets have their own categories; the list is owned and dropped.
  categories.clear();
}

void AggregationVariable::Impl::AddTotal(codebook::aggregate::CategoryList& list, double weight) const {
  static const std::string kTotal = "Total";
  list.Add(std::make_unique<codebook::aggregate::Category>(owner(), -1, std::vector<OBS>{}, kTotal, weight, true));
}

namespace codebook::aggregate {

std::string ValueLabelOf(const VELA_Variable* variable, const OBS* value) {
  if (variable == nullptr || value == nullptr) return {};
  VELA_ValueLabelMap labels(variable->GetValueLabels());
  if (labels.Size() == 0) return {};
  const char* label = labels.GetLabel(value);
  return label != nullptr ? std::string(label) : std::string();
}

}  // namespace codebook::aggregate
