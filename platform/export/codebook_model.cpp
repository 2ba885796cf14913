#include "platform/export/codebook_model.h"

#include <algorithm>

#include "host/data/text.h"

namespace codebook::exporting {
namespace {

std::string BaseName(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

// The names that begin with '$' are the file's own, and left out.
std::vector<ModelAttribute> CustomAttributes(const DatasourceAttributes& attributes) {
  std::vector<ModelAttribute> custom;
  for (std::size_t a = 0; a < attributes.Size(); ++a) {
    const std::string& name = attributes.Name(a);
    if (name.empty() || name[0] == '$') continue;
    custom.push_back({name, attributes.Values(a)});
  }
  return custom;
}

std::vector<std::string> AttributeNames(const data::Dataset& dataset) {
  std::vector<std::string> names;
  for (int i = 0; i < dataset.ColumnCount(); ++i) {
    for (const ModelAttribute& attribute : CustomAttributes(dataset.GetVariable(i)->GetAttributes())) {
      if (std::find(names.begin(), names.end(), attribute.name) == names.end()) names.push_back(attribute.name);
    }
  }
  return names;
}

std::string TrimmedRight(std::string text) {
  while (!text.empty() && text.back() == ' ') text.pop_back();
  return text;
}

std::string ValueLabelsText(const data::Variable& variable) {
  std::string text;
  const auto& labels = variable.ValueLabels();
  if (!labels) return text;
  for (std::size_t i = 0; i < labels->Size(); ++i) {
    const std::string value =
        labels->IsString() ? TrimmedRight(std::string(labels->StringValue(i))) : NumberText(labels->NumericValue(i));
    text += (text.empty() ? "" : "; ") + ListItem(value) + "=" + ListItem(labels->Label(i));
  }
  return text;
}

ModelMissing MissingDefinition(const data::MissingValues& missing) {
  ModelMissing definition;
  definition.numbers = missing.Discrete();
  definition.strings = missing.StringValues();
  if (const auto& range = missing.GetRange()) definition.range = std::make_pair(range->low, range->high);
  return definition;
}

ModelValueRow ValueRow(const std::string& item, int variable, const CategoryFact& category) {
  ModelValueRow row;
  row.item = item;
  row.variable = variable;
  row.value = category.value;
  row.valueText = category.valueText;
  row.label = category.label;
  row.missing = category.missing || category.systemMissing;
  row.systemMissing = category.systemMissing;
  row.count = category.count;
  row.percent = category.percent;
  return row;
}

class ModelMaker {
 public:
  explicit ModelMaker(const ExportInput& input) : input_(input), dataset_(*input.dataset) {}

  CodebookModel Make() {
    model_.attributeNames = AttributeNames(dataset_);
    model_.unweightedCounts = input_.weightIndex >= 0 && input_.tally != nullptr && input_.tally->CountsValues();
    for (const ItemFacts& item : input_.items) {
      if (item.IsSet()) {
        Set(item);
      } else {
        Variable(item);
      }
    }
    File();
    return std::move(model_);
  }

 private:
  void Variable(const ItemFacts& item) {
    const int index = dataset_.FindVarIndex(item.name.c_str(), 0);
    if (index < 0) return;
    const data::Variable& variable = *dataset_.GetDictionary().GetVariable(index);
    ModelVariable entry;
    entry.index = index;
    entry.name = variable.GetName();
    entry.label = variable.Label();
    entry.numeric = variable.IsNumeric();
    entry.width = variable.IsNumeric() ? 0 : variable.DeclaredWidth();
    entry.format = item.formatText;
    entry.printFormat = variable.PrintFormat();
    entry.measure = MeasureName(variable.GetMeasurementLevel());
    entry.role = RoleName(variable.GetRole());
    // The table says how the item was treated: the level the command gave
    // it, or the one the procedure chose for a dictionary that has none.
    entry.scale = item.scale;
    entry.missingDefinition = MissingDefinition(variable.Missing());
    entry.missingValues = MissingValuesText(variable.Missing());
    entry.valueLabels = ValueLabelsText(variable);
    const ItemCounts counts = CountsOf(item, input_.tally, index);
    entry.valid = counts.valid;
    entry.missing = counts.missing;
    entry.countsShown = item.valid.has_value() || item.missing.has_value();
    entry.mean = item.mean;
    entry.stdDev = item.stdDev;
    entry.p25 = item.p25;
    entry.median = item.p50;
    entry.p75 = item.p75;
    entry.hidden = input_.hidden.count(index) != 0;
    if (entry.hidden) entry.values = HiddenValuesText(input_.tally, index);
    const ValueTally* tally = input_.tally;
    if (item.scale && !entry.hidden && tally != nullptr && tally->Of(index).HasRange()) {
      entry.minimum = tally->Of(index).min;
      entry.maximum = tally->Of(index).max;
    }
    entry.attributes = CustomAttributes(variable.GetAttributes());
    // The categories the table shows, then the labelled values it does not.
    entry.firstValue = model_.values.size();
    for (const CategoryFact& category : ExportedCategories(item, variable)) {
      ModelValueRow row = ValueRow(entry.name, index, category);
      if (input_.weightIndex >= 0) row.unweightedCount = UnweightedCount(tally, index, category);
      model_.values.push_back(std::move(row));
    }
    entry.endValue = model_.values.size();
    model_.variables.push_back(std::move(entry));
  }

  void Set(const ItemFacts& item) {
    ModelSet entry;
    entry.name = item.name;
    for (const VariableSetImpl& set : dataset_.GetMRSets()) {
      if (VELAMBstricmp_A(set.Name().c_str(), item.name.c_str()) != 0) continue;
      const VariableSetImpl::Definition& definition = set.Get();
      entry.described = true;
      entry.name = definition.name;
      entry.label = definition.label;
      entry.dichotomy = definition.kind == VariableSetImpl::kMultipleDichotomy;
      if (entry.dichotomy) entry.countedValue = definition.countedValue;
      entry.members = definition.members;
      break;
    }
    entry.firstValue = model_.values.size();
    for (const CategoryFact& category : item.categories) model_.values.push_back(ValueRow(item.name, -1, category));
    entry.endValue = model_.values.size();
    model_.sets.push_back(std::move(entry));
  }

  void File() {
    ModelFile& file = model_.file;
    file.name = BaseName(input_.fileName);
    if (const char* label = dataset_.GetLabel()) file.label = label;
    file.cases = dataset_.GetCaseCount();
    file.variables = dataset_.ColumnCount();
    file.weightIndex = input_.weightIndex;
    if (input_.weightIndex >= 0) {
      if (const VELA_Variable* weight = dataset_.GetVariable(input_.weightIndex)) file.weight = weight->GetName();
      const ValueTally* tally = input_.tally;
      if (tally != nullptr && !tally->Partial() && tally->Cases() > 0) file.weightedCases = tally->WeightedCases();
    }
    // The format as people name it ("Stata .dta release 118"); a .sav
    // file's says its compression.
    file.layout = input_.fileInfo.format.empty() ? LayoutName(input_.fileInfo.compression) : input_.fileInfo.format;
    file.encoding = input_.fileInfo.encoding;
    file.created = input_.fileInfo.creationDate;
    if (!input_.fileInfo.creationTime.empty()) {
      file.created += (file.created.empty() ? "" : " ") + input_.fileInfo.creationTime;
    }
    file.writtenBy = input_.fileInfo.product;
    for (const DSDocument& document : dataset_.GetDocumentList()) {
      std::vector<std::string> lines;
      for (int i = 0; i < document.Size(); ++i) lines.push_back(document[i]);
      file.documents.push_back(std::move(lines));
    }
    file.attributes = CustomAttributes(dataset_.GetAttributes());
    file.software = input_.software;
    file.version = input_.version;
    file.date = input_.date;
  }

  const ExportInput& input_;
  const data::Dataset& dataset_;
  CodebookModel model_;
};

}  // namespace

CodebookModel MakeCodebookModel(const ExportInput& input) { return ModelMaker(input).Make(); }

std::string AttributeText(const ModelVariable& variable, const std::string& name) {
  std::vector<std::string> values;
  for (const ModelAttribute& attribute : variable.attributes) {
    if (attribute.name == name) values.insert(values.end(), attribute.values.begin(), attribute.values.end());
  }
  return JoinListItems(values);
}

std::string JoinListItems(const std::vector<std::string>& items) {
  std::string text;
  for (const std::string& item : items) text += (text.empty() ? "" : "; ") + ListItem(item);
  return text;
}

}  // namespace codebook::exporting
