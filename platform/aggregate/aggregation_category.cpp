// Out-of-line destructors of the host's category classes: their vtables
// and type information live in this library, which the procedure links.
#include "host/aggregate/aggregation_category.h"

AggregationCategory::~AggregationCategory() = default;
TableDimension::~TableDimension() = default;
