// A stable sort of weighted values by value, in time linear in the number
// of entries: what sorted runs spend most of their time on.
#pragma once

#include <span>
#include <vector>

#include "platform/aggregate/numeric_weight_map.h"

namespace codebook::aggregate {

// Sorts `entries` by value (not NaN; -0 normalised to +0, else -0 sorts
// before +0), keeping entries of equal value in their order. `scratch` must
// be as long as `entries`; the sorted entries end in one of the two, which
// is returned, and the other holds garbage.
std::span<NumericEntry<NoExtra>> RadixSortByValue(std::span<NumericEntry<NoExtra>> entries,
                                                  std::span<NumericEntry<NoExtra>> scratch);

// The same in place; `scratch` is resized as needed and kept by the caller
// so that repeated sorts do not allocate.
void SortByValue(std::vector<NumericEntry<NoExtra>>& entries, std::vector<NumericEntry<NoExtra>>& scratch);

}  // namespace codebook::aggregate
