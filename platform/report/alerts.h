// Data-quality alerts: what a person preparing a release wants pointed out
// (labels never used, values without labels, variables that are empty or
// constant, suspicious weights), found from a CODEBOOK run's tables, the
// dictionary and the weights of the same pass. The procedure's own tables
// and messages are left as they are.
//
// The values come from the tables alone, read before any value is hidden,
// so that the alerts are the same whatever else the run tallies or hides;
// the alerts of a variable whose values are hidden give counts, never
// values.
#pragma once

#include <set>
#include <vector>

#include "platform/data/dataset.h"
#include "platform/export/item_facts.h"
#include "platform/export/value_tally.h"
#include "platform/output/document/document.h"

namespace codebook::report {

// The alerts of the items, in their order, then the file's. `tally` may be
// null: the weights are then not looked at. `hidden`: the variables whose
// values are hidden.
std::vector<output::Alert> FindAlerts(const std::vector<exporting::ItemFacts>& items, const data::Dataset& dataset,
                                      const exporting::ValueTally* tally, int weightIndex,
                                      const std::set<int>& hidden = {});

// The same one item at a time (appended to `alerts`), then the file's.
void AddItemAlerts(const exporting::ItemFacts& item, const data::Dataset& dataset, const std::set<int>& hidden,
                   std::vector<output::Alert>& alerts);
void AddFileAlerts(const data::Dataset& dataset, const exporting::ValueTally* tally, int weightIndex,
                   std::vector<output::Alert>& alerts);

// What a tally needs for alerts alone: the weights.
exporting::TallyOptions AlertTallyOptions();

}  // namespace codebook::report
