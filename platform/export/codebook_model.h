// The codebook as data: the facts of one CODEBOOK run, per variable, value,
// set and file, made in this one place from the run's tables, the
// dictionary and the tally of its pass. The dictionary CSV, the DDI
// document, the workbook and the Python and R packages all read it, so that
// none of them can say a thing differently from another.
//
// It is the packages' contract (docs/data-model.md): a field is added
// under a new minor version, and one changed or removed only under a new
// major version.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "host/data/vela_format.h"
#include "platform/export/export_input.h"

namespace codebook::exporting {

inline constexpr const char* kModelVersion = "1.0";

// The columns of the variables' table (the dictionary CSV's, in order);
// `attribute:NAME` columns follow, one per custom attribute name.
inline constexpr std::array<const char*, 18> kDictionaryColumns = {
    "position",       "name",   "label",  "type",    "width",         "format",
    "measure",        "role",   "missing_values", "value_labels", "valid", "missing",
    "mean",           "std_dev", "percentile_25", "median",  "percentile_75", "values"};

// A number, a string without its trailing blanks, or none (the system-
// missing row, a dichotomy set's member).
using ModelValue = std::variant<std::monostate, double, std::string>;

struct ModelAttribute {
  std::string name;
  std::vector<std::string> values;
};

struct ModelMissing {
  std::vector<double> numbers;
  std::vector<std::string> strings;
  std::optional<std::pair<double, double>> range;  // infinite ends: LO, HI
  bool Empty() const { return numbers.empty() && strings.empty() && !range; }
};

struct ModelVariable {
  int index = -1;                    // in the dataset, from 0
  std::string name;
  std::optional<std::string> label;  // none differs from an empty label
  bool numeric = true;
  int width = 0;                     // a string's declared width; 0 for numbers
  std::string format;                // as the table shows it ("F8.2"); empty: not shown
  VELA_Format printFormat;           // what dates and decimals are read from
  std::string measure;               // "nominal", "ordinal", "scale", "unknown"
  std::string role;                  // "input", "target", ...
  bool scale = false;                // treated as a scale variable by the run
  ModelMissing missingDefinition;
  std::string missingValues;         // the definition as text ("8; 9"; "1 thru 3")
  std::string valueLabels;           // "1=Yes; 2=No", list items escaped
  // The valid and missing cases: those the table shows (countsShown), else
  // the sums of its counted categories, else what the pass's tally counted.
  std::optional<double> valid, missing;
  bool countsShown = false;
  std::optional<double> mean, stdDev, p25, median, p75;
  // The least and greatest valid value of a scale variable whose values are
  // shown, when the pass saw them all.
  std::optional<double> minimum, maximum;
  bool hidden = false;
  std::string values;                // of a hidden variable: what is said instead
  std::vector<ModelAttribute> attributes;  // custom ones, in the variable's order
  std::size_t firstValue = 0;        // its rows of CodebookModel::values
  std::size_t endValue = 0;
};

struct ModelValueRow {
  std::string item;          // the variable's name, or the set's ("$brands")
  int variable = -1;         // the variable's index; -1 for a set's row
  ModelValue value;
  std::string valueText;     // as the table shows it
  std::string label;
  bool missing = false;      // user- or system-missing
  bool systemMissing = false;
  std::optional<double> count;    // weighted when the run is
  std::optional<double> percent;
  std::optional<std::int64_t> unweightedCount;  // only when weighted and counted
};

struct ModelSet {
  std::string name;
  bool described = false;    // the dataset defines it (else only its table is known)
  std::string label;
  bool dichotomy = false;
  std::string countedValue;  // of a dichotomy set
  std::vector<std::string> members;
  std::size_t firstValue = 0;
  std::size_t endValue = 0;
};

struct ModelFile {
  std::string name;          // without its folder
  std::optional<std::string> label;
  std::int64_t cases = -1;   // -1: the file does not say
  int variables = 0;
  std::string weight;        // empty: unweighted
  int weightIndex = -1;
  std::optional<double> weightedCases;
  std::string layout;        // "dataset file, zlib compressed", "Stata .dta release 118"
  std::string encoding;
  std::string created;
  std::string writtenBy;
  std::vector<std::vector<std::string>> documents;  // lines as stored
  std::vector<ModelAttribute> attributes;           // custom ones
  std::string software;
  std::string version;
  std::string date;          // of production
};

struct CodebookModel {
  std::string version = kModelVersion;
  ModelFile file;
  std::vector<std::string> attributeNames;  // the attribute:NAME columns, first met first
  std::vector<ModelVariable> variables;     // in the command's order
  std::vector<ModelValueRow> values;        // by item in the command's order, sets included
  std::vector<ModelSet> sets;
  // The values carry unweighted counts: the run is weighted and its pass
  // counted every value.
  bool unweightedCounts = false;
  bool UnweightedCounts() const { return unweightedCounts; }
};

// The facts of the input's run.
CodebookModel MakeCodebookModel(const ExportInput& input);

// A variable's `attribute:NAME` field: the values of its attributes of that
// name, joined as a list ("a; b").
std::string AttributeText(const ModelVariable& variable, const std::string& name);

// A list field's items joined: "a; b", each escaped (ListItem).
std::string JoinListItems(const std::vector<std::string>& items);

}  // namespace codebook::exporting
