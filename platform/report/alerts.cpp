#include "platform/report/alerts.h"

#include <cmath>
#include <cstdio>
#include <map>
#include <set>
#include <string>

#include "host/aggregate/compensated_sum.h"
#include "platform/export/export_input.h"

namespace codebook::report {
namespace {

using exporting::CategoryFact;
using exporting::ItemFacts;
using exporting::VariableTally;

constexpr std::size_t kExamples = 5;

std::string Percent(double part, double whole) {
  char text[32];
  std::snprintf(text, sizeof text, "%.1f%%", whole > 0 ? part / whole * 100 : 0.0);
  return text;
}

// "a, b, c and 4 more"
std::string Examples(const std::vector<std::string>& values) {
  std::string text;
  for (std::size_t i = 0; i < values.size() && i < kExamples; ++i) text += (i > 0 ? ", " : "") + values[i];
  if (values.size() > kExamples) text += " and " + std::to_string(values.size() - kExamples) + " more";
  return text;
}

// The values a variable was seen to take, as texts keyed like its labels:
// from the tally when it counted them all, else from the table's rows.
struct ValuesMet {
  bool known = false;
  std::vector<std::pair<std::string, bool>> values;  // text, user-missing
};

ValuesMet Met(const ItemFacts& item, const data::Variable& variable, const VariableTally* tally) {
  ValuesMet met;
  if (tally != nullptr && !tally->tooManyValues) {
    met.known = true;
    for (const auto& [number, count] : tally->numberCounts) {
      met.values.emplace_back(exporting::NumberText(number), variable.Missing().IsMissing(number));
    }
    for (const auto& [text, count] : tally->stringCounts) {
      met.values.emplace_back(text, variable.Missing().IsMissing(std::string_view(text)));
    }
    return met;
  }
  for (const CategoryFact& category : item.categories) {
    if (category.labeledOnly || category.systemMissing) continue;
    met.known = true;
    if (const auto* number = std::get_if<double>(&category.value)) {
      met.values.emplace_back(exporting::NumberText(*number), category.missing);
    } else if (const auto* text = std::get_if<std::string>(&category.value)) {
      met.values.emplace_back(*text, category.missing);
    }
  }
  return met;
}

std::string LabelKey(const ValueLabelSetImpl& labels, std::size_t i) {
  if (!labels.IsString()) return exporting::NumberText(labels.NumericValue(i));
  std::string value(labels.StringValue(i));
  while (!value.empty() && value.back() == ' ') value.pop_back();
  return value;
}

// Valid and missing cases as the table shows them: a scale variable's "N"
// rows, else the sums of its counted categories.
void TableCounts(const ItemFacts& item, std::optional<double>& valid, std::optional<double>& missing) {
  valid = item.valid;
  missing = item.missing;
  if (valid || missing) return;
  aggregate::CompensatedSum validSum;
  aggregate::CompensatedSum missingSum;
  bool counted = false;
  for (const CategoryFact& category : item.categories) {
    if (!category.count || category.labeledOnly) continue;
    counted = true;
    (category.missing ? missingSum : validSum).Add(*category.count);
  }
  if (counted) {
    valid = validSum.Value();
    missing = missingSum.Value();
  }
}

// `weights`: the variable's tally when it was tallied, for its valid and
// missing cases; `tally`: the same when it also counted every value met.
void VariableAlerts(const ItemFacts& item, const data::Variable& variable, const VariableTally* weights,
                    const VariableTally* tally, std::vector<output::Alert>& alerts) {
  const auto add = [&](const char* kind, std::string text) { alerts.push_back({item.name, kind, std::move(text)}); };

  std::optional<double> valid;
  std::optional<double> missing;
  TableCounts(item, valid, missing);
  if (weights != nullptr) {
    valid = weights->validWeight.Value();
    missing = weights->missingWeight.Value();
  }
  if (valid && missing) {
    if (*valid <= 0 && *missing > 0) {
      add("all-missing", "Every value is missing.");
    } else if (*missing > *valid) {
      add("mostly-missing", "More than half of the cases are missing (" + Percent(*missing, *valid + *missing) + ").");
    }
  }

  const ValuesMet met = Met(item, variable, tally);
  std::set<std::string> metValues;
  std::size_t validValues = 0;
  for (const auto& [text, isMissing] : met.values) {
    metValues.insert(text);
    validValues += isMissing ? 0 : 1;
  }
  if (met.known && validValues == 1) {
    for (const auto& [text, isMissing] : met.values) {
      if (!isMissing) add("constant", "Only one valid value occurs: " + text + ".");
    }
  }

  const auto& labels = variable.ValueLabels();
  std::map<std::string, std::string> labelled;
  if (labels) {
    for (std::size_t i = 0; i < labels->Size(); ++i) labelled[LabelKey(*labels, i)] = labels->Label(i);
  }
  if (!labelled.empty() && met.known) {
    std::vector<std::string> unused;
    for (const auto& [value, label] : labelled) {
      if (metValues.count(value) == 0) unused.push_back(value + " \"" + label + "\"");
    }
    if (!unused.empty()) add("unused-label", "Value labels with no cases: " + Examples(unused) + ".");
    std::vector<std::string> unlabelled;
    for (const auto& [text, isMissing] : met.values) {
      if (labelled.count(text) == 0) unlabelled.push_back(text.empty() ? "(blank)" : text);
    }
    if (!unlabelled.empty()) add("unlabeled-value", "Values without a label: " + Examples(unlabelled) + ".");
  }

  std::vector<std::string> codes;
  for (const double code : variable.Missing().Discrete()) {
    if (labelled.count(exporting::NumberText(code)) == 0) codes.push_back(exporting::NumberText(code));
  }
  for (const std::string& code : variable.Missing().StringValues()) {
    if (labelled.count(code) == 0) codes.push_back(code);
  }
  if (!codes.empty()) add("unlabeled-missing-code", "User-missing codes without a label: " + Examples(codes) + ".");

  bool leadingBlanks = tally != nullptr && tally->leadingBlanks;
  for (const auto& [text, isMissing] : met.values) leadingBlanks = leadingBlanks || (!variable.IsNumeric() && !text.empty() && text.front() == ' ');
  if (leadingBlanks) add("blanks", "Some string values begin with blanks.");

  std::map<std::string, std::vector<std::string>> byText;
  for (const auto& [value, label] : labelled) byText[label].push_back(value);
  std::vector<std::string> duplicates;
  for (const auto& [label, values] : byText) {
    if (values.size() > 1) duplicates.push_back("\"" + label + "\" (" + Examples(values) + ")");
  }
  if (!duplicates.empty()) add("duplicate-label", "Several values share a label: " + Examples(duplicates) + ".");
}

}  // namespace

exporting::TallyOptions AlertTallyOptions() {
  // The tables say what the alerts need of the variables; the tally adds
  // only the weights, which cost one cell a case.
  exporting::TallyOptions options;
  options.allVariables = false;
  return options;
}

void AddItemAlerts(const ItemFacts& item, const data::Dataset& dataset, const exporting::ValueTally* tally,
                   std::vector<output::Alert>& alerts) {
  if (item.IsSet()) return;
  const int index = dataset.FindVarIndex(item.name.c_str(), 0);
  if (index < 0) return;
  // A tally of part of the cases says nothing sure about the data.
  const bool usable = tally != nullptr && !tally->Partial() && tally->Tallied(index);
  const VariableTally* weights = usable ? &tally->Of(index) : nullptr;
  const VariableTally* values = usable && tally->CountsValues() ? weights : nullptr;
  VariableAlerts(item, *dataset.GetDictionary().GetVariable(index), weights, values, alerts);
}

std::vector<output::Alert> FindAlerts(const std::vector<ItemFacts>& items, const data::Dataset& dataset,
                                      const exporting::ValueTally* tally, int weightIndex) {
  std::vector<output::Alert> alerts;
  for (const ItemFacts& item : items) AddItemAlerts(item, dataset, tally, alerts);
  AddFileAlerts(dataset, tally, weightIndex, alerts);
  return alerts;
}

void AddFileAlerts(const data::Dataset& dataset, const exporting::ValueTally* tally, int weightIndex,
                   std::vector<output::Alert>& alerts) {
  if (tally != nullptr && weightIndex >= 0) {
    const exporting::WeightProblems& weights = tally->Weights();
    std::vector<std::string> parts;
    if (weights.zero > 0) parts.push_back(std::to_string(weights.zero) + " with a zero weight");
    if (weights.negative > 0) parts.push_back(std::to_string(weights.negative) + " with a negative weight");
    if (weights.missing > 0) parts.push_back(std::to_string(weights.missing) + " with a missing weight");
    if (!parts.empty()) {
      std::string text = "Cases that take part in no statistic: ";
      for (std::size_t i = 0; i < parts.size(); ++i) text += (i > 0 ? ", " : "") + parts[i];
      const VELA_Variable* weight = dataset.GetVariable(weightIndex);
      alerts.push_back({std::string(), "weight", text + (weight != nullptr ? std::string(" (weight ") + weight->GetName() + ")." : ".")});
    }
  }
}

}  // namespace codebook::report
