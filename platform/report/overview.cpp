#include "platform/report/overview.h"

#include <cmath>
#include <optional>
#include <vector>

#include "host/output/bp_cell_text.h"
#include "host/output/bp_format_spec.h"
#include "host/output/bp_pivot_table.h"
#include "platform/data/format_traits.h"
#include "platform/export/export_input.h"
#include "platform/export/item_facts.h"
#include "platform/output/document/cell_content.h"
#include "platform/output/document/table_model.h"
#include "platform/syntax/command_splitter.h"
#include "platform/syntax/name_match.h"

namespace codebook::report {
namespace {

using Content = BpCellText::Content;

// The procedure's closing warning naming the items whose values it did not
// list (more distinct values than MAXCATS).
constexpr std::string_view kNotDisplayed = "Value labels, counts, and/or percents not displayed for ";

const Content& Text(const BpCellText& text) { return *text.content(); }

Content Words(std::string text) {
  Content content;
  content.text = std::move(text);
  return content;
}

const char* LevelName(int level) {
  switch (level) {
    case 1: return "Nominal";
    case 2: return "Ordinal";
    case 3: return "Scale";
    default: return "Unknown";
  }
}

// The format as the tables name it ("F8.2", "A20", "DATE11"), for an item
// whose table does not show it.
std::string FormatName(const VELA_Format& format) {
  const data::FormatTraits* traits = data::FindFormatTraits(format.TypeEx());
  if (traits == nullptr) return {};
  std::string name(traits->name);
  name += std::to_string(format.Width());
  if (format.Decimals() > 0) name += "." + std::to_string(format.Decimals());
  return name;
}

// The names the procedure's closing warning gives, in upper case.
std::set<std::string> NamesNotDisplayed(const output::Document& document, std::size_t first, std::size_t end) {
  std::set<std::string> names;
  const auto& items = document.Items();
  for (std::size_t i = first; i < end && i < items.size(); ++i) {
    const auto* message = std::get_if<output::Document::MessageItem>(&items[i]);
    if (message == nullptr) continue;
    std::string_view text = (*message)->text;
    if (text.substr(0, kNotDisplayed.size()) != kNotDisplayed) continue;
    text.remove_prefix(kNotDisplayed.size());
    if (!text.empty() && text.back() == '.') text.remove_suffix(1);
    while (!text.empty()) {
      const std::size_t comma = text.find(',');
      names.insert(syntax::ToUpperAscii(text.substr(0, comma)));
      if (comma == std::string_view::npos) break;
      text.remove_prefix(comma + 1);
    }
  }
  return names;
}

// One row's cells, in column order; an empty optional leaves a cell unset.
struct Row {
  std::optional<Content> cells[static_cast<std::size_t>(OverviewColumn::kCount)];
  std::optional<Content>& operator[](OverviewColumn column) { return cells[static_cast<std::size_t>(column)]; }
};

Content Count(double value) { return Text(BpNumber(value, BpFormatSpec(BpFormatSpec::kCount, VELA_Format()))); }

Content Value(const data::Variable& variable, double value) {
  OBS obs;
  obs.d = value;
  return Text(BpDataValue(variable, &obs, BpDataValue::kValueOnly));
}

void DescribeSet(const exporting::ItemFacts& item, const data::Dataset& dataset, Row& row) {
  for (const VariableSetImpl& set : dataset.GetMRSets()) {
    if (!syntax::EqualsIgnoreCase(set.Name(), item.name)) continue;
    if (!set.Get().label.empty()) row[OverviewColumn::kLabel] = Words(set.Get().label);
    row[OverviewColumn::kType] = Text(BpString(
        set.Get().kind == VariableSetImpl::kMultipleDichotomy ? "Multiple Dichotomy Set" : "Multiple Category Set", true));
    break;
  }
  std::size_t counted = 0;
  bool anyCount = false;
  for (const exporting::CategoryFact& category : item.categories) {
    if (!category.count) continue;
    anyCount = true;
    if (*category.count > 0) ++counted;
  }
  if (anyCount) row[OverviewColumn::kDistinct] = Count(static_cast<double>(counted));
}

void DescribeVariable(const exporting::ItemFacts& item, const OverviewSources& sources,
                      const std::set<std::string>& notDisplayed, int index, Row& row) {
  const data::Variable& variable = *sources.dataset->GetDictionary().GetVariable(index);
  row[OverviewColumn::kPosition] = Count(index + 1);
  if (variable.Label() && !variable.Label()->empty()) row[OverviewColumn::kLabel] = Words(*variable.Label());
  const std::string format = item.formatText.empty() ? FormatName(variable.PrintFormat()) : item.formatText;
  row[OverviewColumn::kType] = Words((variable.IsNumeric() ? "Numeric " : "String ") + format);
  row[OverviewColumn::kLevel] = Text(BpString(LevelName(variable.GetMeasurementLevel()), true));
  if (const std::string missing = exporting::MissingValuesText(variable.Missing()); !missing.empty()) {
    row[OverviewColumn::kMissingValues] = Words(missing);
  }
  const exporting::ValueTally* tally = sources.tally;
  const exporting::ItemCounts counts = exporting::CountsOf(item, tally, index);
  if (counts.valid) row[OverviewColumn::kValid] = Count(*counts.valid);
  if (counts.missing) row[OverviewColumn::kMissing] = Count(*counts.missing);

  if (sources.hidden.count(index) != 0) {
    row[OverviewColumn::kDistinct] = Text(BpString("values hidden", true));
    return;
  }
  // The values the table lists with a count, else the quartiles'
  // distribution, else (least and greatest only) the tally.
  std::size_t distinct = 0;
  bool listed = false;
  std::optional<double> low;
  std::optional<double> high;
  for (const exporting::CategoryFact& category : item.categories) {
    if (!category.count || category.labeledOnly) continue;
    listed = true;
    if (category.missing || !(*category.count > 0)) continue;
    ++distinct;
    if (const double* value = std::get_if<double>(&category.value)) {
      low = low ? std::min(*low, *value) : *value;
      high = high ? std::max(*high, *value) : *value;
    }
  }
  const bool tallied = tally != nullptr && !tally->Partial() && tally->Cases() > 0 && tally->Tallied(index);
  const ValueRange* range = sources.distributions != nullptr ? sources.distributions->RangeOf(index) : nullptr;
  if (listed) {
    row[OverviewColumn::kDistinct] = Count(static_cast<double>(distinct));
  } else if (range != nullptr && item.scale) {
    row[OverviewColumn::kDistinct] = Count(static_cast<double>(range->distinct));
    if (range->distinct > 0) {
      low = range->low;
      high = range->high;
    }
  } else if (!item.scale && notDisplayed.count(syntax::ToUpperAscii(item.name)) != 0 &&
             (!tallied || tally->Of(index).validCases > 0)) {
    row[OverviewColumn::kDistinct] = Words("more than " + std::to_string(sources.maxCategories));
  }
  if (!low && tallied && tally->Of(index).HasRange()) {
    low = tally->Of(index).min;
    high = tally->Of(index).max;
  }
  if (variable.IsNumeric() && low && high) {
    row[OverviewColumn::kMinimum] = Value(variable, *low);
    row[OverviewColumn::kMaximum] = Value(variable, *high);
  }
}

}  // namespace

const char* OverviewColumnTitle(OverviewColumn column) {
  switch (column) {
    case OverviewColumn::kPosition: return "Position";
    case OverviewColumn::kLabel: return "Label";
    case OverviewColumn::kType: return "Type";
    case OverviewColumn::kLevel: return "Level";
    case OverviewColumn::kMissingValues: return "Missing Values";
    case OverviewColumn::kValid: return "Valid";
    case OverviewColumn::kMissing: return "Missing";
    case OverviewColumn::kDistinct: return "Distinct Values";
    case OverviewColumn::kMinimum: return "Minimum";
    case OverviewColumn::kMaximum: return "Maximum";
    case OverviewColumn::kCount: break;
  }
  return "";
}

std::shared_ptr<const bp::TableNode> MakeOverview(const output::Document& document, std::size_t first,
                                                  std::size_t end, const OverviewSources& sources) {
  auto table = std::make_shared<bp::TableNode>();
  table->subtype = kOverviewSubtype;
  table->SetTitle(Text(BpString("Overview", true)));
  const int rows = table->AddDimension(Text(BpString("Variable", true)));
  const int columns = table->AddDimension(Text(BpString("Statistics", true)));
  table->Position(rows, BpDimension::kRows, 0, true, true);
  table->Position(columns, BpDimension::kColumns, 0, false, true);
  int column[static_cast<std::size_t>(OverviewColumn::kCount)];
  for (int c = 0; c < static_cast<int>(OverviewColumn::kCount); ++c) {
    column[c] = table->AddChild(columns, bp::NodeKind::kCategory,
                                Text(BpString(OverviewColumnTitle(static_cast<OverviewColumn>(c)), true)), true);
  }
  const std::set<std::string> notDisplayed = NamesNotDisplayed(document, first, end);
  bool any = false;
  Row row;
  exporting::ForEachItemFacts(document, first, end, [&](const exporting::ItemFacts& item, std::size_t) {
    for (auto& cell : row.cells) cell.reset();
    if (item.IsSet()) {
      DescribeSet(item, *sources.dataset, row);
    } else {
      const int index = sources.dataset->FindVarIndex(item.name.c_str(), 0);
      if (index >= 0) DescribeVariable(item, sources, notDisplayed, index, row);
    }
    table->AddChild(rows, bp::NodeKind::kCategory, Words(item.name), true);
    for (int c = 0; c < static_cast<int>(OverviewColumn::kCount); ++c) {
      if (row.cells[c]) table->SetCell(column[c], *row.cells[c]);
    }
    any = true;
  });
  if (!any) return nullptr;
  table->Seal();
  return table;
}

int MaxCategories(std::string_view commandText) {
  constexpr int kDefault = 200;
  const std::vector<syntax::Command> commands = syntax::SplitCommands(commandText);
  if (commands.empty()) return kDefault;
  const std::vector<TokenInfoObj>& tokens = commands.front().tokens;
  const std::vector<std::string_view> subcommands = {"VARINFO", "FILEINFO", "STATISTICS", "OPTIONS"};
  const std::vector<std::string_view> options = {"VARORDER", "SORT", "MAXCATS"};
  const auto punct = [&](std::size_t i, char c) {
    return i < tokens.size() && tokens[i].kind() == TokenInfoObj::kPunct && tokens[i].getString() == std::string(1, c);
  };
  bool inOptions = false;
  for (std::size_t i = 0; i < tokens.size(); ++i) {
    if (punct(i, '/')) {
      inOptions = false;
      if (i + 1 < tokens.size() && tokens[i + 1].kind() == TokenInfoObj::kIdentifier) {
        const syntax::KeywordMatch match = syntax::MatchKeyword(tokens[i + 1].getString(), subcommands);
        inOptions = match.result == syntax::KeywordMatch::kFound && match.index == 3;
        ++i;
      }
      continue;
    }
    if (!inOptions || tokens[i].kind() != TokenInfoObj::kIdentifier) continue;
    const syntax::KeywordMatch match = syntax::MatchKeyword(tokens[i].getString(), options);
    if (match.result != syntax::KeywordMatch::kFound || match.index != 2) continue;
    if (!punct(i + 1, '=') || i + 2 >= tokens.size() || tokens[i + 2].kind() != TokenInfoObj::kNumber) return kDefault;
    const double value = std::strtod(tokens[i + 2].getValue().c_str(), nullptr);
    // The procedure takes a positive whole number and falls back on 200.
    return value >= 1 && value <= 2147483647.0 && value == std::floor(value) ? static_cast<int>(value) : kDefault;
  }
  return kDefault;
}

}  // namespace codebook::report
