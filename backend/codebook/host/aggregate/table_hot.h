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

// Laid out for the inline path: kind, codes met and cell first, then the
// code slots, the first of them on the table's first cache line. What only
// the general path touches comes last.
struct TableHot {
  enum Kind : std::uint8_t {
    kGeneral,  // every case through the table's cube
    kCodes,    // the codes 0..15 in `seen` are counted in `counts`
    kValues,   // a scale variable: values gather in `values.batch`
  };
  static constexpr int kCodeSlots = 16;

  Kind kind = kGeneral;
  std::uint16_t seen = 0;   // bit k: code k has its slot in `counts`
  std::int32_t offset = 0;  // the variable's cell
  union {
    double counts[kCodeSlots] = {};  // weights of the codes in `seen`
    struct {
      WeightedCell* batch;
      std::uint32_t batched;   // values in `batch`
      std::uint32_t capacity;  // room in `batch`
    } values;                  // kValues, where no code is counted here
  };
  // The general path's: the weight of the cases neither in `counts` nor in
  // a batch, and the number of cases it took.
  CompensatedSum total;
  std::uint64_t generalCases = 0;
  std::uint16_t missing = 0;  // bit k: code k in `seen` is user-missing

  // The slot of x when x is a code met before (an integer 0..15 in
  // `seen`), else -1.
  int SlotOf(double x) const {
    if (x >= 0.0 && x < kCodeSlots) {
      const int k = static_cast<int>(x);
      if (static_cast<double>(k) == x && ((seen >> k) & 1u) != 0) return k;
    }
    return -1;
  }
  // Gives code k (0..15, not yet in `seen`) its slot, empty.
  void OpenSlot(int k, bool isMissing) {
    counts[k] = 0.0;
    seen = static_cast<std::uint16_t>(seen | (1u << k));
    if (isMissing) missing = static_cast<std::uint16_t>(missing | (1u << k));
  }

  // f(k, weight, missing) for every code in `seen`, ascending.
  template <typename F>
  void ForEachSlot(F&& f) const {
    for (int k = 0; k < kCodeSlots; ++k) {
      if (((seen >> k) & 1u) != 0) f(k, counts[k], ((missing >> k) & 1u) != 0);
    }
  }
  // The same, and the slots' weights move into `total` and the slots are
  // closed: for a caller that takes the codes over.
  template <typename F>
  void DrainSlots(F&& f) {
    ForEachSlot([&](int k, double weight, bool isMissing) {
      f(k, weight, isMissing);
      total.Add(weight);
    });
    CloseSlots();
  }
  // Every slot closed and emptied (also what a batch left in the union).
  void CloseSlots() {
    seen = 0;
    missing = 0;
    for (double& count : counts) count = 0.0;
  }

  // W: the general path's total and the weights waiting in the record.
  double TotalWeight() const {
    CompensatedSum sum = total;
    if (kind == kValues) {
      for (std::uint32_t i = 0; i < values.batched; ++i) sum.Add(values.batch[i].weight);
    } else {
      ForEachSlot([&](int, double weight, bool) { sum.Add(weight); });
    }
    return sum.Value();
  }
};

}  // namespace codebook::aggregate
