// What adding a case updates in the two common kinds of table, read and
// written inline by AggregationTable::AddNewCase. A pass adds every case to
// every table; a call per table, and the pointers it follows, cost more
// than the counting itself. The platform fills the record in once a table
// has seen its first case; until then, and for every other kind of table,
// `kind` is kGeneral and each case takes the general path.
#pragma once

#include <cstdint>

#include "host/aggregate/compensated_sum.h"

namespace codebook::aggregate {

// A value waiting in a batch with its case weight.
struct WeightedCell {
  double value;
  double weight;
};

struct TableHot {
  enum Kind : std::uint8_t {
    kGeneral,  // every case through the table's cube
    kCodes,    // a categorical variable: the codes 0..15 in `seen` are counted here
    kValues,   // a scale variable: values gather in `batch`, counted a batch at a time
  };
  static constexpr int kCodeSlots = 16;

  Kind kind = kGeneral;
  std::uint16_t seen = 0;      // kCodes: bit k, code k has its slot in `counts`
  std::int32_t offset = 0;     // the variable's cell
  std::uint32_t batched = 0;   // kValues: values in `batch`
  std::uint32_t capacity = 0;  // kValues: room in `batch`
  std::uint64_t cases = 0;     // cases added (of positive weight)
  CompensatedSum total;        // their weight, W
  WeightedCell* batch = nullptr;
  double counts[kCodeSlots] = {};
};

}  // namespace codebook::aggregate
