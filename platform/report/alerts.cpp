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

// "1 value", "4 values"
std::string Counted(std::size_t count, const char* one, const char* many) {
  return std::to_string(count) + " " + (count == 1 ? one : many);
}

// A value as an alert shows it; an empty string would read as nothing.
std::string Shown(const std::string& text) { return text.empty() ? "(blank)" : text; }

// A value as alerts key and show it: whole numbers in full (1000000, not
// 1e+06), others as short as they read back.
std::string NumberKey(double value) {
  if (value == std::floor(value) && std::fabs(value) < 1e15) {
    char text[32];
    std::snprintf(text, sizeof text, "%.0f", value == 0 ? 0.0 : value);
    return text;
  }
  return exporting::NumberText(value);
}

std::string KeyOf(const CategoryFact& category) {
  if (const auto* number = std::get_if<double>(&category.value)) return NumberKey(*number);
  if (const auto* text = std::get_if<std::string>(&category.value)) return *text;
  return {};
}

// What the table says of the values a variable took. Only rows with a
// count (or, without counts, a percent) are evidence: a table that lists
// the labelled values without counting them says nothing of the data.
struct Evidence {
  // The table counts every value met ("Valid Values", "Missing Values").
  bool valuesKnown = false;
  std::vector<std::pair<std::string, bool>> met;  // value, user-missing; counted more than 0
  // A scale variable's "Labeled Values" rows: whether each labelled value
  // was met.
  std::map<std::string, bool> labelUse;
};

Evidence Read(const ItemFacts& item) {
  Evidence evidence;
  for (const CategoryFact& category : item.categories) {
    if (category.systemMissing || std::holds_alternative<std::monostate>(category.value)) continue;
    const std::optional<double> amount = category.count ? category.count : category.percent;
    if (!amount) continue;
    const std::string key = KeyOf(category);
    if (category.labeledOnly) {
      bool& used = evidence.labelUse[key];
      used = used || *amount > 0;
      continue;
    }
    evidence.valuesKnown = true;
    if (*amount > 0) evidence.met.emplace_back(key, category.missing);
  }
  return evidence;
}

std::string LabelKey(const ValueLabelSetImpl& labels, std::size_t i) {
  if (!labels.IsString()) return NumberKey(labels.NumericValue(i));
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

// `hidden`: the variable's values are not to be published; its alerts say
// how many, not which.
void VariableAlerts(const ItemFacts& item, const data::Variable& variable, bool hidden,
                    std::vector<output::Alert>& alerts) {
  const auto add = [&](const char* kind, std::string text) { alerts.push_back({item.name, kind, std::move(text)}); };
  // Names the values found ("Head: a, b."), or only counts them ("2 many
  // tail") when the variable's values are hidden.
  const auto addListed = [&](const char* kind, const std::vector<std::string>& found, const char* one,
                             const char* many, const char* tail, const char* head) {
    if (found.empty()) return;
    add(kind, hidden ? Counted(found.size(), one, many) + tail : head + Examples(found) + ".");
  };

  std::optional<double> valid;
  std::optional<double> missing;
  TableCounts(item, valid, missing);
  if (valid && missing) {
    if (*valid <= 0 && *missing > 0) {
      add("all-missing", "Every value is missing.");
    } else if (*missing > *valid) {
      add("mostly-missing", "More than half of the cases are missing (" + Percent(*missing, *valid + *missing) + ").");
    }
  }

  const Evidence evidence = Read(item);
  std::set<std::string> metValues;
  std::vector<std::string> validValues;
  for (const auto& [text, isMissing] : evidence.met) {
    metValues.insert(text);
    if (!isMissing) validValues.push_back(text);
  }
  if (evidence.valuesKnown && validValues.size() == 1) {
    add("constant", hidden ? std::string("Only one valid value occurs.")
                           : "Only one valid value occurs: " + Shown(validValues.front()) + ".");
  }

  const auto& labels = variable.ValueLabels();
  std::map<std::string, std::string> labelled;
  if (labels) {
    for (std::size_t i = 0; i < labels->Size(); ++i) labelled[LabelKey(*labels, i)] = labels->Label(i);
  }
  std::vector<std::string> unused;
  for (const auto& [value, label] : labelled) {
    const auto use = evidence.labelUse.find(value);
    const bool isUnused = evidence.valuesKnown ? metValues.count(value) == 0
                                               : use != evidence.labelUse.end() && !use->second;
    if (isUnused) unused.push_back(Shown(value) + " \"" + label + "\"");
  }
  addListed("unused-label", unused, "value label", "value labels", " with no cases.", "Value labels with no cases: ");
  if (!labelled.empty() && evidence.valuesKnown) {
    std::vector<std::string> unlabelled;
    for (const auto& [text, isMissing] : evidence.met) {
      if (labelled.count(text) == 0) unlabelled.push_back(Shown(text));
    }
    addListed("unlabeled-value", unlabelled, "value", "values", " without a label.", "Values without a label: ");
  }

  std::vector<std::string> codes;
  for (const double code : variable.Missing().Discrete()) {
    if (labelled.count(NumberKey(code)) == 0) codes.push_back(NumberKey(code));
  }
  for (const std::string& code : variable.Missing().StringValues()) {
    if (labelled.count(code) == 0) codes.push_back(Shown(code));
  }
  addListed("unlabeled-missing-code", codes, "user-missing code", "user-missing codes", " without a label.",
            "User-missing codes without a label: ");

  bool leadingBlanks = false;
  for (const auto& [text, isMissing] : evidence.met) {
    leadingBlanks = leadingBlanks || (!variable.IsNumeric() && !text.empty() && text.front() == ' ');
  }
  if (leadingBlanks) add("blanks", "Some string values begin with blanks.");

  std::map<std::string, std::vector<std::string>> byText;
  for (const auto& [value, label] : labelled) byText[label].push_back(Shown(value));
  std::vector<std::string> duplicates;
  for (const auto& [label, values] : byText) {
    if (values.size() > 1) duplicates.push_back("\"" + label + "\" (" + Examples(values) + ")");
  }
  addListed("duplicate-label", duplicates, "label text is", "label texts are", " shared by several values.",
            "Several values share a label: ");
}

}  // namespace

exporting::TallyOptions AlertTallyOptions() {
  // The tables say what the alerts need of the variables; the tally adds
  // only the weights, which cost one cell a case.
  exporting::TallyOptions options;
  options.allVariables = false;
  return options;
}

void AddItemAlerts(const ItemFacts& item, const data::Dataset& dataset, const std::set<int>& hidden,
                   std::vector<output::Alert>& alerts) {
  if (item.IsSet()) return;
  const int index = dataset.FindVarIndex(item.name.c_str(), 0);
  if (index < 0) return;
  VariableAlerts(item, *dataset.GetDictionary().GetVariable(index), hidden.count(index) > 0, alerts);
}

std::vector<output::Alert> FindAlerts(const std::vector<ItemFacts>& items, const data::Dataset& dataset,
                                      const exporting::ValueTally* tally, int weightIndex,
                                      const std::set<int>& hidden) {
  std::vector<output::Alert> alerts;
  for (const ItemFacts& item : items) AddItemAlerts(item, dataset, hidden, alerts);
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
