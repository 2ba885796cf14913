#include "platform/report/hidden_values.h"

#include <cctype>

#include "host/data/text.h"
#include "platform/export/export_input.h"
#include "platform/output/document/table_model.h"

namespace codebook::report {
namespace {

bool IsValueGroup(const std::string& label) {
  return label == "Valid Values" || label == "Missing Values" || label == "Labeled Values" ||
         label == "Multiple Response Categories";
}

bool IsValueRow(const std::string& label) {
  return label == "Percentile 25" || label == "Percentile 50" || label == "Percentile 75";
}

// An identifier: nearly every case that has a valid value has its own.
bool AlmostAllDistinct(const exporting::VariableTally& tally, const data::Variable& variable) {
  if (tally.tooManyValues) return true;
  std::size_t distinct = 0;
  for (const auto& [number, count] : tally.numberCounts) distinct += variable.Missing().IsMissing(number) ? 0 : 1;
  for (const auto& [text, count] : tally.stringCounts) distinct += variable.Missing().IsMissing(std::string_view(text)) ? 0 : 1;
  return tally.validCases >= 10 && static_cast<double>(distinct) >= 0.95 * static_cast<double>(tally.validCases);
}

std::shared_ptr<const BpCellText::Content> Text(std::string text) {
  auto content = std::make_shared<BpCellText::Content>();
  content->text = std::move(text);
  content->procedureText = true;
  return content;
}

// A copy of the table without its value groups and percentile rows, and
// with a "Values" group saying that they are hidden.
std::shared_ptr<const bp::TableNode> Hidden(const bp::TableNode& table, const std::string& what) {
  auto copy = std::make_shared<bp::TableNode>(table);
  const int rows = copy->RowDimension();
  const int columns = copy->ColumnDimension();
  if (rows < 0) return copy;
  // Unlinks the children of `parent` for which `drop` holds.
  const auto prune = [&](int parent, const auto& drop) {
    bp::Node& up = copy->nodes[static_cast<std::size_t>(parent)];
    int previous = -1;
    for (int child = up.firstChild; child >= 0;) {
      bp::Node& node = copy->nodes[static_cast<std::size_t>(child)];
      const int next = node.nextSibling;
      if (drop(node)) {
        if (previous < 0) {
          up.firstChild = next;
        } else {
          copy->nodes[static_cast<std::size_t>(previous)].nextSibling = next;
        }
        if (up.lastChild == child) up.lastChild = previous;
      } else {
        previous = child;
      }
      child = next;
    }
  };
  const int root = copy->dimensions[static_cast<std::size_t>(rows)].root;
  const auto labelOf = [](const bp::Node& node) { return node.label ? node.label->text : std::string(); };
  prune(root, [&](const bp::Node& node) { return node.kind == bp::NodeKind::kGroup && IsValueGroup(labelOf(node)); });
  for (int group = copy->nodes[static_cast<std::size_t>(root)].firstChild; group >= 0;
       group = copy->nodes[static_cast<std::size_t>(group)].nextSibling) {
    if (copy->nodes[static_cast<std::size_t>(group)].kind != bp::NodeKind::kGroup) continue;
    prune(group, [&](const bp::Node& node) { return node.kind == bp::NodeKind::kCategory && IsValueRow(labelOf(node)); });
  }
  // The cells of the rows taken out go too, so that their columns empty.
  std::vector<char> reachable(copy->nodes.size(), 0);
  std::vector<int> stack;
  for (const bp::DimensionInfo& dimension : copy->dimensions) {
    if (dimension.root >= 0) stack.push_back(dimension.root);
  }
  while (!stack.empty()) {
    const int node = stack.back();
    stack.pop_back();
    reachable[static_cast<std::size_t>(node)] = 1;
    for (int child = copy->nodes[static_cast<std::size_t>(node)].firstChild; child >= 0;
         child = copy->nodes[static_cast<std::size_t>(child)].nextSibling) {
      stack.push_back(child);
    }
  }
  std::erase_if(copy->cells, [&](const bp::CellEntry& cell) {
    return (cell.row >= 0 && !reachable[static_cast<std::size_t>(cell.row)]) ||
           (cell.column >= 0 && !reachable[static_cast<std::size_t>(cell.column)]);
  });

  const int group = copy->AddChild(root, bp::NodeKind::kGroup, Text("Values"), true);
  const int row = copy->AddChild(group, bp::NodeKind::kCategory, Text("Hidden"), true);
  int valueColumn = -1;
  if (columns >= 0) {
    for (std::size_t n = 0; n < copy->nodes.size(); ++n) {
      const bp::Node& node = copy->nodes[n];
      if (node.dimension == columns && node.kind == bp::NodeKind::kCategory && node.label && node.label->text == "Value") {
        valueColumn = static_cast<int>(n);
      }
    }
  }
  copy->currentRow = row;
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
  for (std::size_t i = first; i < end && i < items.size(); ++i) {
    const auto* table = std::get_if<output::Document::Table>(&items[i]);
    if (table == nullptr || (*table)->subtype != "Variable Information" || !(*table)->title) continue;
    const std::string& name = (*table)->title->text;
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
