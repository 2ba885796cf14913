#include "testing/dataset_builder.h"

#include <cstring>
#include <stdexcept>

#include "testing/in_memory_cases.h"

namespace codebook::data {

struct DatasetBuilder::State {
  Dictionary dictionary;
  // Labels gathered per variable; made into sets at Build().
  std::vector<std::vector<ValueLabelSetImpl::NumericLabel>> numericLabels;
  std::vector<std::vector<ValueLabelSetImpl::StringLabel>> stringLabels;
  std::vector<std::shared_ptr<const ValueLabelSetImpl>> sharedLabels;
  std::vector<std::vector<DatasourceAttributes::Attribute>> attributes;
  std::vector<DatasourceAttributes::Attribute> fileAttributes;
  std::optional<std::string> fileSpec;
  std::optional<std::string> weightName;
  std::optional<std::int64_t> declaredCount;
  std::vector<Row> rows;
  std::vector<std::size_t> splitEnds;

  int Last() const {
    const int n = dictionary.VariableCount();
    if (n == 0) throw std::invalid_argument("a variable property was given before any variable");
    return n - 1;
  }
  Variable& LastVariable() { return dictionary.MutableVariable(Last()); }

  void Add(std::unique_ptr<Variable> v) {
    dictionary.AddVariable(std::move(v));
    numericLabels.emplace_back();
    stringLabels.emplace_back();
    sharedLabels.emplace_back();
    attributes.emplace_back();
  }
};

DatasetBuilder::DatasetBuilder() : state_(std::make_unique<State>()) {}
DatasetBuilder::~DatasetBuilder() = default;
DatasetBuilder::DatasetBuilder(DatasetBuilder&&) noexcept = default;
DatasetBuilder& DatasetBuilder::operator=(DatasetBuilder&&) noexcept = default;

DatasetBuilder& DatasetBuilder::Numeric(std::string name) {
  state_->Add(std::make_unique<Variable>(std::move(name)));
  return *this;
}

DatasetBuilder& DatasetBuilder::String(std::string name, int width, int cellWidth) {
  state_->Add(std::make_unique<Variable>(std::move(name), width, cellWidth));
  return *this;
}

DatasetBuilder& DatasetBuilder::Label(std::string label) {
  state_->LastVariable().SetLabel(std::move(label));
  return *this;
}

DatasetBuilder& DatasetBuilder::Format(VELA_Format::FormatType type, int width, int decimals) {
  const VELA_Format f(type, width, decimals);
  state_->LastVariable().SetPrintFormat(f);
  state_->LastVariable().SetWriteFormat(f);
  return *this;
}

DatasetBuilder& DatasetBuilder::PrintFormat(VELA_Format format) {
  state_->LastVariable().SetPrintFormat(format);
  return *this;
}

DatasetBuilder& DatasetBuilder::WriteFormat(VELA_Format format) {
  state_->LastVariable().SetWriteFormat(format);
  return *this;
}

DatasetBuilder& DatasetBuilder::Level(int level) {
  state_->LastVariable().SetMeasurementLevel(level);
  return *this;
}

DatasetBuilder& DatasetBuilder::Role(int role) {
  state_->LastVariable().SetRole(role);
  return *this;
}

DatasetBuilder& DatasetBuilder::DisplayWidth(int width) {
  state_->LastVariable().SetDisplayWidth(width);
  return *this;
}

DatasetBuilder& DatasetBuilder::Align(Alignment alignment) {
  state_->LastVariable().SetAlignment(alignment);
  return *this;
}

DatasetBuilder& DatasetBuilder::Attribute(std::string name, std::vector<std::string> values) {
  state_->attributes[static_cast<std::size_t>(state_->Last())].push_back(
      {std::move(name), std::move(values)});
  return *this;
}

DatasetBuilder& DatasetBuilder::ValueLabel(double value, std::string label) {
  const int i = state_->Last();
  if (!state_->dictionary.GetVariable(i)->IsNumeric()) {
    throw std::invalid_argument("a numeric value label for string variable " +
                                state_->dictionary.GetVariable(i)->Name());
  }
  state_->numericLabels[static_cast<std::size_t>(i)].push_back({value, std::move(label)});
  return *this;
}

DatasetBuilder& DatasetBuilder::ValueLabel(std::string value, std::string label) {
  const int i = state_->Last();
  if (state_->dictionary.GetVariable(i)->IsNumeric()) {
    throw std::invalid_argument("a string value label for numeric variable " +
                                state_->dictionary.GetVariable(i)->Name());
  }
  state_->stringLabels[static_cast<std::size_t>(i)].push_back(
      {std::move(value), std::move(label)});
  return *this;
}

DatasetBuilder& DatasetBuilder::ValueLabels(std::shared_ptr<const ValueLabelSetImpl> labels) {
  const auto i = static_cast<std::size_t>(state_->Last());
  state_->LastVariable().SetValueLabels(labels);  // checks the kind now
  state_->sharedLabels[i] = std::move(labels);
  return *this;
}

DatasetBuilder& DatasetBuilder::MissingDiscrete(std::vector<double> values) {
  state_->LastVariable().SetMissingValues(MissingValues::Numeric(std::move(values)));
  return *this;
}

DatasetBuilder& DatasetBuilder::MissingRange(double low, double high,
                                             std::optional<double> discrete) {
  std::vector<double> d;
  if (discrete) d.push_back(*discrete);
  state_->LastVariable().SetMissingValues(
      MissingValues::Numeric(std::move(d), MissingValues::Range{low, high}));
  return *this;
}

DatasetBuilder& DatasetBuilder::MissingStrings(std::vector<std::string> values) {
  state_->LastVariable().SetMissingValues(MissingValues::Strings(std::move(values)));
  return *this;
}

DatasetBuilder& DatasetBuilder::FileLabel(std::string label) {
  state_->dictionary.SetFileLabel(std::move(label));
  return *this;
}

DatasetBuilder& DatasetBuilder::FileSpec(std::string path) {
  state_->fileSpec = std::move(path);
  return *this;
}

DatasetBuilder& DatasetBuilder::Document(std::vector<std::string> lines) {
  state_->dictionary.AddDocument(DSDocument(std::move(lines)));
  return *this;
}

DatasetBuilder& DatasetBuilder::FileAttribute(std::string name, std::vector<std::string> values) {
  state_->fileAttributes.push_back({std::move(name), std::move(values)});
  return *this;
}

DatasetBuilder& DatasetBuilder::MRSet(VariableSetImpl::Definition definition) {
  state_->dictionary.AddMRSet(VariableSetImpl(std::move(definition)));
  return *this;
}

DatasetBuilder& DatasetBuilder::Encoding(std::string name) {
  state_->dictionary.SetEncoding(std::move(name));
  return *this;
}

DatasetBuilder& DatasetBuilder::Weight(std::string variableName) {
  state_->weightName = std::move(variableName);
  return *this;
}

DatasetBuilder& DatasetBuilder::DeclaredCaseCount(std::int64_t count) {
  state_->declaredCount = count;
  return *this;
}

DatasetBuilder& DatasetBuilder::Case(Row row) {
  state_->rows.push_back(std::move(row));
  return *this;
}

DatasetBuilder& DatasetBuilder::Cases(std::vector<Row> rows) {
  for (auto& r : rows) state_->rows.push_back(std::move(r));
  return *this;
}

DatasetBuilder& DatasetBuilder::SplitGroupEnd() {
  state_->splitEnds.push_back(state_->rows.size());
  return *this;
}

namespace {

std::shared_ptr<const CaseTable> MakeTable(const Dictionary& dict, const std::vector<Row>& rows,
                                           std::vector<std::size_t> splitEnds) {
  auto table = std::make_shared<CaseTable>();
  const auto per = static_cast<std::size_t>(dict.CellsPerCase());
  table->cellsPerCase = dict.CellsPerCase();
  table->caseCount = rows.size();
  table->splitEnds = std::move(splitEnds);
  table->cells.assign(per * rows.size(), OBS{});
  for (std::size_t r = 0; r < rows.size(); ++r) {
    const Row& row = rows[r];
    const std::string where = "case " + std::to_string(r + 1);
    if (row.size() != static_cast<std::size_t>(dict.VariableCount())) {
      throw std::invalid_argument(where + " has " + std::to_string(row.size()) +
                                  " values for " + std::to_string(dict.VariableCount()) +
                                  " variables");
    }
    OBS* caseCells = table->cells.data() + r * per;
    for (int v = 0; v < dict.VariableCount(); ++v) {
      const Variable& var = *dict.GetVariable(v);
      OBS* cell = caseCells + dict.CellOffset(v);
      const Value& value = row[static_cast<std::size_t>(v)];
      if (var.IsNumeric()) {
        if (!std::holds_alternative<double>(value)) {
          throw std::invalid_argument(where + ": numeric variable " + var.Name() +
                                      " was given a string");
        }
        cell->d = std::get<double>(value);
        continue;
      }
      if (!std::holds_alternative<std::string>(value)) {
        throw std::invalid_argument(where + ": string variable " + var.Name() +
                                    " was given a number");
      }
      const std::string& s = std::get<std::string>(value);
      if (s.size() > static_cast<std::size_t>(var.CellWidth())) {
        throw std::invalid_argument(where + ": the value of " + var.Name() +
                                    " is longer than its width");
      }
      char* bytes = reinterpret_cast<char*>(cell);
      std::memset(bytes, ' ', static_cast<std::size_t>(var.cellCount()) * sizeof(OBS));
      std::memcpy(bytes, s.data(), s.size());
    }
  }
  return table;
}

}  // namespace

std::shared_ptr<Dataset> DatasetBuilder::Build() {
  State& s = *state_;
  Dictionary& dict = s.dictionary;
  for (int i = 0; i < dict.VariableCount(); ++i) {
    const auto k = static_cast<std::size_t>(i);
    Variable& v = dict.MutableVariable(i);
    if (!s.attributes[k].empty()) v.SetAttributes(DatasourceAttributes(std::move(s.attributes[k])));
    if (!s.numericLabels[k].empty()) {
      v.SetValueLabels(std::make_shared<ValueLabelSetImpl>(std::move(s.numericLabels[k])));
    } else if (!s.stringLabels[k].empty()) {
      v.SetValueLabels(
          std::make_shared<ValueLabelSetImpl>(v.CellWidth(), std::move(s.stringLabels[k])));
    }
  }
  if (!s.fileAttributes.empty()) dict.SetAttributes(DatasourceAttributes(std::move(s.fileAttributes)));
  if (s.weightName) {
    const int w = dict.FindVarIndex(*s.weightName);
    if (w < 0) throw std::invalid_argument("no weight variable called " + *s.weightName);
    dict.SetWeightIndex(w);
  }
  auto table = MakeTable(dict, s.rows, std::move(s.splitEnds));
  const std::int64_t count =
      s.declaredCount ? *s.declaredCount : static_cast<std::int64_t>(table->caseCount);
  auto factory = [table]() -> std::unique_ptr<CaseStream> {
    return std::make_unique<InMemoryCases>(table);
  };
  auto dataset = std::make_shared<Dataset>(std::move(dict), count, std::move(factory),
                                           std::move(s.fileSpec));
  state_ = std::make_unique<State>();
  return dataset;
}

}  // namespace codebook::data
