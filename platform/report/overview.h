// The overview: one table at the head of a CODEBOOK command's output with a
// row per item in the command's order (position, label, type and format,
// level, missing values, valid and missing cases, distinct values, least and
// greatest value), so that a reader sees what a file holds before the
// detail. It is the program's addition around the procedure's tables, like
// the alerts, and made from what they and the pass already give: the tables'
// counts and values, the quartiles' distributions and the pass's tally.
//
// The table has subtype "Overview" and title "Overview"; each row's label is
// the item's name exactly as the title of the item's own table, which is
// how the HTML report links a row to its item.
#pragma once

#include <cstddef>
#include <memory>
#include <set>
#include <string>
#include <string_view>

#include "platform/data/dataset.h"
#include "platform/export/value_tally.h"
#include "platform/output/document/document.h"
#include "platform/report/distributions.h"

namespace codebook::report {

inline constexpr std::string_view kOverviewSubtype = "Overview";

// The overview's columns, in order, after the row label (the item's name).
enum class OverviewColumn {
  kPosition, kLabel, kType, kLevel, kMissingValues, kValid, kMissing, kDistinct, kMinimum, kMaximum, kCount
};
const char* OverviewColumnTitle(OverviewColumn column);

struct OverviewSources {
  const data::Dataset* dataset = nullptr;
  const exporting::ValueTally* tally = nullptr;          // of the pass; may be null
  const DistributionCollector* distributions = nullptr;  // of the pass; may be null
  std::set<int> hidden;                                  // variables whose values are hidden
  int maxCategories = 200;                               // the command's MAXCATS
};

// The overview of the items among [first, end) of the document, or null when
// there is none. Read after the values asked to be hidden are hidden.
std::shared_ptr<const bp::TableNode> MakeOverview(const output::Document& document, std::size_t first,
                                                  std::size_t end, const OverviewSources& sources);

// The MAXCATS a CODEBOOK command's text sets (200 when it sets none or one
// the procedure refuses).
int MaxCategories(std::string_view commandText);

}  // namespace codebook::report
