#include "platform/report/hidden_values.h"

#include <cctype>

#include "host/data/text.h"
#include "platform/export/export_input.h"
#include "platform/output/document/table_model.h"
#include "platform/output/render/table_view.h"

namespace codebook::report {
namespace {

bool IsValueGroup(std::string_view label) {
  return label == "Valid Values" || label == "Missing Values" || label == "Labeled Values" ||
         label == "Multiple Response Categories";
}

bool IsValueRow(std::string_view label) {
  return label == "Percentile 25" || label == "Percentile 50" || label == "Percentile 75";
}

// An identifier: nearly every case that has a valid value has its own. The
// share is exact while the tally holds every distinct value; past its limit
// the tally estimates the distinct values from its sample, which a few
// frequent values (a code for "none", say) do not bias, and the share is
// that of every case counted.
bool AlmostAllDistinct(const exporting::VariableTally& tally, const data::Variable& variable) {
  const auto mostlyDistinct = [](std::size_t distinct, std::int64_t cases) {
    return cases >= 10 && static_cast<double>(distinct) >= 0.95 * static_cast<double>(cases);
  };
  if (tally.tooManyValues) return mostlyDistinct(tally.DistinctValues(), tally.countedCases);
  std::size_t distinct = 0;
  std::int64_t cases = 0;
  const auto addValid = [&](const auto& counts) {
    for (const auto& [value, count] : counts) {
      if (variable.Missing().IsMissing(value)) continue;
      ++distinct;
      cases += count;
    }
  };
  addValid(tally.numberCounts);
  addValid(tally.stringCounts);
  return mostlyDistinct(distinct, cases);
}

BpCellText::Content Text(std::string text) {
  BpCellText::Content content;
  content.text = std::move(text);
  content.procedureText = true;
  return content;
}

// A copy of the table without its value groups and percentile rows, and
// with a "Values" group saying that they are hidden.
std::shared_ptr<const bp::TableNode> Hidden(const bp::TableNode& table, const std::string& what) {
  auto copy = std::make_shared<bp::TableNode>(table);
  bp::TableData scratch;
  const bp::TableData& data = table.Read(scratch);
  const int rows = data.RowDimension();
  const int columns = data.ColumnDimension();
  if (rows < 0) return copy;
  const int root = data.dimensions[static_cast<std::size_t>(rows)].root;

  // Taken out: the value groups at the top of the rows, the percentile rows
  // of the groups there, and all that lies below them (parents come first).
  const std::size_t count = data.nodes.size();
  std::vector<char> drop(count, 0);
  for (std::size_t i = 0; i < count; ++i) {
    const bp::Node& node = data.nodes[i];
    if (node.parent < 0) continue;
    const bp::Node& parent = data.nodes[static_cast<std::size_t>(node.parent)];
    const std::string_view label = data.TextOf(node.label);
    drop[i] = drop[static_cast<std::size_t>(node.parent)] ||
              (node.parent == root && node.kind == bp::NodeKind::kGroup && IsValueGroup(label)) ||
              (parent.parent == root && parent.kind == bp::NodeKind::kGroup &&
               node.kind == bp::NodeKind::kCategory && IsValueRow(label));
  }
  bp::TableData kept;
  kept.contents = data.contents;
  kept.chars = data.chars;
  kept.title = data.title;
  std::vector<int> renumbered(count, -1);
  for (std::size_t i = 0; i < count; ++i) {
    if (drop[i]) continue;
    bp::Node node = data.nodes[i];
    if (node.parent >= 0) node.parent = renumbered[static_cast<std::size_t>(node.parent)];
    renumbered[i] = static_cast<int>(kept.nodes.size());
    kept.nodes.push_back(node);
  }
  for (bp::DimensionInfo dimension : data.dimensions) {
    dimension.root = renumbered[static_cast<std::size_t>(dimension.root)];
    kept.dimensions.push_back(dimension);
  }
  // The cells of the rows taken out go too, so that their columns empty.
  for (bp::CellEntry cell : data.cells) {
    if ((cell.row >= 0 && drop[static_cast<std::size_t>(cell.row)]) ||
        (cell.column >= 0 && drop[static_cast<std::size_t>(cell.column)])) {
      continue;
    }
    if (cell.row >= 0) cell.row = renumbered[static_cast<std::size_t>(cell.row)];
    if (cell.column >= 0) cell.column = renumbered[static_cast<std::size_t>(cell.column)];
    kept.cells.push_back(cell);
  }
  copy->Assign(std::move(kept));

  const int group = copy->AddChild(renumbered[static_cast<std::size_t>(root)], bp::NodeKind::kGroup, Text("Values"), true);
  const int row = copy->AddChild(group, bp::NodeKind::kCategory, Text("Hidden"), true);
  int valueColumn = -1;
  if (columns >= 0) {
    const bp::TableData& now = copy->Read(scratch);
    for (std::size_t n = 0; n < now.nodes.size(); ++n) {
      const bp::Node& node = now.nodes[n];
      if (node.dimension == columns && node.kind == bp::NodeKind::kCategory && now.TextOf(node.label) == "Value") {
        valueColumn = static_cast<int>(n);
      }
    }
  }
  copy->SetCell(valueColumn >= 0 ? valueColumn : row, Text(what));
  return copy;
}

}  // namespace

HideRequest ParseHideRequest(const std::string& text) {
  HideRequest request;
  std::string name;
  const auto flush = [&] {
    if (name.empty()) return;
    std::string lower;
    for (const char c : name) lower += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    if (lower == "auto") {
      request.automatic = true;
    } else {
      request.names.push_back(name);
    }
    name.clear();
  };
  for (const char c : text) {
    if (c == ',' || std::isspace(static_cast<unsigned char>(c))) {
      flush();
    } else {
      name += c;
    }
  }
  flush();
  return request;
}

std::set<int> ChooseHidden(const HideRequest& request, const data::Dataset& dataset,
                           const exporting::ValueTally* tally, std::vector<std::string>& unknown) {
  std::set<int> hidden;
  for (const std::string& name : request.names) {
    const int index = dataset.FindVarIndex(name.c_str(), 0);
    if (index < 0) {
      unknown.push_back(name);
    } else {
      hidden.insert(index);
    }
  }
  if (request.automatic) {
    for (int i = 0; i < dataset.ColumnCount(); ++i) {
      const data::Variable& variable = *dataset.GetDictionary().GetVariable(i);
      const bool identifier =
          tally != nullptr && tally->CountsValues() && tally->Tallied(i) && AlmostAllDistinct(tally->Of(i), variable);
      if (!variable.IsNumeric() || identifier) hidden.insert(i);
    }
  }
  return hidden;
}

exporting::TallyOptions HideTallyOptions(const HideRequest& request, const data::Dataset& dataset) {
  exporting::TallyOptions options;
  options.countValues = true;
  options.maxValues = 10000;
  options.allVariables = request.automatic;
  for (const std::string& name : request.names) options.variables.push_back(dataset.FindVarIndex(name.c_str(), 0));
  return options;
}

std::string HiddenText(const exporting::ValueTally* tally, int index) {
  return exporting::HiddenValuesText(tally, index);
}

void HideValues(output::Document& document, std::size_t first, std::size_t end, const data::Dataset& dataset,
                const std::set<int>& hidden, const exporting::ValueTally* tally) {
  if (hidden.empty()) return;
  const auto& items = document.Items();
  output::TableView view;
  for (std::size_t i = first; i < end && i < items.size(); ++i) {
    const auto* table = std::get_if<output::Document::Table>(&items[i]);
    if (table == nullptr || (*table)->subtype != "Variable Information") continue;
    view.Build(**table);
    const std::string name(view.Title());
    int index = -1;
    if (!name.empty() && name[0] == '$') {
      for (const VariableSetImpl& set : dataset.GetMRSets()) {
        if (VELAMBstricmp_A(set.Name().c_str(), name.c_str()) != 0) continue;
        for (const std::string& member : set.Get().members) {
          const int m = dataset.FindVarIndex(member.c_str(), 0);
          if (hidden.count(m) > 0) index = m;
        }
      }
      if (index < 0) continue;
      document.Replace(i, Hidden(**table, "values hidden (a member's values are hidden)"));
      continue;
    }
    index = dataset.FindVarIndex(name.c_str(), 0);
    if (index < 0 || hidden.count(index) == 0) continue;
    document.Replace(i, Hidden(**table, HiddenText(tally, index)));
  }
}

}  // namespace codebook::report
