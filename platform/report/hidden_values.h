// Hiding the values of variables that must not be published (identifiers,
// free text): their tables keep the dictionary and say how many distinct
// values there are, but show no value, count, percentile, minimum or
// maximum. Applied to a CODEBOOK run's tables before any output is made
// from them, so that every format, the exports included, leaves them out.
#pragma once

#include <set>
#include <string>
#include <vector>

#include "platform/data/dataset.h"
#include "platform/export/value_tally.h"
#include "platform/output/document/document.h"

namespace codebook::report {

struct HideRequest {
  std::vector<std::string> names;  // variables named by the user
  // Also every string variable and every variable whose valid values are
  // almost all distinct (an identifier).
  bool automatic = false;
  bool Empty() const { return names.empty() && !automatic; }
};

// "id, name" or "id name" or "auto" (with names beside it, also).
HideRequest ParseHideRequest(const std::string& text);

// The dictionary positions to hide; names the dataset lacks go to `unknown`.
std::set<int> ChooseHidden(const HideRequest& request, const data::Dataset& dataset,
                           const exporting::ValueTally* tally, std::vector<std::string>& unknown);

// Rewrites the "Variable Information" tables among items [first, end) of
// hidden variables, and of sets with a hidden member.
void HideValues(output::Document& document, std::size_t first, std::size_t end, const data::Dataset& dataset,
                const std::set<int>& hidden, const exporting::ValueTally* tally);

// The words the output uses for a hidden variable's values.
std::string HiddenText(const exporting::ValueTally* tally, int index);

// What a tally needs to hide values: the values of the variables that may
// be hidden counted, at most 10,000 distinct ones each (a dataset's
// variables are looked up by name; all of them for `automatic`).
exporting::TallyOptions HideTallyOptions(const HideRequest& request, const data::Dataset& dataset);

}  // namespace codebook::report
