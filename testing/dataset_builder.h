// Builds a dataset in memory, for tests and benchmarks:
//
//   auto ds = DatasetBuilder()
//       .Numeric("age").Label("Age").Level(3).ValueLabel(99, "No answer").MissingDiscrete({99})
//       .String("name", 12)
//       .Cases({{25, "Ann"}, {kSysmis, "Bob"}})
//       .Build();
//
// Property setters apply to the variable added last. Mistakes (a property
// before any variable, a value of the wrong type, a row of the wrong length,
// an unknown weight variable) throw std::invalid_argument naming the problem.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "host/data/variable_sets.h"
#include "platform/data/dataset.h"
#include "platform/data/variable.h"

namespace codebook::data {

// One value of a case: a number or a string (blank-padded into the cells).
class Value : public std::variant<double, std::string> {
 public:
  Value(double d) : variant(d) {}                                   // NOLINT: implicit on purpose
  Value(int i) : variant(static_cast<double>(i)) {}                 // NOLINT
  Value(const char* s) : variant(std::string(s ? s : "")) {}        // NOLINT
  Value(std::string s) : variant(std::move(s)) {}                   // NOLINT
  Value(std::string_view s) : variant(std::string(s)) {}            // NOLINT
};
using Row = std::vector<Value>;

class DatasetBuilder {
 public:
  DatasetBuilder();
  ~DatasetBuilder();
  DatasetBuilder(DatasetBuilder&&) noexcept;
  DatasetBuilder& operator=(DatasetBuilder&&) noexcept;

  // Variables.
  DatasetBuilder& Numeric(std::string name);
  DatasetBuilder& String(std::string name, int width, int cellWidth = 0);

  // Properties of the variable added last.
  DatasetBuilder& Label(std::string label);
  DatasetBuilder& Format(VELA_Format::FormatType type, int width, int decimals = 0);  // print and write
  DatasetBuilder& PrintFormat(VELA_Format format);
  DatasetBuilder& WriteFormat(VELA_Format format);
  DatasetBuilder& Level(int level);
  DatasetBuilder& Role(int role);
  DatasetBuilder& DisplayWidth(int width);
  DatasetBuilder& Align(Alignment alignment);
  DatasetBuilder& Attribute(std::string name, std::vector<std::string> values);
  DatasetBuilder& ValueLabel(double value, std::string label);
  DatasetBuilder& ValueLabel(std::string value, std::string label);
  DatasetBuilder& ValueLabel(const char* value, std::string label) {
    return ValueLabel(std::string(value), std::move(label));
  }
  // A label set shared with other variables (replaces ValueLabel calls).
  DatasetBuilder& ValueLabels(std::shared_ptr<const ValueLabelSetImpl> labels);
  DatasetBuilder& MissingDiscrete(std::vector<double> values);
  DatasetBuilder& MissingRange(double low, double high, std::optional<double> discrete = {});
  DatasetBuilder& MissingStrings(std::vector<std::string> values);

  // The file.
  DatasetBuilder& FileLabel(std::string label);
  DatasetBuilder& FileSpec(std::string path);
  DatasetBuilder& Document(std::vector<std::string> lines);
  DatasetBuilder& FileAttribute(std::string name, std::vector<std::string> values);
  DatasetBuilder& MRSet(VariableSetImpl::Definition definition);
  DatasetBuilder& Encoding(std::string name);
  DatasetBuilder& Weight(std::string variableName);
  // The case count the dataset declares; by default the number of cases
  // given. -1 declares it unknown.
  DatasetBuilder& DeclaredCaseCount(std::int64_t count);

  // Cases, one value per variable in order.
  DatasetBuilder& Case(Row row);
  DatasetBuilder& Cases(std::vector<Row> rows);
  // Ends a split-file group after the cases given so far.
  DatasetBuilder& SplitGroupEnd();

  // The dataset; the builder is left empty.
  std::shared_ptr<Dataset> Build();

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace codebook::data
